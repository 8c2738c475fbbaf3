#pragma once

#include <string>

namespace inventory {

/// lsscsi's word for a peripheral device type that the plug-in names, such as "disk" for "Direct Access Device"; the
/// name itself where it is none of these.
std::string shortTypeName(const std::string& name);

/// lsscsi's word for a peripheral device type by its number (SPC-4, table 124).
std::string shortTypeName(int number);

} // namespace inventory
