#include "inventory/firmware.h"

#include "inventory/instancetext.h"
#include "minihost/classtable.h"
#include "plugin/cimnames.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>

namespace inventory {

namespace {

/// The devices of associations, by their nodes, with the identities of the firmware that is tied to them.
using tieList = std::multimap<std::string, std::string>;

tieList tiesOf(const instances& all) {
    tieList ties;
    for (const auto& instance : all) {
        if (instance->declaration().name == firmwareClass)
            ties.emplace(keyAt(*instance, "Dependent", "DeviceID"),
                         keyAt(*instance, "Antecedent", "SoftwareElementId"));
    }
    return ties;
}

firmwareTie tieOf(const std::string& node, const std::string& identity, const tieList& ties) {
    const auto [first, end] = ties.equal_range(node);
    if (first == end)
        return firmwareTie::none;
    const bool hasOwn = std::any_of(first, end, [&identity](const auto& tie) { return tie.second == identity; });
    return hasOwn ? firmwareTie::tied : firmwareTie::anothers;
}

bool asksForAssociations(const queryResult& query) { return query.classes.front() == firmwareClass; }

/// Did a query for associations come before those that it needs?
bool asksTooEarly(const runResult& result) {
    bool hasDevices = false, hasFirmware = false;
    for (const auto& query : result.queries) {
        for (const auto& name : query.classes) {
            hasDevices = hasDevices || isKindOf(*minihost::findClass(name), busDeviceClass);
            hasFirmware = hasFirmware || name == firmwareElementClass;
        }
        if (asksForAssociations(query) && query.instances.empty() && !(hasDevices && hasFirmware))
            return true;
    }
    return false;
}

} // namespace

void tieFirmware(runResult& result) {
    if (std::none_of(result.queries.begin(), result.queries.end(), asksForAssociations) || asksTooEarly(result))
        return;
    const instances all = result.allInstances();
    const tieList ties = tiesOf(all);
    std::map<std::string, std::string> identities; // by node
    for (const auto& instance : all) {
        if (isKindOf(instance->declaration(), busDeviceClass))
            identities[nodeOf(*instance)] = propertyOf(*instance, "OtherIdentifyingInfo");
    }
    for (auto& each : result.devices) {
        if (const auto found = identities.find(each.node); found != identities.end())
            each.firmware = tieOf(each.node, found->second, ties);
    }
}

std::vector<std::string> firmwareRemarks(const runResult& result) {
    if (asksTooEarly(result))
        return {std::string(firmwareClass) +
                " ties together what earlier queries of the run have collected: ask for devices and " +
                std::string(firmwareElementClass) + " before it"};
    std::size_t all = 0, untied = 0;
    for (const auto& each : result.devices) {
        all += each.firmware == firmwareTie::notAskedFor ? 0 : 1;
        untied += each.firmware == firmwareTie::anothers || each.firmware == firmwareTie::none ? 1 : 0;
    }
    if (untied == 0)
        return {};
    return {std::to_string(untied) + " of " + std::to_string(all) +
            " devices have no firmware tied to them, or another's: the plug-in takes the first identity that theirs "
            "contains"};
}

} // namespace inventory
