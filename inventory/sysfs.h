#pragma once

#include "system/boundary.h"
#include "system/machineanswers.h"

#include <map>
#include <set>
#include <string>

namespace inventory {

/// What the kernel of this machine calls the devices behind sg nodes, by the path of the node: nothing for any other
/// path and where sysfs has nothing to say. Names stand in alphabetical order; the wwid, which takes longer than the
/// rest, is read if it is wanted: the kernel's text without the line end and the blanks that end it. Reads sysfs alone
/// and opens no node: the kernel answers from what it asked when the device came up. `directory` is that of the class
/// of sg nodes, as sgClassPath is, with those of other classes beside it.
std::map<std::string, sys::kernelNames> readKernelNames(const std::set<std::string>& nodes, bool wantsWwid,
                                                        const std::string& directory = sys::sgClassPath);

} // namespace inventory
