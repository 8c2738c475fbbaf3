// The program and the plug-in as they are shipped, in processes of their own.

#include "tests/mofreader.h"

#include <nlohmann/json.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using testing::AllOf;
using testing::AnyOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::Ge;
using testing::HasSubstr;
using testing::Le;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string program = PROGRAM_DIRECTORY "/scsidev-inventory";
const std::string plugin = PROGRAM_DIRECTORY "/libscsidev.pi.so";
const std::string machines = SOURCE_DIRECTORY "/machines/";
const std::string expected = SOURCE_DIRECTORY "/tests/expected/";
const std::string onRackServer = " --machine " + machines + "rack-server.json ";
const std::string onEmptyMachine = " --machine " + machines + "empty.json ";
// Away from this machine, where one tool or another is missing and a remark says so.
const std::string oddPlugin = " --plugin " TEST_DIRECTORY "/libodd-plugin.so " + onEmptyMachine;
const std::string preloaded = "LD_PRELOAD=" PROGRAM_DIRECTORY "/libscsidev-simulator.so ";
const std::string underRackServer = "export SCSIDEV_MACHINE=" + machines + "rack-server.json " + preloaded + "; ";
// They want to be loaded before that library and are told to do without.
const std::string underSanitizers = "export ASAN_OPTIONS=verify_asan_link_order=0; ";

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The log's part of what stands on standard error.
std::string logLines(const std::string& errors) {
    std::istringstream lines(errors);
    std::string log;
    for (std::string line; std::getline(lines, line);)
        log += line.front() == '[' ? line + '\n' : "";
    return log;
}

/// The program's exit status on a machine of the repository.
int statusOn(const fs::path& machine) {
    return nlohmann::json::parse(contentOf(expected + machine.stem().string() + ".json"))["exitStatus"];
}

/// The queries of a document, without what else is said of the run.
/// Leaves out what the kernel calls a device.
bool notKernel(int /*depth*/, nlohmann::json::parse_event_t event, nlohmann::json& parsed) {
    return event != nlohmann::json::parse_event_t::key || parsed != "kernel";
}

nlohmann::json queriesOf(const std::string& document, const nlohmann::json::parser_callback_t& wanted = nullptr) {
    return nlohmann::json::parse(document, wanted)["queries"];
}

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

constexpr int anyInventory = -3; // the exit status of a complete one, or that of an incomplete one

long threadsThatTakeSignals(pid_t process) {
    const fs::directory_iterator threads("/proc/" + std::to_string(process) + "/task");
    return std::count_if(begin(threads), end(threads), [](const auto& thread) {
        return contentOf(thread.path() / "status").find("SigBlk:\t0000000000000000") != std::string::npos;
    });
}

int exitStatus(int result) { return WIFEXITED(result) ? WEXITSTATUS(result) : -1; }

/// Runs shell commands in an empty directory, which is the temporary directory too and must be empty
/// afterwards. In a command `%` stands for the program.
class Program : public testing::Test {
protected:
    Program() { fs::create_directories(work()); }
    ~Program() override { fs::remove_all(root_); }

    void run(const std::string& command, int wantedStatus = 0) {
        const std::string redirected = script("{ " + command + "; } >../out 2>../err", program);
        const int status = exitStatus(std::system(redirected.c_str()));
        output = contentOf(root_ / "out");
        errors = contentOf(root_ / "err");
        const bool isWanted = wantedStatus == anyInventory ? status == 0 || status == 3 : status == wantedStatus;
        EXPECT_TRUE(isWanted) << status << ", not " << wantedStatus << ": " << command << '\n' << errors;
        EXPECT_TRUE(fs::is_empty(work())) << "something is left behind by " << command;
    }

    /// The same on a terminal, with Ctrl-C typed once `interruptAt`, if there is any, has been shown. `wantedResult` is
    /// 0 or the signal that ends the program. SIGTERM is sent instead, after Ctrl-S, which stops the terminal.
    void runOnTerminal(const std::string& command, const std::string& interruptAt, int wantedResult) {
        int terminal = -1;
        const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
        if (child == 0) {
            std::signal(SIGINT, SIG_DFL); // tests in the background of a script have it ignored
            ::execl("/bin/sh", "sh", "-c", script(command, "exec " + program).c_str(), nullptr);
            ::_exit(127);
        }
        output.clear();
        bool interrupted = interruptAt.empty();
        char block[4096];
        for (ssize_t got = 0; (got = ::read(terminal, block, sizeof block)) > 0;) {
            output.append(block, static_cast<std::size_t>(got));
            if (!interrupted && output.find(interruptAt) != std::string::npos) {
                EXPECT_EQ(threadsThatTakeSignals(child), 1) << "no handler runs beside the main thread";
                const bool isTerm = wantedResult == SIGTERM;
                interrupted = ::write(terminal, isTerm ? "\x13" : "\x03", 1) == 1;
                if (isTerm && ::usleep(100000) == 0) // the kernel takes what is typed a little later
                    ::kill(child, SIGTERM);
            }
        }
        ::close(terminal);
        int result = 0;
        ::waitpid(child, &result, 0);
        EXPECT_EQ(result, wantedResult);
        EXPECT_TRUE(interrupted) << interruptAt << " was never shown";
        EXPECT_TRUE(fs::is_empty(work()));
    }

    nlohmann::json jsonOf(const std::string& command, int wantedStatus = 0) {
        run(command + " --format json", wantedStatus);
        return nlohmann::json::parse(output);
    }

    /// Runs the command with each of the two formats, expects the same instances, and returns the MOF.
    mof::document mofLikeJson(const std::string& command, int wantedStatus = 0) {
        SCOPED_TRACE(command);
        const auto instances = mof::instancesOf(jsonOf(command, wantedStatus));
        run(command + " --format mof", wantedStatus);
        mof::document document = mof::read(output);
        EXPECT_EQ(document.instances, instances);
        return document;
    }

    /// A file of this content, outside the working directory.
    std::string fileWith(const std::string& content, const std::string& name = "file.json") {
        std::ofstream(root_ / name) << content;
        return (root_ / name).string();
    }

