#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace minihost {

/// Runs `command`, found on the path, without a shell, and returns its standard output; its standard input
/// and error are /dev/null. A child that runs longer than `limit` is ended. "" when it cannot be started.
std::string outputOf(const std::string& command, const std::vector<std::string>& arguments,
                     std::chrono::milliseconds limit);

/// What std::system does, but interrupts stay with this process, which can end the command by endChildAtOnce().
int shellStatus(const char* command);

/// Ends the child that one of these runs right now, if there is one, and all that it has started. Safe in a signal
/// handler.
void endChildAtOnce();

} // namespace minihost
