// Whole runs, for any classes in any order, on a machine whose every answer comes from the input, and on a recording of
// that machine.

#include "fuzz/machineinput.h"
#include "fuzz/pluginrun.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    fuzz::archive input(bytes, size);
    std::vector<std::vector<std::uint8_t>> queries;
    simulator::machine machine;
    fuzz::transfer(input, queries, machine);
    fuzz::checkPluginRun(machine, queries);
    fuzz::checkReplay(machine, queries);
    return 0;
}
