// Every system call and every allocation of a run fails once.

#include "minihost/minihost.h"
#include "simulator/machinefile.h"
#include "tests/scarcememory.h"
#include "tests/simulatedmachine.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <new>
#include <set>

namespace {

const simulator::machine& fullMachine() {
    static const auto machine = simulator::readMachineFile(SOURCE_DIRECTORY "/machines/rack-server.json");
    return machine;
}

/// A call that failed, and the node that was to be identified by it; none for a shell command.
struct failure {
    std::string call, node;
};

/// A kernel whose call of this number fails, of those opens, requests and shell commands that the machine answers.
class failingKernel : public simulator::kernel {
public:
    failingKernel(const simulator::machine& simulated, std::size_t number, int error)
        : kernel(simulated, calls::kept), number_(number), error_(error) {}

    int open(const std::string& path) override {
        const scarceMemory::pause memory;
        if (path.rfind("/dev/sd", 0) != 0) // a disk node is asked for the generic node before it
            asked_ = path;
        const bool opens = simulated().nodes.count(path) != 0;
        return opens && fails("open " + path) ? -1 : kernel::open(path);
    }
    int close(int fd) override {
        const scarceMemory::pause memory;
        return kernel::close(fd);
    }
    int ioctl(int fd, unsigned long request, void* argument) override {
        const scarceMemory::pause memory;
        const int result = kernel::ioctl(fd, request, argument);
        return result == -1 || fails(recordedCalls().back()) ? -1 : result;
    }
    bool system(const std::string& command, int& status) override {
        const scarceMemory::pause memory;
        asked_.clear();
        status = -1;
        return fails("system " + command) || kernel::system(command, status);
    }

    std::size_t count() const { return count_; }
    const failure& failed() const { return failed_; }

private:
    bool fails(const std::string& call) {
        if (count_++ != number_)
            return false;
        failed_ = {call, asked_};
        errno = error_;
        return true;
    }

    std::size_t number_;
    int error_;
    std::size_t count_ = 0;
    std::string asked_;
    failure failed_;
};

/// What Init and a query for each class come to.
struct outcome {
    std::vector<properties> instances;
    strings log;
    std::size_t calls;
    failure failed;
};

/// A plug-in object on a machine that has a device of each kind.
class faultyRun : public pluginInUse {
public:
    explicit faultyRun(const simulator::machine& simulated = fullMachine(), std::size_t failingCall = SIZE_MAX,
                       int error = 0)
        : pluginInUse(std::make_unique<failingKernel>(simulated, failingCall, error)) {
        for (const int kind : {0, 1})
            minihost::setVirtualDevices(kind, simulated.virtualDevices[kind]);
    }

    void init() { plugin_->Init(); }
    std::size_t committed() const { return namespace_.instances().size(); }

    outcome everything() {
        init();
        std::vector<properties> all;
        for (const char* name : {"KORVA_SCSIDevice", "KORVA_SCSITapeDrive", "KORVA_ATADevice", "KORVA_CDVDDevice",
                                 "KORVA_SysBusDeviceFirmwareElement", "KORVA_SysBusDeviceFirmware"}) {
            for (const auto& instance : query({name}))
                all.push_back(instance);
        }
        const auto& asked = static_cast<const failingKernel&>(kernel());
        return {all, takeLog(), asked.count(), asked.failed()};
    }

