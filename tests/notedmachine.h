#pragma once

#include "system/simulatedmachine.h"

#include <map>
#include <string>
#include <vector>

/// Writes down the calls on a simulated machine, one line each: "open /dev/sg0", "ioctl /dev/sg0 SG_GET_VERSION_NUM".
/// Memory is never scarce for that nor for the machine.
class notedMachine : public sys::layer {
public:
    explicit notedMachine(sys::simulatedMachine& simulated) : layer(simulated), simulated_(simulated) {}

    int open(const char* path, int flags, mode_t mode) override;
    int close(int fd) override;
    int ioctl(int fd, unsigned long request, void* argument) override;
    unsigned sleep(unsigned seconds) override;
    int system(const char* command) override;

    const std::vector<std::string>& calls() const { return calls_; }

private:
    sys::simulatedMachine& simulated_;
    std::map<int, std::string> open_; // descriptor to path
    std::vector<std::string> calls_;
};
