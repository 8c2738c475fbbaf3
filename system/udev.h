#pragma once

#include <sys/types.h>

#include <string>

namespace sys {

/// Has this machine a device manager that libudev knows? In an initial RAM disk there can be none.
bool hasUdev();

/// The serial number that this machine's device manager has noted of a block device (kind 'b') or a character device
/// ('c'), as lsblk shows it; "" where it has none. Opens no node.
std::string udevSerialNumber(char kind, dev_t number);

} // namespace sys
