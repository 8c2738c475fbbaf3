// The overview as a tree: adapter, channel, target, LUN.

#include "inventory/overview.h"

#include "text/forms.h"

#include <boost/algorithm/string.hpp>

#include <algorithm>
#include <array>
#include <cstddef>

namespace inventory {

using text::escaped;

namespace {

constexpr std::size_t addressParts = 4;
constexpr const char* partNames[addressParts] = {"host ", "channel ", "target ", "lun "};

struct leaf {
    const device* owner;
    std::vector<std::string> address; ///< host, channel, target and LUN; none where it is not known
};

std::vector<std::string> addressOfDevice(const device& each) {
    const std::string& known = each.kernel.address.empty() ? each.address : each.kernel.address;
    std::vector<std::string> parts;
    boost::split(parts, known, [](char c) { return c == ':'; });
    return parts.size() == addressParts ? parts : std::vector<std::string>();
}

/// Numbers of more digits are greater.
bool isBefore(const leaf& one, const leaf& other) {
    const auto byNumber = [](const std::string& a, const std::string& b) {
        return std::make_pair(a.size(), a) < std::make_pair(b.size(), b);
    };
    if (one.address.empty() || other.address.empty())
        return one.address.size() > other.address.size();
    return std::lexicographical_compare(one.address.begin(), one.address.end(), other.address.begin(),
                                        other.address.end(), byNumber);
}

std::string lineOf(const device& each, bool inColour) {
    std::string line;
    for (const auto& text : overviewRow(each))
        line += text.empty() ? "" : "  " + escaped(text);
    const note after = overviewNote(each, inColour);
    return line + (after.text.empty() ? "" : "  " + coloured(after));
}

/// Writes the parts of the address in which this leaf differs from the one before, a line each but for the last.
void writeBranch(const leaf& each, const std::vector<std::string>& before, std::ostream& output) {
    bool differs = before.empty();
    for (std::size_t i = 0; i + 1 < addressParts; ++i) {
        differs = differs || each.address[i] != before[i];
        if (!differs)
            continue;
        output << std::string(2 * i, ' ') << partNames[i] << escaped(each.address[i]);
        if (i == 0 && !each.owner->kernel.adapter.empty())
            output << ": " << escaped(each.owner->kernel.adapter);
        output << '\n';
    }
}

} // namespace

void writeTree(const runResult& result, const tableStyle& style, std::ostream& output) {
    std::vector<leaf> leaves;
    for (const auto& each : result.devices)
        leaves.push_back({&each, addressOfDevice(each)});
    std::stable_sort(leaves.begin(), leaves.end(), isBefore);
    std::vector<std::string> before;
    bool isUnknown = false;
    for (const auto& each : leaves) {
        const bool known = !each.address.empty();
        if (known)
            writeBranch(each, before, output);
        else if (!isUnknown)
            output << "address unknown\n";
        isUnknown = !known;
        before = each.address;
        output << (known ? std::string(6, ' ') + partNames[3] + escaped(each.address[3]) : "")
               << lineOf(*each.owner, style.inColour) << '\n';
    }
    writeOpticalDrives(result, style, output);
    output << (result.devices.empty() ? "" : "\n") << summary(result);
}

} // namespace inventory
