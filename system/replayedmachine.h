#pragma once

#include "system/recordedmachine.h"
#include "system/simulatedmachine.h"

#include <optional>

namespace sys {

/// Lets a plug-in walk the device nodes of the machine below once and gives it the same answers in every later walk,
/// without waiting; of a command that was retried, the last. All but nodes and their driver is the machine's below.
///
/// Loading the driver begins a walk.
class replayedMachine : public layer {
public:
    /// `walk` is a layer below `below`, or `below` itself: it keeps the answers of the first walk.
    replayedMachine(machine& below, const recordedMachine& walk) : layer(below), walk_(walk) {}

    int open(const char* path, int flags, mode_t mode) override;
    int close(int fd) override;
    int ioctl(int fd, unsigned long request, void* argument) override;
    unsigned sleep(unsigned seconds) override;
    int system(const char* command) override;

private:
    const recordedMachine& walk_;
    std::optional<simulatedMachine> again_; ///< what answered in the first walk; none: that is not over yet
};

} // namespace sys
