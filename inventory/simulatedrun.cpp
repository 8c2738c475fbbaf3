#include "inventory/simulatedrun.h"

#include "inventory/installation.h"
#include "simulator/machinefile.h"
#include "simulator/preload.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace inventory {

namespace {

[[noreturn]] void startAgain(const std::string& machineFile, char* const* argv) {
    const std::string library = installedFile(simulator::preloadLibrary);
    if (::access(library.c_str(), R_OK) != 0)
        throw std::runtime_error(library + ": cannot be preloaded: " + std::strerror(errno));
    if (library.find_first_of(" :") != std::string::npos)
        throw std::runtime_error(library + ": cannot be preloaded from a path with blanks or colons");
    const char* others = std::getenv("LD_PRELOAD");
    ::setenv("LD_PRELOAD", others == nullptr ? library.c_str() : (library + ':' + others).c_str(), 1);
    ::setenv(simulator::machineVariable, machineFile.c_str(), 1);
    ::execv("/proc/self/exe", argv);
    throw std::runtime_error(std::string("the program cannot be started again: ") + std::strerror(errno));
}

} // namespace

bool isSimulated() {
    using mark = bool();
    auto* const simulated = reinterpret_cast<mark*>(::dlsym(RTLD_DEFAULT, simulator::simulatedMark));
    return simulated != nullptr && simulated();
}

void simulateMachine(options& options, char* const* argv) {
    const simulator::machine machine = simulator::readMachineFile(options.machineFile);
    if (!isSimulated()) {
        const char* tried = std::getenv(simulator::machineVariable);
        if (tried != nullptr && options.machineFile == tried)
            throw std::runtime_error(installedFile(simulator::preloadLibrary) + ": was not preloaded");
        startAgain(options.machineFile, argv);
    }
    for (const int kind : {0, 1}) {
        const auto& names = machine.virtualDevices[kind];
        auto& target = options.virtualDevices[kind];
        target.insert(target.begin(), names.begin(), names.end());
    }
}

} // namespace inventory
