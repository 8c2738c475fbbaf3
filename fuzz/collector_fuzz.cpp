// Whole runs, for any classes in any order, on a machine whose answers the input changes: they are recorded, replayed,
// repeated and interrupted, and their results printed in every format.

#include "device/scsidevice_linux.h"
#include "fuzz/machineinput.h"
#include "fuzz/require.h"
#include "inventory/output.h"
#include "minihost/memorynamespace.h"
#include "minihost/minihost.h"
#include "plugin/scsidev_linux.h"
#include "system/anonymize.h"
#include "system/clibrary.h"
#include "system/machinefile.h"
#include "system/recordedmachine.h"
#include "system/simulatedmachine.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

/// The queries of a run, each a list of classes.
using queryList = std::vector<std::vector<std::string>>;

/// What of the host fails, and when. A query asks it for log lines, classes and services.
struct hostFault {
    std::uint16_t call = 0; ///< the number of the call that throws, from 1; 0: none
    std::uint8_t thrown = 0;

    void count() {
        if (call == 0 || --call != 0)
            return;
        if (thrown % 3 == 0)
            throw std::runtime_error("of the host");
        if (thrown % 3 == 1)
            throw scsiException("as of a device");
        throw thrown;
    }
};

hostFault fault;

/// A machine whose services fail, around all others: libFuzzer has a thread that watches the memory, whose sleeps are
/// real and meet no other layer.
class faultyServices : public sys::layer {
public:
    using layer::layer;

    unsigned sleep(unsigned seconds) override {
        return std::this_thread::get_id() == asking_ ? layer::sleep(seconds) : sys::cLibrary::sleep(seconds);
    }
    std::string hostName() override {
        fault.count();
        return layer::hostName();
    }
    sys::serviceAnswer spawn(const std::vector<std::string>& command, std::chrono::seconds limit) override {
        fault.count();
        return layer::spawn(command, limit);
    }

private:
    std::thread::id asking_ = std::this_thread::get_id();
};

class faultyNamespace : public minihost::memoryNamespace {
public:
    boost::shared_ptr<NHALDEN20::ICIMClass> GetClass(std::string name, NHALDEN20::TContext context) override {
        fault.count();
        return memoryNamespace::GetClass(std::move(name), std::move(context));
    }
};

std::string written(void write(const inventory::runResult&, std::ostream&), const inventory::runResult& result) {
    std::ostringstream output;
    write(result, output);
    return output.str();
}

/// A plug-in object on a machine, and the host that it sees.
class pluginRun {
public:
    explicit pluginRun(const sys::machineAnswers& machine)
        : simulated_(machine), recorded_(simulated_), watched_(recorded_), services_(watched_) {
        auto& registered = minihost::registeredPlugins();
        for (auto* const loaded : registered) // at the first run, the object that this program made when it started
            loaded->PrepareForUnload();
        plugin_ = new TScsidevPluginCallbacks; // which registers itself
        registered.clear();
        const sys::machineInUse inUse(services_);
        takeLog();
        plugin_->Init();
    }
    ~pluginRun() {
        TScsidevPluginCallbacks::classList none;
        plugin_->GetBusDevice(none, ns_.handle()); // frees the records of a pass that ended early; unloading does not
        plugin_->PrepareForUnload();
        minihost::setLogSink(nullptr);
    }
    pluginRun(const pluginRun&) = delete;
    pluginRun& operator=(const pluginRun&) = delete;

    sys::machineAnswers& machine() { return simulated_.answers(); }
    sys::machineAnswers recording() { return recorded_.wholeMachine(); }
    sys::machine& asked() { return services_; }
    TScsidevPluginCallbacks& plugin() { return *plugin_; }
    const std::vector<boost::shared_ptr<minihost::memoryInstance>>& instances() const { return ns_.instances(); }

