// The overview as a tree: adapter, channel, target, LUN.

#include "inventory/overview.h"

#include "text/forms.h"

#include <boost/algorithm/string.hpp>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace inventory {

using text::escaped;

namespace {

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
    for (const auto& text : overviewRow(each))
        line += text.empty() ? "" : "  " + escaped(text);
    const note after = overviewNote(each, inColour);
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

} // namespace

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

} // namespace inventory
