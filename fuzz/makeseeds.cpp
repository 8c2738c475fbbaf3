// make-seeds DIRECTORY FILE...: makes two inputs for the collector's target of each machine file, in that directory: as
// it is, and with every host emulated.

#include "fuzz/machineinput.h"
#include "system/machinefile.h"

#include <filesystem>
#include <fstream>
#include <vector>

namespace {

void writeSeed(const std::filesystem::path& file, sys::machineAnswers machine) {
    std::uint16_t failingCall = 20; // of the host, by the first query
    std::uint8_t thrown = 0;
    std::vector<std::vector<std::uint8_t>> queries{{1}, {2, 1, 3}, {3}, {4, 4, 1}, {5}, {6}};
    fuzz::archive input;
    input.numbers(failingCall, thrown);
    fuzz::transfer(input, queries, machine);
    std::ofstream(file, std::ios::binary) << input.bytes();
}

} // namespace

int main(int argc, char** argv) {
    for (int i = 2; i < argc; ++i) {
        const std::filesystem::path directory = argv[1], file = argv[i];
        sys::machineAnswers machine = sys::readMachineFile(file);
        writeSeed(directory / file.stem(), machine);
        for (auto& [path, node] : machine.nodes)
            node.emulated = std::vector<sys::numberAnswer>{{1, 0}};
        writeSeed((directory / file.stem()) += "-emulated", machine);
    }
}
