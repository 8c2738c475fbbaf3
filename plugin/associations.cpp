#include "plugin/scsidev_linux.h"

#include "plugin/cimnames.h"

#include <algorithm>
#include <exception>

using NHALDEN20::ICIMInstance;
using NHALDEN20::TCIMReference;
using NHALDEN20::TCIMValue;
using NHALDEN20::TContext;

namespace {

TCIMValue property(ICIMInstance& instance, const char* name) {
    return instance.GetPropertyHandle(name, TContext())->GetValue();
}

bool deviceMatches(ICIMInstance& device, const std::string& key) {
    TCIMValue value = property(device, identifyingInfoProperty);
    const std::vector<TCIMValue>& identities = value;
    // Another provider's device may have none, or one that is no text.
    try {
        return !identities.empty() && key.find(static_cast<std::string>(identities.front())) != std::string::npos;
    } catch (const std::exception&) {
        return false;
    }
}

bool firmwareMatches(ICIMInstance& element, const std::string& key) {
    return key.find(static_cast<std::string>(property(element, softwareElementIdProperty))) != std::string::npos;
}

} // namespace

// A stored identity matches when it is part of the key, not only when it equals it, and the first match
// decides.
bool TScsidevPluginCallbacks::findRefs(std::string key, std::string /*firmwareLevel*/,
                                       boost::shared_ptr<ICIMInstance> association) {
    const auto firstMatch = [&key](const instanceList& instances, bool (*matches)(ICIMInstance&, const std::string&)) {
        const auto found = std::find_if(instances.begin(), instances.end(),
                                        [&](const auto& instance) { return matches(*instance, key); });
        return found == instances.end() ? nullptr : found->get();
    };
    ICIMInstance* device = firstMatch(existingDevices_, deviceMatches);
    if (device == nullptr)
        return false;
    TCIMReference dependent = device->GetReference(TContext());
    ICIMInstance* element = firstMatch(existingFirmwareElements_, firmwareMatches);
    if (element == nullptr)
        return false;

    TCIMReference antecedent = element->GetReference(TContext());
    association->SetProperty("Dependent", TCIMValue(dependent), TContext());
    association->SetProperty("Antecedent", TCIMValue(antecedent), TContext());
    return true;
}
