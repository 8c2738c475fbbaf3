#pragma once

#include "simulator/machine.h"

#include <cstdint>
#include <vector>

namespace fuzz {

/// The queries of a run, each a list of positions in the class table.
using queryList = std::vector<std::vector<std::uint8_t>>;

/// Runs the plug-in on a machine: the queries, then some of its own, and requires what holds on any machine.
void checkPluginRun(const simulator::machine& machine, const queryList& queries);

/// Records the queries on a machine, writes the recording, reads it and runs them on that, and requires that a host
/// sees the same.
void checkReplay(const simulator::machine& machine, const queryList& queries);

} // namespace fuzz
