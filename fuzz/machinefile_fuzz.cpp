// Reads a machine file; what was read is written and has to read back the same.

#include "fuzz/input.h"
#include "simulator/machinefile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    simulator::machine machine;
    try {
        machine = simulator::parseMachine({input, input + size}, "input");
    } catch (const simulator::machineFileError&) {
        return 0;
    }
    const std::string written = simulator::machineFileText(machine);
    fuzz::require(simulator::machineFileText(simulator::parseMachine(written, "written")) == written,
                  "a written machine file reads back the same");
    return 0;
}
