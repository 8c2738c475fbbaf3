// Every system call and every allocation of a run fails once.

#include "minihost/minihost.h"
#include "simulator/machinefile.h"
#include "tests/scarcememory.h"
#include "tests/simulatedmachine.h"

#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <new>
#include <utility>

namespace {

const simulator::machine& fullMachine() {
    static const auto machine = simulator::readMachineFile(SOURCE_DIRECTORY "/machines/rack-server.json");
    return machine;
}

constexpr const char* associationClass = "KORVA_SysBusDeviceFirmware";
constexpr std::size_t noCall = static_cast<std::size_t>(-1);

/// A kernel whose call of this number, counted over opens, requests and shell commands, fails.
class failingKernel : public simulator::kernel {
public:
    failingKernel(std::size_t number, int error) : kernel(fullMachine(), calls::kept), number_(number), error_(error) {}

    int open(const std::string& path) override {
        const scarceMemory::pause memory;
        const bool there = simulated().nodes.count(path) != 0; // the others fail anyway
        return there && fails("open " + path) ? -1 : kernel::open(path);
    }
    int close(int fd) override {
        const scarceMemory::pause memory;
        return kernel::close(fd);
    }
    int ioctl(int fd, unsigned long request, void* argument) override {
        const scarceMemory::pause memory;
        const int result = kernel::ioctl(fd, request, argument);
        const bool refused = result == -1;
        if (!fails(recordedCalls().back()))
            return result;
        failedAnyway_ = refused;
        return -1;
    }
    bool system(const std::string& command, int& status) override {
        const scarceMemory::pause memory;
        status = -1;
        return fails("system " + command) || kernel::system(command, status);
    }

    std::size_t count() const { return count_; }
    const std::string& failedCall() const { return failedCall_; }
    /// The machine refuses that call too.
    bool failedAnyway() const { return failedAnyway_; }

private:
    bool fails(const std::string& call) {
        if (count_++ != number_)
            return false;
        failedCall_ = call;
        errno = error_;
        return true;
    }

    std::size_t number_;
    int error_;
    std::size_t count_ = 0;
    std::string failedCall_;
    bool failedAnyway_ = false;
};

/// How a call, attempted while memory was scarce, ended.
struct outcome {
    bool ranOut, escaped; ///< `escaped`: std::bad_alloc left it
};

template <typename Call>
outcome withoutMemory(std::size_t number, scarceMemory::kind kind, Call call) {
    const scarceMemory memory(number, kind);
    try {
        call();
        return {memory.ranOut(), false};
    } catch (const std::bad_alloc&) {
        return {true, true};
    }
}

/// A plug-in object on a machine that has a device of each kind.
class FaultyRun : public Plugin {
public:
    explicit FaultyRun(std::size_t failingCall = noCall, int error = 0)
        : Plugin(std::make_unique<failingKernel>(failingCall, error)) {
        for (const int kind : {0, 1})
            minihost::setVirtualDevices(kind, machine().virtualDevices[kind]);
    }

    void TestBody() override {}
    using Plugin::machine;
    using Plugin::query;
    using Plugin::takeLog;
    using Plugin::TearDown;

    const failingKernel& kernel() { return static_cast<failingKernel&>(SimulatedMachine::kernel()); }

    /// What Init and a query for each class come to.
    std::vector<properties> everything() {
        plugin_->Init();
        std::vector<properties> all;
        for (const char* name : {"KORVA_SCSIDevice", "KORVA_SCSITapeDrive", "KORVA_ATADevice", "KORVA_CDVDDevice",
                                 "KORVA_SysBusDeviceFirmwareElement", "KORVA_SysBusDeviceFirmware"}) {
            for (const auto& instance : query({name}))
                all.push_back(instance);
        }
        return all;
    }

    /// Answers the queries that one for this class builds on.
    FaultyRun& prepared(const std::string& className) {
        if (className == associationClass) {
            query({"KORVA_SCSIDevice"});
            query({"KORVA_SysBusDeviceFirmwareElement"});
            takeLog();
        }
        return *this;
    }

    outcome initWithoutMemory(std::size_t number, scarceMemory::kind kind) {
        return withoutMemory(number, kind, [this] { plugin_->Init(); });
    }

    outcome queryWithoutMemory(const std::string& className, std::size_t number, scarceMemory::kind kind) {
        auto requested = classes({className});
        const auto target = ns();
        return withoutMemory(number, kind, [&] { plugin_->GetData(target, requested); });
    }

    std::size_t committed() const { return namespace_.instances().size(); }

    void store(const std::string& path, const std::string& product) {
        busDevice record;
        record.initialize();
        record.devicePath = path;
        record.product = product;
        plugin_->StoreBusDevice(&record);
    }

