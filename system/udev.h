#pragma once

#include <string>

namespace sys {

/// Has this machine a device manager that libudev knows? In an initial RAM disk there can be none.
bool hasUdev();

/// The serial number that this machine's device manager has noted of a block device, such as "b8:16", or a character
/// device, "c9:128", as lsblk shows it; "" where it has none. Opens no node.
std::string udevSerialNumber(const std::string& device);

} // namespace sys
