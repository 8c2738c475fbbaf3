#pragma once

#include "system/machine.h"

#include <chrono>
#include <string>
#include <vector>

namespace sys {

/// Runs `command`, found on the path, without a shell, and gives its standard output. That it could not be started, was
/// ended after `limit`, or ended by a signal or with another exit status than 0, is a failure.
serviceAnswer outputOf(const std::string& command, const std::vector<std::string>& arguments,
                       std::chrono::milliseconds limit);

/// What std::system does, but interrupts stay with this process, which can end the command by endChildAtOnce().
int shellStatus(const char* command);

/// Ends the child that one of these runs right now, if there is one, and all that it has started. Safe in a signal
/// handler.
void endChildAtOnce();

} // namespace sys