    /// The products of the stored records, which are consumed.
    strings storedProducts() {
        auto requested = classes({"KORVA_SCSIDevice"});
        plugin_->GetBusDevice(requested, ns());
        strings products;
        for (const auto& instance : namespace_.instances())
            products.push_back(*instance->find("ProductID"));
        return products;
    }
};

/// Of this process.
std::size_t openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

void expectNothingLeft(std::size_t descriptors) {
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
}

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

void expectLog(const failingKernel& kernel, const strings& log, const strings& reference) {
    if (kernel.failedAnyway()) {
        EXPECT_EQ(log, reference);
        return;
    }
    const auto* const row = std::find_if(std::begin(consequences), std::end(consequences), [&](const auto& candidate) {
        return kernel.failedCall().find(candidate.call) != std::string::npos;
    });
    ASSERT_NE(row, std::end(consequences));
    EXPECT_EQ(std::count(log.begin(), log.end(), row->line),
              std::count(reference.begin(), reference.end(), row->line) + row->change)
        << row->line;
    for (const auto& line : log) { // an association's line counts the devices that were found
        EXPECT_TRUE(line == row->line || line == row->then || line.find("3 Making association") == 0 ||
                    std::count(reference.begin(), reference.end(), line) != 0)
            << line;
    }
}

/// Texts that mark the instances of what the failed call was about.
strings marksOf(const std::string& call, const std::vector<properties>& reference) {
    if (call.find("modprobe") != std::string::npos)
        return {"/dev/sg", "SCSI Device"};
    if (call.find("hwinfo") != std::string::npos)
        return {"VMEDIA", "/dev/sg6", "/dev/sg7"}; // what the listing leaves out
    const std::size_t begin = call.find("/dev/");
    if (begin == std::string::npos)
        return {};
    std::string path = call.substr(begin, call.find(' ', begin) - begin);
    if (path.compare(0, 7, "/dev/sd") == 0) // the disk behind the generic node of the same index
        path = "/dev/sg" + std::to_string(path[7] - 'a');
    for (const auto& instance : reference) {
        if (instance.count("DeviceID") != 0 && instance.at("DeviceID") == path)
            return {path + '"', instance.at("OtherIdentifyingInfo") + '"'};
    }
    return {path + '"'};
}

std::vector<properties> without(const strings& marks, std::vector<properties> instances) {
    const auto isMarked = [&marks](const properties& instance) {
        return std::any_of(instance.begin(), instance.end(), [&marks](const auto& property) {
            return std::any_of(marks.begin(), marks.end(), [&](const std::string& mark) {
                return (property.second + '"').find(mark) != std::string::npos;
            });
        });
    };
    instances.erase(std::remove_if(instances.begin(), instances.end(), isMarked), instances.end());
    return instances;
}

/// The same machine with nothing that fails, and nothing written down of its calls.
class LongRun : public Plugin {
protected:
    LongRun() : Plugin(std::make_unique<simulator::kernel>(fullMachine())) {
        for (const int kind : {0, 1})
            minihost::setVirtualDevices(kind, {"/dev/a-name-that-takes-memory"});
    }

    /// Queries into a namespace of their own each time, which is gone afterwards. By how many allocations what lives
    /// grew, and what the last time held before its namespace was gone.
    std::pair<std::size_t, std::size_t> queryOften(int times, const strings& classNames) {
        const std::size_t before = scarceMemory::living(), descriptors = openDescriptors();
        std::size_t held = 0;
        for (int i = 0; i < times; ++i) {
            const std::size_t start = scarceMemory::living();
            minihost::memoryNamespace target;
            for (const auto& className : classNames) {
                TScsidevPluginCallbacks::classList requested{target.GetClass(className, {})};
                plugin_->GetData(target.handle(), requested);
                takeLog();
            }
            held = scarceMemory::living() - start;
        }
        EXPECT_EQ(openDescriptors(), descriptors);
        return {scarceMemory::living() - before, held};
    }
};

} // namespace

TEST_F(LongRun, KeepsMemoryAndDescriptorsFlat) {
    const strings keepNothing{"KORVA_SysBusDevice", "KORVA_SCSIDevice", "KORVA_CDVDDevice"};
    plugin_->Init();
    queryOften(1, keepNothing);
    const std::size_t memory = scarceMemory::living();
    plugin_->Init();
    takeLog();
    EXPECT_EQ(scarceMemory::living(), memory + 2) << "the host's names of either kind are listed again";
    EXPECT_EQ(queryOften(333, keepNothing).first, 0U);
}

TEST_F(LongRun, KeepsOfFirmwareQueriesTheInstancesAlone) {
    for (const strings& classNames :
         {strings{"KORVA_SysBusDeviceFirmwareElement"},
          strings{"KORVA_SCSIDevice", "KORVA_SysBusDeviceFirmwareElement", "KORVA_SysBusDeviceFirmware"}}) {
        queryOften(1, classNames);
        const auto [growth, held] = queryOften(50, classNames);
        EXPECT_GT(growth, 0U);
        EXPECT_LE(growth, 50 * held);
        EXPECT_EQ(queryOften(50, classNames).first, growth);
    }
}

