// Every system call and every allocation of a run fails once.

#include "system/boundary.h"
#include "system/machinefile.h"
#include "tests/scarcememory.h"
#include "tests/simulatedmachine.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>

namespace {

/// One that has one device of each kind: the time grows with the square of the devices.
const sys::machineAnswers& fullMachine() {
    static const auto machine = [] {
        auto rack = sys::readMachineFile(SOURCE_DIRECTORY "/machines/rack-server.json");
        for (const char* another : {"/dev/sg0", "/dev/sg1", "/dev/sg7", "/dev/sg10"})
            rack.nodes.erase(another);
        return rack;
    }();
    return machine;
}

/// Of the opens, requests and shell commands that the simulated machine below answers, the call of this number fails,
/// and all that are for the node, or are the command, that never works.
class failingMachine : public sys::layer {
public:
    failingMachine(sys::simulatedMachine& simulated, machine& below, std::size_t number, int error,
                   std::string neverWorks)
        : layer(below), simulated_(simulated), number_(number), error_(error), neverWorks_(std::move(neverWorks)) {}

    int open(const char* path, int flags, mode_t mode) override {
        const scarceMemory::pause memory;
        if (sys::isNodePath(path) && std::strncmp(path, "/dev/sd", 7) != 0)
            asked_ = path; // a disk node is asked for the generic node before it
        return simulated_.answers().nodes.count(path) != 0 && fails() ? -1 : layer::open(path, flags, mode);
    }
    int ioctl(int fd, unsigned long request, void* argument) override {
        const scarceMemory::pause memory;
        const bool isAnswered = fd < 0 || simulated_.owns(fd);
        const int result = layer::ioctl(fd, request, argument);
        return result == -1 || (isAnswered && fails()) ? -1 : result;
    }
    int system(const char* command) override {
        const scarceMemory::pause memory;
        asked_ = command;
        return fails() ? -1 : layer::system(command);
    }

    std::size_t count = 0;
    std::string failed; ///< the node that the failed call was for, or the command

private:
    bool fails() {
        errno = error_;
        if (count++ == number_)
            failed = asked_;
        return asked_ == neverWorks_ || count == number_ + 1;
    }

    sys::simulatedMachine& simulated_;
    std::size_t number_;
    int error_;
    std::string neverWorks_, asked_;
};

/// A plug-in object on that machine.
struct faultyRun : pluginInUse {
    explicit faultyRun(std::size_t failing = SIZE_MAX, int error = ENOENT, const std::string& neverWorks = "")
        : pluginInUse(fullMachine()), asked(simulated_, noted_, failing, error, neverWorks) {}

    failingMachine asked;
    sys::machineInUse askedNow{asked};

    /// What Init and a query for each class come to.
    std::vector<properties> everything() {
        plugin_->Init();
        std::vector<properties> all;
        for (const auto& name : {scsi, tape, ata, optical, element, firmware})
            for (const auto& instance : query({name}))
                all.push_back(instance);
        return all;
    }
};

} // namespace

TEST(Faults, AFailedCallCostsItsNodeAlone) {
    std::map<std::string, std::vector<properties>> known{{"", faultyRun().everything()}}; // by what never works
    std::size_t number = 0;
    for (std::string failed = "the first"; !failed.empty(); ++number) {
        std::vector<properties> found;
        {
            faultyRun run(number, number % 2 == 0 ? EIO : EINTR);
            found = run.everything();
            failed = run.asked.failed;
            EXPECT_LE(run.asked.count, 1000U) << "it is not tried over and over";
        }
        std::vector<properties>& others = known[failed];
        if (others.empty())
            others = faultyRun(SIZE_MAX, ENOENT, failed).everything();
        const auto isLost = [&others](const auto& one) {
            return std::count(others.begin(), others.end(), one) == 0;
        };
        found.erase(std::remove_if(found.begin(), found.end(), isLost), found.end());
        EXPECT_EQ(found, others);
        ASSERT_FALSE(HasFailure()) << "call " << number << ", of " << failed;
    }
    EXPECT_GT(number, 250U);
}

TEST(Faults, MemoryThatRunsOutEndsTheQueryAndNoMore) {
    for (const strings& queries : {strings{scsi}, {optical}, {element}, {scsi, element, firmware}}) {
        const std::string last = queries.back();
        const auto prepare = [&](faultyRun& run) {
            for (std::size_t i = 0; i + 1 < queries.size(); ++i)
                run.ask({queries[i]});
            run.takeLog();
        };
        std::size_t committed = 0, number = 0;
        std::vector<properties> whole;
        {
            faultyRun run;
            prepare(run);
            run.ask({last});
            committed = run.committed();
            whole = run.query({last});
        }
        for (bool ranOut = true; ranOut; ++number) {
            for (const bool alone : {false, true}) {
                faultyRun run;
                prepare(run);
                bool escaped = false;
                try {
                    const scarceMemory memory(number, alone);
                    run.ask({last});
                } catch (const std::bad_alloc&) {
                    escaped = true;
                }
                ranOut = scarceMemory::ranOut();
                const strings log = run.takeLog();
                EXPECT_TRUE(!escaped || log.empty()) << "before the pass begins the host has to catch it, not later";
                const bool isTold = escaped || std::count(log.begin(), log.end(), "0 std::bad_alloc") == 1;
                EXPECT_TRUE(isTold || !alone || run.committed() + 1 >= committed) << "one device is lost in silence";
                EXPECT_EQ(run.query({last}), whole) << "the next query finds everything";
                ASSERT_FALSE(HasFailure()) << last << ", allocation " << number;
            }
        }
        EXPECT_GT(number, 350U);
    }
}

TEST(Faults, AnOpenThatMemoryEndsLeavesNoDescriptor) {
    struct : sys::simulatedMachine {
        using simulatedMachine::simulatedMachine;
        int newDescriptor() override { return ::open("/", O_PATH); } // as in programs that load the simulator
    } machine{fullMachine()};
    const std::size_t before = openDescriptors();
    for (std::size_t number = 0, opened = 0; opened == 0; ++number) {
        try {
            const scarceMemory memory(number, false);
            machine.open("/dev/sg2", O_RDONLY, 0);
            opened = 1;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(openDescriptors(), before) << "allocation " << number;
        }
    }
    EXPECT_EQ(openDescriptors(), before + 1);
}
