#pragma once

#include <string>

namespace simulator {

/// A shell command, of which a simulated machine takes the place of three kinds.
struct shellCommand {
    enum kinds { other, modprobe, usbQuery, removal };

    kinds kind = other;
    std::string file; ///< what the USB query writes, or what is removed
};

/// Reads what kind `command` is.
shellCommand commandOf(const std::string& command);

} // namespace simulator
