#include "inventory/run.h"

#include "inventory/scratchdirectory.h"
#include "minihost/minihost.h"
#include "minihost/pluginlibrary.h"
#include "plugin/host/osspecific.h"

#include <stdexcept>

namespace inventory {

namespace {

queryResult runQuery(const std::vector<std::string>& classNames, minihost::pluginLibrary& plugin,
                     minihost::memoryNamespace& ns) {
    queryResult result{classNames, {}, std::nullopt};
    std::vector<boost::shared_ptr<NHALDEN20::ICIMClass>> requested;
    for (const auto& name : classNames)
        requested.push_back(ns.GetClass(name, {}));
    const auto before = static_cast<std::ptrdiff_t>(ns.instances().size());
    try {
        plugin.getData(ns.handle(), requested);
    } catch (...) {
        result.error = minihost::whatWasThrown();
    }
    result.instances.assign(ns.instances().begin() + before, ns.instances().end());
    return result;
}

/// Says of each failure of a host service what stays unseen. That there is no table of optical drives is none.
void noteFailures(const askedMachine& machine, runResult& result) {
    minihost::setFailureSink([&](const minihost::failedService& failure) {
        const bool isTable = failure.kind == minihost::failedService::spawning;
        if (!isTable || machine.hasOpticalTable())
            result.seen.unread.push_back(
                (isTable ? "the optical-drive table could not be read (" : "the USB listing could not be read (") +
                failure.what + ": " + failure.why + ')');
    });
}

void runQueries(const runOptions& options, askedMachine& machine, minihost::pluginLibrary& plugin,
                minihost::memoryNamespace& ns, const runEvents& events, runResult& result) {
    for (const auto& classNames : options.queries) {
        events.step(classNames.front());
        machine.beginQuery();
        result.queries.push_back(runQuery(classNames, plugin, ns));
        if (const auto& error = result.queries.back().error)
            throw std::runtime_error("the query failed: " + *error);
    }
}

} // namespace

void run(const runOptions& options, askedMachine& machine, minihost::memoryNamespace& ns, const runEvents& events,
         runResult& result) {
    for (const int kind : {0, 1})
        minihost::setVirtualDevices(kind, machine.virtualDevices(kind));
    result.machineName = NHALDEN20::TOSSpecific::GetMachineName();
    minihost::setLogSink(events.logged);
    minihost::setRemarkSink(events.remarked);
    noteFailures(machine, result);
    const scratchDirectory scratch(events.remarked);
    machine.onStep(events.step);
    events.step("loading the plug-in");
    minihost::pluginLibrary plugin(options.pluginPath, options.plugin);
    runQueries(options, machine, plugin, ns, events, result);
}

} // namespace inventory
