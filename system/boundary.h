#pragma once

#include <cerrno>
#include <optional>
#include <string>
#include <string_view>

// What of the system a simulated machine answers for: device nodes, one file and a few shell commands.

namespace sys {

/// Does `path` belong to a family of device nodes that a simulated machine answers for? It answers for the whole
/// family, also for nodes that it does not have.
inline bool isNodePath(std::string_view path) {
    const std::string_view family = path.substr(0, 7);
    return family == "/dev/sg" || family == "/dev/sd" || family == "/dev/hd" || family == "/dev/sr";
}

/// The number of a SCSI generic node from its path, /dev/sg0 onward; none of any other path.
std::optional<unsigned> sgNodeNumber(std::string_view path);

/// Is it the path of a node that a plug-in looks for: /dev/sg and a number, or /dev/hd and a letter?
bool isWalkedNode(std::string_view path);

/// Does opening a node with this errno say that there is no device?
inline bool isAbsent(int error) { return error == ENOENT || error == ENXIO || error == ENODEV; }

/// The file with the kernel's table of optical drives.
constexpr const char* opticalTablePath = "/proc/sys/dev/cdrom/info";

/// A shell command, of which a simulated machine takes the place of three kinds.
struct shellCommand {
    enum kinds { other, modprobe, usbQuery, removal };

    kinds kind = other;
    const char* purpose = ""; ///< in words, of one that can take long
    std::string file;         ///< what the USB query writes, or what is removed
};

/// Reads what kind `command` is.
shellCommand commandOf(const std::string& command);

} // namespace sys
