// The preload library: the machine file that the environment names takes the place of this machine's devices.

#include "simulator/preload.h"
#include "simulator/kernel.h"
#include "simulator/machinefile.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

simulator::kernel* loaded = nullptr; // never destroyed: calls come until the very end of the process

[[gnu::constructor]] void load() {
    const char* path = std::getenv(simulator::machineVariable);
    if (path == nullptr)
        return;
    try {
        loaded = new simulator::kernel(simulator::readMachineFile(path));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "simulated machine: %s\n", failure.what());
        ::_exit(1);
    }
}

[[gnu::destructor]] void sayWhatWasSkipped() {
    if (loaded != nullptr && loaded->secondsSlept() > 0)
        std::fprintf(stderr, "simulated machine: %u s of sleeping skipped\n", loaded->secondsSlept());
}

} // namespace

simulator::kernel* simulator::activeKernel() { return loaded; }

// The mark by which a program tells that the library is there.
extern "C" __attribute__((visibility("default"))) bool scsidevMachineIsSimulated() { return loaded != nullptr; }
