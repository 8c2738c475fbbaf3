#pragma once

#include "system/machine.h"

namespace sys {

/// The machine that this process runs on.
class thisMachine : public machine {
public:
    /// `named` are the management controller's virtual devices. Nothing here can find them out, so the user names them.
    explicit thisMachine(virtualDeviceLists named) : virtualDevices_(std::move(named)) {}

    int open(const char* path, int flags, mode_t mode) override;
    int close(int fd) override;
    int ioctl(int fd, unsigned long request, void* argument) override;
    unsigned sleep(unsigned seconds) override;
    int system(const char* command) override;

    std::string hostName() override;
    std::vector<std::string> virtualDevices(virtualDeviceKind kind) override { return virtualDevices_[kind]; }
    bool hasOpticalTable() override;
    serviceAnswer spawn(const std::string& command, const std::vector<std::string>& arguments,
                        std::chrono::seconds limit) override;

    kernelWordMap kernelWordsOf(const std::set<std::string>& nodes, kernelDetail detail) override;
    std::set<std::string> deviceNodes() override;
    bool hasScsiDevices() override;
    std::string collected() override;

private:
    virtualDeviceLists virtualDevices_;
};

} // namespace sys
