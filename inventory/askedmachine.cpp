#include "inventory/askedmachine.h"

#include "inventory/sysfs.h"
#include "minihost/childprocess.h"
#include "plugin/host/osspecific.h"
#include "system/anonymize.h"
#include "system/boundary.h"
#include "system/machinefile.h"
#include "system/pseudonyms.h"
#include "text/errorname.h"
#include "text/escape.h"

#include <dirent.h>
#include <sys/wait.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string_view>

namespace {

// The interposed functions read these. They are null before and after a run, when the process opens other files.
sys::kernel* activeKernel = nullptr;
sys::recorder* activeRecorder = nullptr;

/// The environment variable that, set to anything, makes a simulated machine sleep for real.
constexpr const char* sleepVariable = "SCSIDEV_SLEEP";

} // namespace

sys::kernel* sys::activeKernel() { return ::activeKernel; }
sys::recorder* sys::activeRecorder() { return ::activeRecorder; }

namespace inventory {

using sys::recorder;

namespace {

constexpr int lastSgNode = 31; // that the plug-in looks at

/// What the recorder has to keep: copies of answers cost time.
recorder::keeps whatToKeep(const runOptions& options) {
    if (!options.recordFile.empty())
        return recorder::keeps::everything;
    return options.queries.size() > 1 && !options.askAgain ? recorder::keeps::answers : recorder::keeps::nothing;
}

constexpr const char* recordedTexts =
    ": the host name, every answer of the device nodes with vendors, models and serial numbers,\n"
    "the kernel's names of the devices, the optical-drive table, the USB listing and the names of virtual\n"
    "devices; look through it before you give it away\n";

constexpr const char* anonymousTexts =
    "\nreplaced: serial numbers, world wide names but for their makers, the host name\n"
    "kept: vendors, products, firmware, node paths, the kernel's names, addresses, statuses and sense data\n"
    "left out: everything else\n"
    "this run's output and log have the originals; those of --machine on this file do not\n";

/// What a command that can take long is for; "" of another.
std::string purposeOf(const char* command) {
    using sys::shellCommand;
    switch (sys::commandOf(command).kind) {
    case shellCommand::usbQuery:
        return "looking for virtual USB media";
    case shellCommand::modprobe:
        return "loading the sg driver";
    case shellCommand::removal:
    case shellCommand::other:
        break;
    }
    return "";
}

} // namespace

// While a shell command runs, the C library's function ignores interrupts, and other signals end the run but not the
// command. Whoever sends one means both.
int askedMachine::watcher::run(const char* command, int (* /*realSystem*/)(const char*)) {
    const std::string purpose = purposeOf(command);
    if (step && !purpose.empty())
        step(purpose);
    return minihost::shellStatus(command);
}

askedMachine::askedMachine(const runOptions& options) : options_(options), recorder_(whatToKeep(options)) {
    if (!options.machineFile.empty()) {
        kernel_.emplace(sys::readMachineFile(options.machineFile));
        if (std::getenv(sleepVariable) != nullptr)
            kernel_->sleepForReal();
    }
    if (options.anonymize)
        anonymizeKey_ = sys::pseudonymKey(options.anonymizeKeyFile);
    if (!options.recordFile.empty())
        recording_.emplace(options.recordFile,
                           options.force ? outputFile::existing::isReplaced : outputFile::existing::isKept,
                           S_IRUSR | S_IWUSR); // it tells serial numbers
    // Last: where something is thrown above, nobody takes these back.
    ::activeKernel = kernel_ ? &*kernel_ : nullptr;
    ::activeRecorder = &recorder_;
}

askedMachine::~askedMachine() {
    ::activeRecorder = nullptr;
    ::activeKernel = nullptr;
}

void askedMachine::beginQuery() {
    if (options_.askAgain)
        recorder_.beginWalk();
    if (options_.askAgain || (!again_ && !recorder_.sawDevices()))
        return;
    if (!again_) {
        using sys::kernel;
        again_.emplace(recorder_.walkedAgain(kernel_ ? kernel_->model() : sys::machineAnswers()),
                       kernel::calls::forgotten, kernel_ ? kernel::scope::machine : kernel::scope::devices);
        again_->giveNumbers();
        ::activeKernel = &*again_;
    }
    again_->rewind();
}

std::vector<std::string> askedMachine::virtualDevices(int kind) const {
    std::vector<std::string> names;
    if (kernel_)
        names = kernel_->model().virtualDevices[kind];
    const auto& named = options_.virtualDevices[kind];
    names.insert(names.end(), named.begin(), named.end());
    return names;
}

bool askedMachine::hasOpticalTable() const {
    return kernel_ ? kernel_->model().opticalTable.has_value() : ::access(sys::opticalTablePath, F_OK) == 0;
}

std::vector<std::string> askedMachine::sgNodesBeyond() const {
    std::map<int, std::string> found; // in the order of their numbers
    const auto add = [&found](std::string_view name) {
        int number = 0;
        const char* const end = name.data() + name.size();
        const bool isSgNode = name.substr(0, 2) == "sg" && std::from_chars(name.data() + 2, end, number).ptr == end;
        if (isSgNode && number > lastSgNode)
            found[number] = std::string("/dev/").append(name);
    };
    if (kernel_) {
        for (const auto& [path, node] : kernel_->model().nodes)
            add(std::string_view(path).substr(path.rfind('/') + 1));
    } else if (const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir("/dev"), ::closedir); directory) {
        while (const dirent* const entry = ::readdir(directory.get()))
            add(entry->d_name);
    }
    std::vector<std::string> paths;
    for (const auto& [number, path] : found)
        paths.push_back(path);
    return paths;
}