TEST(Faults, AFailedCallCostsItsDeviceAlone) {
    std::vector<properties> reference;
    strings referenceLog;
    std::size_t calls = 0;
    {
        FaultyRun run;
        reference = run.everything();
        referenceLog = run.takeLog();
        calls = run.kernel().count();
    }
    ASSERT_GT(calls, 300U);
    ASSERT_GT(reference.size(), 20U);
    for (std::size_t call = 0; call < calls; ++call) {
        for (const int error : {EIO, EINTR}) {
            FaultyRun run(call, error);
            const std::size_t descriptors = openDescriptors();
            const auto found = run.everything();
            SCOPED_TRACE(run.kernel().failedCall());
            const strings marks = marksOf(run.kernel().failedCall(), reference);
            EXPECT_EQ(without(marks, found), without(marks, reference));
            expectLog(run.kernel(), run.takeLog(), referenceLog);
            expectNothingLeft(descriptors);
            EXPECT_LE(run.kernel().count(), calls + 200) << "it is not tried over and over";
            run.TearDown();
            ASSERT_FALSE(testing::Test::HasFailure());
        }
    }
}

// Every allocation takes minutes where each costs the sanitizer's bookkeeping.
#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t allocationStep = 11;
#else
constexpr std::size_t allocationStep = 1;
#endif

TEST(Faults, MemoryThatRunsOutEndsTheQueryAndNoMore) {
    for (const char* className :
         {"KORVA_SCSIDevice", "KORVA_CDVDDevice", "KORVA_SysBusDeviceFirmwareElement", associationClass}) {
        for (const auto kind : {scarceMemory::kind::oneFails, scarceMemory::kind::allFail}) {
            const auto reference = FaultyRun().prepared(className).query({className});
            ASSERT_FALSE(reference.empty());
            for (std::size_t number = 0;; number += allocationStep) {
                FaultyRun run;
                run.prepared(className);
                const std::size_t descriptors = openDescriptors();
                const std::size_t before = run.committed();
                const outcome ended = run.queryWithoutMemory(className, number, kind);
                if (!ended.ranOut)
                    break;
                const std::size_t committed = run.committed() - before;
                SCOPED_TRACE(std::string(className) + ", allocation " + std::to_string(number));
                const strings log = run.takeLog();
                // Before the pass begins the host has to catch it.
                const bool hostTells = ended.escaped && log.empty();
                EXPECT_EQ(ended.escaped, hostTells);
                const bool told = hostTells || std::count(log.begin(), log.end(), "0 std::bad_alloc") == 1;
                const bool allLost = kind == scarceMemory::kind::allFail;
                EXPECT_TRUE(told || allLost || committed + 1 >= reference.size()) << "one device is lost in silence";
                EXPECT_EQ(run.query({className}), reference) << "the next query finds everything";
                expectNothingLeft(descriptors);
                ASSERT_FALSE(testing::Test::HasFailure());
            }
        }
    }
}

TEST(Faults, InitWithoutMemoryCanBeCalledAgain) {
    const auto reference = FaultyRun().everything();
    for (const auto kind : {scarceMemory::kind::oneFails, scarceMemory::kind::allFail}) {
        std::size_t number = 0;
        for (;; ++number) {
            FaultyRun run;
            const std::size_t descriptors = openDescriptors();
            if (!run.initWithoutMemory(number, kind).ranOut)
                break;
            SCOPED_TRACE(number);
            expectNothingLeft(descriptors);
            EXPECT_EQ(run.everything(), reference);
        }
        EXPECT_GT(number, 3U);
    }
}

TEST(Faults, ARecordIsStoredWholeOrNotAtAll) {
    for (const char* path : {"/dev/sg0", "/dev/sg2"}) {
        std::size_t failures = 0;
        for (bool stored = false; !stored; failures += stored ? 0 : 1) {
            FaultyRun run;
            run.store("/dev/sg0", "first");
            run.store("/dev/sg1", "second");
            const std::string devicePath = path, product = "a product whose name needs memory of its own";
            const std::size_t before = scarceMemory::living();
            try {
                const scarceMemory memory(failures, scarceMemory::kind::oneFails);
                run.store(devicePath, product);
                stored = true;
            } catch (const std::bad_alloc&) {
                EXPECT_EQ(scarceMemory::living(), before);
                EXPECT_EQ(run.storedProducts(), (strings{"first", "second"}));
            }
            run.storedProducts(); // the store does not free what nobody asks for
        }
        EXPECT_GT(failures, 2U);
    }
}
