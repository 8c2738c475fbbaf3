#include "inventory/askedmachine.h"

#include "device/scsidevice_linux.h"
#include "inventory/instancetext.h"
#include "system/anonymize.h"
#include "system/boundary.h"
#include "system/machinefile.h"
#include "system/pseudonyms.h"
#include "text/forms.h"

#include <sys/wait.h>

#include <set>

namespace inventory {

namespace {

constexpr const char* recordedTexts =
    ": the host name, every answer of the device nodes with vendors, models and serial numbers,\n"
    "the kernel's names of the devices, the optical-drive table, the USB listing and the names of virtual\n"
    "devices; look through it before you give it away\n";

constexpr const char* anonymousTexts =
    "\nreplaced: serial numbers, world wide names but for their makers, the host name\n"
    "kept: vendors, products, firmware, node paths, the kernel's names, addresses, statuses and sense data\n"
    "left out: everything else\n"
    "this run's output and log have the originals; those of --machine on this file do not\n";

/// The machine of a file, to which the user has added virtual devices.
sys::machineAnswers answersOf(const runOptions& options) {
    sys::machineAnswers answers = sys::readMachineFile(options.machineFile);
    for (const auto kind : sys::virtualDeviceKinds) {
        auto& names = answers.virtualDevices[kind];
        names.insert(names.end(), options.virtualDevices[kind].begin(), options.virtualDevices[kind].end());
    }
    return answers;
}

/// The sg nodes that instances of a run are at.
std::set<std::string> nodesShown(const runResult& result) {
    std::set<std::string> paths;
    for (const auto& query : result.queries) {
        for (const auto& instance : query.instances) {
            if (std::string path = nodeOf(*instance); sys::sgNodeNumber(path))
                paths.insert(std::move(path));
        }
    }
    return paths;
}

} // namespace

askedMachine::askedMachine(const runOptions& options) : options_(options) {
    if (options.machineFile.empty())
        this_.emplace(options.virtualDevices);
    else
        simulated_.emplace(answersOf(options));
    sys::machine& asked = this_ ? static_cast<sys::machine&>(*this_) : *simulated_;
    if (options.anonymize)
        anonymizeKey_ = sys::pseudonymKey(options.anonymizeKeyFile);
    if (!options.recordFile.empty())
        recording_.emplace(options.recordFile,
                           options.force ? outputFile::existing::isReplaced : outputFile::existing::isKept,
                           S_IRUSR | S_IWUSR); // it tells serial numbers
    const bool replays = options.queries.size() > 1 && !options.askAgain;
    if (recording_ || replays)
        recorded_.emplace(asked);
    watched_.emplace(recorded_ ? *recorded_ : asked);
    if (replays)
        replayed_.emplace(*watched_, *recorded_);
    inUse_.emplace(machine());
}

void askedMachine::report(runResult& result) {
    coverage& seen = result.seen;
    seen.walked = watched_->driverStatus().has_value();
    seen.nodes = watched_->nodes();
    for (const auto& path : machine().deviceNodes()) {
        if (seen.walked && sys::sgNodeNumber(path).value_or(0) >= nodesPerFamily)
            seen.beyond.push_back(path);
    }
    const int driver = watched_->driverStatus().value_or(0);
    seen.driverStatus = WIFEXITED(driver) ? WEXITSTATUS(driver) : -1;
    seen.unread = watched_->unread();
    result.kernelNames = machine().kernelWordsOf(
        nodesShown(result), options_.format == outputFormat::table ? sys::kernelDetail::names : sys::kernelDetail::all);
    result.secondsSkipped = simulated_ ? simulated_->secondsSkipped() : 0;
}

std::string askedMachine::writeRecording() {
    if (!recording_)
        return "";
    sys::machineAnswers machine = recorded_->wholeMachine();
    std::string told = recordedTexts;
    if (options_.anonymize) {
        machine = sys::anonymize(std::move(machine), anonymizeKey_);
        told = anonymousTexts;
    }
    recording_->write(sys::machineFileText(machine));
    return "recorded in " + text::escaped(recording_->path()) + told;
}

} // namespace inventory
