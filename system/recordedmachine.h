#pragma once

#include "system/machine.h"

#include <map>

namespace sys {

/// Keeps every answer of the machine below, so that a simulated machine can give the same answers. It never calls a
/// device node by itself: a recorded run asks a device no more than a plain one.
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

    /// All that a machine file holds: these answers and what else the machine below tells of itself.
    machineAnswers wholeMachine();

private:
    machineAnswers answers_;
    std::map<int, node*> open_; // descriptor to node, which stays in the answers
};

} // namespace sys
