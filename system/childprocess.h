#pragma once

#include "system/machine.h"

#include <chrono>
#include <string>
#include <vector>

namespace sys {

/// Runs `command`, a program found on PATH and its arguments, without a shell, and returns its standard output. It is a
/// failure when the command cannot be started, is ended after `limit`, or ends by a signal or with another exit status
/// than 0.
serviceAnswer outputOf(const std::vector<std::string>& command, std::chrono::milliseconds limit);

/// Does what std::system does, but this process does not ignore interrupts meanwhile: its handler can end the command
/// by endChildAtOnce().
int shellStatus(const char* command);

/// Ends the child that one of these functions waits for, if there is one, and everything that the child started. Safe
/// in a signal handler.
void endChildAtOnce();

} // namespace sys
