#pragma once

#include "minihost/memorynamespace.h"

#include <string>
#include <string_view>

namespace inventory {

/// The text of a property, without the outer blanks with which devices pad it; "" where it is not set.
std::string propertyOf(const minihost::memoryInstance& instance, std::string_view name);

/// HOST:CHANNEL:TARGET:LUN of a device; "" where the kernel did not tell the address, so that the node identifies it.
std::string addressOf(const minihost::memoryInstance& device);

/// The key `name`, without padding, of the instance at the end `endName` of an association; "" where there is none.
std::string keyAt(const minihost::memoryInstance& association, std::string_view endName, const char* name);

/// The node at which the device of an instance is; "" for other instances. A disk that another node was asked for its
/// own words is at the first one still.
std::string nodeOf(const minihost::memoryInstance& instance);

/// lsscsi's word for a peripheral device type that the plug-in names, such as "disk" for "Direct Access Device"; the
/// name itself where it is none of these.
std::string shortTypeName(const std::string& name);

/// lsscsi's word for a peripheral device type by its number (SPC-4, table 124).
std::string shortTypeName(int number);

/// The text without the /dev/ that device nodes begin with: people tell them apart by the rest.
std::string withoutDirectory(std::string path);

} // namespace inventory
