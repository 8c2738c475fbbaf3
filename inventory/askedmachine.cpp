#include "inventory/askedmachine.h"

#include "minihost/childprocess.h"
#include "plugin/host/osspecific.h"
#include "simulator/machinefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <stdexcept>

namespace {

// The interposed functions read these. They are null before and after a run, when the process opens other files.
simulator::kernel* activeKernel = nullptr;
simulator::recorder* activeRecorder = nullptr;

/// The environment variable that, set to anything, makes a simulated machine sleep for real.
constexpr const char* sleepVariable = "SCSIDEV_SLEEP";

} // namespace

simulator::kernel* simulator::activeKernel() { return ::activeKernel; }
simulator::recorder* simulator::activeRecorder() { return ::activeRecorder; }

namespace inventory {

using simulator::recorder;

namespace {

/// What the recorder has to keep: copies of answers cost time.
recorder::keeps wanted(const options& options) {
    if (!options.recordFile.empty())
        return recorder::keeps::everything;
    return options.queries.size() > 1 && !options.askAgain ? recorder::keeps::answers : recorder::keeps::nothing;
}

[[noreturn]] void failToWrite(const std::string& path, int error) {
    throw std::runtime_error(path + ": cannot be written: " + std::strerror(error));
}

/// Writes `text` to the file at `path`, all of it or nothing. Throws std::runtime_error when that fails, and when there
/// is such a file already and `replace` is false.
void writeWholeFile(const std::string& path, const std::string& text, bool replace) {
    std::string temporary = path + ".XXXXXX";
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        failToWrite(path, errno);
    const mode_t mask = ::umask(0); // reading the mask takes setting it
    ::umask(mask);
    std::size_t written = 0;
    ssize_t step = 0;
    while (written < text.size() && (step = ::write(fd, text.data() + written, text.size() - written)) > 0)
        written += static_cast<std::size_t>(step);
    const bool whole = written == text.size() && ::fchmod(fd, 0666 & ~mask) == 0 && ::fsync(fd) == 0;
    int error = whole ? 0 : errno;
    ::close(fd);
    // Renamed only when whole. RENAME_NOREPLACE: a file that somebody made meanwhile is not lost.
    if (whole && ::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), replace ? 0 : RENAME_NOREPLACE) == 0)
        return;
    error = whole ? errno : error;
    ::unlink(temporary.c_str());
    failToWrite(path, error);
}

} // namespace

// While a shell command runs, the C library's function ignores interrupts, and other signals end the run but not the
// command. Whoever sends one means both.
int askedMachine::watcher::run(const char* command, int (* /*realSystem*/)(const char*)) {
    return minihost::shellStatus(command);
}

askedMachine::askedMachine(const options& options) : options_(options), recorder_(wanted(options)) {
    if (!options.machineFile.empty()) {
        kernel_.emplace(simulator::readMachineFile(options.machineFile));
        if (std::getenv(sleepVariable) != nullptr)
            kernel_->sleepForReal();
        ::activeKernel = &*kernel_;
    }
    if (!options.recordFile.empty() && !options.force && std::filesystem::exists(options.recordFile))
        throw std::runtime_error(options.recordFile + ": is there already; --force replaces it");
    ::activeRecorder = &recorder_;
}

askedMachine::~askedMachine() {
    ::activeRecorder = nullptr;
    ::activeKernel = nullptr;
}

void askedMachine::beginQuery() {
    if (options_.askAgain || !recorder_.sawDevices())
        return;
    if (!again_) {
        using simulator::kernel;
        recorder_.endWalk();
        again_.emplace(recorder_.walkedAgain(kernel_ ? kernel_->simulated() : simulator::machine()),
                       kernel::calls::forgotten, kernel_ ? kernel::scope::machine : kernel::scope::devices);
        ::activeKernel = &*again_;
    }
    again_->rewind();
}

std::vector<std::string> askedMachine::virtualDevices(int kind) const {
    std::vector<std::string> names;
    if (kernel_)
        names = kernel_->simulated().virtualDevices[kind];
    const auto& named = options_.virtualDevices[kind];
    names.insert(names.end(), named.begin(), named.end());
    return names;
}

void askedMachine::writeRecording() const {
    if (options_.recordFile.empty())
        return;
    simulator::machine machine = recorder_.recorded();
    machine.name = NHALDEN20::TOSSpecific::GetMachineName();
    for (const int kind : {0, 1})
        machine.virtualDevices[kind] = virtualDevices(kind);
    writeWholeFile(options_.recordFile, simulator::machineFileText(machine), options_.force);
    std::cerr << "recorded in " << options_.recordFile
              << ": the host name, every answer of the device nodes with vendors, models and serial numbers,\n"
                 "the optical-drive table, the USB listing and the names of virtual devices; look through it before "
                 "you give it away\n";
}

} // namespace inventory
