#include "plugin/host/osspecific.h"

#include "system/machine.h"
#include "system/thismachine.h"

#include <chrono>

namespace {

/// The machine that the services tell of: that in use, or this one.
sys::machine& machine() {
    static sys::thisMachine otherwise({});
    if (sys::machine* const current = sys::machineInUse::current())
        return *current;
    return otherwise;
}

} // namespace

namespace NHALDEN20 {

std::string TOSSpecific::CaptureFile(std::string path) { return machine().captureFile(path).text; }

std::string TOSSpecific::SpawnProcess(std::string command, std::vector<std::string> arguments, int timeout) {
    return machine().spawn(command, arguments, std::chrono::seconds(timeout)).text;
}

std::string TOSSpecific::GetMachineName() { return machine().hostName(); }

bool TOSSpecific::getOrvexVirtualDevices(int kind, std::vector<std::string>& list, bool /*flag*/) {
    const auto names = machine().virtualDevices(static_cast<sys::virtualDeviceKind>(kind));
    list.insert(list.end(), names.begin(), names.end());
    return true;
}

} // namespace NHALDEN20
