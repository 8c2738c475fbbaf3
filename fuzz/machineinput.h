#pragma once

#include "fuzz/input.h"
#include "simulator/machine.h"

namespace fuzz {

/// An errno or an exit status.
template <typename Archive>
void transferByte(Archive& archive, int& number) {
    auto byte = static_cast<std::uint8_t>(number);
    archive.number(byte);
    number = byte;
}

template <typename Archive>
void transfer(Archive& archive, simulator::numberAnswer& answer) {
    transferByte(archive, answer.error);
    archive.number(answer.value);
}

template <typename Archive>
void transfer(Archive& archive, simulator::addressAnswer& answer) {
    transferByte(archive, answer.error);
    for (int* number : {&answer.host, &answer.channel, &answer.target, &answer.lun, &answer.type})
        archive.number(*number);
}

template <typename Archive>
void transfer(Archive& archive, simulator::scsiAnswer& answer) {
    transferByte(archive, answer.error);
    archive.text(answer.data);
    archive.text(answer.sense);
    archive.number(answer.status);
    archive.number(answer.maskedStatus);
    archive.number(answer.hostStatus);
    archive.number(answer.driverStatus);
    archive.number(answer.info);
}

template <typename Archive>
void transfer(Archive& archive, simulator::driveAnswer& answer) {
    transferByte(archive, answer.error);
    archive.text(answer.data);
}

template <typename Archive>
void transfer(Archive& archive, int& exitStatus) {
    transferByte(archive, exitStatus);
}

template <typename Archive, typename Answer>
void transfer(Archive& archive, simulator::answers<Answer>& answers) {
    std::vector<Answer> list = answers.all();
    transferList(archive, list, [&archive](Answer& answer) { transfer(archive, answer); });
    answers = list;
}

template <typename Archive>
void transfer(Archive& archive, simulator::node& node) {
    transfer(archive, node.open);
    transfer(archive, node.sgVersion);
    transfer(archive, node.emulated);
    transfer(archive, node.address);
    transfer(archive, node.inquiry);
    transfer(archive, node.serialPage);
    transfer(archive, node.identify);
    transfer(archive, node.task);
}

/// Reads or writes a whole machine, the one description of how it stands in an input.
template <typename Archive>
void transfer(Archive& archive, simulator::machine& machine) {
    archive.text(machine.name);
    transfer(archive, machine.modprobe);
    archive.text(machine.usbListing);
    std::string table = machine.opticalTable.value_or("");
    archive.text(table);
    machine.opticalTable = table;
    for (auto& list : machine.virtualDevices)
        transferList(archive, list, [&archive](std::string& name) { archive.text(name); });
    std::vector<std::pair<std::string, simulator::node>> nodes(machine.nodes.begin(), machine.nodes.end());
    transferList(archive, nodes, [&archive](auto& pathAndNode) {
        archive.text(pathAndNode.first);
        transfer(archive, pathAndNode.second);
    });
    machine.nodes = {nodes.begin(), nodes.end()};
}

/// Reads or writes what is asked in turn: a list of queries, each a list of positions in the class table.
template <typename Archive>
void transfer(Archive& archive, std::vector<std::vector<std::uint8_t>>& queries) {
    transferList(archive, queries, [&archive](auto& query) { archive.text(query); });
}

} // namespace fuzz
