// Reads a machine file; what was read is written and has to read back the same.

#include "fuzz/require.h"
#include "system/machinefile.h"

#include <cstdint>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    sys::machineAnswers machine;
    try {
        machine = sys::parseMachine({input, input + size}, "input");
    } catch (const std::runtime_error&) {
        return 0;
    }
    const std::string written = sys::machineFileText(machine);
    fuzz::require(sys::machineFileText(sys::parseMachine(written, "written")) == written,
                  "a written machine file reads back the same");
    return 0;
}