    /// Makes a program of these shell lines, in whose working directory "../.." is the parent of the working one
    /// here, and returns what to put before a command that is to find it under this name.
    std::string withTool(const std::string& name, const std::string& lines) {
        fs::create_directories(root_ / "bin");
        std::ofstream(root_ / "bin" / name) << "#!/bin/sh\n" << lines << '\n';
        fs::permissions(root_ / "bin" / name, fs::perms::owner_all);
        return "export PATH=$PWD/../bin:$PATH; ";
    }

    std::string output, errors;

private:
    fs::path work() const { return root_ / "work"; }

    std::string script(std::string command, const std::string& started) const {
        if (const std::size_t mark = command.find('%'); mark != std::string::npos)
            command.replace(mark, 1, started);
        return "cd " + work().string() + " && export TMPDIR=$PWD && " + command;
    }

    fs::path root_ = fs::temp_directory_path() / ("scsidev-test-" + std::to_string(::getpid()));
};

} // namespace

TEST_F(Program, PrintsWhatStandsBesideTheMachineFile) {
    for (const auto& entry : fs::directory_iterator(machines)) {
        const std::string name = expected + entry.path().stem().string();
        SCOPED_TRACE("rewrite with script/rewrite-expected, then read the difference: " + name);
        const int status = statusOn(entry.path().string());
        run("% --machine " + entry.path().string(), status);
        EXPECT_EQ(output, contentOf(name + ".txt"));
        run("% --format prometheus --machine " + entry.path().string() +
            " | sed '/^scsidev_collection_timestamp_seconds/s/ .*/ 0/'");
        EXPECT_EQ(output, contentOf(name + ".prom"));
        run("% --format json --log-level 3 --ask-again --machine " + entry.path().string(), status);
        EXPECT_EQ(output, contentOf(name + ".json"));
        EXPECT_EQ(errors, contentOf(name + ".log"));
    }
    run("% --all-properties KORVA_SCSIDevice,KORVA_CDVDDevice,KORVA_SCSIDevice KORVA_SysBusDeviceFirmwareElement "
        "KORVA_SysBusDeviceFirmware --machine " +
            machines + "oddities.json",
        anyInventory);
    EXPECT_EQ(output, contentOf(expected + "oddities.properties"));
}

TEST_F(Program, PrintsTheSchemasAndTheHelpThatTheRepositoryHolds) {
    run("% --schema json");
    EXPECT_EQ(output, contentOf(SOURCE_DIRECTORY "/schema/inventory.schema.json")) << "run script/rewrite-expected";
    run("% --schema mof");
    const std::string mof = output;
    run("% --schema --plugin missing.so");
    EXPECT_EQ(errors, "");
    EXPECT_EQ(output, mof);
    EXPECT_EQ(output, contentOf(SOURCE_DIRECTORY "/schema/korva.mof")) << "rewrite it with script/rewrite-expected";
    EXPECT_THAT(output, Not(ContainsRegex(R"([^.]"\)])"))) << "descriptions are sentences";
    run("% --help");
    EXPECT_EQ(output, contentOf(expected + "help")) << "rewrite it with script/rewrite-expected";
}

TEST_F(Program, MofSaysOfEachMachineWhatJsonSays) {
    std::set<std::string> declared, seen;
    for (const auto& entry : fs::directory_iterator(machines)) {
        const mof::document document = mofLikeJson("% --machine " + entry.path().string(), statusOn(entry.path()));
        for (const auto& [name, properties] : document.classes)
            declared.insert(name);
        for (const auto& instance : document.instances) {
            seen.insert(instance["class"]);
            for (const auto& name : document.classes.at(instance["class"]))
                EXPECT_TRUE(instance["properties"].contains(name)) << name << " is declared and never set";
        }
    }
    declared.erase("KORVA_SysBusDevice"); // which is abstract
    EXPECT_EQ(seen, declared) << "some machine shows each class";
}

TEST_F(Program, MofIsWholeWhateverThePluginDoes) {
    mofLikeJson("ODD_PLUGIN=query % KORVA_ATADevice" + oddPlugin, 1);
    EXPECT_THAT(output, EndsWith("// The run failed: the query failed: odd \\x1b[2J query\n"));

    run("ODD_PLUGIN=drift % --format mof --log-level 0 KORVA_ATADevice KORVA_ATADevice" + oddPlugin);
    EXPECT_EQ(errors, "remark: KORVA_ATADevice declares no property Odd\\xff\\x1b[2J\n"
                      "remark: KORVA_ATADevice declares Lun as uint16, it is set as string\n");
    EXPECT_EQ(mof::read(output).instances[0]["properties"].size(), 5U);
    EXPECT_THAT(output, HasSubstr("    // Left out: KORVA_ATADevice declares no property Odd\\xff\\x1b[2J"));

    const auto odd = jsonOf("ODD_PLUGIN=drift % KORVA_ATADevice" + oddPlugin);
    EXPECT_TRUE(odd["queries"][0]["instances"][0]["properties"].contains("Odd\u00ff\x1b[2J"));

    run("% --format mof KORVA_SysBusDevice" + oddPlugin);
    EXPECT_EQ(mof::read(output).instances.size(), 0U);
    EXPECT_THAT(output, HasSubstr("// An instance of KORVA_SysBusDevice is left out: the class is abstract\n"));
}

