// The optical-drive table, any text at all.

#include "fuzz/fuzzedcollector.h"
#include "fuzz/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    simulator::machine machine;
    machine.opticalTable = std::string(input, input + size);
    machine.virtualDevices[1] = {"/dev/sr1"};

    fuzz::fuzzedCollector collector(machine);
    const std::size_t drives = collector.query({"KORVA_CDVDDevice"});
    for (const auto& instance : collector.ns().instances()) {
        const std::string name = *instance->find("Name");
        fuzz::require(name.find('/') == std::string::npos, "a drive's name is a bare one");
        fuzz::require(machine.virtualDevices[1][0].find(name) == std::string::npos, "virtual drives are left out");
    }
    fuzz::require(collector.query({"KORVA_CDVDDevice"}) == drives, "a second query finds the same drives");
    return 0;
}
