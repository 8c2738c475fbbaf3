// What a plug-in object that is asked over and over keeps.

#include "system/machinefile.h"
#include "tests/scarcememory.h"
#include "tests/simulatedmachine.h"

#include <utility>

namespace {

/// On a machine that has a device of each kind, and without a growing list of calls.
struct unnotedRun : pluginInUse {
    using pluginInUse::pluginInUse;
    sys::machineInUse plain{simulated_};
};

/// Queries into a namespace of their own 50 times. By how many allocations what lives grew, and how many the last time
/// held before its namespace was gone.
std::pair<std::size_t, std::size_t> queryOften(pluginInUse& run, const strings& classNames) {
    const std::size_t before = scarceMemory::living();
    std::size_t held = 0;
    for (int i = 0; i < 50; ++i) {
        const std::size_t start = scarceMemory::living();
        minihost::memoryNamespace target;
        for (const auto& className : classNames) {
            TScsidevPluginCallbacks::classList requested{target.GetClass(className, {})};
            run.plugin_->GetData(target.handle(), requested);
            run.takeLog();
        }
        held = scarceMemory::living() - start;
    }
    return {scarceMemory::living() - before, held};
}

} // namespace

TEST(LongRun, KeepsOfFirmwareQueriesTheInstancesAlone) {
    const std::pair<strings, bool> cases[] = {
        {{"KORVA_SysBusDevice", scsi, optical}, false},
        {{element}, true},
        {{scsi, element, firmware}, true},
    };
    unnotedRun run(sys::readMachineFile(SOURCE_DIRECTORY "/machines/rack-server.json"));
    for (const auto& [classNames, keepsInstances] : cases) {
        SCOPED_TRACE(classNames.back());
        run.plugin_->Init();
        queryOften(run, classNames);
        const auto [growth, held] = queryOften(run, classNames);
        EXPECT_EQ(growth != 0, keepsInstances);
        EXPECT_LE(growth, 50 * held);
        EXPECT_EQ(queryOften(run, classNames).first, growth);
    }
}