TEST_F(Program, RefusesWrongUsage) {
    const std::pair<const char*, const char*> cases[] = {
        {"''", "an empty class name in the query ''"},
        {"KORVA_SCSIDevice,,KORVA_ATADevice", "an empty class name in the query 'KORVA_SCSIDevice,,KORVA_ATADevice'"},
        {"KORVA_SCSIDevice,", "an empty class name"},
        {"KORVA_CDVDevice", "unknown class 'KORVA_CDVDevice' (did you mean KORVA_CDVDDevice?); the classes are "
                            "KORVA_SysBusDevice, KORVA_SCSIDevice, "},
        {"tapes", "unknown class 'tapes' (did you mean tape?); the classes are "},
        {"--fromat json", "unknown option '--fromat' (did you mean --format?)"},
        {"--format tab", "--format: expected one of json, mof, prometheus, table, found 'tab' (try --help)"},
        {"--log-level 3x", "--log-level: expected a whole number from 0 up, found '3x'"},
        {"--log-level", "--log-level: a value is missing"},
        {"--format json --format=mof", "--format: given more than once"},
        {"--ask-again --ask-again", "--ask-again: given more than once"},
        {"--schema xml", "--schema: expected one of json, mof, found 'xml'"},
        {"--machine ''", "--machine: a file name is missing"},
        {"--all-properties --format json", "--all-properties goes with tables only"},
        {"--schema mof ata", "--schema: takes no QUERY, found 'ata'"},
        {"--virtual-device 2=x", "--virtual-device: expected 0=TEXT or 1=TEXT, found '2=x'"},
        {"--force", "--force goes with --record only"},
        {"--record x --output x", "--output: names the file of --record"},
        {"--record x --output $PWD/x", "--output: names the file of --record"},
        {"--anonymize", "--anonymize goes with --record only"},
    };
    for (const auto& [arguments, message] : cases) {
        run(std::string("% ") + arguments, 2);
        EXPECT_EQ(output, "");
        EXPECT_THAT(errors, AllOf(HasSubstr(message), HasSubstr("try --help")));
        EXPECT_EQ(errors.find('\n'), errors.size() - 1) << "one line";
    }
}

TEST_F(Program, SaysInOneLineWhyARunFailed) {
    const std::pair<std::string, const char*> cases[] = {
        {"% --machine missing.json", ": missing.json: cannot be read: No such file or directory"},
        {"% --machine .", ": .: cannot be read: Is a directory"},
        {"% --machine " + fileWith(R"({"nodes": {"/dev/sg0": {"inquiry": {"data": "000"}}}})"),
         "file.json: nodes[\"/dev/sg0\"].inquiry.data: expected pairs of hex digits, found \"000\""},
        {"ulimit -t 1; % --machine /dev/zero", "larger than the 16 MiB that a machine file may have"},
        {"% --record .", ".: is a directory, expected a regular file or none"},
        {"% --record " + fileWith("", "kept.json") + onEmptyMachine,
         "kept.json: is there already; --force replaces it"},
        {"% --record /dev/null --force" + onEmptyMachine, "/dev/null: is a device node, expected a regular file"},
        {"mkfifo ../pipe; % --output ../pipe" + onEmptyMachine, "../pipe: is a pipe, expected a regular file or none"},
        {"ln -s nothing ../link; % --output ../link" + onEmptyMachine, "../link: is a symbolic link, expected"},
        {"% --output missing/x --format json" + onEmptyMachine, "missing/x: cannot be written: No such file or dir"},
        {"% --output '../\x1b[2J/' " + onEmptyMachine, "../\\x1b[2J/: is a directory, expected a regular file or none"},
        {"% --plugin missing.so", "loaded: missing.so: cannot open shared object file"},
        {"% --plugin " + machines + "empty.json", "empty.json: file too short"},
        {"ODD_PLUGIN=nothing %" + oddPlugin, "to register one plug-in that collects data, it registered 0"},
        {"ODD_PLUGIN=twice %" + oddPlugin, "to register one plug-in that collects data, it registered 2\n"},
        {"ODD_PLUGIN=load %" + oddPlugin, "scsidev-inventory: odd \\x1b[2J load\n"},
        {"ODD_PLUGIN=init %" + oddPlugin, "Init failed: odd \\x1b[2J init"},
        {"ODD_PLUGIN=number %" + oddPlugin, "Init failed: an exception of an unknown type"},
        {"% --version >/dev/full", "standard output cannot be written: No space left on device"},
        {"% --format json >/dev/full" + onEmptyMachine, "No space left on device"},
        {"TMPDIR=/nonexistent % ", "cannot make a temporary directory: No such file or directory"},
        {"mkdir ../open && chmod 777 ../open && TMPDIR=../open % ",
         "open can be written by other users and is not sticky; TMPDIR names another place\n"},
        {"mkdir ../open/own && TMPDIR=../open/own %", "/open can be written by other users and"},
        {"d=$(cd ..; pwd -P); while [ ${#d} -lt 3820 ]; do d=$d/" + std::string(200, 'd') + "; done; d=$(echo $d/" +
             std::string(255, 'd') + " | cut -c 1-4071); mkdir -p $d; TMPDIR=$d %",
         "-XXXXXX: cannot make a temporary directory: the name is too long"}, // by its last byte
        {"env - SCSIDEV_MACHINE=other.json PATH=/usr/bin % --machine missing.json", "missing.json: cannot be read"},
        {::geteuid() == 0 ? "chmod 770 ../open; TMPDIR=../open %" : "TMPDIR=/nonexistent %",
         ::geteuid() == 0 ? "/open can be written by other users and" : "No such file"}, // root has no group of its own
        {::geteuid() == 0 ? "chown 1 ../open; TMPDIR=../open/own %" : "TMPDIR=/nonexistent %",
         ::geteuid() == 0 ? "open belongs to another user; TMPDIR names another place\n" : "No such file"},
    };
    for (const auto& [command, message] : cases) {
        run(command, 1);
        EXPECT_EQ(output, "");
        EXPECT_THAT(errors, AllOf(HasSubstr("scsidev-inventory: "), HasSubstr(message)));
    }
}

