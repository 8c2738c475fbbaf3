#include "inventory/run.h"

#include "inventory/askedmachine.h"
#include "inventory/passlog.h"
#include "inventory/recording.h"
#include "inventory/scratchdirectory.h"
#include "inventory/statusline.h"
#include "inventory/survey.h"
#include "minihost/minihost.h"
#include "minihost/pluginlibrary.h"
#include "text/forms.h"

#include <optional>
#include <stdexcept>

namespace inventory {

namespace {

constexpr int traceLevel = 3;

/// Takes a message of the log. Is it to be shown? Equal ones are shown once, unless the trace is, which is whole.
bool takeMessage(int level, const std::string& text, int shownLevel, messageList& messages) {
    const bool isFirst = level < traceLevel && messages.add(message::plugin, level, text);
    return level <= shownLevel && (isFirst || shownLevel >= traceLevel);
}

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

/// A trace tells which node its messages are about.
std::string headingOf(const openedNode& opened, std::string& shown, int shownLevel) {
    if (shownLevel < traceLevel || opened.latest() == shown)
        return "";
    shown = opened.latest();
    return shown + ":\n";
}

void runQueries(const runOptions& options, askedMachine& machine, minihost::memoryNamespace& ns, passLog& log,
                runResult& result) {
    statusLine status;
    const auto showStep = [&](const std::string& step) {
        status.show(step);
    };
    std::string shownNode;
    const auto showLog = [&](int level, const std::string& text) {
        log.take(level, text, machine.watched());
        if (takeMessage(level, text, options.logLevel, result.messages))
            status.write(headingOf(machine.opened(), shownNode, options.logLevel) + '[' + std::to_string(level) + "] " +
                         text::escaped(text) + '\n');
    };
    const auto showRemark = [&](const std::string& text) {
        if (result.messages.add(message::program, 0, text))
            status.write("remark: " + text::escaped(text) + '\n');
    };
    result.machineName = machine.machine().hostName();
    minihost::setLogSink(showLog);
    minihost::setRemarkSink(showRemark);
    for (const auto& doubt : machine.doubts())
        showRemark(doubt);
    const scratchDirectory scratch(showRemark);
    machine.watched().onStep(showStep);
    showStep("loading the plug-in");
    minihost::pluginLibrary plugin(options.pluginPath, options.plugin);
    for (const auto& classNames : options.queries) {
        showStep(classNames.front());
        result.queries.push_back(runQuery(classNames, plugin, ns));
        if (const auto& error = result.queries.back().error)
            throw std::runtime_error("the query failed: " + *error);
    }
}

} // namespace

std::string run(const runOptions& options, minihost::memoryNamespace& ns, runResult& result) {
    std::string recorded;
    std::optional<askedMachine> machine;
    passLog log;
    try {
        machine.emplace(options);
        std::optional<recording> file;
        if (!options.recordFile.empty())
            file.emplace(options);
        runQueries(options, *machine, ns, log, result);
        if (file)
            recorded = file->write(machine->recorded());
    } catch (...) {
        result.error = minihost::whatWasThrown();
    }
    if (machine)
        survey(options, *machine, log, result);
    return recorded;
}

} // namespace inventory
