#pragma once

#include "system/machineanswers.h"

#include <sys/types.h>

#include <chrono>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// This namespace is called sys because `system` is the name of a function.
namespace sys {

/// What a service answers.
struct serviceAnswer {
    std::string text;    ///< what could be read
    std::string failure; ///< why that is not everything; "" when it is
};

/// A machine, as the plug-in and the host around it ask it.
///
/// Two machines answer by themselves: this one and a simulated one. All others are layers around another machine.
class machine {
public:
    // What the plug-in calls. Results and errno are those of the system calls. No path and no command is null.
    virtual int open(const char* path, int flags, mode_t mode) = 0;
    virtual int close(int fd) = 0;
    virtual int ioctl(int fd, unsigned long request, void* argument) = 0;
    virtual unsigned sleep(unsigned seconds) = 0;
    virtual int system(const char* command) = 0;

    // What the host's services are asked for.
    virtual std::string hostName() = 0;
    virtual std::vector<std::string> virtualDevices(virtualDeviceKind kind) = 0;
    virtual bool hasOpticalTable() = 0;
    /// The standard output of a command, a program and its arguments. One that runs longer than `limit` is ended.
    virtual serviceAnswer spawn(const std::vector<std::string>& command, std::chrono::seconds limit) = 0;
    /// The content of a file, the system's own on every machine. That there is no such file is no failure.
    virtual serviceAnswer captureFile(const std::string& path);

    // What the kernel tells without being asked at a node.
    /// What the kernel knows of the devices at these nodes. A node of which it knows nothing is left out.
    virtual kernelWordMap kernelWordsOf(const std::set<std::string>& nodes, kernelDetail detail) = 0;
    /// The paths of all nodes of the two families that a plug-in walks, /dev/sg and /dev/hd.
    virtual std::set<std::string> deviceNodes() = 0;
    /// Does the kernel have SCSI devices, whether or not they have sg nodes?
    virtual bool hasScsiDevices() = 0;
    /// When the answers were taken: "2026-11-23T17:01:02Z"; "" where nobody knows.
    virtual std::string collected() = 0;

    machine() = default;
    machine(const machine&) = delete;
    machine& operator=(const machine&) = delete;
    virtual ~machine() = default;
};

/// A machine around another one. It passes on every call that a derived class does not handle.
class layer : public machine {
public:
    /// `below` has to outlive it.
    explicit layer(machine& below) : below_(below) {}

    int open(const char* path, int flags, mode_t mode) override { return below_.open(path, flags, mode); }
    int close(int fd) override { return below_.close(fd); }
    int ioctl(int fd, unsigned long request, void* argument) override { return below_.ioctl(fd, request, argument); }
    unsigned sleep(unsigned seconds) override { return below_.sleep(seconds); }
    int system(const char* command) override { return below_.system(command); }

    std::string hostName() override { return below_.hostName(); }
    std::vector<std::string> virtualDevices(virtualDeviceKind kind) override { return below_.virtualDevices(kind); }
    bool hasOpticalTable() override { return below_.hasOpticalTable(); }
    serviceAnswer spawn(const std::vector<std::string>& command, std::chrono::seconds limit) override {
        return below_.spawn(command, limit);
    }
    serviceAnswer captureFile(const std::string& path) override { return below_.captureFile(path); }

    kernelWordMap kernelWordsOf(const std::set<std::string>& nodes, kernelDetail detail) override {
        return below_.kernelWordsOf(nodes, detail);
    }
    std::set<std::string> deviceNodes() override { return below_.deviceNodes(); }
    bool hasScsiDevices() override { return below_.hasScsiDevices(); }
    std::string collected() override { return below_.collected(); }

protected:
    machine& below_;
};

/// A layer that is told what became of each call on a device node, and changes nothing of it.
class nodeListener : public layer {
public:
    using layer::layer;

    int open(const char* path, int flags, mode_t mode) override;
    int close(int fd) override;
    int ioctl(int fd, unsigned long request, void* argument) override;

    /// Is a node open now?
    bool isAsking() const { return !open_.empty(); }

protected:
    // `error` is the errno of a call that failed, or 0.
    virtual void opened(const std::string& path, int error) = 0;
    virtual void asked(const std::string& /*path*/, unsigned long /*request*/, const void* /*argument*/, int /*result*/,
                       int /*error*/) {}

private:
    std::vector<std::pair<int, std::string>> open_; // descriptors with their paths; seldom more than one
};

/// While it lives, this process asks the machine `asked`. At its end the process asks the machine of before again.
class machineInUse {
public:
    explicit machineInUse(machine& asked);
    ~machineInUse();
    machineInUse(const machineInUse&) = delete;
    machineInUse& operator=(const machineInUse&) = delete;

    /// The machine in use, or null: then calls go to the C library.
    static machine* current();

private:
    machine* before_;
};

} // namespace sys