TEST_F(Program, ARunThatFailsPrintsADocumentAllTheSame) {
    const std::string large = fileWith("{\"name\": \"" + std::string(15 << 20, 'x') + "\"}", "large.json");
    const std::pair<std::string, const char*> cases[] = {
        {"% --machine missing.json", "missing.json: cannot be read: No such file or directory"},
        {"% --plugin missing.so" + onEmptyMachine, "the plug-in cannot be loaded: "},
        {"ODD_PLUGIN=init %" + oddPlugin, "Init failed: odd \x1b[2J init"},
        {"ODD_PLUGIN=query %" + oddPlugin, "the query failed: odd \x1b[2J query"},
        {"TMPDIR=/nonexistent % ", "cannot make a temporary directory: "},
        {"% --record /nonexistent/x.json" + onEmptyMachine, "/nonexistent/x.json: cannot be written: "},
#ifndef __SANITIZE_ADDRESS__ // which reserves terabytes
        {"ulimit -v 40000; % --machine " + large, "out of memory"},
#endif
    };
    for (const auto& [command, message] : cases) {
        mofLikeJson(command, 1);
        EXPECT_THAT(output, HasSubstr("\n// The run failed: ")) << "as MOF";
        const auto document = jsonOf(command, 1);
        EXPECT_EQ(document["exitStatus"], 1);
        EXPECT_THAT(document["error"], HasSubstr(message));
    }
}

TEST_F(Program, AQueryThatFailsKeepsWhatWasCommittedBefore) {
    const auto document = jsonOf("ODD_PLUGIN=query % KORVA_ATADevice KORVA_SCSIDevice" + oddPlugin, 1);
    ASSERT_EQ(document["queries"].size(), 1U) << "the run ends with it";
    EXPECT_EQ(document["queries"][0]["error"], "odd \x1b[2J query");
    EXPECT_EQ(document["queries"][0]["instances"].size(), 1U);
    EXPECT_THAT(errors, HasSubstr("scsidev-inventory: the query failed: odd \\x1b[2J query\n"));

    run("ODD_PLUGIN=query % KORVA_ATADevice" + oddPlugin, 1);
    EXPECT_THAT(output, HasSubstr("ATA devices (KORVA_ATADevice): 1\n"));
}

TEST_F(Program, EveryDeviceIsOneSeriesAndAFailedRunIsNotComplete) {
    run("% --format prometheus KORVA_CDVDDevice KORVA_CDVDDevice" + onRackServer);
    const std::string series = "scsidev_device_info{class=\"KORVA_CDVDDevice\"";
    EXPECT_THAT(output, HasSubstr(series));
    EXPECT_EQ(output.find(series), output.rfind(series));
    const auto end = std::stol(output.substr(output.rfind(' ')));
    EXPECT_THAT(end, AllOf(Ge(std::time(nullptr) - 60), Le(std::time(nullptr))));

    run("ODD_PLUGIN=query % --format prometheus KORVA_ATADevice" + oddPlugin, 1);
    EXPECT_THAT(output, AllOf(HasSubstr("\nscsidev_collection_complete 0\n"), HasSubstr("\t\\n\v")));
    runOnTerminal("ODD_PLUGIN=query % --format prometheus KORVA_ATADevice 2>&1" + oddPlugin, "", 1 << 8);
    EXPECT_THAT(output, AllOf(HasSubstr(R"(device="\\x00\\x01)"), HasSubstr(R"(\\xff")"), Not(HasSubstr("\x1b[2J"))));
}

TEST_F(Program, EveryByteSurvivesInJsonAndNoneDrivesATerminal) {
    const auto document = jsonOf("% KORVA_ATADevice" + oddPlugin);
    EXPECT_EQ(errors, "[1] one \\\\ \\n\\t\\x7f\\xff line\n");
    std::string everyCodePoint;
    for (int byte = 0; byte < 256; ++byte) {
        if (byte >= 0x80)
            everyCodePoint += static_cast<char>(0xC0 | byte >> 6);
        everyCodePoint += static_cast<char>(byte < 0x80 ? byte : 0x80 | (byte & 0x3F));
    }
    EXPECT_EQ(document["queries"][0]["instances"][0]["properties"]["ProductID"], everyCodePoint);
    const std::string json = output;
    run("% KORVA_ATADevice" + oddPlugin);
    for (const char c : json + output)
        ASSERT_TRUE(c == '\n' || (c >= ' ' && c <= '~')) << static_cast<int>(c);
}

TEST_F(Program, LeavesNothingBehindHoweverItEnds) {
    run("ODD_PLUGIN=terminate %" + oddPlugin, 128 + SIGTERM);
    run("export TMPDIR=.; ODD_PLUGIN=terminate %" + oddPlugin, 128 + SIGTERM);
    if (::geteuid() != 0) // who has a group of one
        run("chgrp $(id -g) .; chmod 770 .; %" + onEmptyMachine);
    run("{ sleep 0.1; % --format json; echo $? >&2; } | true");
    EXPECT_THAT(errors, EndsWith("standard output cannot be written: Broken pipe\n1\n"));
    run("{ % --log-level 3" + onRackServer + "2>&1 >/dev/null; } | head -n 1");
    EXPECT_THAT(output, HasSubstr("[3] hwinfo"));
    for (const char* arguments : {"", "--version"}) {
        run("(ulimit -f 0; % " + std::string(arguments) + " >../large; echo $? >&2) 2>&1 | cat");
        EXPECT_THAT(output, EndsWith(": File too large\n1\n"));
    }
}

TEST_F(Program, ASignalEndsWithTheRunWhatItHasStarted) {
    const struct {
        const char *tool, *signal;
        int status;
        const char* message;
    } cases[] = {
        {"hwinfo", "TERM", 128 + SIGTERM, ""},
        {"modprobe", "INT", 128 + SIGINT, ""},
        {"modprobe", "XCPU", 1, "scsidev-inventory: the CPU time that a limit gives it is used up\n"},
        {"cat", "HUP", 128 + SIGHUP, ""},
        {"cat", "VTALRM", 128 + SIGVTALRM, ""},
        {"cat", "ALRM", 128 + SIGALRM, ""},
        {"cat", "USR1", 128 + SIGUSR1, ""},
        {"cat", "USR2", 128 + SIGUSR2, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tool + std::string(" ") + c.signal);
        // So many that some come while the first one is taken.
        const std::string burst = "perl -e 'kill shift, (shift) x 5000' " + std::string(c.signal);
        run(withTool(c.tool,
                     "sleep 20 & echo $! >../../child; read program <../../program\n" + burst + " $program; wait") +
                "sh -c 'echo $$ >../program; exec env --default-signal % KORVA_SCSIDevice KORVA_CDVDDevice'",
            c.status);
        EXPECT_THAT(errors, HasSubstr(c.message));
        run("rm ../bin/*; ! grep sleep /proc/$(cat ../child)/cmdline 2>/dev/null");
    }
}

