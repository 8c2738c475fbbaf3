#pragma once

#include "system/machinefile.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace fuzz {

// Each of these changes a value, or leaves it as it is where the input has no more bytes.

/// A text, or other bytes: another size, and other bytes in one place.
template <typename Text>
void change(FuzzedDataProvider& input, Text& text) {
    constexpr std::size_t longest = 600; // a sector and more; tables that are longer show nothing new
    if (input.ConsumeBool())
        text.resize(input.ConsumeIntegralInRange<std::size_t>(0, longest));
    const auto begin = input.ConsumeIntegralInRange<std::size_t>(0, text.size());
    const auto made =
        input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, text.size() - begin));
    std::copy(made.begin(), made.end(), text.begin() + static_cast<std::ptrdiff_t>(begin));
}

/// An errno or an exit status.
inline void change(FuzzedDataProvider& input, int& number) { number = input.ConsumeIntegral<std::uint8_t>(); }

inline void change(FuzzedDataProvider& input, sys::openAnswer& answer) { change(input, answer.error); }

inline void change(FuzzedDataProvider& input, sys::numberAnswer& answer) {
    change(input, answer.error);
    answer.value = static_cast<int>(input.ConsumeIntegral<unsigned>());
}

inline void change(FuzzedDataProvider& input, sys::addressAnswer& answer) {
    change(input, answer.error);
    for (int* const number : {&answer.host, &answer.channel, &answer.target, &answer.lun, &answer.type})
        *number = static_cast<int>(input.ConsumeIntegral<unsigned>());
}

inline void change(FuzzedDataProvider& input, sys::scsiAnswer& answer) {
    change(input, answer.error);
    change(input, answer.data);
    change(input, answer.sense);
    eachStatus(answer, [&input](const char* /*name*/, auto& number) {
        number = input.ConsumeIntegral<std::decay_t<decltype(number)>>();
    });
}

inline void change(FuzzedDataProvider& input, sys::driveAnswer& answer) {
    change(input, answer.error);
    change(input, answer.data);
}

template <typename Answer>
void change(FuzzedDataProvider& input, sys::answerList<Answer>& answers) {
    constexpr std::size_t mostAnswers = 6; // one more than a command is sent
    std::vector<Answer> list = answers.all();
    list.resize(input.ConsumeIntegralInRange<std::size_t>(0, mostAnswers));
    for (Answer& answer : list)
        change(input, answer);
    answers = list;
}

/// The path of a node that is there or not. Behind z come letters as the plug-in makes them.
inline std::string pathFrom(FuzzedDataProvider& input) {
    const std::string family = input.PickValueInArray({"/dev/sg", "/dev/hd", "/dev/sd"});
    const int index = input.ConsumeIntegralInRange(0, 31);
    return family + (family == "/dev/sg" ? std::to_string(index) : std::string(1, static_cast<char>('a' + index)));
}

/// A machine file of the repository, changed in a few places.
inline sys::machineAnswers machineFrom(FuzzedDataProvider& input) {
    static const auto files = [] {
        std::vector<sys::machineAnswers> machines;
        for (const std::string name :
             {"empty", "oddities", "rack-server", "vm-everykind", "vm-faults", "vm-ide", "vm-manynodes"})
            machines.push_back(sys::readMachineFile(SOURCE_DIRECTORY "/machines/" + name + ".json"));
        return machines;
    }();
    sys::machineAnswers machine = files[input.ConsumeIntegralInRange<std::size_t>(0, files.size() - 1)];
    machine.opticalTable.emplace(machine.opticalTable.value_or(""));
    for (std::string* const text : {&machine.name, &machine.usbListing, &*machine.opticalTable})
        change(input, *text);
    for (auto& names : machine.virtualDevices) {
        if (input.ConsumeBool())
            names.push_back(input.ConsumeRandomLengthString());
    }
    if (input.ConsumeBool())
        change(input, machine.modprobe);
    if (input.ConsumeBool()) {
        for (auto& [path, node] : machine.nodes)
            node.emulated = sys::numberAnswer{1, 0};
    }
    while (input.remaining_bytes() != 0) {
        sys::node& node = machine.nodes[pathFrom(input)];
        int chosen = input.ConsumeIntegralInRange(0, 8);
        eachAnswer(node, [&](const char* /*name*/, auto& answers) {
            if (chosen-- == 0)
                change(input, answers);
        });
    }
    return machine;
}

} // namespace fuzz
