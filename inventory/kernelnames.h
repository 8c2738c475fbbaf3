#pragma once

#include "minihost/memorynamespace.h"
#include "system/machineanswers.h"

#include <string>

namespace inventory {

/// The node at which the device of an instance is; "" for other instances. A disk that another node was asked for its
/// own words is at the first one still.
std::string nodeOf(const minihost::memoryInstance& instance);

/// What is known of the device of an instance, or null.
const sys::kernelNames* findKernelNames(const sys::kernelNameMap& known, const minihost::memoryInstance& instance);

/// The names of the device of an instance with blanks between them; "" if there are none.
std::string kernelNameText(const sys::kernelNameMap& known, const minihost::memoryInstance& instance);

} // namespace inventory
