// The optical-drive table, any text at all, and behind it the names of virtual drives, each after a zero byte.

#include "fuzz/pluginrun.h"

#include <cstddef>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    std::istringstream input(std::string(bytes, bytes + size));
    simulator::machine machine;
    std::getline(input, machine.opticalTable.emplace(), '\0');
    for (std::string name; std::getline(input, name, '\0');)
        machine.virtualDevices[1].push_back(name);
    fuzz::checkPluginRun(machine, {});
    return 0;
}
