#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace sys {

/// What opening and asking told of the device nodes that were looked at, each list in the order of the walk.
struct nodeReport {
    /// A node that is there, and why it could not be opened.
    struct refusal {
        std::string path;
        int error; ///< errno
    };
    /// A node that opened, and what it failed with instead of identifying itself: "INQUIRY: EIO"; "" if it was not
    /// asked at all.
    struct silence {
        std::string path;
        std::string failure;
    };
    /// An sg node whose disk was asked for its own words at another node.
    struct detour {
        std::string path;
        std::string askedAt;
    };

    std::size_t present = 0; ///< nodes that opened or were refused
    std::vector<refusal> refused;
    std::vector<silence> silent;
    std::vector<detour> detours;
};

/// Watches which device nodes are there, which refuse to open, and which open but do not identify themselves.
///
/// A node is there when opening it succeeds or fails with another error than ENOENT, ENXIO and ENODEV. It has
/// identified itself once INQUIRY, IDENTIFY DEVICE or CDROM_GET_CAPABILITY has succeeded. A /dev/sd node is opened in
/// place of the sg node before it, and counts on its own only where it refuses.
class nodeWatch {
public:
    void opened(std::string_view path, int fd, int error);
    void closed(int fd) { open_.erase(fd); }

    /// `argument` is as the driver left it; `error` is the errno if the result is -1.
    void asked(int fd, unsigned long request, const void* argument, int result, int error);

    /// The nodes will be walked from the start again. Each has to identify itself anew.
    void beginWalk() { walk_ = visits_.size(); }

    nodeReport report() const;

private:
    struct visit {
        std::string path;
        int error; // of opening
        bool identified = false;
        std::string failure{};
        bool scsiFailed = false;
        std::string askedAt{};
    };

    struct descriptor {
        std::size_t visit;
        std::string path; // of a node that is asked in place of the visited one; else ""
    };

    void visited(const std::string& path, int error);

    std::vector<visit> visits_; // of all walks
    std::size_t walk_ = 0;      // where the present one begins
    std::map<int, descriptor> open_;
};

} // namespace sys
