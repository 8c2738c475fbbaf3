#pragma once

#include "minihost/memorynamespace.h"

#include <string>
#include <string_view>

namespace inventory {

/// The text without its outer blanks, with which devices pad it.
std::string withoutPadding(std::string text);

/// The text of a property without padding; "" where it is not set.
std::string propertyOf(const minihost::memoryInstance& instance, std::string_view name);

/// HOST:CHANNEL:TARGET:LUN of a device; "" where the kernel did not tell the address, so that the node identifies it.
std::string addressOf(const minihost::memoryInstance& device);

/// The key `name`, without padding, of the instance at the end `endName` of an association; "" where there is none.
std::string keyAt(const minihost::memoryInstance& association, std::string_view endName, const char* name);

} // namespace inventory
