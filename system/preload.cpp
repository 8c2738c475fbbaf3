// The preload library: shows a program that knows nothing of it the devices of the machine file that the environment
// names, in place of this machine's.

#include "system/kernel.h"
#include "system/machinefile.h"
#include "system/recorder.h"
#include "text/escape.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>

namespace {

constexpr const char* machineVariable = "SCSIDEV_MACHINE";

// Never destroyed: the program makes calls until the very end of its process.
sys::kernel* loaded = nullptr;

[[gnu::constructor]] void load() {
    const char* path = std::getenv(machineVariable);
    if (path == nullptr)
        return;
    try {
        loaded = new sys::kernel(sys::readMachineFile(path));
        // A child process inherits the variable, but can have another working directory.
        ::setenv(machineVariable, std::filesystem::absolute(path).c_str(), 1);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "simulated machine: %s\n", text::escaped(failure.what()).c_str());
        ::_exit(1);
    }
}

[[gnu::destructor]] void sayWhatWasSkipped() {
    if (loaded != nullptr && loaded->secondsSkipped() > 0)
        std::fprintf(stderr, "simulated machine: %u s of sleeping skipped\n", loaded->secondsSkipped());
}

} // namespace

sys::kernel* sys::activeKernel() { return loaded; }

sys::recorder* sys::activeRecorder() { return nullptr; }
