// Whole runs on a machine whose every answer comes from the input, for any classes in any order.

#include "fuzz/fuzzedcollector.h"
#include "fuzz/machineinput.h"
#include "minihost/classtable.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    fuzz::inputReader reader(input, size);
    std::vector<std::vector<std::uint8_t>> queries;
    simulator::machine machine;
    fuzz::transfer(reader, queries);
    fuzz::transfer(reader, machine);

    fuzz::fuzzedCollector collector(machine);
    constexpr std::size_t mostQueries = 8, mostClasses = 8; // more of them cost time and show nothing new
    queries.resize(std::min(queries.size(), mostQueries));
    for (auto& query : queries) {
        std::vector<std::string> names;
        query.resize(std::min(query.size(), mostClasses));
        for (const std::uint8_t position : query)
            names.emplace_back(minihost::classTable()[position % minihost::classTable().size()].name);
        collector.query(names);
    }
    return 0;
}
