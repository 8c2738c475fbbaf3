#pragma once

#include "simulator/boundary.h"
#include "simulator/machine.h"

#include <string>

namespace inventory {

/// What the kernel of this machine calls the device behind an sg node: nothing for any other path and where sysfs has
/// nothing to say. Names stand in alphabetical order; the wwid, which takes longer than the rest, is read if it is
/// wanted: the kernel's text without the line end and the blanks that end it. Reads sysfs alone and opens no node: the
/// kernel answers from what it asked when the device came up. `directory` ends with a slash and has an entry for each
/// sg node, as sgClassPath has.
simulator::kernelNames readKernelNames(const std::string& node, bool wantsWwid,
                                       const std::string& directory = simulator::sgClassPath);

} // namespace inventory
