#pragma once

#include "system/machine.h"

#include <map>

namespace sys {

/// Keeps every answer of the machine below, for a simulated machine that answers the same. It makes no call on a device
/// node itself: that would be one access too many.
class recordedMachine : public layer {
public:
    using layer::layer;

    int open(const char* path, int flags, mode_t mode) override;
    int close(int fd) override;
    int ioctl(int fd, unsigned long request, void* argument) override;
    int system(const char* command) override;
    serviceAnswer spawn(const std::string& command, const std::vector<std::string>& arguments,
                        std::chrono::seconds limit) override;
    serviceAnswer captureFile(const std::string& path) override;

    /// The answers so far, of device nodes, shell commands and services.
    const machineAnswers& answers() const { return answers_; }

    /// These with what else the machine below tells of itself: what a machine file holds.
    machineAnswers wholeMachine();

private:
    machineAnswers answers_;
    std::map<int, node*> open_; // descriptor to node, which stays in the answers
};

} // namespace sys
