// The preload library: the machine file that the environment names takes the place of this machine's devices, or what
// this machine's devices answer is recorded.

#include "simulator/preload.h"
#include "simulator/kernel.h"
#include "simulator/machinefile.h"
#include "simulator/recorder.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>

namespace {

// Never destroyed: calls come until the very end of the process.
simulator::kernel* loaded = nullptr;
simulator::recorder* recording = nullptr;

/// Child processes are not recorded.
void startRecording(const char* preloadForChildren) {
    if (*preloadForChildren == '\0')
        ::unsetenv("LD_PRELOAD");
    else
        ::setenv("LD_PRELOAD", preloadForChildren, 1);
    ::unsetenv(simulator::recordVariable);
    recording = new simulator::recorder;
}

[[gnu::constructor]] void load() {
    if (const char* preloadForChildren = std::getenv(simulator::recordVariable)) {
        startRecording(preloadForChildren);
    }
    const char* path = std::getenv(simulator::machineVariable);
    if (path == nullptr)
        return;
    try {
        loaded = new simulator::kernel(simulator::readMachineFile(path));
        // Child processes may work elsewhere.
        ::setenv(simulator::machineVariable, std::filesystem::absolute(path).c_str(), 1);
        if (std::getenv(simulator::sleepVariable) != nullptr)
            loaded->sleepForReal();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "simulated machine: %s\n", failure.what());
        ::_exit(1);
    }
}

[[gnu::destructor]] void sayWhatWasSkipped() {
    if (loaded != nullptr && loaded->secondsSkipped() > 0)
        std::fprintf(stderr, "simulated machine: %u s of sleeping skipped\n", loaded->secondsSkipped());
}

} // namespace

simulator::kernel* simulator::activeKernel() { return loaded; }

simulator::recorder* simulator::activeRecorder() { return recording; }

extern "C" {

#pragma GCC visibility push(default)

bool scsidevMachineIsSimulated() { return loaded != nullptr; }

simulator::machine* scsidevRecordedMachine() { return recording == nullptr ? nullptr : &recording->recorded(); }

#pragma GCC visibility pop

} // extern "C"
