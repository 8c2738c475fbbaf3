#pragma once

#include "simulator/machine.h"

#include <map>
#include <string>

namespace simulator {

/// Writes down what the real machine answers while a program runs on it, so that a simulated machine can answer the
/// same. It watches calls that were made anyway and changes none.
class recorder {
public:
    /// `fd` is what opening `path` gave; `error` its errno where it failed.
    void opened(const std::string& path, int fd, int error);
    void closed(int fd);

    /// `result` is what the ioctl gave, with `argument` as the driver left it; `error` its errno where it failed.
    void answered(int fd, unsigned long request, const void* argument, int result, int error);

    /// `status` is the wait status of a shell command.
    void ran(const std::string& command, int status);

    /// The optical-drive table is about to be read.
    void readsOpticalTable();

    /// What was recorded so far.
    machine& recorded() { return machine_; }

private:
    machine machine_;
    std::map<int, std::string> open_; // descriptor to path
};

/// The recorder that watches the interposed calls of this process, or null.
recorder* activeRecorder();

} // namespace simulator
