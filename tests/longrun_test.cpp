// What a plug-in object that is asked over and over keeps.

#include "minihost/minihost.h"
#include "simulator/machinefile.h"
#include "tests/scarcememory.h"
#include "tests/simulatedmachine.h"

#include <utility>

namespace {

/// A machine that has a device of each kind, with nothing written down of its calls.
class LongRun : public ::testing::Test, protected pluginInUse {
protected:
    LongRun()
        : pluginInUse(std::make_unique<simulator::kernel>(
              simulator::readMachineFile(SOURCE_DIRECTORY "/machines/rack-server.json"))) {
        for (const int kind : {0, 1})
            minihost::setVirtualDevices(kind, {"/dev/a-name-that-takes-memory"});
    }

    /// Queries into a namespace of their own 50 times. By how many allocations what lives grew, and how many the last
    /// time held before its namespace was gone.
    std::pair<std::size_t, std::size_t> queryOften(const strings& classNames) {
        const std::size_t before = scarceMemory::living();
        std::size_t held = 0;
        for (int i = 0; i < 50; ++i) {
            const std::size_t start = scarceMemory::living();
            minihost::memoryNamespace target;
            for (const auto& className : classNames) {
                TScsidevPluginCallbacks::classList requested{target.GetClass(className, {})};
                plugin_->GetData(target.handle(), requested);
                takeLog();
            }
            held = scarceMemory::living() - start;
        }
        return {scarceMemory::living() - before, held};
    }
};

} // namespace

TEST_F(LongRun, KeepsOfFirmwareQueriesTheInstancesAlone) {
    const struct {
        strings classNames;
        bool keepsInstances;
    } cases[] = {
        {{"KORVA_SysBusDevice", "KORVA_SCSIDevice", "KORVA_CDVDDevice"}, false},
        {{"KORVA_SysBusDeviceFirmwareElement"}, true},
        {{"KORVA_SCSIDevice", "KORVA_SysBusDeviceFirmwareElement", "KORVA_SysBusDeviceFirmware"}, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.classNames.back());
        plugin_->Init();
        queryOften(c.classNames);
        const auto [growth, held] = queryOften(c.classNames);
        EXPECT_EQ(growth != 0, c.keepsInstances);
        EXPECT_LE(growth, 50 * held);
        EXPECT_EQ(queryOften(c.classNames).first, growth);
    }
}

TEST_F(LongRun, ListsTheHostsNamesAgainAtEachInit) {
    plugin_->Init();
    takeLog();
    const std::size_t memory = scarceMemory::living();
    plugin_->Init();
    takeLog();
    EXPECT_EQ(scarceMemory::living(), memory + 2) << "one of either kind";
}