TEST_F(Program, TouchesNoOtherFilesThanItsOwn) {
    const struct {
        const char *why, *modprobe, *remark;
    } cases[] = {
        {"a link to another directory in its place", "d=$PWD; mv $d ../../moved; ln -s ../victim $d",
         " is not removed: it no longer has this name\n"},
        {"another directory in its place", "d=$PWD; mv $d ../../moved2; mkdir $d", " is not removed: it no longer"},
        {"a file of another's", "touch core", " is not removed: other files are in it\n"},
    };
    run("mkdir ../victim && touch ../victim/infousb.txt ../victim/file");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        run(withTool("modprobe", c.modprobe) + "% KORVA_SCSIDevice; ls -d scsidev-*; rm -r scsidev-*; ls ../victim");
        EXPECT_THAT(output, AllOf(HasSubstr("scsidev-inventory-"), EndsWith("\nfile\ninfousb.txt\n")));
        EXPECT_THAT(errors, HasSubstr(c.remark));
    }
}

TEST_F(Program, ShowsOnATerminalWhatItDoes) {
    const std::string command = "% KORVA_SCSITapeDrive" + onRackServer;
    runOnTerminal(command, "", 0);
    EXPECT_THAT(output, HasSubstr("\r\x1b[K0 s  SCSI Inquiry returned good..."));
    EXPECT_THAT(output, ContainsRegex("\\[K0 s  hwinfo[^\r]{68}\r")) << "a column stays free, or the line would wrap";
    EXPECT_THAT(output, HasSubstr("\r\x1b[KSCSI tape drives (KORVA_SCSITapeDrive): 2\r\n")) << "gone before the result";

    rlimit stack{};
    if (::getrlimit(RLIMIT_STACK, &stack) == 0 && stack.rlim_max == RLIM_INFINITY) {
        runOnTerminal("ulimit -s 200000000000; " + command, "", 0);
        EXPECT_THAT(output, StartsWith("SCSI tape drives")) << "no room for the thread that draws the line";
    }

    runOnTerminal("SCSIDEV_SLEEP=1 " + command, "1 s  Retry condition...", SIGINT);
    EXPECT_THAT(output, EndsWith("\r\x1b[K"));
    runOnTerminal("SCSIDEV_SLEEP=1 " + command, "1 s  Retry condition...", SIGTERM);
    EXPECT_THAT(output, Not(HasSubstr("5 s  "))) << "the sleep is cut short";

    // A shell command that the run waits for is not all that an interrupt ends.
    for (const auto& [tool, step] : {std::pair{"hwinfo", "1 s  looking for virtual USB media"},
                                     std::pair{"modprobe", "1 s  loading the sg driver"}}) {
        runOnTerminal(withTool(tool, "exec sleep 30") + "% KORVA_SCSIDevice", step, SIGINT);
        EXPECT_THAT(output, Not(HasSubstr("30 s  ")));
        run("rm ../bin/*");
    }
    runOnTerminal(withTool("modprobe", "timeout 5 sh -c 'read line'; test $? != 124") + underSanitizers +
                      underRackServer + "% KORVA_SCSITapeDrive",
                  "", 0);
    EXPECT_THAT(output, Not(HasSubstr("the sg driver could not be loaded"))) << "a tool that reads is not stopped";
}

TEST_F(Program, DoesNotDependOnWhatItInherits) {
    // A parent that does not wait for its children: their exit statuses would be lost.
    run(withTool("modprobe", "") + "perl -e '$SIG{CHLD} = q(IGNORE); exec @ARGV' % --log-level 0 KORVA_SCSIDevice");
    EXPECT_THAT(errors, Not(HasSubstr("sg module is not loaded correctly")));

    const std::string odd = "d='../a b:c'; mkdir \"$d\" && cp " + program + ' ' + plugin + " \"$d\" && ";
    run(odd + "\"$d\"/scsidev-inventory --format json" + onRackServer);
    EXPECT_EQ(output, contentOf(expected + "rack-server.json")) << "from a path with blanks and colons";
    run("cat " + machines + "rack-server.json | % --format json --machine /dev/stdin");
    EXPECT_EQ(output, contentOf(expected + "rack-server.json")) << "a machine file that can be read only once";

    run("PATH=/nonexistent % KORVA_CDVDDevice" + onRackServer, 3);
    EXPECT_THAT(output, HasSubstr("Optical drives (KORVA_CDVDDevice): none\n")) << "there is no cat to read them with";
    EXPECT_EQ(errors, "the optical-drive table could not be read (cat /proc/sys/dev/cdrom/info: No such file or "
                      "directory)\nsimulated machine: 10 s of sleeping skipped\n");
}

TEST_F(Program, RunsQueriesInTurnOnOneNamespace) {
    const auto document = jsonOf("% --log-level 0 --virtual-device 0=/dev/sg0 --virtual-device 1= Tape,korva_ATAdevice "
                                 "firmware KORVA_SysBusDeviceFirmware" +
                                 onRackServer);
    EXPECT_EQ(errors, "simulated machine: 10 s of sleeping skipped\n") << "the device is ready from then on";
    const auto& queries = document["queries"];
    ASSERT_EQ(queries.size(), 3U);
    EXPECT_EQ(queries[0]["classes"], (nlohmann::json{"KORVA_SCSITapeDrive", "KORVA_ATADevice"}));
    ASSERT_EQ(queries[0]["instances"].size(), 2U);
    for (const auto& instance : queries[0]["instances"])
        EXPECT_EQ(instance["class"], "KORVA_SCSITapeDrive")
            << "with tapes first, other devices have to be cartridge drives to be shown";
    EXPECT_EQ(queries[1]["instances"].size(), 8U) << "the named virtual device is left out";
    EXPECT_EQ(queries[2]["instances"].size(), 2U);
}

