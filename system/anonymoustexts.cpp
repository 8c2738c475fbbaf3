#include "system/anonymoustexts.h"

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace sys {

namespace {

bool startsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

/// Those of `names` that stand somewhere in one of the texts, in the order in which they are found. Longer ones than
/// the plug-in looks for are left out.
std::vector<std::string> namesIn(const std::vector<std::string>& texts, const std::set<std::string>& names) {
    constexpr std::size_t longestName = 18; // a product in quotes; paths and names of drives are shorter
    std::unordered_set<std::string_view> missing;
    std::set<std::size_t> lengths;
    std::set<char> beginnings;
    for (const auto& name : names) {
        if (name.empty() || name.size() > longestName)
            continue;
        missing.insert(name);
        lengths.insert(name.size());
        beginnings.insert(name[0]);
    }
    const std::string anyBeginning(beginnings.begin(), beginnings.end());
    std::vector<std::string> found;
    for (const std::string_view text : texts) {
        for (auto at = text.find_first_of(anyBeginning); at < text.size();
             at = text.find_first_of(anyBeginning, at + 1)) {
            for (const std::size_t length : lengths) {
                if (const auto candidate = text.substr(at, length); missing.erase(candidate) != 0)
                    found.emplace_back(candidate);
            }
        }
    }
    return found;
}

/// A field of INQUIRY data, up to its first zero byte.
std::string fieldOf(const bytes& inquiry, std::size_t begin, std::size_t end) {
    std::string field;
    for (std::size_t i = begin; i < std::min(end, inquiry.size()) && inquiry[i] != 0; ++i)
        field += static_cast<char>(inquiry[i]);
    return field;
}

/// The product that an INQUIRY answer names (SPC-4, 6.4.2), or else the vendor, in quotes as the USB listing has it.
std::string quotedProduct(const bytes& inquiry) {
    std::string named = fieldOf(inquiry, 16, 32);
    if (named.empty())
        named = fieldOf(inquiry, 8, 16);
    named.erase(0, named.find_first_not_of(" \t"));
    named.erase(named.find_last_not_of(" \t") + 1);
    return '"' + named + '"';
}

/// A listing of those products of the machine's devices that stand in quotes in its own.
std::string anonymousUsbListing(const machineAnswers& machine) {
    std::set<std::string> products;
    for (const auto& [path, node] : machine.nodes) {
        for (const auto& answer : node.inquiry.all())
            products.insert(quotedProduct(answer.data));
    }
    std::string listing;
    for (const auto& product : namesIn({machine.usbListing}, products))
        listing += "  Device: usb 0x4012 " + product + '\n'; // so long that no product in quotes stands in two lines
    return listing;
}

bool isNumber(std::string_view word) {
    constexpr std::size_t mostCharacters = 5;
    return word.size() <= mostCharacters && word.find_first_not_of("-0123456789") == std::string_view::npos;
}

/// Does a driver of the kernel name an optical drive like this?
bool isDriveName(std::string_view word) {
    for (const std::string_view driver : {"sr", "scd", "pcd"}) {
        if (word.size() > driver.size() && startsWith(word, driver) && isNumber(word.substr(driver.size())))
            return true;
    }
    return word.size() == 3 && startsWith(word, "hd") && word[2] >= 'a' && word[2] <= 'z';
}

// What the kernel writes before the columns (drivers/cdrom/cdrom.c, cdrom_sysctl_info).
constexpr std::string_view nameLabel = "drive name:";
constexpr std::string_view labels[] = {"CD-ROM information, Id: cdrom.c 3.20 2003/12/17",
                                       nameLabel,
                                       "drive speed:",
                                       "drive # of slots:",
                                       "Can close tray:",
                                       "Can open tray:",
                                       "Can lock tray:",
                                       "Can change speed:",
                                       "Can select disk:",
                                       "Can read multisession:",
                                       "Can read MCN:",
                                       "Reports media changed:",
                                       "Can play audio:",
                                       "Can write CD-R:",
                                       "Can write CD-RW:",
                                       "Can read DVD:",
                                       "Can write DVD-R:",
                                       "Can write DVD-RAM:",
                                       "Can read MRW:",
                                       "Can write MRW:",
                                       "Can write RAM:"};

/// Writes x over the `size` characters from `begin` on, so that lines and columns stay where they are.
void hide(std::string& table, std::size_t begin, std::size_t size) { table.replace(begin, size, size, 'x'); }

/// Hides what no kernel writes in the line from `begin` to before `end`. Adds the names of drives to `drives`.
void hideForeignParts(std::string& table, std::size_t begin, std::size_t end, std::set<std::string>& drives) {
    const std::string line = table.substr(begin, end - begin);
    const auto* const label = std::find_if(std::begin(labels), std::end(labels),
                                           [&line](std::string_view known) { return startsWith(line, known); });
    if (label == std::end(labels)) {
        hide(table, begin, line.size());
        return;
    }
    for (std::size_t word = line.find_first_not_of('\t', label->size()), next; word < line.size();
         word = line.find_first_not_of('\t', next)) {
        next = std::min(line.find('\t', word), line.size());
        const std::string column = line.substr(word, next - word);
        const std::string name = column.substr(column.rfind('/') + 1); // the plug-in takes this part alone
        const bool isName = *label == nameLabel && isDriveName(name);
        if (isName)
            drives.insert(name);
        if (isName && name != column)
            hide(table, begin + word, column.rfind('/'));
        if (!isName && (*label == nameLabel || !isNumber(column)))
            hide(table, begin + word, column.size());
    }
}

} // namespace

void anonymizeTexts(machineAnswers& machine) {
    machine.usbListing = anonymousUsbListing(machine);

    std::set<std::string> paths, drives;
    for (const auto& [path, node] : machine.nodes)
        paths.insert(path);
    if (machine.opticalTable) {
        std::string& table = *machine.opticalTable;
        for (std::size_t begin = 0, end = 0; begin < table.size(); begin = end + 1) {
            end = std::min(table.find('\n', begin), table.size());
            hideForeignParts(table, begin, end, drives);
        }
    }
    machine.virtualDevices[0] = namesIn(machine.virtualDevices[0], paths);
    machine.virtualDevices[1] = namesIn(machine.virtualDevices[1], drives);
}

} // namespace sys
