#include "plugin/scsidev_linux.h"

#include "plugin/cimnames.h"

using NHALDEN20::ICIMInstance;
using NHALDEN20::TCIMReference;
using NHALDEN20::TCIMValue;
using NHALDEN20::TContext;

namespace {

/// A stored identity matches when it is part of the key, not only when it equals it.
bool matches(const TCIMValue& identity, const std::string& key) {
    return key.find(static_cast<std::string>(identity)) != std::string::npos;
}

/// Another provider's device may have no identity: no handle for the property, or a value that is no array or an empty
/// one. It does not match.
bool deviceMatches(ICIMInstance& device, const std::string& key) {
    const auto property = device.GetPropertyHandle(identifyingInfoProperty, TContext());
    if (!property)
        return false;
    const std::vector<TCIMValue> identities = property->GetValue();
    return !identities.empty() && matches(identities.front(), key);
}

bool firmwareMatches(ICIMInstance& element, const std::string& key) {
    const auto property = element.GetPropertyHandle(softwareElementIdProperty, TContext());
    return property && matches(property->GetValue(), key);
}

/// Sets `path` to the object path of the first instance that matches. False: none does.
bool findFirst(const TScsidevPluginCallbacks::instanceList& instances,
               bool (*matchesKey)(ICIMInstance&, const std::string&), const std::string& key, TCIMReference& path) {
    for (const auto& instance : instances) {
        if (matchesKey(*instance, key)) {
            path = instance->GetReference(TContext());
            return true;
        }
    }
    return false;
}

} // namespace

bool TScsidevPluginCallbacks::findRefs(std::string key, std::string /*firmwareLevel*/,
                                       boost::shared_ptr<ICIMInstance> association) {
    TCIMReference dependent({}, {});
    TCIMReference antecedent({}, {});
    // The first device that matches decides, also where only a later one has a firmware element.
    if (!findFirst(existingDevices_, deviceMatches, key, dependent) ||
        !findFirst(existingFirmwareElements_, firmwareMatches, key, antecedent))
        return false;

    association->SetProperty("Dependent", TCIMValue(dependent), TContext());
    association->SetProperty("Antecedent", TCIMValue(antecedent), TContext());
    return true;
}