TEST_F(Program, SteadyDevicesMakeLaterQueriesAsIfAskedAgain) {
    auto endedWalk = nlohmann::json::parse(contentOf(machines + "rack-server.json"));
    endedWalk["nodes"]["/dev/sg0"]["inquiry"]["data"] = {"00000502 1f000000", {{"text", "BLANK"}, {"size", 28}}};
    // Gone when it is opened a second time, in each of the walks.
    const std::string vanishing = R"({"nodes": {"/dev/sg5": {"sgVersion": 2, "open": [true, "ENOENT", true, "ENOENT",
        true, "ENOENT", true, "ENOENT", true, "ENOENT"]}}})";
    std::vector<std::string> files{fileWith(endedWalk.dump()), fileWith(vanishing, "vanishing.json")};
    for (const auto& entry : fs::directory_iterator(machines)) {
        if (entry.path().stem() != "oddities") // whose devices change
            files.push_back(entry.path().string());
    }
    for (const auto& file : files) {
        SCOPED_TRACE(file);
        run("% --format json --log-level 3 --machine " + file, anyInventory);
        const std::string once = output, log = logLines(errors);
        run("% --format json --log-level 3 --ask-again --machine " + file, anyInventory);
        EXPECT_EQ(queriesOf(once), queriesOf(output));
        EXPECT_EQ(log, logLines(errors));
    }
}

TEST_F(Program, ChangingDevicesAreAskedOnce) {
    auto changing = nlohmann::json::parse(contentOf(machines + "rack-server.json"));
    auto& nodes = changing["nodes"];
    changing["modprobe"] = {0, 1};
    nodes["/dev/sg0"]["open"] = {true, "EACCES"};
    nodes["/dev/sg1"]["inquiry"] = {nodes["/dev/sg1"]["inquiry"], nodes["/dev/sg2"]["inquiry"]};
    const std::string file = fileWith(changing.dump()), recording = fileWith("", "recording.json");
    // To the program, a machine that the preload library simulates is this machine, whose shell commands it runs
    // itself.
    std::string usbListing;
    for (const std::string line : changing["usb"])
        usbListing += line + "\xff\n"; // which is no UTF-8
    const std::string thisMachine = withTool("modprobe", "mkdir ../../asked") +
                                    withTool("hwinfo", "cat " + fileWith(usbListing, "usb")) + "rm -rf ../asked; " +
                                    underSanitizers + "LC_ALL=C.UTF-8 SCSIDEV_MACHINE=" + file + ' ' + preloaded +
                                    "% --virtual-device 0=/dev/sg8 --virtual-device 1=/dev/sr1";
    const std::string whileRecording = " --force --record " + recording;
    for (const std::string& command : {"% --machine " + file, thisMachine}) {
        run(command + " --format json --log-level 1");
        EXPECT_EQ(queriesOf(output, notKernel), queriesOf(contentOf(expected + "rack-server.json"), notKernel));
        EXPECT_EQ(output.find("\"kernel\"") == std::string::npos, command == thisMachine)
            << "the names in the real machine's sysfs are of other devices";
        EXPECT_EQ(logLines(errors), "");
        run(command + whileRecording);
        const auto recorded = nlohmann::json::parse(contentOf(recording));
        EXPECT_EQ(recorded["modprobe"], 0) << "a recording holds one walk";
        EXPECT_EQ(recorded["nodes"]["/dev/sg0"]["open"], true);
        run(command + " --ask-again", 3);
        EXPECT_EQ(logLines(errors), "[0] sg module is not loaded correctly\n") << "five times in the log, shown once";
        EXPECT_THAT(errors, HasSubstr("the sg driver could not be loaded, SCSI devices are not shown"));
    }

    changing["modprobe"] = 0;
    nodes["/dev/sg10"]["inquiry"] = {{"sense", "70 00 02 00 00 00 00 0a 00 00 00 00 04 01"}};
    nodes["/dev/sg1"]["sgVersion"] = {30536, "EIO"}; // its serial number cannot be read
    fileWith(changing.dump());
    EXPECT_EQ(jsonOf("% --machine " + file, 3)["queries"][4]["instances"].size(), 8U)
        << "all firmware elements but one: each query begins with the first answers";
    EXPECT_THAT(errors, EndsWith("simulated machine: 35 s of sleeping skipped\n")) << "10 s are of other devices";
    run(thisMachine, 3);
    EXPECT_THAT(errors, EndsWith("simulated machine: 35 s of sleeping skipped\n"))
        << "the waits of this machine are real";
}

