#pragma once

#include "minihost/memorynamespace.h"

#include <map>
#include <string>
#include <vector>

namespace inventory {

/// What the kernel calls a device.
struct kernelNames {
    std::vector<std::string> names; ///< of its block, tape, optical or changer nodes
    std::string wwid;               ///< "" where it knows none
};

/// What the kernel calls the devices of a run, by the path of their sg node. Has no entry for one that it calls
/// nothing.
using kernelNameMap = std::map<std::string, kernelNames>;

/// The node at which the device of an instance is; "" for other instances. A disk that another node was asked for its
/// own words is at the first one still.
std::string nodeOf(const minihost::memoryInstance& instance);

/// What is known of the device of an instance, or null.
const kernelNames* findKernelNames(const kernelNameMap& known, const minihost::memoryInstance& instance);

/// The names of the device of an instance with blanks between them; "" if there are none.
std::string kernelNameText(const kernelNameMap& known, const minihost::memoryInstance& instance);

} // namespace inventory
