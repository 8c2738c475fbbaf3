#include "inventory/firmwareremarks.h"

#include "inventory/instancetext.h"
#include "minihost/classtable.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace inventory {

namespace {

constexpr std::string_view associationClass = "KORVA_SysBusDeviceFirmware";
constexpr std::string_view elementClass = "KORVA_SysBusDeviceFirmwareElement";

bool isDeviceClass(const std::string& name) {
    const auto* const declaration = minihost::findClass(name);
    return declaration != nullptr && isKindOf(*declaration, "KORVA_SysBusDevice");
}

/// What the instances of a run say of devices and firmware. Both are known by an identity, such as an address.
struct knownInstances {
    std::map<std::string, std::string> devices;               ///< identities by DeviceID
    std::set<std::string> firmware;                           ///< identities
    std::set<std::pair<std::string, std::string>> associated; ///< DeviceID and the firmware's identity

    void add(const minihost::memoryInstance& instance) {
        if (isKindOf(instance.declaration(), "KORVA_SysBusDevice"))
            devices[propertyOf(instance, "DeviceID")] = propertyOf(instance, "OtherIdentifyingInfo");
        else if (instance.declaration().name == elementClass)
            firmware.insert(propertyOf(instance, "SoftwareElementId"));
        else if (instance.declaration().name == associationClass)
            associated.emplace(keyAt(instance, "Dependent", "DeviceID"),
                               keyAt(instance, "Antecedent", "SoftwareElementId"));
    }

    /// Is another identity a part of this one? The collector takes the first device and the first firmware element
    /// whose identity is contained in a device's.
    bool isMistakable(const std::string& identity) const {
        const auto isOther = [&identity](const std::string& known) {
            return known != identity && identity.find(known) != std::string::npos;
        };
        return std::any_of(firmware.begin(), firmware.end(), isOther) ||
               std::any_of(devices.begin(), devices.end(), [&](const auto& device) { return isOther(device.second); });
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
    bool askedDevices = false, askedFirmware = false, asked = false, askedTooEarly = false;
    for (const auto& query : result.queries) {
        for (const auto& name : query.classes) {
            askedDevices = askedDevices || isDeviceClass(name);
            askedFirmware = askedFirmware || name == elementClass;
        }
        if (query.classes.front() == associationClass) {
            asked = true;
            askedTooEarly = askedTooEarly || (query.instances.empty() && !(askedDevices && askedFirmware));
        }
        for (const auto& instance : query.instances)
            known.add(*instance);
    }
    if (askedTooEarly)
        remarks.push_back(std::string(associationClass) +
                          " ties together what earlier queries of the run have collected: ask for devices and " +
                          std::string(elementClass) + " before it");
    if (!asked || askedTooEarly)
        return remarks;
    std::size_t mistaken = 0, missing = 0;
    for (const auto& [device, identity] : known.devices) {
        if (known.associated.count({device, identity}) == 0)
            ++(known.isMistakable(identity) ? mistaken : missing);
    }
    if (mistaken > 0)
        remarks.push_back(countOf(mistaken, known) + "the first identity contained in theirs is another's)");
    if (missing > 0)
        remarks.push_back(countOf(missing, known) + "no firmware element has their identity)");
    return remarks;
}

} // namespace inventory
