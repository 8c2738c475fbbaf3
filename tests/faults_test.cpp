// Every system call and every allocation of a run fails once.

#include "device/hostlog.h"
#include "minihost/minihost.h"
#include "simulator/machinefile.h"
#include "tests/scarcememory.h"
#include "tests/simulatedmachine.h"

#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <new>
#include <optional>

namespace {

const simulator::machine& fullMachine() {
    static const auto machine = simulator::readMachineFile(SOURCE_DIRECTORY "/machines/rack-server.json");
    return machine;
}

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
        return fails(recordedCalls().back()) ? -1 : result;
    }
    bool system(const std::string& command, int& status) override {
        const scarceMemory::pause memory;
        status = -1;
        return fails("system " + command) || kernel::system(command, status);
    }

    std::size_t count() const { return count_; }
    const std::string& failedCall() const { return failedCall_; }

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
};

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
        if (className == "KORVA_SysBusDeviceFirmware") {
            query({"KORVA_SCSIDevice"});
            query({"KORVA_SysBusDeviceFirmwareElement"});
        }
        return *this;
    }

    /// One query while memory is scarce, and how many instances it committed; none: it had enough.
    std::optional<std::size_t> queryWithoutMemory(const std::string& className, std::size_t number,
                                                  scarceMemory::kind kind) {
        auto requested = classes({className});
        const auto target = ns();
        const std::size_t before = namespace_.instances().size();
        bool escaped = false, ranOut = false;
        {
            const scarceMemory memory(number, kind);
            try {
                plugin_->GetData(target, requested);
            } catch (const std::bad_alloc&) {
                escaped = true;
            }
            ranOut = memory.ranOut();
        }
        if (escaped) // before the pass has begun: the host tells
            hostLog(failedStep, "std::bad_alloc");
        return ranOut ? std::optional(namespace_.instances().size() - before) : std::nullopt;
    }

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
            return {path + '"',
                    instance.at("OtherIdentifyingInfo").substr(1, instance.at("OtherIdentifyingInfo").size() - 2) +
                        '"'};
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
    LongRun() : Plugin(std::make_unique<simulator::kernel>(fullMachine())) {}

    /// Queries into namespaces of their own, which are gone afterwards.
    void queryOften(int times) {
        for (int i = 0; i < times; ++i) {
            for (const char* className : {"KORVA_SysBusDevice", "KORVA_SCSIDevice", "KORVA_CDVDDevice"}) {
                minihost::memoryNamespace target;
                TScsidevPluginCallbacks::classList requested{target.GetClass(className, {})};
                plugin_->GetData({&target,
                                  [](NHALDEN20::ICIMNamespace* /*ns*/) {
                                  }},
                                 requested);
                takeLog();
            }
        }
    }
};

} // namespace

TEST_F(LongRun, KeepsMemoryAndDescriptorsFlat) {
    plugin_->Init();
    plugin_->Init();
    queryOften(1);
    const std::size_t memory = scarceMemory::living(), descriptors = openDescriptors();
    queryOften(333);
    EXPECT_EQ(scarceMemory::living(), memory);
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST(Faults, AFailedCallCostsItsDeviceAlone) {
    std::vector<properties> reference;
    std::size_t calls = 0;
    {
        FaultyRun run;
        reference = run.everything();
        calls = run.kernel().count();
    }
    ASSERT_GT(calls, 300U);
    ASSERT_GT(reference.size(), 20U);
    for (std::size_t call = 0; call < calls; ++call) {
        for (const int error : {EIO, EINTR}) {
            FaultyRun run(call, error);
            const auto found = run.everything();
            SCOPED_TRACE(run.kernel().failedCall());
            const strings marks = marksOf(run.kernel().failedCall(), reference);
            EXPECT_EQ(without(marks, found), without(marks, reference));
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
         {"KORVA_SCSIDevice", "KORVA_CDVDDevice", "KORVA_SysBusDeviceFirmwareElement", "KORVA_SysBusDeviceFirmware"}) {
        for (const auto kind : {scarceMemory::kind::oneFails, scarceMemory::kind::allFail}) {
            const auto reference = FaultyRun().prepared(className).query({className});
            ASSERT_FALSE(reference.empty());
            for (std::size_t number = 0;; number += allocationStep) {
                FaultyRun run;
                run.prepared(className);
                const std::size_t descriptors = openDescriptors();
                const auto committed = run.queryWithoutMemory(className, number, kind);
                if (!committed)
                    break;
                SCOPED_TRACE(std::string(className) + ", allocation " + std::to_string(number));
                const strings log = run.takeLog();
                const bool told = std::count(log.begin(), log.end(), "0 std::bad_alloc") == 1;
                const bool allLost = kind == scarceMemory::kind::allFail;
                EXPECT_TRUE(told || allLost || *committed + 1 >= reference.size()) << "one device is lost in silence";
                EXPECT_EQ(run.query({className}), reference) << "the next query finds everything";
                EXPECT_EQ(openDescriptors(), descriptors);
                EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
                ASSERT_FALSE(testing::Test::HasFailure());
            }
        }
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