    /// Runs one query and returns how many instances were committed.
    std::size_t query(const std::vector<std::string>& classNames) {
        const std::size_t before = instances().size();
        TScsidevPluginCallbacks::classList requested;
        for (const auto& name : classNames)
            requested.push_back(ns_.memoryNamespace::GetClass(name, {}));
        const sys::machineInUse inUse(services_);
        takeLog();
        plugin_->GetData(ns_.handle(), requested);
        requireClosedNodes();
        return instances().size() - before;
    }

    void queryAll(const queryList& queries) {
        for (const auto& names : queries)
            query(names);
    }

    /// The instances behind the `first` ones.
    inventory::runResult result(std::ptrdiff_t first = 0) const {
        inventory::runResult result;
        result.queries = {{{}, {instances().begin() + first, instances().end()}, std::nullopt}};
        return result;
    }
    /// The same, and the log.
    std::string seen(std::ptrdiff_t first = 0) const {
        return log_.str() + written(inventory::writeJson, result(first));
    }

    /// All of it, with the devices.
    inventory::runResult wholeResult() {
        inventory::runResult whole = result();
        whole.devices = inventory::devicesOf(watched_, watched_, passLog_.found(), instances(), sys::kernelDetail::all);
        return whole;
    }

    void forgetLog() { log_.str(""); }

    void requireClosedNodes() const { fuzz::require(simulated_.openDescriptors() == 0, "every node is closed again"); }

    /// The classes of the instances, without drives: a table of these that no kernel writes does not stay in a
    /// recording that is made anonymous.
    std::vector<std::string_view> classes() const {
        std::vector<std::string_view> names;
        for (const auto& instance : instances()) {
            if (const std::string_view name = instance->declaration().name; name != "KORVA_CDVDDevice")
                names.push_back(name);
        }
        return names;
    }

private:
    void takeLog() {
        minihost::setLogSink([this](int level, const std::string& text) {
            fault.count();
            log_ << level << ' ' << text << '\n';
            passLog_.take(level, text, watched_);
        });
    }

    sys::simulatedMachine simulated_;
    sys::recordedMachine recorded_;
    sys::watchedMachine watched_;
    faultyServices services_;
    inventory::passLog passLog_;
    faultyNamespace ns_;
    std::ostringstream log_;
    TScsidevPluginCallbacks* plugin_;
};

/// Requires that nothing that is printed of a run drives a terminal.
void checkOutput(pluginRun& run) {
    inventory::runResult result = run.wholeResult();
    for (const auto& declaration : minihost::classTable())
        result.queries[0].classes.emplace_back(declaration.name);
    const std::string asJson = written(inventory::writeJson, result);
    fuzz::require(nlohmann::json::accept(asJson), "a JSON document is whole");
    const inventory::tableStyle style{true, 80, false, false}, tree{false, 80, false, true};
    std::ostringstream tables;
    inventory::writeTable(result, style, tables);
    inventory::writeOverview(result, style, tables);
    inventory::writeOverview(result, tree, tables);
    const std::string all =
        asJson + written(inventory::writeMof, result) + written(inventory::writePrometheus, result) + tables.str();
    fuzz::require(std::all_of(all.begin(), all.end(), [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }),
                  "no output drives a terminal");
}

void checkDrives(pluginRun& run) {
    const std::vector<std::string> drivesOnly{"KORVA_CDVDDevice"};
    const std::size_t drives = run.query(drivesOnly);
    fuzz::require(run.query(drivesOnly) == drives, "a second query finds the same drives");
    for (std::size_t i = run.instances().size() - drives; i < run.instances().size(); ++i) {
        const std::string name = *run.instances()[i]->find("Name");
        fuzz::require(name.find('/') == std::string::npos, "a drive's name is a bare one");
        for (const auto& path : run.machine().virtualDevices[sys::virtualOpticalDrive])
            fuzz::require(path.find(name) == std::string::npos, "virtual drives are left out");
    }
}

