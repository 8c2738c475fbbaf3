#include "inventory/remarks.h"

#include "inventory/instancetext.h"
#include "minihost/classtable.h"
#include "plugin/cimnames.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <utility>

namespace inventory {

namespace {

/// What the instances of a run say of devices and firmware. Both are known by an identity, such as an address.
struct knownInstances {
    std::map<std::string, std::string> devices;                 ///< the identity of each DeviceID
    std::set<std::string> identities;                           ///< of devices and of firmware
    std::set<std::pair<std::string, std::string>> associations; ///< DeviceIDs with identities of firmware

    void add(const minihost::memoryInstance& instance) {
        if (isKindOf(instance.declaration(), busDeviceClass)) {
            const std::string identity = propertyOf(instance, "OtherIdentifyingInfo");
            devices[propertyOf(instance, "DeviceID")] = identity;
            identities.insert(identity);
        } else if (instance.declaration().name == firmwareElementClass) {
            identities.insert(propertyOf(instance, "SoftwareElementId"));
        } else if (instance.declaration().name == firmwareClass) {
            associations.emplace(keyAt(instance, "Dependent", "DeviceID"),
                                 keyAt(instance, "Antecedent", "SoftwareElementId"));
        }
    }

    /// Is another identity a part of this one? The collector takes the first device and the first firmware element
    /// whose identity is contained in a device's.
    bool isMistakable(const std::string& identity) const {
        return std::any_of(identities.begin(), identities.end(), [&identity](const std::string& known) {
            return known != identity && identity.find(known) != std::string::npos;
        });
    }
};

/// The remarks on devices that are not associated with the firmware of the same identity.
std::vector<std::string> remarksOnMissing(const knownInstances& known) {
    std::size_t mistaken = 0, missing = 0;
    for (const auto& device : known.devices) {
        if (known.associations.count(device) == 0)
            ++(known.isMistakable(device.second) ? mistaken : missing);
    }
    std::vector<std::string> remarks;
    const auto remark = [&](std::size_t part, const std::string& reason) {
        if (part > 0)
            remarks.push_back("no firmware association of their own: " + std::to_string(part) + " of " +
                              std::to_string(known.devices.size()) + " devices (" + reason + ')');
    };
    remark(mistaken, "the first identity contained in theirs is another's");
    remark(missing, "no firmware element has their identity");
    return remarks;
}

} // namespace

std::vector<std::string> firmwareRemarks(const runResult& result) {
    knownInstances known;
    bool askedDevices = false, askedFirmware = false, asked = false;
    for (const auto& query : result.queries) {
        for (const auto& name : query.classes) {
            const auto* const declaration = minihost::findClass(name);
            askedDevices = askedDevices || (declaration != nullptr && isKindOf(*declaration, busDeviceClass));
            askedFirmware = askedFirmware || name == firmwareElementClass;
        }
        if (query.classes.front() == firmwareClass) {
            asked = true;
            if (query.instances.empty() && !(askedDevices && askedFirmware))
                return {std::string(firmwareClass) +
                        " ties together what earlier queries of the run have collected: ask for devices and " +
                        std::string(firmwareElementClass) + " before it"};
        }
        for (const auto& instance : query.instances)
            known.add(*instance);
    }
    return asked ? remarksOnMissing(known) : std::vector<std::string>();
}

} // namespace inventory
