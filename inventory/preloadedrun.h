#pragma once

#include "inventory/options.h"

namespace inventory {

// A simulated machine, or a recorder, stands before the system calls by way of the preload library. The process that
// the user started does not have it: there these functions start the program again, with the same arguments, under the
// library, and so do not return. They throw std::runtime_error when a file or the library cannot be used.

/// Is this process running on a simulated machine?
bool isSimulated();

/// Makes `options.machineFile`, where there is one, this process's machine. Adds the virtual devices of the simulated
/// machine to `options`.
void simulateMachine(options& options, char* const* argv);

/// Makes this process record what the machine answers where `options.recordFile` asks for it.
void startRecording(const options& options, char* const* argv);

/// Writes what was recorded to `options.recordFile` and says on standard error what the file holds.
void writeRecording(const options& options);

} // namespace inventory
