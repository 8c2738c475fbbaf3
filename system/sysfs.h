#pragma once

#include "system/machineanswers.h"

#include <set>
#include <string>

namespace sys {

/// Where the kernel tells of each sg node which device it stands for.
constexpr const char* sgClassPath = "/sys/class/scsi_generic/";

/// What the kernel of this machine calls the devices behind sg nodes. Names are in alphabetical order; the wwid, which
/// takes longer than the rest, is read if it is wanted: the kernel's text without the line end and the blanks that end
/// it. Reads sysfs alone and opens no node: the kernel answers from what it asked when the device came up. `directory`
/// is that of the class of sg nodes, with those of other classes beside it.
kernelNameMap readKernelNames(const std::set<std::string>& nodes, bool wantsWwid,
                              const std::string& directory = sgClassPath);

} // namespace sys
