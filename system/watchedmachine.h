#pragma once

#include "system/machine.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sys {

/// A device node and what went wrong there: the name of an errno, or a request and why it failed; "" if it was not
/// asked at all.
struct nodeFailure {
    std::string path;
    std::string why;
};

/// What was seen of the device nodes that a plug-in looked at. Each list is in the order of the walk.
struct nodeReport {
    std::size_t present = 0;          ///< number of nodes that opened or refused to
    std::vector<nodeFailure> refused; ///< nodes that are there and did not open
    std::vector<nodeFailure> silent;  ///< nodes that opened and did not identify themselves
    std::vector<std::pair<std::string, std::string>> askedElsewhere; ///< sg nodes, and the nodes that identified them
};

/// Watches what a plug-in asks the machine below. It notes which device nodes are there, which refuse to open and which
/// open but do not identify themselves, whether the driver could be loaded, and what could not be read.
///
/// A node is there when opening it succeeds or fails with another error than ENOENT, ENXIO and ENODEV. It has
/// identified itself once INQUIRY, IDENTIFY DEVICE or CDROM_GET_CAPABILITY has succeeded. A /dev/sd node is opened in
/// place of the sg node before it, and counts on its own only where it refuses. Loading the driver begins a new walk,
/// in which each node has to identify itself anew.
class watchedMachine : public layer {
public:
    using layer::layer;

    /// From now on `step` is called before everything that can take long: a node, a pause, a shell command.
    void onStep(std::function<void(const std::string& step)> step) { step_ = std::move(step); }

    int open(const char* path, int flags, mode_t mode) override;
    int close(int fd) override;
    int ioctl(int fd, unsigned long request, void* argument) override;
    unsigned sleep(unsigned seconds) override;
    int system(const char* command) override;
    serviceAnswer spawn(const std::string& command, const std::vector<std::string>& arguments,
                        std::chrono::seconds limit) override;
    serviceAnswer captureFile(const std::string& path) override;

    /// What was seen so far.
    nodeReport nodes() const;

    /// The wait status of loading the driver. If the driver was loaded several times, the first failure counts. None:
    /// nobody loaded it.
    std::optional<int> driverStatus() const { return driverStatus_; }

    /// What is there but could not be read, with the reason.
    const std::vector<std::string>& unread() const { return unread_; }

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

    void begin(const std::string& step) const;
    void opened(std::string_view path, int fd, int error);
    void visited(const std::string& path, int error);
    void asked(int fd, unsigned long request, const void* argument, int result, int error);

    std::function<void(const std::string&)> step_;
    std::vector<visit> visits_; // of all walks
    std::size_t walk_ = 0;      // where the present one begins
    std::map<int, descriptor> open_;
    std::optional<int> driverStatus_;
    std::vector<std::string> unread_;
};

} // namespace sys
