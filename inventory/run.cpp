#include "inventory/run.h"

#include "inventory/scratchdirectory.h"
#include "minihost/minihost.h"
#include "minihost/pluginlibrary.h"
#include "plugin/host/osspecific.h"

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

} // namespace

std::size_t runResult::instanceCount() const {
    std::size_t count = 0;
    for (const auto& query : queries)
        count += query.instances.size();
    return count;
}

runResult run(const options& options, askedMachine& machine, minihost::memoryNamespace& ns, const runEvents& events) {
    for (const int kind : {0, 1})
        minihost::setVirtualDevices(kind, machine.virtualDevices(kind));
    runResult result{NHALDEN20::TOSSpecific::GetMachineName(), {}};
    minihost::setLogSink(events.logged);
    minihost::setRemarkSink(events.remarked);
    const scratchDirectory scratch(events.remarked);
    events.step("loading the plug-in");
    minihost::pluginLibrary plugin(options.plugin);
    for (const auto& classNames : options.queries) {
        events.step(classNames.front());
        machine.beginQuery();
        result.queries.push_back(runQuery(classNames, plugin, ns));
        if (result.failed())
            break;
    }
    return result;
}

} // namespace inventory
