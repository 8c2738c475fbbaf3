#pragma once

#include "simulator/machine.h"

#include <string>

namespace simulator {

/// The text of the machine file (docs/machine-files.md) for a machine. Leaves out nodes that never existed, and answers
/// at the end of a list that repeat the one before.
std::string machineFileText(const machine& recorded);

/// Writes `text` to the file at `path`, all of it or nothing. Throws std::runtime_error when that fails, and when there
/// is such a file already and `replace` is false.
void writeWholeFile(const std::string& path, const std::string& text, bool replace);

} // namespace simulator
