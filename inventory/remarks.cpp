#include "inventory/remarks.h"

#include <unistd.h>

#include <cstdlib>
#include <sstream>

namespace inventory {

namespace {

bool isOnPath(const std::string& command) {
    const char* path = std::getenv("PATH");
    std::istringstream directories(path == nullptr ? "" : path);
    for (std::string directory; std::getline(directories, directory, ':');) {
        if (::access(directory.append("/").append(command).c_str(), X_OK) == 0)
            return true;
    }
    return false;
}

} // namespace

void remarks::sawMessage(int level, const std::string& text) {
    driverMissing_ = driverMissing_ || (level == 0 && text == "sg module is not loaded correctly");
}

void remarks::write(const runResult& result, const askedMachine& machine, std::ostream& output) const {
    const simulator::nodeCount nodes = machine.nodes();
    const bool root = ::geteuid() == 0;
    const bool found = result.instanceCount() > 0;
    if (nodes.refused > 0)
        output << (root ? "" : "not running as root: ") << nodes.refused << " of " << nodes.present
               << " device nodes could not be opened" << (root ? "" : "; try sudo") << '\n';
    if (driverMissing_)
        output << (root ? "" : "not running as root: ")
               << "the sg driver could not be loaded, SCSI devices are not shown" << (root ? "" : "; try sudo") << '\n';
    if (found && !machine.isSimulated() && !isOnPath("hwinfo"))
        output << "hwinfo is not installed: virtual USB media cannot be told apart\n";
    if (!found && nodes.refused == 0 && !result.failed())
        output << "no devices found on "
               << (machine.isSimulated() ? "the simulated machine"
                                         : "this machine; to see a simulated one: --machine machines/rack-server.json")
               << '\n';
    if (machine.secondsSkipped() > 0)
        output << "simulated machine: " << machine.secondsSkipped() << " s of sleeping skipped\n";
}

} // namespace inventory
