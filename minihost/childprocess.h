#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace minihost {

/// Runs `command`, found on the path, without a shell, and returns its standard output; its standard input
/// and error are /dev/null. A child that runs longer than `limit` is ended. "" when it cannot be started.
std::string outputOf(const std::string& command, const std::vector<std::string>& arguments,
                     std::chrono::milliseconds limit);

} // namespace minihost
