#include "inventory/firmwareremarks.h"

#include "inventory/instancetext.h"
#include "minihost/classtable.h"
#include "plugin/cimnames.h"

#include <algorithm>
#include <cstddef>
#include <map>

namespace inventory {

namespace {

bool isDeviceClass(const std::string& name) {
    const auto* const declaration = minihost::findClass(name);
    return declaration != nullptr && isKindOf(*declaration, busDeviceClass);
}

/// What the instances of a run say of devices and firmware. Both are known by an identity, such as an address.
struct knownInstances {
    struct knownDevice {
        std::string identity;
        bool isAssociated = false; ///< with the firmware of the same identity
    };

    std::map<std::string, knownDevice> devices; ///< by DeviceID
    std::vector<std::string> firmware;          ///< identities

    void add(const minihost::memoryInstance& instance) {
        if (isKindOf(instance.declaration(), busDeviceClass))
            devices[propertyOf(instance, "DeviceID")].identity = propertyOf(instance, "OtherIdentifyingInfo");
        else if (instance.declaration().name == firmwareElementClass)
            firmware.push_back(propertyOf(instance, "SoftwareElementId"));
    }

    void associate(const minihost::memoryInstance& association) {
        const auto found = devices.find(keyAt(association, "Dependent", "DeviceID"));
        if (found != devices.end() && found->second.identity == keyAt(association, "Antecedent", "SoftwareElementId"))
            found->second.isAssociated = true;
    }

    /// Is another identity a part of this one? The collector takes the first device and the first firmware element
    /// whose identity is contained in a device's.
    bool isMistakable(const std::string& identity) const {
        const auto isOther = [&identity](const std::string& known) {
            return known != identity && identity.find(known) != std::string::npos;
        };
        return std::any_of(firmware.begin(), firmware.end(), isOther) ||
               std::any_of(devices.begin(), devices.end(),
                           [&](const auto& device) { return isOther(device.second.identity); });
    }
};

std::string countOf(std::size_t part, const knownInstances& known) {
    return "no firmware association of their own: " + std::to_string(part) + " of " +
           std::to_string(known.devices.size()) + " devices (";
}

} // namespace

std::vector<std::string> firmwareRemarks(const runResult& result) {
    std::vector<std::string> remarks;
    knownInstances known;
    std::vector<const minihost::memoryInstance*> associations;
    bool askedDevices = false, askedFirmware = false, asked = false, askedTooEarly = false;
    for (const auto& query : result.queries) {
        for (const auto& name : query.classes) {
            askedDevices = askedDevices || isDeviceClass(name);
            askedFirmware = askedFirmware || name == firmwareElementClass;
        }
        if (query.classes.front() == firmwareClass) {
            asked = true;
            askedTooEarly = askedTooEarly || (query.instances.empty() && !(askedDevices && askedFirmware));
        }
        for (const auto& instance : query.instances) {
            known.add(*instance);
            if (instance->declaration().name == firmwareClass)
                associations.push_back(instance.get());
        }
    }
    if (askedTooEarly)
        remarks.push_back(std::string(firmwareClass) +
                          " ties together what earlier queries of the run have collected: ask for devices and " +
                          std::string(firmwareElementClass) + " before it");
    if (!asked || askedTooEarly)
        return remarks;
    for (const auto* association : associations)
        known.associate(*association);
    std::size_t mistaken = 0, missing = 0;
    for (const auto& [id, device] : known.devices) {
        if (!device.isAssociated)
            ++(known.isMistakable(device.identity) ? mistaken : missing);
    }
    if (mistaken > 0)
        remarks.push_back(countOf(mistaken, known) + "the first identity contained in theirs is another's)");
    if (missing > 0)
        remarks.push_back(countOf(missing, known) + "no firmware element has their identity)");
    return remarks;
}

} // namespace inventory
