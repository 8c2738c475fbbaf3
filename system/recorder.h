#pragma once

#include "system/machineanswers.h"
#include "system/nodewatch.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace sys {

/// Watches the calls of a program and keeps their answers, if wanted, for a simulated machine that answers the same. It
/// makes no call on a device node itself: that would be one access too many. For one thread.
class recorder {
public:
    enum class keeps {
        nothing,   ///< but what a nodeWatch tells
        answers,   ///< of the device nodes, and whether their driver could be loaded
        everything ///< the optical-drive table and the USB listing as well, which it reads for itself
    };

    explicit recorder(keeps wanted = keeps::everything)
        : keepsAnswers_(wanted != keeps::nothing), keepsTexts_(wanted == keeps::everything) {}
    virtual ~recorder() = default;
    recorder(const recorder&) = delete;
    recorder& operator=(const recorder&) = delete;

    /// `fd` is the result of opening `path`; `error` is its errno if it failed.
    void sawOpen(std::string_view path, int fd, int error);
    void sawClose(int fd);

    /// `argument` is as the driver left it; `error` is the errno if the result is -1.
    void sawRequest(int fd, unsigned long request, const void* argument, int result, int error);

    /// Runs a shell command that no simulated machine stands in for, by `realSystem` or in its place, and returns its
    /// wait status.
    virtual int run(const char* command, int (*realSystem)(const char*)) { return realSystem(command); }

    /// `status` is the wait status of a shell command.
    void sawCommand(const std::string& command, int status);

    /// The optical-drive table is about to be read.
    void sawOpticalTableRead();

    /// What the device nodes told so far.
    nodeReport nodes() const { return nodes_.report(); }

    /// The wait status of loading the driver; of several, that of the first that failed. None: nobody tried.
    std::optional<int> driverStatus() const { return driverStatus_; }

    /// The wait status of the USB query; none: nobody made it.
    std::optional<int> usbStatus() const { return usbStatus_; }

    /// What was recorded so far.
    const machineAnswers& recorded() const { return machine_; }

    /// Has anything been recorded of device nodes or their driver?
    bool sawDevices() const { return !machine_.nodes.empty() || !machine_.modprobe.empty(); }

    /// Ends the walk: looks at device nodes and their driver no more. Returns the machine `rest` with nodes and a
    /// driver that answer as those recorded did: of a command that was retried, only the last answer.
    machineAnswers walkedAgain(machineAnswers rest);

    /// The device nodes will be walked from the start again.
    void beginWalk() { nodes_.beginWalk(); }

private:
    bool keepsAnswers_;
    bool keepsTexts_;
    bool walkEnded_ = false;
    nodeWatch nodes_;
    std::optional<int> driverStatus_, usbStatus_;
    machineAnswers machine_;
    std::map<int, node*> open_; // descriptor to node, which stays in the machine
};

/// The recorder that watches the interposed calls of this process, or null.
recorder* activeRecorder();

} // namespace sys
