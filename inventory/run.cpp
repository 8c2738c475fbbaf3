#include "inventory/run.h"

#include "inventory/askedmachine.h"
#include "inventory/outputfile.h"
#include "inventory/passlog.h"
#include "inventory/scratchdirectory.h"
#include "inventory/statusline.h"
#include "inventory/survey.h"
#include "minihost/minihost.h"
#include "minihost/pluginlibrary.h"
#include "system/anonymize.h"
#include "system/machinefile.h"
#include "system/pseudonyms.h"
#include "text/forms.h"

#include <sys/stat.h>

#include <optional>
#include <stdexcept>

namespace inventory {

namespace {

constexpr int traceLevel = 3;

/// Takes a message of the log. Is it to be shown? Equal ones are shown once, unless the trace is, which is whole.
bool takeMessage(int level, const std::string& text, int shownLevel, runResult& result) {
    const bool isFirst = level < traceLevel && result.addMessage(message::plugin, level, text);
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
    std::string shownNode;
    const auto showLog = [&](int level, const std::string& text) {
        log.take(level, text, machine.watched());
        if (takeMessage(level, text, options.logLevel, result))
            status.write(headingOf(machine.opened(), shownNode, options.logLevel) + '[' + std::to_string(level) + "] " +
                         text::escaped(text) + '\n');
    };
    const auto showRemark = [&](const std::string& text) {
        if (result.addMessage(message::program, 0, text))
            status.write("remark: " + text::escaped(text) + '\n');
    };
    result.machineName = machine.machine().hostName();
    minihost::setLogSink(showLog);
    minihost::setRemarkSink(showRemark);
    for (const auto& doubt : machine.doubts())
        showRemark(doubt);
    const scratchDirectory scratch(showRemark);
    machine.watched().onStep([&status](const std::string& step) { status.show(step); });
    status.show("loading the plug-in");
    minihost::pluginLibrary plugin(options.pluginPath, options.plugin);
    for (const auto& classNames : options.queries) {
        result.queries.push_back(runQuery(classNames, plugin, ns));
        if (const auto& error = result.queries.back().error)
            throw std::runtime_error("the query failed: " + *error);
    }
}

constexpr const char* recordedTexts =
    ": the host name, every answer of the device nodes with vendors, models and serial numbers,\n"
    "what the kernel knows of the devices, the optical-drive table, the USB listing and the names of virtual\n"
    "devices; look through it before you give it away\n";

constexpr const char* anonymousTexts =
    "\nreplaced: serial numbers, world wide names but for their makers, the host name\n"
    "kept: vendors, products, firmware, sizes, node paths, the kernel's names, addresses, statuses and sense data\n"
    "left out: everything else\n"
    "this run's output and log have the originals; those of --machine on this file do not\n";

/// The file into which a run records its machine. That it can be written, and the key be used, is tried at once.
class recording {
public:
    explicit recording(const runOptions& options)
        : isAnonymous_(options.anonymize),
          key_(isAnonymous_ ? sys::pseudonymKey(options.anonymizeKeyFile) : ""),
          file_(options.recordFile, options.force ? outputFile::existing::isReplaced : outputFile::existing::isKept,
                S_IRUSR | S_IWUSR) {} // it tells serial numbers

    /// Writes what the machine has answered. Returns what to say of it.
    std::string write(sys::recordedMachine& recorded) const {
        sys::machineAnswers machine = recorded.wholeMachine();
        if (isAnonymous_)
            machine = sys::anonymize(std::move(machine), key_);
        file_.write(sys::machineFileText(machine));
        return "recorded in " + text::escaped(file_.path()) + (isAnonymous_ ? anonymousTexts : recordedTexts);
    }

private:
    bool isAnonymous_;
    std::string key_;
    outputFile file_;
};

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
        survey(options, *machine, log.found(), result);
    return recorded;
}

} // namespace inventory
