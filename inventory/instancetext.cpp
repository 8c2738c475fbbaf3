#include "inventory/instancetext.h"

#include "minihost/cimcontent.h"

#include <variant>

namespace inventory {

std::string withoutPadding(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    text.erase(0, text.find_first_not_of(' '));
    return text;
}

std::string propertyOf(const minihost::memoryInstance& instance, std::string_view name) {
    const auto* value = instance.find(name);
    return value == nullptr ? "" : withoutPadding(minihost::valueText(*value));
}

std::string addressOf(const minihost::memoryInstance& device) {
    if (propertyOf(device, "OtherIdentifyingInfo").rfind("Port:", 0) != 0)
        return "";
    return propertyOf(device, "HostAdapterID") + ':' + propertyOf(device, "Bus") + ':' +
           propertyOf(device, "TargetID") + ':' + propertyOf(device, "Lun");
}

std::string keyAt(const minihost::memoryInstance& association, std::string_view endName, const char* name) {
    const auto* value = association.find(endName);
    const auto* reference = value == nullptr ? nullptr : std::get_if<NHALDEN20::TCIMReference>(&value->Content().value);
    if (reference == nullptr)
        return "";
    const auto& keys = reference->Content().keys;
    const auto found = keys.find(name);
    return found == keys.end() ? "" : withoutPadding(minihost::valueText(found->second));
}

} // namespace inventory
