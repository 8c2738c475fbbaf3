#pragma once

#include "simulator/machine.h"

#include <string>

namespace simulator {

/// The text of the machine file (docs/machine-files.md) for a machine. Leaves out nodes that never existed, and answers
/// at the end of a list that repeat the one before.
std::string machineFileText(const machine& recorded);

} // namespace simulator
