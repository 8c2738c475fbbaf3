// Recordings, and what replaying them gives.

#include "tests/program.h"

#include <map>
#include <sstream>

namespace {

using Recording = Program;

/// A document by the places in it. Its messages name virtual devices that an anonymous recording leaves out.
nlohmann::json withoutMessages(const std::string& document) {
    auto parsed = nlohmann::json::parse(document);
    parsed.erase("messages");
    return parsed.flatten();
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

TEST_F(Recording, TellsWhenTheAnswersWereTaken) {
    const std::string recording = fileWith("", "first"), again = fileWith("", "again");
    run("% scsi --force --record " + recording, anyInventory); // of this machine
    const std::string moment = nlohmann::json::parse(contentOf(recording))["collected"];
    EXPECT_THAT(moment, ContainsRegex("^20..-..-..T..:..:..Z$"));
    EXPECT_EQ(jsonOf("% scsi --force --record " + again + " --machine " + recording, anyInventory)["collected"],
              moment);
    EXPECT_EQ(nlohmann::json::parse(contentOf(again))["collected"], moment);
}

TEST_F(Recording, AnAnonymousReplayDiffersInReplacedTextsOnly) {
    const std::string recording = fileWith(""), key = fileWith("a key", "key"),
                      onMachine = "% --format json --log-level 3 --machine ";
    for (const auto& entry : fs::directory_iterator(machines)) {
        SCOPED_TRACE(entry.path());
        std::string recorded = onMachine;
        recorded.append(entry.path().string()).append(" --force --record ").append(recording);
        run(recorded, anyInventory);
        const auto original = withoutMessages(output);
        std::istringstream originalLog(logLines(errors));
        run(std::string(recorded).append(" --anonymize-key ").append(key), anyInventory);
        EXPECT_THAT(errors, HasSubstr("recorded in " + recording + "\nreplaced: serial numbers, "));
        run(onMachine + recording, anyInventory);
        const auto replay = withoutMessages(output);
        std::istringstream log(logLines(errors));

        std::map<std::string, std::string> replaced;
        ASSERT_EQ(replay.size(), original.size());
        for (const auto& [place, value] : original.items()) {
            if (replay[place] == value)
                continue;
            EXPECT_THAT(place, AnyOf(EndsWith("/serialNum"), EndsWith("/SystemName"), EndsWith("/wwid"), "/machine",
                                     EndsWith("/Antecedent"), EndsWith("/Dependent"), EndsWith("/serial")));
            if (value.is_string())
                replaced["[3] " + std::string(value)] = "[3] " + std::string(replay[place]);
        }
        const std::string serialNumber = "[3] Serial Number: ";
        for (std::string line, other; std::getline(originalLog, line);) {
            ASSERT_TRUE(std::getline(log, other));
            const bool hasSerialNumber = line.rfind(serialNumber, 0) == 0 && other.rfind(serialNumber, 0) == 0;
            EXPECT_TRUE(line == other || hasSerialNumber || replaced[line] == other) << line << '\n' << other;
        }
    }
}

TEST_F(Recording, AKeyMakesEqualReplacements) {
    const std::string key = fileWith("the key", "key"), otherKey = fileWith("another", "other");
    const auto recordedWith = [this](const std::string& options) {
        const std::string recording = fileWith("");
        run("% --force --record " + recording + options + onRackServer);
        return contentOf(recording);
    };
    const std::string recorded = recordedWith(" --anonymize-key " + key);
    EXPECT_EQ(recordedWith(" --anonymize --anonymize-key " + key), recorded);
    EXPECT_NE(recordedWith(" --anonymize-key " + otherKey), recorded);
    EXPECT_NE(recordedWith(" --anonymize"), recordedWith(" --anonymize")) << "each has a key of its own";
}
