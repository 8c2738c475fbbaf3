#pragma once

#include "system/machine.h"

namespace sys {

/// Keeps every answer of the machine below, so that a simulated machine can give the same answers. It never calls a
/// device node by itself: a recorded run asks a device no more than a plain one.
class recordedMachine : public nodeListener {
public:
    using nodeListener::nodeListener;

    int system(const char* command) override;
    serviceAnswer spawn(const std::vector<std::string>& command, std::chrono::seconds limit) override;
    serviceAnswer captureFile(const std::string& path) override;

    /// The answers so far, of device nodes, shell commands and services.
    const machineAnswers& answers() const { return answers_; }

    /// All that a machine file holds: these answers and what else the machine below tells of itself.
    machineAnswers wholeMachine();

private:
    void opened(const std::string& path, int error) override { answers_.nodes[path].open.add({error}); }
    void asked(const std::string& path, unsigned long request, const void* argument, int result, int error) override;

    machineAnswers answers_;
};

} // namespace sys