TEST_F(Program, ARecordingReplaysToTheSameOutput) {
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

TEST_F(Program, WritesAFileWholeOrNotAtAll) {
    const std::string json = "% --format json --output ../results/new.json" + onRackServer;
    run("mkdir ../results; umask 027; " + json +
        "--record ../results/a; stat -c '%a %n' ../results/*; rm ../results/a");
    EXPECT_EQ(output, "640 ../results/a\n640 ../results/new.json\n");
    run("chmod 704 ../results/new.json; " + json + "; stat -c %a ../results/new.json; cat ../results/new.json");
    EXPECT_EQ(output, "704\n" + contentOf(expected + "rack-server.json")) << "the mode stays, the content is replaced";
    for (const char* closed : {"<&- 2>&-", ">&- 2>&-"}) {
        run(json + "--log-level 3 " + closed + "; cat ../results/new.json");
        EXPECT_EQ(output, contentOf(expected + "rack-server.json")) << "no log in it: " << closed;
    }
    // Whatever ends the run, the file is as it was, and nothing else is there.
    for (const char* end :
         {"ODD_PLUGIN=terminate % --output ../results/new.json", "ODD_PLUGIN=terminate % --record ../results/x"})
        run(end + oddPlugin, 128 + SIGTERM);
    run("(ulimit -f 12; % --format json --output ../results/new.json" + onRackServer + ")", 1);
    run("(ulimit -f 12; % --force --record ../results/new.json" + onRackServer + ")", 1);
    run("ls -A ../results; cat ../results/new.json");
    EXPECT_EQ(output, "new.json\n" + contentOf(expected + "rack-server.json"));
    run("TMPDIR=/nonexistent % --output ../results/new.json", 1);
    run("cmp ../results/new.json " + expected + "rack-server.json");
    run("chmod 1777 ../results; % --schema --output ../results/new.json; cmp ../results/new.json " SOURCE_DIRECTORY
        "/schema/korva.mof");
    EXPECT_EQ(output, "");
    if (::geteuid() == 0)
        run("chown 1 ../results/new.json; % --output ../results/new.json" + onEmptyMachine, 1);
    run("% --record $(printf '../results/\\033.json')" + onEmptyMachine);
    EXPECT_THAT(errors, HasSubstr("recorded in ../results/\\x1b.json: "));
}

TEST_F(Program, AnAnonymousRecordingDiffersInWhatIdentifiesOnly) {
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

TEST_F(Program, SaysWhatItCouldNotSee) {
    const bool root = ::geteuid() == 0;
    const std::string unprivileged = root ? "" : "not running as root: ", advice = root ? "\n" : "; try sudo\n";
    std::string manyNodes = R"("/dev/sgxx": {})";
    for (int i = 0; i < 7; ++i)
        manyNodes += R"(, "/dev/sg)" + std::to_string(i * 9) + R"(": {"open": "EMFILE"})";
    const struct {
        std::string query, machine;
        int status;
        std::string remarks;
    } cases[] = {
        {"", "{}", 0, "no devices found on the simulated machine\n"},
        {"KORVA_ATADevice --log-level 0", R"({"modprobe": 1, "nodes": {"/dev/sg0": {}}})", 3,
         "[0] sg module is not loaded correctly\n" + unprivileged +
             "the sg driver could not be loaded, SCSI devices are not shown" + advice},
        {"", R"({"nodes": {"/dev/sg0": {"open": "EACCES"}, "/dev/sg1": {}, "/dev/sg2": {"open": "ENXIO"},
                           "/dev/sg3": {"open": "EMFILE"}, "/dev/hda": {"open": "EPERM"}, "/dev/sr0": {"open": "EACCES"}}})",
         3,
         unprivileged + "2 of 4 device nodes could not be opened: /dev/sg0 (EACCES), /dev/hda (EPERM)" + advice +
             "1 of 4 device nodes could not be opened: /dev/sg3 (EMFILE)\n1 of 4 nodes opened but did not identify "
             "itself: /dev/sg1 (SG_GET_VERSION_NUM: ENOTTY)\n"},
        {"", "{\"nodes\": {" + manyNodes + "}}", 3,
         "4 of 4 device nodes could not be opened: /dev/sg0 (EMFILE), /dev/sg9 (EMFILE), /dev/sg18 (EMFILE), /dev/sg27 "
         "(EMFILE)\nsg nodes beyond /dev/sg31, the last that is looked at, are not shown: /dev/sg36, /dev/sg45, "
         "/dev/sg54\n"},
        {"", R"({"nodes": {
            "/dev/sg0": {"sgVersion": 30536, "inquiry": "EIO"},
            "/dev/sg1": {"sgVersion": 30536, "inquiry": {"data": "", "sense": "73 05 24 01", "info": 1}},
            "/dev/sg2": {"sgVersion": 30536, "inquiry": {"data": "", "hostStatus": 3}},
            "/dev/sg3": {"sgVersion": 30536, "inquiry": {"data": "", "status": 32}},
            "/dev/sg4": {"sgVersion": 30536, "inquiry": {"data": "", "driverStatus": 6}},
            "/dev/sg5": {"sgVersion": 2, "open": [true, "ENOENT", true]},
            "/dev/hda": {"opticalCapability": 0}, "/dev/hdb": {"identify": {"data": "00"}}}})",
         3,
         "6 of 8 nodes opened but did not identify themselves: /dev/sg0 (INQUIRY: EIO), /dev/sg1 (INQUIRY: sense "
         "5/24/01), /dev/sg2 (INQUIRY: host status 0x03), /dev/sg3 (INQUIRY: status 0x20), /dev/sg4 (INQUIRY: driver "
         "status 0x06) and 1 more\n"},
        {"KORVA_SCSIDevice",
         R"({"nodes": {
            "/dev/sg0": {"sgVersion": 30536, "inquiry": {"data": [{"text": "", "size": 8},
                          {"text": "ATA", "size": 8}, {"text": "DISK", "size": 20}]}, "kernel": {"names": ["sdb"]}},
            "/dev/sda": {"identify": {"data": [{"text": "BYTES", "size": 512}]}}}})",
         0, "the words of ATA disks come from other disks: /dev/sg0 is sdb, but was asked at /dev/sda\n"},
        {"--ask-again scsi firmware associations", R"({"nodes": {
            "/dev/sg0": {"sgVersion": 30536, "inquiry": {"data": ["0d00050200000000", {"text": "BOX", "size": 28}]}},
            "/dev/sg1": {"sgVersion": 30536, "inquiry": [{"data": ["0d00050200000000", {"text": "BOX", "size": 28}]},
                                                         "EIO"]}}})",
         3,
         "1 of 2 nodes opened but did not identify itself: /dev/sg1 (INQUIRY: EIO)\n"
         "no firmware association of their own: 1 of 2 devices (no firmware element has their identity)\n"},
        {"KORVA_SCSIDevice KORVA_SysBusDeviceFirmware", "{}", 0,
         "no devices found on the simulated machine\nKORVA_SysBusDeviceFirmware ties together what earlier queries of "
         "the run have collected: ask for devices and KORVA_SysBusDeviceFirmwareElement before it\n"},
    };
    for (const auto& c : cases) {
        const auto document = jsonOf("% " + c.query + " --machine " + fileWith(c.machine), c.status);
        EXPECT_EQ(errors, c.remarks);
        EXPECT_EQ(document["complete"], c.status == 0);
        EXPECT_EQ(document["exitStatus"], c.status);
    }
}