/// Runs the queries, then some more, and requires what holds on any machine. A recording of them that was written and
/// read shows a host the same, an anonymous one the same devices.
void checkRun(const sys::machineAnswers& machine, const queryList& queries) {
    pluginRun run(machine);
    run.queryAll(queries);
    checkOutput(run);
    const sys::machineAnswers recorded = run.recording();

    pluginRun replay(sys::parseMachine(sys::machineFileText(recorded), "recording"));
    replay.queryAll(queries);
    fuzz::require(replay.seen() == run.seen(), "a replay shows the same");
    pluginRun anonymous(sys::anonymize(recorded, "key"));
    anonymous.queryAll(queries);
    fuzz::require(anonymous.classes() == run.classes(), "an anonymous machine has the same devices");

    checkDrives(run);
    run.machine().nodes.clear();
    const std::vector<std::string> elementsOnly{"KORVA_SysBusDeviceFirmwareElement"};
    run.query(elementsOnly);
    fuzz::require(run.query(elementsOnly) == 0, "a query consumes the records of those before it");
}

/// Requires of a steady machine that a query after one that failed in the host shows what it shows after a whole one.
/// Associations are left out: they tell of the instances that earlier queries left behind.
void checkNextQuery(const sys::machineAnswers& steady, const std::vector<std::string>& names, hostFault ofHost) {
    if (std::count(names.begin(), names.end(), "KORVA_SysBusDeviceFirmware") != 0)
        return;
    std::string seen[2];
    for (const bool fails : {false, true}) {
        pluginRun run(steady);
        fault = fails ? ofHost : hostFault();
        try {
            run.query(names);
        } catch (...) { // the host's own
        }
        fault = {};
        run.forgetLog();
        const std::size_t before = run.instances().size();
        run.query(names);
        seen[fails ? 1 : 0] = run.seen(static_cast<std::ptrdiff_t>(before));
    }
    fuzz::require(seen[0] == seen[1], "the next query is right");
}

/// Requires that the ways to ask a node of a steady machine what it is agree.
void checkIdentification(const sys::machineAnswers& steady) {
    pluginRun run(steady);
    const sys::machineInUse inUse(run.asked());
    for (const char* family : {"/dev/sg", "/dev/hd", "/dev/sd"}) {
        for (const int index : {0, 1, 2, 3, 4, 25, 26}) {
            scsiDevice device;
            device.initialize(family, index);
            const bool isAta = run.plugin().getBusType(&device) == BusTypeAta;
            fuzz::require(isAta == (device.getBusType() == 3), "the bus types agree");
        }
    }
    run.requireClosedNodes();
}

/// The machine with the first answer of each kind alone.
sys::machineAnswers steadyMachine(sys::machineAnswers machine) {
    machine.modprobe.keepLast();
    for (auto& [path, node] : machine.nodes)
        eachAnswer(node, [](const char* /*name*/, auto& answers) { answers.keepLast(); });
    return machine;
}

queryList queriesFrom(FuzzedDataProvider& input) {
    constexpr std::size_t mostQueries = 8, mostClasses = 8; // of which the first tell what there is to tell
    const auto classes = minihost::classTable();
    queryList queries(input.ConsumeIntegralInRange<std::size_t>(0, mostQueries));
    for (auto& names : queries) {
        names.resize(input.ConsumeIntegralInRange<std::size_t>(0, mostClasses));
        for (auto& name : names)
            name = classes.begin()[input.ConsumeIntegralInRange<std::size_t>(0, classes.size() - 1)].name;
    }
    return queries;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider input(bytes, size);
    const queryList queries = queriesFrom(input);
    hostFault ofHost;
    ofHost.call = input.ConsumeIntegralInRange<std::uint16_t>(0, 512); // a query makes hardly more calls
    ofHost.thrown = input.ConsumeIntegral<std::uint8_t>();
    sys::machineAnswers machine = fuzz::machineFrom(input);
    checkRun(machine, queries);
    const sys::machineAnswers steady = steadyMachine(std::move(machine));
    if (!queries.empty())
        checkNextQuery(steady, queries.front(), ofHost);
    checkIdentification(steady);
    return 0;
}
