#pragma once

#include "system/machineanswers.h"

namespace sys {

/// Leaves of a machine's USB listing, of its names of virtual devices and of its table of optical drives no more than
/// the plug-in needs to find and leave out the same devices: products, node paths, names that a kernel gives, and
/// numbers.
void anonymizeTexts(machineAnswers& machine);

} // namespace sys
