#pragma once

#include "inventory/options.h"

namespace inventory {

/// Is this process running on a simulated machine?
bool isSimulated();

/// Makes `options.machineFile` this process's machine.
///
/// Called first in the process that the user started: checks the file and starts the program again, with the
/// same arguments, under the preload library, and so does not return. Called there, adds the machine's
/// virtual devices to `options`. Throws std::runtime_error when the file or the library cannot be used.
void simulateMachine(options& options, char* const* argv);

} // namespace inventory
