// make-seeds DIRECTORY FILE...: writes for each machine file the inputs of the fuzz targets that are made from it into
// DIRECTORY/collector and DIRECTORY/optical, which are there.

#include "fuzz/machineinput.h"
#include "simulator/machinefile.h"

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

int main(int argc, char** argv) {
    for (int i = 2; i < argc; ++i) {
        const fs::path directory = argv[1], file = argv[i];
        simulator::machine machine = simulator::readMachineFile(file);
        std::vector<std::vector<std::uint8_t>> queries{{1}, {2, 1, 3}, {3}, {4, 4, 1}, {5}, {6}};
        fuzz::inputWriter input;
        fuzz::transfer(input, queries);
        fuzz::transfer(input, machine);
        std::ofstream(directory / "collector" / file.stem(), std::ios::binary) << input.written();
        std::ofstream(directory / "optical" / file.stem(), std::ios::binary) << machine.opticalTable.value_or("");
    }
}
