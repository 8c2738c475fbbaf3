#pragma once

#include "system/recordedmachine.h"
#include "system/simulatedmachine.h"

#include <optional>

namespace sys {

/// Lets a plug-in walk the device nodes of the machine below once. In every later walk it gives the same answers,
/// without waiting; of a command that was retried it gives the last. Loading the driver begins a walk. Whatever is no
/// node and not the driver is always asked of the machine below.
class replayedMachine : public layer {
public:
    /// `walk` is `below` or a layer under it, and keeps the answers of the first walk.
    replayedMachine(machine& below, const recordedMachine& walk) : layer(below), walk_(walk) {}

    int open(const char* path, int flags, mode_t mode) override { return asked().open(path, flags, mode); }
    int close(int fd) override { return asked().close(fd); }
    int ioctl(int fd, unsigned long request, void* argument) override { return asked().ioctl(fd, request, argument); }
    unsigned sleep(unsigned seconds) override { return asked().sleep(seconds); }
    int system(const char* command) override;

private:
    machine& asked() { return again_ ? static_cast<machine&>(*again_) : below_; }

    const recordedMachine& walk_;
    std::optional<simulatedMachine> again_; ///< answers all walks but the first; none: that one is not over
};

} // namespace sys
