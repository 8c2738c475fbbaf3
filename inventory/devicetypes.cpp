#include "inventory/devicetypes.h"

#include "device/peripheraltypes.h"

#include <algorithm>
#include <iterator>

namespace inventory {

namespace {

/// By the numbers of the types. lsscsi has none but their numbers for 10 and 11.
constexpr const char* typeWords[] = {"disk",    "tape",    "printer", "process", "worm",    "cd/dvd",  "scanner",
                                     "optical", "mediumx", "comms",   "graphic", "graphic", "storage", "enclosu",
                                     "sim dsk", "opti rd", "bridge",  "osd",     "adi",     "sec man", "zbc"};
static_assert(std::size(typeWords) >= std::size(peripheralTypes), "each type has a word");

} // namespace

std::string shortTypeName(const std::string& name) {
    const auto* const type = std::find(std::begin(peripheralTypes), std::end(peripheralTypes), name);
    return name.empty() || type == std::end(peripheralTypes) ? name : typeWords[type - std::begin(peripheralTypes)];
}

std::string shortTypeName(int number) {
    const bool isKnown = number >= 0 && static_cast<std::size_t>(number) < std::size(typeWords);
    return isKnown ? typeWords[number] : "type " + std::to_string(number);
}

} // namespace inventory
