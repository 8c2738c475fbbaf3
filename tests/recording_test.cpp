// Recordings, and what replaying them gives.

#include "tests/program.h"

#include <nlohmann/json.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>

namespace fs = std::filesystem;
using testing::AllOf;
using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

using Recording = Program;

/// The bytes of a machine file's texts and answers, as they are and with the two of each word exchanged.
std::string everyByteOf(const nlohmann::json& file) {
    std::string bytes;
    const nlohmann::json flat = file.flatten();
    for (const auto& [place, value] : flat.items()) {
        const std::string text = value.is_string() ? value : "";
        std::string data;
        if (place.find("data") != std::string::npos) {
            for (std::size_t i = 0; i + 1 < text.size(); i += 2)
                data += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
        }
        bytes.append(text).append("\n").append(data).append("\n");
        for (std::size_t i = 0; i + 1 < data.size(); i += 2)
            std::swap(data[i], data[i + 1]);
        bytes += data + '\n';
    }
    return bytes;
}

} // namespace

TEST_F(Recording, ARecordingReplaysToTheSameOutput) {
    const std::string recording = fileWith("");
    const std::string onMachine = "% --format json --log-level 3 --machine ";
    const std::string whileRecording = " --force --record " + recording;
    for (const std::string machine : {"oddities", "rack-server", "empty"}) {
        SCOPED_TRACE(machine);
        std::string command = onMachine;
        command.append(machines).append(machine).append(".json --virtual-device 0=/dev/sg1");
        run(command, anyInventory);
        const std::string plain = output, log = logLines(errors);
        run(command + whileRecording, anyInventory);
        EXPECT_EQ(output, plain) << "recording changes nothing of what is printed";
        EXPECT_EQ(logLines(errors), log);
        EXPECT_THAT(errors, HasSubstr("recorded in " + recording + ": "));
        EXPECT_EQ(contentOf(recording), contentOf(expected + machine + ".recording"));
        run(onMachine + recording, anyInventory);
        EXPECT_EQ(output, plain);
        EXPECT_EQ(logLines(errors), log);
    }
}

TEST_F(Recording, AnAnonymousRecordingDiffersInWhatIdentifiesOnly) {
    const std::string recording = fileWith(""), onMachine = "% --format json --log-level 3 --machine ";
    for (const auto& entry : fs::directory_iterator(machines)) {
        SCOPED_TRACE(entry.path());
        std::string recorded = onMachine;
        recorded.append(entry.path().string()).append(" --force --record ").append(recording);
        run(recorded, anyInventory);
        const auto original = nlohmann::json::parse(output).flatten();
        std::istringstream originalLog(logLines(errors));
        run(recorded + " --anonymize", anyInventory);
        EXPECT_THAT(errors, AllOf(HasSubstr("\nreplaced: "), HasSubstr(", the host name, ")));
        const std::string file = contentOf(recording);
        const std::string bytes = everyByteOf(nlohmann::json::parse(file));
        run(onMachine + recording, anyInventory);
        const auto replay = nlohmann::json::parse(output).flatten();
        std::istringstream log(logLines(errors));

        std::map<std::string, std::string> replaced;
        ASSERT_EQ(replay.size(), original.size());
        for (const auto& [place, value] : original.items()) {
            if (replay[place] == value)
                continue;
            EXPECT_THAT(place, AnyOf(EndsWith("/serialNum"), EndsWith("/SystemName"), EndsWith("/wwid"), "/machine",
                                     EndsWith("/Antecedent"), EndsWith("/Dependent")));
            if (value != nlohmann::json("") && place.find("endent") == std::string::npos)
                replaced[value] = replay[place];
        }
        std::set<std::string> different;
        for (const auto& [text, replacement] : replaced) {
            const std::string inner = text.substr(text.find_first_not_of(' '), text.find_last_not_of(' ') + 1);
            different.insert(replacement);
            EXPECT_EQ(replacement.size(), text.size());
            // A shorter one can turn up among the random digits of others.
            EXPECT_TRUE(inner.size() < 8 || bytes.find(inner) == std::string::npos) << inner;
        }
        EXPECT_EQ(different.size(), replaced.size());
        for (std::string line, other; std::getline(originalLog, line);) {
            ASSERT_TRUE(std::getline(log, other));
            const bool isLike = std::any_of(replaced.begin(), replaced.end(), [&](const auto& pair) {
                const auto at = line.find(pair.first);
                return at != std::string::npos &&
                       std::string(line).replace(at, pair.first.size(), pair.second) == other;
            });
            EXPECT_TRUE(line == other || isLike) << line << '\n' << other;
        }
    }
}
