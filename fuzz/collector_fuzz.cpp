// Whole runs, for any classes in any order, on a machine whose every answer comes from the input, and on a recording of
// that machine.

#include "fuzz/machineinput.h"
#include "inventory/jsonoutput.h"
#include "minihost/memorynamespace.h"
#include "minihost/minihost.h"
#include "plugin/host/osspecific.h"
#include "plugin/scsidev_linux.h"
#include "simulator/anonymize.h"
#include "simulator/kernel.h"
#include "simulator/machinefile.h"
#include "simulator/recorder.h"

#include <algorithm>
#include <random>
#include <sstream>

using NHALDEN20::TOSSpecific;

namespace {

/// The queries of a run, each a list of positions in the class table.
using queryList = std::vector<std::vector<std::uint8_t>>;

// For each thread its own: libFuzzer has a thread that watches the memory, whose sleeps must be real.
thread_local simulator::kernel* installed = nullptr;

thread_local simulator::recorder* watching = nullptr;

/// A plug-in object on a machine, and a namespace for what it commits.
class pluginRun {
public:
    explicit pluginRun(const simulator::machine& machine) : kernel_(machine) {
        installed = &kernel_;
        auto& registered = minihost::registeredPlugins();
        for (auto* const loaded : registered) // at the first run, the object that this program made when it started
            loaded->PrepareForUnload();
        plugin_ = new TScsidevPluginCallbacks; // which registers itself
        registered.clear();
        plugin_->Init();
    }
    ~pluginRun() {
        plugin_->PrepareForUnload();
        installed = nullptr;
    }
    pluginRun(const pluginRun&) = delete;
    pluginRun& operator=(const pluginRun&) = delete;

    simulator::kernel& kernel() { return kernel_; }
    const std::vector<boost::shared_ptr<minihost::memoryInstance>>& instances() const { return ns_.instances(); }

    /// Runs one query and returns how many instances were committed.
    std::size_t query(const std::vector<std::string>& classNames) {
        const std::size_t before = instances().size();
        TScsidevPluginCallbacks::classList requested;
        for (const auto& name : classNames)
            requested.push_back(ns_.GetClass(name, {}));
        plugin_->GetData(ns_.handle(), requested);
        return instances().size() - before;
    }

    void queryAll(const queryList& queries) {
        constexpr std::size_t mostQueries = 8, mostClasses = 8; // more cost time and reach nothing new
        for (std::size_t i = 0; i < std::min(queries.size(), mostQueries); ++i) {
            std::vector<std::string> names;
            for (std::size_t j = 0; j < std::min(queries[i].size(), mostClasses); ++j)
                names.emplace_back(minihost::classTable()[queries[i][j] % minihost::classTable().size()].name);
            query(names);
        }
    }

private:
    simulator::kernel kernel_;
    minihost::memoryNamespace ns_;
    TScsidevPluginCallbacks* plugin_;
};

void checkDrives(pluginRun& run) {
    const std::vector<std::string> drivesOnly{"KORVA_CDVDDevice"};
    const std::size_t drives = run.query(drivesOnly);
    fuzz::require(run.query(drivesOnly) == drives, "a second query finds the same drives");
    for (std::size_t i = run.instances().size() - drives; i < run.instances().size(); ++i) {
        const std::string name = *run.instances()[i]->find("Name");
        fuzz::require(name.find('/') == std::string::npos, "a drive's name is a bare one");
        for (const auto& path : run.kernel().model().virtualDevices[1])
            fuzz::require(path.find(name) == std::string::npos, "virtual drives are left out");
    }
}

/// What a host sees of the queries on a machine: the log, then the instances.
std::string seenByHost(const simulator::machine& machine, const queryList& queries) {
    std::ostringstream seen;
    minihost::setLogSink([&seen](int level, const std::string& text) { seen << level << ' ' << text << '\n'; });
    pluginRun run(machine);
    run.queryAll(queries);
    minihost::setLogSink(nullptr);
    inventory::runResult result;
    result.queries = {{{}, run.instances(), std::nullopt}};
    inventory::writeJson(result, seen);
    return seen.str();
}

/// The classes of the instances that the queries commit.
std::vector<std::string> classesSeen(const simulator::machine& machine, const queryList& queries) {
    pluginRun run(machine);
    run.queryAll(queries);
    std::vector<std::string> names;
    for (const auto& instance : run.instances())
        names.push_back(instance->GetInstanceClass({})->GetClassName({}));
    return names;
}

/// Runs the plug-in on a machine: the queries, then some of its own, and requires what holds on any machine.
void checkPluginRun(const simulator::machine& machine, const queryList& queries) {
    pluginRun run(machine);
    run.queryAll(queries);
    checkDrives(run);
    fuzz::require(run.kernel().openDescriptors() == 0, "every node is closed again");
    run.kernel().model().nodes.clear();
    const std::vector<std::string> elementsOnly{"KORVA_SysBusDeviceFirmwareElement"};
    run.query(elementsOnly);
    fuzz::require(run.query(elementsOnly) == 0, "a query consumes the records of those before it");
}

/// Records the queries on a machine, writes the recording, reads it and runs them on that, and requires that a host
/// sees the same.
void checkReplay(const simulator::machine& machine, const queryList& queries) {
    simulator::recorder recorder;
    watching = &recorder;
    const std::string seen = seenByHost(machine, queries);
    watching = nullptr;
    simulator::machine recorded = recorder.recorded();
    // These three reach the plug-in through the host's services, which the recorder does not see.
    recorded.name = machine.name;
    recorded.opticalTable = machine.opticalTable;
    for (const int kind : {0, 1})
        recorded.virtualDevices[kind] = machine.virtualDevices[kind];

    const std::string written = simulator::machineFileText(recorded);
    fuzz::require(seenByHost(simulator::parseMachine(written, "recording"), queries) == seen,
                  "a replay shows the same");
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): what an input finds, it finds again
    fuzz::require(classesSeen(simulator::anonymize(recorded, random).result, queries) == classesSeen(recorded, queries),
                  "an anonymous machine has the same devices");
}

} // namespace

simulator::kernel* simulator::activeKernel() { return installed; }
simulator::recorder* simulator::activeRecorder() { return watching; }

// The host's services. The machine answers them: no process is started and no file is read.

std::string TOSSpecific::CaptureFile(std::string /*path*/) { return installed->model().usbListing; }

std::string TOSSpecific::SpawnProcess(std::string /*command*/, std::vector<std::string> /*arguments*/,
                                      int /*timeout*/) {
    return *installed->model().opticalTable;
}

std::string TOSSpecific::GetMachineName() { return installed->model().name; }

bool TOSSpecific::getOrvexVirtualDevices(int kind, std::vector<std::string>& list, bool /*flag*/) {
    list = installed->model().virtualDevices[kind];
    return true;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    fuzz::archive input(bytes, size);
    queryList queries;
    simulator::machine machine;
    fuzz::transfer(input, queries, machine);
    checkPluginRun(machine, queries);
    checkReplay(machine, queries);
    return 0;
}
