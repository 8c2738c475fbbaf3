#pragma once

#include "simulator/machine.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace simulator {

/// How many device nodes there are, as far as opening them tells.
struct nodeCount {
    std::size_t present = 0; ///< nodes that opened or were refused
    std::size_t refused = 0; ///< nodes for which there was no permission
};

/// Watches the calls of a program and keeps their answers, if wanted, for a simulated machine that answers the same. It
/// makes no call on a device node itself: that would be one access too many. For one thread.
class recorder {
public:
    enum class keeps {
        nothing,   ///< but which nodes were there
        answers,   ///< of the device nodes, and whether their driver could be loaded
        everything ///< the optical-drive table and the USB listing as well, which it reads for itself
    };

    explicit recorder(keeps wanted = keeps::everything)
        : keepsAnswers_(wanted != keeps::nothing), keepsTexts_(wanted == keeps::everything) {}
    virtual ~recorder() = default;
    recorder(const recorder&) = delete;
    recorder& operator=(const recorder&) = delete;

    /// `fd` is the result of opening `path`; `error` is its errno if it failed.
    void opened(std::string_view path, int fd, int error);
    void closed(int fd);

    /// `argument` is as the driver left it; `error` is the errno if the result is -1.
    void answered(int fd, unsigned long request, const void* argument, int result, int error);

    /// Runs a shell command that no simulated machine stands in for, by `realSystem` or in its place, and returns its
    /// wait status.
    virtual int run(const char* command, int (*realSystem)(const char*)) { return realSystem(command); }

    /// `status` is the wait status of a shell command.
    void ran(const std::string& command, int status);

    /// The optical-drive table is about to be read.
    void readsOpticalTable();

    /// The sg and IDE nodes that the program has opened, or tried to, so far.
    nodeCount nodes() const;

    /// What was recorded so far.
    const machine& recorded() const { return machine_; }

    /// Has anything been recorded of device nodes or their driver?
    bool sawDevices() const { return !machine_.nodes.empty() || !machine_.modprobe.empty(); }

    /// The machine `rest` with device nodes and a driver that answer as those recorded did: of a command that was
    /// retried, only the last answer.
    machine walkedAgain(machine rest) const;

    /// Keeps no more answers of device nodes from now on.
    void endWalk() { keepsAnswers_ = false; }

private:
    bool keepsAnswers_;
    bool keepsTexts_;
    std::map<std::string, bool> refused_; // by the path of a node that is there
    machine machine_;
    std::map<int, std::string> open_; // descriptor to path
};

/// The recorder that watches the interposed calls of this process, or null.
recorder* activeRecorder();

} // namespace simulator
