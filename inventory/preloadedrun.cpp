#include "inventory/preloadedrun.h"

#include "inventory/installation.h"
#include "plugin/host/osspecific.h"
#include "simulator/machinefile.h"
#include "simulator/machinewriter.h"
#include "simulator/preload.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <stdexcept>

namespace inventory {

namespace {

/// Calls a function of the preload library; what it gives, or nothing without the library.
template <typename Result>
Result askPreload(const char* function) {
    auto* const found = reinterpret_cast<Result (*)()>(::dlsym(RTLD_DEFAULT, function));
    if (found == nullptr)
        return {};
    return found();
}

/// Names the process that was started again, which keeps its number.
constexpr const char* startedVariable = "SCSIDEV_STARTED";

std::string thisProcess() { return std::to_string(::getpid()); }

std::string environmentOf(const char* variable) {
    const char* value = std::getenv(variable);
    return value == nullptr ? "" : value;
}

/// Starts this program again under the preload library, with `variable` in its environment.
[[noreturn]] void startAgain(char* const* argv, const char* variable, const std::string& value) {
    const std::string library = installedFile(simulator::preloadLibrary);
    if (environmentOf(startedVariable) == thisProcess() && environmentOf(variable) == value)
        throw std::runtime_error(library + ": was not preloaded");
    if (::access(library.c_str(), R_OK) != 0)
        throw std::runtime_error(library + ": cannot be preloaded: " + std::strerror(errno));
    if (library.find_first_of(" :") != std::string::npos)
        throw std::runtime_error(library + ": cannot be preloaded from a path with blanks or colons");
    const std::string others = environmentOf("LD_PRELOAD");
    ::setenv("LD_PRELOAD", (others.empty() ? library : library + ':' + others).c_str(), 1);
    ::setenv(variable, value.c_str(), 1);
    ::setenv(startedVariable, thisProcess().c_str(), 1);
    ::execv(executable().c_str(), argv);
    throw std::runtime_error(std::string("the program cannot be started again: ") + std::strerror(errno));
}

simulator::machine* recordedMachine() { return askPreload<simulator::machine*>(simulator::recordedMachine); }

} // namespace

bool isSimulated() { return askPreload<bool>(simulator::simulatedMark); }

void simulateMachine(options& options, char* const* argv) {
    const std::string simulated = isSimulated() ? environmentOf(simulator::machineVariable) : "";
    if (options.machineFile.empty())
        options.machineFile = simulated;
    if (options.machineFile.empty())
        return;
    const simulator::machine machine = simulator::readMachineFile(options.machineFile);
    if (options.machineFile != simulated)
        startAgain(argv, simulator::machineVariable, options.machineFile);
    for (const int kind : {0, 1}) {
        const auto& names = machine.virtualDevices[kind];
        auto& target = options.virtualDevices[kind];
        target.insert(target.begin(), names.begin(), names.end());
    }
}

void startRecording(const options& options, char* const* argv) {
    if (options.recordFile.empty() || recordedMachine() != nullptr)
        return;
    if (!options.force && std::filesystem::exists(options.recordFile))
        throw std::runtime_error(options.recordFile + ": is there already; --force replaces it");
    startAgain(argv, simulator::recordVariable, environmentOf("LD_PRELOAD"));
}

void writeRecording(const options& options) {
    simulator::machine& machine = *recordedMachine();
    machine.name = NHALDEN20::TOSSpecific::GetMachineName();
    for (const int kind : {0, 1})
        machine.virtualDevices[kind] = options.virtualDevices[kind];
    simulator::writeWholeFile(options.recordFile, simulator::machineFileText(machine), options.force);
    std::cerr << "recorded in " << options.recordFile
              << ": the host name, every answer of the device nodes with vendors, models and serial numbers,\n"
                 "the optical-drive table, the USB listing and the names of virtual devices; look through it before "
                 "you give it away\n";
}

} // namespace inventory
