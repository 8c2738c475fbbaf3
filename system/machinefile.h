#pragma once

#include "system/machineanswers.h"

#include <cstddef>
#include <string>
#include <vector>

namespace sys {

/// Reads the machine file (JSON, docs/machine-files.md) at `path`, all of it checked. Throws std::runtime_error
/// with the file's name, the place in it and what was expected there.
machineAnswers readMachineFile(const std::string& path);

/// The same from a text. Errors name the file `name`.
machineAnswers parseMachine(const std::string& text, const std::string& name);

/// What is probably wrong in a machine file that could be read, a sentence each, with the node: IDENTIFY data whose
/// words have their bytes exchanged, so that all texts of the drive would be too.
std::vector<std::string> doubtsAbout(const machineAnswers& machine);

/// The text of the machine file (docs/machine-files.md) for a machine. Leaves out nodes that never existed, and answers
/// at the end of a list that repeat the one before.
std::string machineFileText(const machineAnswers& recorded);

/// Reads a file. Throws std::runtime_error, with the path, when it cannot be read or has more than `most` bytes.
std::string contentUpTo(const std::string& path, std::size_t most);

} // namespace sys
