#pragma once

#include "fuzz/input.h"
#include "simulator/machine.h"

namespace fuzz {

/// An errno or an exit status, in one byte.
inline void transfer(archive& archive, int& number) {
    auto byte = static_cast<std::uint8_t>(number);
    archive.numbers(byte);
    number = byte;
}

inline void transfer(archive& archive, simulator::numberAnswer& answer) {
    transfer(archive, answer.error);
    archive.numbers(answer.value);
}

inline void transfer(archive& archive, simulator::addressAnswer& answer) {
    transfer(archive, answer.error);
    archive.numbers(answer.host, answer.channel, answer.target, answer.lun, answer.type);
}

inline void transfer(archive& archive, simulator::scsiAnswer& answer) {
    transfer(archive, answer.error);
    archive.text(answer.data);
    archive.text(answer.sense);
    archive.numbers(answer.status, answer.maskedStatus, answer.hostStatus, answer.driverStatus, answer.info);
}

inline void transfer(archive& archive, simulator::driveAnswer& answer) {
    transfer(archive, answer.error);
    archive.text(answer.data);
}

template <typename Answer>
void transfer(archive& archive, simulator::answers<Answer>& answers) {
    std::vector<Answer> list = answers.all();
    archive.list(list, [&](Answer& answer) { transfer(archive, answer); });
    answers = list;
}

inline void transfer(archive& archive, simulator::node& node) {
    eachAnswer(node, [&archive](const char* /*name*/, auto& answers) { transfer(archive, answers); });
}

/// A run: the queries, each a list of positions in the class table, and the machine.
inline void transfer(archive& archive, std::vector<std::vector<std::uint8_t>>& queries, simulator::machine& machine) {
    archive.list(queries, [&](auto& query) { archive.text(query); });
    archive.text(machine.name);
    transfer(archive, machine.modprobe);
    archive.text(machine.usbListing);
    for (auto& list : machine.virtualDevices)
        archive.list(list, [&](std::string& name) { archive.text(name); });
    std::vector<std::pair<std::string, simulator::node>> nodes(machine.nodes.begin(), machine.nodes.end());
    archive.list(nodes, [&](auto& pathAndNode) {
        archive.text(pathAndNode.first);
        transfer(archive, pathAndNode.second);
    });
    machine.nodes = {nodes.begin(), nodes.end()};
    machine.opticalTable.emplace(machine.opticalTable.value_or(""));
    archive.text(*machine.opticalTable);
}

} // namespace fuzz
