#include "inventory/instancetext.h"

#include "device/peripheraltypes.h"
#include "minihost/cimcontent.h"

#include <boost/algorithm/string.hpp>

#include <algorithm>
#include <iterator>
#include <variant>

namespace inventory {

namespace {

std::string withoutPadding(const NHALDEN20::TCIMValue& value) {
    return boost::trim_copy_if(minihost::valueText(value), [](char c) { return c == ' '; });
}

/// By the numbers of the types. lsscsi has none but their numbers for 10 and 11.
constexpr const char* typeWords[] = {"disk",    "tape",    "printer", "process", "worm",    "cd/dvd",  "scanner",
                                     "optical", "mediumx", "comms",   "graphic", "graphic", "storage", "enclosu",
                                     "sim dsk", "opti rd", "bridge",  "osd",     "adi",     "sec man", "zbc"};
static_assert(std::size(typeWords) >= std::size(peripheralTypes), "each type has a word");

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

std::string shortTypeName(const std::string& name) {
    const auto* const type = std::find(std::begin(peripheralTypes), std::end(peripheralTypes), name);
    return name.empty() || type == std::end(peripheralTypes) ? name : typeWords[type - std::begin(peripheralTypes)];
}

std::string shortTypeName(int number) {
    const bool isKnown = number >= 0 && static_cast<std::size_t>(number) < std::size(typeWords);
    return isKnown ? typeWords[number] : "type " + std::to_string(number);
}

std::string withoutDirectory(std::string path) {
    constexpr std::string_view directory = "/dev/";
    if (path.size() > directory.size() && path.compare(0, directory.size(), directory) == 0)
        path.erase(0, directory.size());
    return path;
}

} // namespace inventory