void askedMachine::report(runResult& result) const {
    const sys::nodeReport nodes = recorder_.nodes();
    coverage& seen = result.seen;
    seen.walked = recorder_.driverStatus().has_value();
    seen.nodesPresent = nodes.present;
    for (const auto& node : nodes.refused)
        seen.refused.push_back({node.path, text::errorName(node.error)});
    for (const auto& node : nodes.silent)
        seen.silent.push_back({node.path, node.failure});
    for (const auto& node : nodes.detours)
        seen.askedElsewhere.emplace_back(node.path, node.askedAt);
    if (seen.walked)
        seen.beyond = sgNodesBeyond();
    const int driver = recorder_.driverStatus().value_or(0);
    seen.driverStatus = WIFEXITED(driver) ? WEXITSTATUS(driver) : -1;
    // The query ends with grep, which ends with 1 where nothing is found.
    if (const int usb = recorder_.usbStatus().value_or(0); !WIFEXITED(usb) || WEXITSTATUS(usb) > 1)
        seen.unread.emplace_back("the USB listing could not be read: virtual USB media cannot be told apart");
    std::set<std::string> paths;
    for (const auto& query : result.queries) {
        for (const auto& instance : query.instances) {
            if (std::string path = nodeOf(*instance); sys::isSgNodePath(path))
                paths.insert(std::move(path));
        }
    }
    for (const auto& [path, known] : kernelNames(paths, options_.format != outputFormat::table))
        result.kernelNames[path] = {known.names, known.wwid};
    result.secondsSkipped = kernel_ ? kernel_->secondsSkipped() : 0;
}

std::map<std::string, sys::kernelNames> askedMachine::kernelNames(const std::set<std::string>& paths,
                                                                  bool wantsWwid) const {
    if (!kernel_)
        return readKernelNames(paths, wantsWwid);
    std::map<std::string, sys::kernelNames> known;
    for (const auto& [path, node] : kernel_->model().nodes) {
        if (!node.knownAs.empty() && paths.count(path) > 0)
            known[path] = node.knownAs;
    }
    return known;
}

std::string askedMachine::writeRecording() {
    if (!recording_)
        return "";
    sys::machineAnswers machine = recorder_.recorded();
    machine.name = NHALDEN20::TOSSpecific::GetMachineName();
    std::set<std::string> paths;
    for (const auto& [path, node] : machine.nodes)
        paths.insert(path);
    for (auto& [path, known] : kernelNames(paths, true))
        machine.nodes[path].knownAs = known;
    for (const auto& path : sgNodesBeyond())
        machine.nodes[path]; // without answers, since nobody asked: a replay too says that they are not shown
    for (const int kind : {0, 1})
        machine.virtualDevices[kind] = virtualDevices(kind);
    std::string told = recordedTexts;
    if (options_.anonymize) {
        machine = sys::anonymize(std::move(machine), anonymizeKey_);
        told = anonymousTexts;
    }
    recording_->write(sys::machineFileText(machine));
    return "recorded in " + text::escaped(recording_->path()) + told;
}

} // namespace inventory