TEST_F(Program, IndependentClientsSeeTheSimulatedMachine) {
    const struct {
        const char* command;
        std::vector<const char*> texts;
    } cases[] = {
        {"sg_inq --len=256 /dev/sg0", // whose low byte is 0
         {"Vendor identification: NORDHAV", "Product identification: MERIDIAN 600-10K", "Product revision level: NH04",
          "PDT=0", "version=0x06"}},
        {"sg_inq --page=sn /dev/sg0", {"Unit serial number: NM6A0017F3C2"}},
        {"sg_inq --page=sn /dev/sg7; true", {"field in cdb illegal"}},
        {"sg_inq /dev/sg11; true", {"No such file or directory"}},
        {"hdparm -I /dev/sdc",
         {"Model Number:       STILLWATER 480-GP SATA SSD", "Serial Number:      SW48017C0A2216",
          "Firmware Revision:  SWFW2.17", "Likely used: 9"}},
        {"cd " SOURCE_DIRECTORY "/machines; SCSIDEV_MACHINE=rack-server.json sh -c 'cd /; sg_inq /dev/sg0'",
         {"Vendor identification: NORDHAV"}},
        {"cat /sys/class/scsi_generic/sg0; true", {"No such file or directory"}},
        {"cat /proc/sys/dev/cdrom/info", {"drive name:\t\tsr1\tsr0\n", "Can write DVD-RAM:\t0\t1\n"}},
    };
    if (std::system("command -v sg_inq >/dev/null && command -v hdparm >/dev/null") != 0)
        GTEST_SKIP()
            << "skipped: sg_inq or hdparm is not installed: what they read from a simulated machine stays unseen";
    for (const auto& c : cases) {
        run(underRackServer + c.command);
        for (const char* text : c.texts)
            EXPECT_THAT(output + errors, HasSubstr(text)) << c.command;
    }
    const std::string givenAway = fileWith("");
    run("% --force --anonymize --record " + givenAway + onRackServer);
    const std::pair<const char*, const char*> replacements[] = {
        {"sg_inq --page=sn /dev/sg0", "Unit serial number: [A-Z]{2}[0-9][A-Z][0-9]{4}[A-Z][0-9][A-Z][0-9] "},
        {"hdparm -I /dev/sdc", "Serial Number:      [A-Z]{2}[0-9]{5}[A-Z][0-9][A-Z][0-9]{4} "},
    };
    const std::string asGivenAway = "SCSIDEV_MACHINE=" + givenAway + ' ' + preloaded;
    for (const auto& [command, shown] : replacements) {
        run(asGivenAway + command);
        EXPECT_THAT(output, AllOf(ContainsRegex(shown), Not(HasSubstr("NM6A0017F3C2")), Not(HasSubstr("SW48017C"))));
    }
    run("SCSIDEV_MACHINE=missing.json " + preloaded + "env true", 1);
    EXPECT_THAT(errors, HasSubstr("simulated machine: missing.json: cannot be read"));
}

TEST_F(Program, ClientsOfEveryBuildSeeTheSimulatedMachine) {
    const struct {
        const char* client;
        std::vector<const char*> calls;
    } cases[] = {
        {"plain-client", {" open@", " fopen@", " gethostname@"}},
        {"large-file-client", {" open64@", " fopen64@", " gethostname@"}},
        {"fortified-client", {" __open_2@", " fopen@", " __gethostname_chk@"}},
        {"fortified-large-file-client", {" __open64_2@", " fopen64@", " __gethostname_chk@"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.client);
        ::setenv("CLIENT", (TEST_DIRECTORY "/" + std::string(c.client)).c_str(), 1);
        run("nm -D --undefined-only $CLIENT");
#ifndef __clang__ // for which the C library fortifies next to nothing
        for (const char* call : c.calls)
            EXPECT_THAT(output, HasSubstr(call));
#endif
        run(underRackServer + "for node in sg0 sg11; do $CLIENT /dev/$node; done");
        EXPECT_EQ(output, "rack-07: 4000 opened\nno path: Bad address, Bad address\nno argument: Bad address 5 times\n"
                          "two buffers: Invalid argument\nCD-ROM information, Id: cdrom.c 3.20 2003/12/17\n"
                          "rack-07: 0 opened, No such file or directory\nno path: Bad address, Bad address\n"
                          "CD-ROM information, Id: cdrom.c 3.20 2003/12/17\n");
    }
}

TEST_F(Program, TakesALargeFileBuildOfThePlugin) {
    const std::string largeFilePlugin = TEST_DIRECTORY "/liblarge-file-plugin.so ";
    run("nm -D --undefined-only " + largeFilePlugin);
    EXPECT_THAT(output, HasSubstr(" open64@"));
    run("% --format json --plugin " + largeFilePlugin + onRackServer);
    EXPECT_EQ(output, contentOf(expected + "rack-server.json"));
    run("% --plugin " + largeFilePlugin + "--machine " + fileWith(R"({"nodes": {"/dev/sg0": {"open": "EACCES"}}})"), 3);
    EXPECT_THAT(errors, HasSubstr("1 of 1 device nodes could not be opened")) << "the program watches open64 too";
}

TEST_F(Program, ThePluginBringsNothingAndNeedsOnlyTheContract) {
    run("nm -D --defined-only " + plugin);
    EXPECT_EQ(output, "") << "no exported symbols";
    run("nm -DC --undefined-only " + plugin);
    EXPECT_THAT(output, AllOf(HasSubstr("NHALDEN20::TRootObject::GetPluginManager()"), Not(HasSubstr("minihost")),
                              Not(HasSubstr("sys::"))));
    run("readelf -dW " + plugin);
    EXPECT_THAT(output, HasSubstr("Library runpath: [$ORIGIN]"));
}
