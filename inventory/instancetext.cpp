#include "inventory/instancetext.h"

#include "minihost/cimcontent.h"

#include <boost/algorithm/string.hpp>

#include <variant>

namespace inventory {

namespace {

std::string withoutPadding(const NHALDEN20::TCIMValue& value) {
    return boost::trim_copy_if(minihost::valueText(value), [](char c) { return c == ' '; });
}

} // namespace

std::string propertyOf(const minihost::memoryInstance& instance, std::string_view name) {
    const auto* value = instance.find(name);
    return value == nullptr ? "" : withoutPadding(*value);
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
    return found == keys.end() ? "" : withoutPadding(found->second);
}

std::string nodeOf(const minihost::memoryInstance& instance) {
    const auto* const node = instance.find("DeviceID");
    return node == nullptr ? "" : minihost::valueText(*node);
}

std::string withoutDirectory(std::string path) {
    constexpr std::string_view directory = "/dev/";
    if (path.size() > directory.size() && path.compare(0, directory.size(), directory) == 0)
        path.erase(0, directory.size());
    return path;
}

} // namespace inventory
