#pragma once

#include "simulator/machine.h"

#include <cstdint>
#include <vector>

namespace fuzz {

/// Runs the plug-in on a machine: the queries, each a list of positions in the class table, then some of its own, and
/// requires what holds on any machine.
void checkPluginRun(simulator::machine machine, std::vector<std::vector<std::uint8_t>> queries);

} // namespace fuzz
