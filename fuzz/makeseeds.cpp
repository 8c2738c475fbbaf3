// make-seeds DIRECTORY FILE...: makes an input for the collector's target of each machine file, in that directory.

#include "fuzz/machineinput.h"
#include "simulator/machinefile.h"

#include <filesystem>
#include <fstream>

int main(int argc, char** argv) {
    for (int i = 2; i < argc; ++i) {
        const std::filesystem::path directory = argv[1], file = argv[i];
        std::vector<std::vector<std::uint8_t>> queries{{1}, {2, 1, 3}, {3}, {4, 4, 1}, {5}, {6}};
        simulator::machine machine = simulator::readMachineFile(file);
        std::uint16_t failingCall = 20; // of the host, by the first query
        std::uint8_t thrown = 0;
        fuzz::archive input;
        input.numbers(failingCall, thrown);
        fuzz::transfer(input, queries, machine);
        std::ofstream(directory / file.stem(), std::ios::binary) << input.bytes();
    }
}
