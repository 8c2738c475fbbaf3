#pragma once

#include "system/machineanswers.h"

#include <cstddef>
#include <random>
#include <set>
#include <string>

namespace sys {

/// A machine that may be given away, and what has become of the one that it was made of.
struct anonymousMachine {
    machineAnswers result;

    std::size_t serialNumbers = 0;      ///< how many have been replaced, equal ones counted once
    std::size_t worldWideNames = 0;     ///< the same of these
    bool hostName = false;              ///< has it been replaced?
    std::size_t virtualDevices = 0;     ///< how many of their names have been replaced, if only in part
    std::size_t keptVirtualDevices = 0; ///< and how many have not: paths of nodes, names of optical drives
    std::set<std::string> keptAt; ///< where replaced texts still stand, as parts of vendors or products: node paths
};

/// Replaces what tells a machine from others like it: serial numbers, world wide names, the host name and the names of
/// virtual devices, in all bytes that the machine answers with (docs/machine-files.md has the details).
///
/// The plug-in finds and leaves out the same devices on both machines. Vendors, products, firmware, statuses, numbers
/// and node paths stay. Equal texts are replaced by equal ones, different texts by different ones.
anonymousMachine anonymize(const machineAnswers& original, std::mt19937& random);

} // namespace sys
