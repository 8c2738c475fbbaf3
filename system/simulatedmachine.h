#pragma once

#include "system/machine.h"

#include <cstddef>
#include <map>
#include <string>
#include <utility>

namespace sys {

/// The machine of a machine file. It answers for its nodes, its driver, its USB query and its optical-drive table, and
/// starts no process. Calls on any other file go to the C library.
class simulatedMachine : public machine {
public:
    explicit simulatedMachine(machineAnswers answers) : answers_(std::move(answers)) {}

    int open(const char* path, int flags, mode_t mode) override;
    int close(int fd) override;
    int ioctl(int fd, unsigned long request, void* argument) override;
    /// Skips the time and adds it up.
    unsigned sleep(unsigned seconds) override;
    /// Does what modprobe, the USB query and the removal of its file would do. There are no other commands.
    int system(const char* command) override;

    std::string hostName() override { return answers_.name; }
    std::vector<std::string> virtualDevices(virtualDeviceKind kind) override { return answers_.virtualDevices[kind]; }
    bool hasOpticalTable() override { return answers_.opticalTable.has_value(); }
    serviceAnswer spawn(const std::vector<std::string>& command, std::chrono::seconds limit) override;

    kernelWordMap kernelWordsOf(const std::set<std::string>& nodes, kernelDetail detail) override;
    std::set<std::string> deviceNodes() override;
    bool hasScsiDevices() override { return answers_.hasScsiDevices; }
    std::string collected() override { return answers_.collected; }

    /// From now on each request gets its first answer again.
    void rewind();

    bool owns(int fd) const { return open_.count(fd) != 0; }
    std::size_t openDescriptors() const { return open_.size(); }
    unsigned secondsSkipped() const { return secondsSkipped_; }
    machineAnswers& answers() { return answers_; }

protected:
    /// A new descriptor for a node: a number larger than any real descriptor of this process. That is enough for a
    /// program that gives it to the calls above only.
    virtual int newDescriptor();

private:
    machineAnswers answers_;
    std::map<int, std::pair<const std::string, node>*> open_; // descriptor to node, which stays where it is
    unsigned secondsSkipped_ = 0;
};

} // namespace sys
