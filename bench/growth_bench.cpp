// How the work on lists and texts grows with them, from the 32 devices of a machine to a host's 10,000 instances.

#include "bench/installedkernel.h"
#include "minihost/memorynamespace.h"
#include "minihost/minihost.h"
#include "plugin/scsidev_linux.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int fewest = 32, most = 10000;

std::string identityOf(std::int64_t number) {
    return "Port:" + std::to_string(number) + "|Target:0|Bus:0|Lun:0|"; // the last mark keeps 1 from being part of 11
}

using NHALDEN20::TCIMValue;

/// A plug-in object that has read the instances of a namespace: `count` devices and as many firmware elements.
class withInstances {
public:
    explicit withInstances(std::int64_t count) {
        for (std::int64_t number = 0; number < count; ++number) {
            commit("KORVA_SCSIDevice", "OtherIdentifyingInfo",
                   TCIMValue(NHALDEN20::kCIMStringArray, 0, std::vector<TCIMValue>(1, identityOf(number))));
            commit("KORVA_SysBusDeviceFirmwareElement", "SoftwareElementId", identityOf(number));
        }
        const installedKernel noDevices{{}};
        const auto association = namespace_.GetClass("KORVA_SysBusDeviceFirmware", {});
        TScsidevPluginCallbacks::classList requested{association};
        plugin.GetData(namespace_.handle(), requested);
        associationOfNone = association->CreateInstance({});
    }

    TScsidevPluginCallbacks plugin;
    boost::shared_ptr<NHALDEN20::ICIMInstance> associationOfNone;

private:
    void commit(const std::string& className, const std::string& property, const TCIMValue& value) {
        const auto instance = namespace_.GetClass(className, {})->CreateInstance({});
        instance->SetProperty(property, value, {});
        instance->AddToClass({});
    }

    minihost::memoryNamespace namespace_;
};

/// The device that comes last of all instances is associated with its firmware.
void associationMatching(benchmark::State& state) {
    withInstances known(state.range(0));
    const std::string last = identityOf(state.range(0) - 1);
    while (state.KeepRunning())
        benchmark::DoNotOptimize(known.plugin.findRefs(last, "", known.associationOfNone));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(associationMatching)->Range(fewest, most)->Complexity(benchmark::oN);

/// The record that was stored last is stored again: all others are looked at before it.
void storing(benchmark::State& state) {
    TScsidevPluginCallbacks plugin;
    std::vector<busDevice> records(static_cast<std::size_t>(state.range(0)));
    for (std::size_t number = 0; number < records.size(); ++number) {
        records[number].initialize();
        records[number].devicePath = "/dev/sg" + std::to_string(number);
        plugin.StoreBusDevice(&records[number]);
    }
    while (state.KeepRunning())
        plugin.StoreBusDevice(&records.back());
    state.SetComplexityN(state.range(0));
    TScsidevPluginCallbacks::classList nothing;
    plugin.GetBusDevice(nothing, {}); // which destroys the records
}
BENCHMARK(storing)->Range(fewest, most)->Complexity(benchmark::oN);

/// A line of the optical-drive table with a column for each of many drives.
void splitting(benchmark::State& state) {
    TScsidevPluginCallbacks plugin;
    std::string line = "drive name:";
    for (std::int64_t drive = 0; drive < state.range(0); ++drive)
        line += "\tsr" + std::to_string(drive);
    while (state.KeepRunning())
        benchmark::DoNotOptimize(plugin.SplitBySeperator(plugin.ColonFilter(line), "\t ").size());
    state.SetComplexityN(state.range(0));
}
BENCHMARK(splitting)->Range(fewest, most)->Complexity(benchmark::oN);

/// A column of that table behind as many tabs.
void readingANumber(benchmark::State& state) {
    TScsidevPluginCallbacks plugin;
    const std::string line = "Can read DVD:" + std::string(static_cast<std::size_t>(state.range(0)), '\t') + '1';
    while (state.KeepRunning())
        benchmark::DoNotOptimize(plugin.getOptProperty(line));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(readingANumber)->Range(fewest, most)->Complexity(benchmark::oN);

/// A device that is not behind USB is looked for in the listing of many that are.
void exclusion(benchmark::State& state) {
    simulator::machine machine;
    for (std::int64_t device = 0; device < state.range(0); ++device)
        machine.usbListing += "  Device: usb 0x4012 \"Virtual media " + std::to_string(device) + "\"\n";
    const installedKernel kernel(machine);
    TScsidevPluginCallbacks plugin;
    plugin.Init();
    while (state.KeepRunning())
        benchmark::DoNotOptimize(plugin.FindUSBDevice({}, "ACME", "ROADRUNNER 4000"));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(exclusion)->Range(fewest, most)->Complexity(benchmark::oN);

} // namespace
