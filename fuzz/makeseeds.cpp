// make-seeds DIRECTORY FILE...: writes inputs of the collector's fuzz target, for each machine file one of the whole
// machine into DIRECTORY/collector and one of its optical drives alone into DIRECTORY/optical, which are there.

#include "fuzz/machineinput.h"
#include "simulator/machinefile.h"

#include <filesystem>
#include <fstream>

int main(int argc, char** argv) {
    for (int i = 2; i < argc; ++i) {
        const std::filesystem::path directory = argv[1], file = argv[i];
        std::vector<std::vector<std::uint8_t>> queries{{1}, {2, 1, 3}, {3}, {4, 4, 1}, {5}, {6}};
        simulator::machine machine = simulator::readMachineFile(file);
        for (const char* kind : {"collector", "optical"}) {
            fuzz::archive input;
            fuzz::transfer(input, queries, machine);
            std::ofstream(directory / kind / file.stem(), std::ios::binary) << input.bytes();
            machine.nodes.clear();
        }
    }
}
