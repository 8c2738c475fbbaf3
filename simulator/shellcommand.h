#pragma once

#include <string>

namespace simulator {

/// The shell commands that a simulated machine stands in for.
struct shellCommand {
    enum kinds { other, modprobe, usbQuery, removal };

    kinds kind = other;
    std::string file; ///< what the USB query writes, or what is removed
};

/// Which of them `command` is.
shellCommand commandOf(const std::string& command);

} // namespace simulator
