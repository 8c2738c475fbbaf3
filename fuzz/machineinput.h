#pragma once

#include "fuzz/input.h"
#include "system/machineanswers.h"

namespace fuzz {

/// An errno or an exit status, in one byte.
inline void transfer(archive& stream, int& number) {
    auto byte = static_cast<std::uint8_t>(number);
    stream.numbers(byte);
    number = byte;
}

inline void transfer(archive& stream, sys::openAnswer& answer) { transfer(stream, answer.error); }

inline void transfer(archive& stream, sys::numberAnswer& answer) {
    transfer(stream, answer.error);
    stream.numbers(answer.value);
}

inline void transfer(archive& stream, sys::addressAnswer& answer) {
    transfer(stream, answer.error);
    stream.numbers(answer.host, answer.channel, answer.target, answer.lun, answer.type);
}

inline void transfer(archive& stream, sys::scsiAnswer& answer) {
    transfer(stream, answer.error);
    stream.text(answer.data);
    stream.text(answer.sense);
    eachStatus(answer, [&stream](const char* /*name*/, auto& number) { stream.numbers(number); });
}

inline void transfer(archive& stream, sys::driveAnswer& answer) {
    transfer(stream, answer.error);
    stream.text(answer.data);
}

template <typename Answer>
void transfer(archive& stream, sys::answerList<Answer>& answers) {
    std::vector<Answer> list = answers.all();
    stream.list(list, [&](Answer& answer) { transfer(stream, answer); });
    answers = list;
}

inline void transfer(archive& stream, sys::node& node) {
    eachAnswer(node, [&stream](const char* /*name*/, auto& answers) { transfer(stream, answers); });
}

/// A run: the queries, each a list of positions in the class table, and the machine.
inline void transfer(archive& stream, std::vector<std::vector<std::uint8_t>>& queries, sys::machineAnswers& machine) {
    stream.list(queries, [&](auto& query) { stream.text(query); });
    stream.text(machine.name);
    transfer(stream, machine.modprobe);
    stream.text(machine.usbListing);
    machine.opticalTable.emplace(machine.opticalTable.value_or(""));
    stream.text(*machine.opticalTable);
    for (auto& list : machine.virtualDevices)
        stream.list(list, [&](std::string& name) { stream.text(name); });
    std::vector<std::pair<std::string, sys::node>> nodes(machine.nodes.begin(), machine.nodes.end());
    stream.list(nodes, [&](auto& pathAndNode) {
        stream.text(pathAndNode.first);
        transfer(stream, pathAndNode.second);
    });
    machine.nodes = {nodes.begin(), nodes.end()};
}

} // namespace fuzz
