#pragma once

#include "system/machineanswers.h"

#include <set>
#include <string>

namespace sys {

/// The directory in which the kernel says which device is behind each sg node.
constexpr const char* sgClassPath = "/sys/class/scsi_generic/";

/// What the kernel of this machine calls the devices behind sg nodes. Names are in alphabetical order. The wwid is the
/// kernel's text without the blanks and the line end behind it; it is read only if it is wanted, because that takes
/// longer than the rest. Reads sysfs and opens no node: the kernel answers from what it asked when the device came up.
/// `directory` is the one of the class of sg nodes, beside which those of other classes lie.
kernelWordMap readKernelWords(const std::set<std::string>& nodes, kernelDetail detail,
                              const std::string& directory = sgClassPath);

} // namespace sys
