// make-seeds DIRECTORY FILE...: makes inputs for the targets that run the plug-in. For each machine file it writes one
// of the whole machine into DIRECTORY/collector and one of its optical drives into DIRECTORY/optical. Both must exist.

#include "fuzz/machineinput.h"
#include "simulator/machinefile.h"

#include <filesystem>
#include <fstream>

int main(int argc, char** argv) {
    for (int i = 2; i < argc; ++i) {
        const std::filesystem::path directory = argv[1], file = argv[i];
        std::vector<std::vector<std::uint8_t>> queries{{1}, {2, 1, 3}, {3}, {4, 4, 1}, {5}, {6}};
        simulator::machine machine = simulator::readMachineFile(file);
        fuzz::archive input;
        fuzz::transfer(input, queries, machine);
        std::ofstream(directory / "collector" / file.stem(), std::ios::binary) << input.bytes();
        std::ofstream optical(directory / "optical" / file.stem(), std::ios::binary);
        optical << *machine.opticalTable;
        for (const auto& name : machine.virtualDevices[1])
            optical << '\0' << name;
    }
}
