#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace minihost {

/// What a child gave.
struct childOutput {
    std::string output;  ///< its standard output, as far as it could be read
    std::string failure; ///< "" when the child ended by itself with exit status 0 and all of its output was read
};

/// Runs `command`, found on the path, without a shell; its standard input and error are /dev/null. A child that runs
/// longer than `limit` is ended.
childOutput outputOf(const std::string& command, const std::vector<std::string>& arguments,
                     std::chrono::milliseconds limit);

/// What std::system does, but interrupts stay with this process, which can end the command by endChildAtOnce(), and
/// the command's standard input and error are /dev/null.
int shellStatus(const char* command);

/// Ends the child that one of these runs right now, if there is one, and all that it has started. Safe in a signal
/// handler.
void endChildAtOnce();

} // namespace minihost
