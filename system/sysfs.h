#pragma once

#include "system/machineanswers.h"

#include <set>
#include <string>

namespace sys {

/// The directory in which the kernel lists its devices by class.
constexpr const char* classesPath = "/sys/class/";

/// What the kernel and the device manager of this machine know of the devices behind sg and hd nodes. Names are in
/// alphabetical order. What is more than the names is read only if it is wanted, because that takes longer.
///
/// Opens no node: the kernel answers from what it asked when the device came up. Texts can hold any bytes, since most
/// of them are the device's.
kernelWordMap readKernelWords(const std::set<std::string>& nodes, kernelDetail detail,
                              const std::string& classes = classesPath);

} // namespace sys
