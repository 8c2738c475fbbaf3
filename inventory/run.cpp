#include "inventory/run.h"

#include "inventory/scratchdirectory.h"
#include "minihost/minihost.h"
#include "minihost/pluginlibrary.h"

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

void runQueries(const runOptions& options, minihost::pluginLibrary& plugin, minihost::memoryNamespace& ns,
                const runEvents& events, runResult& result) {
    for (const auto& classNames : options.queries) {
        events.step(classNames.front());
        result.queries.push_back(runQuery(classNames, plugin, ns));
        if (const auto& error = result.queries.back().error)
            throw std::runtime_error("the query failed: " + *error);
    }
}

} // namespace

void run(const runOptions& options, askedMachine& machine, minihost::memoryNamespace& ns, const runEvents& events,
         runResult& result) {
    result.machineName = machine.machine().hostName();
    minihost::setLogSink(events.logged);
    minihost::setRemarkSink(events.remarked);
    const scratchDirectory scratch(events.remarked);
    machine.watched().onStep(events.step);
    events.step("loading the plug-in");
    minihost::pluginLibrary plugin(options.pluginPath, options.plugin);
    runQueries(options, plugin, ns, events, result);
}

} // namespace inventory
