#pragma once

#include "system/childprocess.h"
#include "system/clibrary.h"
#include "system/machine.h"
#include "system/sysfs.h"

namespace sys {

/// The machine that this process runs on.
class thisMachine : public machine {
public:
    /// `named` are the management controller's virtual devices. Nothing here can find them out, so the user names them.
    explicit thisMachine(virtualDeviceLists named) : virtualDevices_(std::move(named)) {}

    int open(const char* path, int flags, mode_t mode) override { return cLibrary::open(path, flags, mode); }
    int close(int fd) override { return cLibrary::close(fd); }
    int ioctl(int fd, unsigned long request, void* argument) override { return cLibrary::ioctl(fd, request, argument); }
    unsigned sleep(unsigned seconds) override { return cLibrary::sleep(seconds); }
    /// Not the C library's: while a command runs, that ignores interrupts, and other signals end this process but not
    /// the command. Whoever sends one means both.
    int system(const char* command) override { return shellStatus(command); }

    std::string hostName() override;
    std::vector<std::string> virtualDevices(virtualDeviceKind kind) override { return virtualDevices_[kind]; }
    bool hasOpticalTable() override;
    serviceAnswer spawn(const std::vector<std::string>& command, std::chrono::seconds limit) override {
        return outputOf(command, limit);
    }

    kernelWordMap kernelWordsOf(const std::set<std::string>& nodes, kernelDetail detail) override {
        return readKernelWords(nodes, detail);
    }
    std::set<std::string> deviceNodes() override;
    bool hasScsiDevices() override;
    std::string collected() override;

private:
    virtualDeviceLists virtualDevices_;
};

} // namespace sys