    /// The query for one class, to be made after this; those that it builds on have been made.
    std::function<void()> preparedQuery(const std::string& className) {
        if (className == "KORVA_SysBusDeviceFirmware")
            for (const char* end : {"KORVA_SCSIDevice", "KORVA_SysBusDeviceFirmwareElement"})
                query({end});
        takeLog();
        return [this, target = ns(), requested = classes({className})]() mutable {
            plugin_->GetData(target, requested);
        };
    }
};

/// The log line that a failed call adds or takes away; the first row that fits.
constexpr struct {
    const char* call;
    const char* line;
    int change;
    const char* then = ""; ///< what that leads to
} consequences[] = {
    {"system modprobe", "0 sg module is not loaded correctly", 1},
    {"system hwinfo", "3 hwinfo --usb | grep 'Device: usb' | grep 0x4012\n\n", 1},
    {"system rm", "", 0},
    {"open /dev/sg", "3 SCSI Inquiry returned good...", -1},
    {"open /dev/sd", "3 ATA 0command returned fail: ", 1},
    {"open /dev/hd", "3 Device does not support SGIO", -1, "3 ATA 0command returned fail: "}, // at first or again
    {"SG_GET_VERSION_NUM", "3 Device does not support SGIO, try again!", 1},
    {"SG_GET_SCSI_ID", "3 Get SCSI ID passed...", -1},
    {"/dev/sg2 SG_EMULATED_HOST", "3 Device is emulated scsi", 0}, // it is
    {"SG_EMULATED_HOST", "3 Device is emulated scsi", 1},
    {"SG_IO 12 00", "3 SG IOCTL error", 1, "3 ATA 0command returned fail: "}, // asked as an ATA device instead
    {"SG_IO", "3 SG IOCTL error", 1},
    {"CDROM_GET_CAPABILITY", "3 ATA 0command returned fail: ", 1},
    {"HDIO_DRIVE_CMD", "3 ATA 0command returned fail: ", 1},
};

void expectLog(const failure& failed, const strings& log, const strings& reference) {
    const auto* const row = std::find_if(std::begin(consequences), std::end(consequences), [&](const auto& candidate) {
        return failed.call.find(candidate.call) != std::string::npos;
    });
    ASSERT_NE(row, std::end(consequences));
    EXPECT_EQ(std::count(log.begin(), log.end(), row->line),
              std::count(reference.begin(), reference.end(), row->line) + row->change)
        << row->line;
    std::set<std::string> known(reference.begin(), reference.end());
    known.insert({row->line, row->then});
    for (const auto& line : log) // an association's line counts the devices that were found
        EXPECT_TRUE(known.count(line) != 0 || line.find("3 Making association") == 0) << line;
}

/// The instances of a machine that has never had that node, or on which that shell command never works.
std::vector<properties> instancesWithout(const failure& failed) {
    simulator::machine machine = fullMachine();
    machine.nodes.erase(failed.node);
    if (failed.call.find("system modprobe") == 0)
        machine.modprobe = 1;
    if (failed.call.find("system hwinfo") == 0)
        machine.usbListing.clear();
    return faultyRun(machine).everything().instances;
}

/// Fails allocations of the call that `prepare` returns, each on a run of its own: that one alone, or all from it on.
/// `check` is told which, and whether the exception escaped.
void failAllocations(const std::function<std::function<void()>(faultyRun&)>& prepare,
                     const std::function<void(faultyRun&, bool alone, bool escaped)>& check) {
    const auto numbers = [&] {
        faultyRun run;
        return scarceMemory::allocationsWorthFailing(prepare(run));
    }();
    EXPECT_GT(numbers.size(), 3U);
    for (const std::size_t number : numbers) {
        for (const auto kind : {scarceMemory::kind::oneFails, scarceMemory::kind::allFail}) {
            SCOPED_TRACE("allocation " + std::to_string(number));
            faultyRun run;
            const auto call = prepare(run);
            bool escaped = false;
            try {
                const scarceMemory memory(number, kind);
                call();
                EXPECT_TRUE(memory.ranOut());
            } catch (const std::bad_alloc&) {
                escaped = true;
            }
            check(run, kind == scarceMemory::kind::oneFails, escaped);
            ASSERT_FALSE(testing::Test::HasFailure());
        }
    }
}

} // namespace

TEST(Faults, AFailedCallCostsItsDeviceAlone) {
    const outcome reference = faultyRun().everything();
    ASSERT_GT(reference.calls, 300U);
    ASSERT_GT(reference.instances.size(), 20U);
    std::map<std::string, std::vector<properties>> known; // by node or command
    for (std::size_t call = 0; call < reference.calls; ++call) {
        for (const int error : {EIO, EINTR}) {
            const outcome run = faultyRun(fullMachine(), call, error).everything();
            SCOPED_TRACE(run.failed.call);
            auto& others = known[run.failed.node.empty() ? run.failed.call : run.failed.node];
            if (others.empty())
                others = instancesWithout(run.failed);
            std::vector<properties> found;
            std::copy_if(run.instances.begin(), run.instances.end(), std::back_inserter(found),
                         [&](const auto& one) { return std::count(others.begin(), others.end(), one) != 0; });
            EXPECT_EQ(found, others);
            EXPECT_LE(run.instances.size(), std::max(reference.instances.size(), others.size()));
            expectLog(run.failed, run.log, reference.log);
            EXPECT_LE(run.calls, reference.calls + 200) << "it is not tried over and over";
            ASSERT_FALSE(testing::Test::HasFailure());
        }
    }
}

TEST(Faults, MemoryThatRunsOutEndsTheQueryAndNoMore) {
    for (const std::string className :
         {"KORVA_SCSIDevice", "KORVA_CDVDDevice", "KORVA_SysBusDeviceFirmwareElement", "KORVA_SysBusDeviceFirmware"}) {
        SCOPED_TRACE(className);
        const auto prepare = [&](faultyRun& run) {
            return run.preparedQuery(className);
        };
        std::size_t committed = 0;
        std::vector<properties> reference;
        {
            faultyRun run;
            prepare(run)();
            committed = run.committed();
            reference = run.query({className});
        }
        ASSERT_FALSE(reference.empty());
        failAllocations(prepare, [&](faultyRun& run, bool alone, bool escaped) {
            const strings log = run.takeLog();
            EXPECT_TRUE(!escaped || log.empty()) << "before the pass begins the host has to catch it, not later";
            const bool told = escaped || std::count(log.begin(), log.end(), "0 std::bad_alloc") == 1;
            EXPECT_TRUE(told || !alone || run.committed() + 1 >= committed) << "one device is lost in silence";
            EXPECT_EQ(run.query({className}), reference) << "the next query finds everything";
        });
    }
}

TEST(Faults, InitWithoutMemoryCanBeCalledAgain) {
    const auto reference = faultyRun().everything().instances;
    failAllocations(
        [](faultyRun& run) {
            return [&run] {
                run.init();
            };
        },
        [&](faultyRun& run, bool /*alone*/, bool /*escaped*/) { EXPECT_EQ(run.everything().instances, reference); });
}
