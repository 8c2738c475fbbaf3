// The overview: one line a device, in columns or as a tree.

#include "inventory/output.h"

#include "inventory/columns.h"
#include "inventory/instancetext.h"
#include "text/forms.h"

#include <boost/algorithm/string.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace inventory {

using text::escaped;

namespace {

constexpr int red = 31, yellow = 33; // SGR

/// The plug-in's word, or the kernel's in parentheses where the plug-in has none.
std::string either(const std::string& word, const std::string& kernels) {
    return word.empty() && !kernels.empty() ? '(' + kernels + ')' : word;
}

/// A model has the maker as its first word. The plug-in keeps the second for the product; here are all that follow.
std::string productOf(const device& each) {
    const std::size_t maker = each.model.find(' ');
    const std::string rest = maker == std::string::npos ? "" : boost::trim_left_copy(each.model.substr(maker));
    return rest.find(' ') == std::string::npos ? each.product : rest;
}

/// "480 GB", as disks are sold.
std::string sizeOf(const device& each) {
    if (!each.kernel.size)
        return "";
    constexpr const char* units[] = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
    auto number = static_cast<double>(*each.kernel.size);
    std::size_t unit = 0;
    while (number >= 999.5) {
        number /= 1000;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, number < 9.95 && unit > 0 ? "%.1f %s" : "%.0f %s", number, units[unit]);
    return text;
}

/// The plug-in reads four of a type's five bits. The type by all five comes beside its word where they differ.
std::string shownType(const device& each) {
    const auto& whole = each.kernel.type ? each.kernel.type : each.peripheralType;
    const std::string kernels = whole ? shortTypeName(*whole) : "";
    return each.type.empty() || kernels.empty() || each.type == kernels ? either(each.type, kernels)
                                                                        : each.type + " (" + kernels + ')';
}

/// "13 devices: 10 identified, 1 mistaken, 2 silent; 9 with firmware; not complete", as a line.
std::string summary(const runResult& result) {
    if (result.queries.empty()) // the run failed before it asked anything
        return "";
    if (result.devices.empty())
        return result.isComplete() ? "no devices\n" : "no devices; not complete\n";
    std::string text = std::to_string(result.devices.size()) + (result.devices.size() == 1 ? " device" : " devices");
    const char* before = ": ";
    for (std::size_t i = 0; i < deviceStates; ++i) {
        const auto state = static_cast<deviceState>(i);
        if (const std::size_t count = countOf(result.devices, {state}); count > 0) {
            text += before + std::to_string(count) + ' ' + nameOf(state);
            before = ", ";
        }
    }
    const auto tied = std::count_if(result.devices.begin(), result.devices.end(),
                                    [](const device& each) { return each.firmware == firmwareTie::tied; });
    return text + "; " + std::to_string(tied) + " with firmware; " +
           (result.isComplete() ? "complete\n" : "not complete\n");
}

const std::vector<std::string> headings{"Node",   "Kernel", "Vendor", "Product", "Firmware",
                                        "Serial", "Size",   "Type",   "H:C:T:L"};

/// The texts of a device under the headings.
std::vector<std::string> rowOf(const device& each) {
    const bool mistaken = each.state == deviceState::mistaken;
    const auto word = [mistaken](const std::string& plugIns, const std::string& kernels) {
        return either(mistaken ? "" : plugIns, kernels);
    };
    return {withoutDirectory(each.node),
            boost::join(each.kernel.names, " "),
            word(each.vendor, each.kernel.vendor),
            word(productOf(each), each.kernel.model),
            word(each.revision, each.kernel.revision),
            word(each.serial, each.kernel.serial),
            sizeOf(each),
            shownType(each),
            either(each.address, each.kernel.address)};
}

/// What has to be said of a device beside them.
note noteOn(const device& each, bool inColour) {
    std::string text = each.ownWords ? each.why : "* INQUIRY's words";
    if (each.state == deviceState::excluded)
        text = "excluded: " + each.why;
    else if (!each.isTrue())
        text = std::string("! ") + nameOf(each.state) + (each.why.empty() ? "" : ": ") + each.why;
    const char* const before = text.empty() ? "" : "; ";
    if (each.firmware == firmwareTie::anothers)
        text.append(before).append("another's firmware is tied to it");
    else if (each.firmware == firmwareTie::none)
        text.append(before).append("no firmware is tied to it");
    return {text, !inColour ? 0 : each.isTrue() ? yellow : red};
}

constexpr std::size_t addressParts = 4;
constexpr const char* partNames[addressParts] = {"host ", "channel ", "target ", "lun "};

/// Host, channel, target and LUN; none where they are not known.
std::vector<std::string> partsOf(const device& each) {
    std::vector<std::string> parts;
    boost::split(parts, each.kernel.address.empty() ? each.address : each.kernel.address,
                 [](char c) { return c == ':'; });
    return parts.size() == addressParts ? parts : std::vector<std::string>();
}

/// By address, in which a number of more digits is the greater one. Devices without come last.
auto placeOf(const device& each) {
    std::vector<std::pair<std::size_t, std::string>> numbers;
    for (const auto& part : partsOf(each))
        numbers.emplace_back(part.size(), part);
    return std::make_pair(numbers.empty(), numbers);
}

std::string lineOf(const device& each, bool inColour) {
    std::string line;
    for (const auto& text : rowOf(each))
        line += text.empty() ? "" : "  " + escaped(text);
    const note after = noteOn(each, inColour);
    return line + (after.text.empty() ? "" : "  " + coloured(after));
}

/// Writes the parts of the address in which the device differs from the one before, a line each but for the LUN.
void writeBranch(const device& each, const std::vector<std::string>& address, const std::vector<std::string>& before,
                 std::ostream& output) {
    bool differs = before.empty();
    for (std::size_t i = 0; i + 1 < addressParts; ++i) {
        differs = differs || address[i] != before[i];
        if (!differs)
            continue;
        output << std::string(2 * i, ' ') << partNames[i] << escaped(address[i]);
        if (i == 0 && !each.kernel.adapter.empty())
            output << ": " << escaped(each.kernel.adapter);
        output << '\n';
    }
}

/// Writes a line for each device, under lines for the adapter, the channel and the target that it is at.
void writeTree(const runResult& result, bool inColour, std::ostream& output) {
    std::vector<device> sorted = result.devices;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const device& one, const device& other) { return placeOf(one) < placeOf(other); });
    std::vector<std::string> before;
    const char* unknown = "address unknown\n";
    for (const auto& each : sorted) {
        const auto address = partsOf(each);
        if (address.empty()) {
            output << std::exchange(unknown, "");
        } else {
            writeBranch(each, address, before, output);
            output << std::string(2 * addressParts - 2, ' ') << partNames[addressParts - 1] << escaped(address.back());
            before = address;
        }
        output << lineOf(each, inColour) << '\n';
    }
}

} // namespace

void writeOverview(const runResult& result, const tableStyle& style, std::ostream& output) {
    if (style.asTree) {
        writeTree(result, style.inColour, output);
    } else if (!result.devices.empty()) {
        columns rows(headings);
        for (const auto& each : result.devices)
            rows.add(rowOf(each), noteOn(each, style.inColour));
        rows.write(output, style.width);
    }
    writeOpticalDrives(result, style, output);
    output << (result.devices.empty() ? "" : "\n") << summary(result);
}

} // namespace inventory
