#pragma once

#include "system/machineanswers.h"

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace sys {

/// The kernel of a simulated machine: opens its nodes, answers their requests, writes down the calls.
///
/// A call returns what the system call would and sets errno on failure. Not for several threads at once.
/// Tests derive from it to let calls fail that the machine would answer.
class kernel {
public:
    enum class calls { forgotten, kept };
    enum class scope {
        machine, ///< all that a machine file tells
        devices  ///< the device nodes, loading their driver and waiting for them; the rest is the real machine's
    };

    explicit kernel(machineAnswers simulated, calls record = calls::forgotten, scope standsFor = scope::machine)
        : machine_(std::move(simulated)), record_(record == calls::kept), scope_(standsFor) {}
    virtual ~kernel() = default;
    kernel(const kernel&) = delete;
    kernel& operator=(const kernel&) = delete;

    bool owns(int fd) const { return open_.count(fd) != 0; }
    bool isWholeMachine() const { return scope_ == scope::machine; }

    /// Answers each request with its first answer again.
    void rewind();

    /// Gives a real descriptor, of /dev/null, so that no other of the process has the same number.
    virtual int open(const std::string& path);

    /// From now on open() gives numbers that are beyond every real descriptor and cost no system call. For a program
    /// that does no more with them than this kernel answers.
    void giveNumbers() { givesNumbers_ = true; }
    virtual int close(int fd);

    /// Gives a descriptor of a new file with the optical-drive table in it, which child processes inherit.
    int openOpticalTable();

    virtual int ioctl(int fd, unsigned long request, void* argument);

    /// Is this sleep to be skipped? All are, unless sleepForReal() was called.
    bool skipsSleep(unsigned seconds);
    void sleepForReal() { sleepsForReal_ = true; }

    /// Does what modprobe, the USB query and the removal of its file would do, and sets their wait status. False: the
    /// command is none of them, and nothing is done.
    virtual bool system(const std::string& command, int& status);

    machineAnswers& model() { return machine_; }
    const machineAnswers& model() const { return machine_; }

    /// One line a call, such as "open /dev/sg0", "ioctl /dev/sg0 SG_GET_VERSION_NUM", "sleep 5".
    const std::vector<std::string>& recordedCalls() const { return calls_; }
    std::size_t openDescriptors() const { return open_.size(); }
    unsigned secondsSkipped() const { return secondsSkipped_; }

private:
    template <typename Text>
    void note(Text text) {
        if (record_)
            calls_.push_back(text());
    }

    int newDescriptor() const;

    machineAnswers machine_;
    bool record_;
    scope scope_;
    std::map<int, std::pair<const std::string, node>*> open_; // descriptor to node, which stays in the machine
    std::vector<std::string> calls_;
    unsigned secondsSkipped_ = 0;
    bool sleepsForReal_ = false;
    bool givesNumbers_ = false;
};

/// The kernel that the interposed calls of this process go to; null: the real one.
kernel* activeKernel();

} // namespace sys
