#include "fuzz/pluginrun.h"

#include "fuzz/input.h"
#include "minihost/memorynamespace.h"
#include "minihost/minihost.h"
#include "plugin/host/osspecific.h"
#include "plugin/scsidev_linux.h"
#include "simulator/kernel.h"
#include "simulator/recorder.h"

using NHALDEN20::TOSSpecific;

namespace {

thread_local simulator::kernel* installed = nullptr; // a thread that watches the fuzzer's memory sleeps in truth

/// Runs one query and returns how many instances were committed.
std::size_t query(TScsidevPluginCallbacks& plugin, minihost::memoryNamespace& ns,
                  TScsidevPluginCallbacks::classList requested) {
    const std::size_t before = ns.instances().size();
    plugin.GetData(ns.handle(), requested);
    return ns.instances().size() - before;
}

void checkDrives(TScsidevPluginCallbacks& plugin, minihost::memoryNamespace& ns,
                 const std::vector<std::string>& virtualDrives) {
    const TScsidevPluginCallbacks::classList requested{ns.GetClass("KORVA_CDVDDevice", {})};
    const std::size_t drives = query(plugin, ns, requested);
    fuzz::require(query(plugin, ns, requested) == drives, "a second query finds the same drives");
    for (std::size_t i = ns.instances().size() - drives; i < ns.instances().size(); ++i) {
        const std::string name = *ns.instances()[i]->find("Name");
        fuzz::require(name.find('/') == std::string::npos, "a drive's name is a bare one");
        for (const auto& path : virtualDrives)
            fuzz::require(path.find(name) == std::string::npos, "virtual drives are left out");
    }
}

} // namespace

simulator::kernel* simulator::activeKernel() { return installed; }
simulator::recorder* simulator::activeRecorder() { return nullptr; }

// The host's services, answered by the machine: no process is started and no file is read.

std::string TOSSpecific::CaptureFile(std::string /*path*/) { return installed->simulated().usbListing; }

std::string TOSSpecific::SpawnProcess(std::string /*command*/, std::vector<std::string> /*arguments*/,
                                      int /*timeout*/) {
    return *installed->simulated().opticalTable;
}

std::string TOSSpecific::GetMachineName() { return installed->simulated().name; }

bool TOSSpecific::getOrvexVirtualDevices(int kind, std::vector<std::string>& list, bool /*flag*/) {
    list = installed->simulated().virtualDevices[kind];
    return true;
}

void fuzz::checkPluginRun(simulator::machine machine, std::vector<std::vector<std::uint8_t>> queries) {
    simulator::kernel kernel(std::move(machine));
    installed = &kernel;

    auto& registered = minihost::registeredPlugins();
    for (auto* const loaded : registered) // at the first run, the one that came with this program
        loaded->PrepareForUnload();
    auto& plugin = *new TScsidevPluginCallbacks; // which registers itself
    registered.clear();
    minihost::memoryNamespace ns;
    plugin.Init();

    constexpr std::size_t mostQueries = 8, mostClasses = 8; // more of them cost time and show nothing new
    queries.resize(std::min(queries.size(), mostQueries));
    for (auto& positions : queries) {
        TScsidevPluginCallbacks::classList requested;
        positions.resize(std::min(positions.size(), mostClasses));
        for (const std::uint8_t position : positions)
            requested.push_back(
                ns.GetClass(std::string(minihost::classTable()[position % minihost::classTable().size()].name), {}));
        query(plugin, ns, requested);
    }
    checkDrives(plugin, ns, kernel.simulated().virtualDevices[1]);
    fuzz::require(kernel.openDescriptors() == 0, "every node is closed again");
    kernel.simulated().nodes.clear();
    const auto element = ns.GetClass("KORVA_SysBusDeviceFirmwareElement", {});
    query(plugin, ns, {element});
    fuzz::require(query(plugin, ns, {element}) == 0, "a query consumes the records of those before it");
    plugin.PrepareForUnload();
    installed = nullptr;
}
