#pragma once

#include <nlohmann/json.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using testing::AllOf;
using testing::AnyOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

inline const std::string program = PROGRAM_DIRECTORY "/scsidev-inventory";
inline const std::string plugin = PROGRAM_DIRECTORY "/libscsidev.pi.so";
inline const std::string machines = SOURCE_DIRECTORY "/machines/";
inline const std::string expected = SOURCE_DIRECTORY "/tests/expected/";
inline const std::string onRackServer = " --machine " + machines + "rack-server.json ";
inline const std::string onEmptyMachine = " --machine " + machines + "empty.json ";
// Away from this machine, where one tool or another is missing and a remark says so.
inline const std::string oddPlugin = " --plugin " TEST_DIRECTORY "/libodd-plugin.so " + onEmptyMachine;
inline const std::string preloaded = "LD_PRELOAD=" PROGRAM_DIRECTORY "/libscsidev-simulator.so ";
inline const std::string underRackServer =
    "export SCSIDEV_MACHINE=" + machines + "rack-server.json " + preloaded + "; ";

constexpr int anyInventory = -3; // the exit status of a complete one, or that of an incomplete one

std::string contentOf(const fs::path& path);

/// The log's part of what stands on standard error.
std::string logLines(const std::string& errors);

/// The program and the plug-in as they are shipped, in processes of their own. Runs shell commands in an empty
/// directory, which is the temporary directory too and must be empty afterwards. In a command `%` stands for the
/// program.
class Program : public testing::Test {
protected:
    Program();
    ~Program() override;

    void run(const std::string& command, int wantedStatus = 0);

    /// The same on a terminal. `wantedResult` is a wait status. Once `interruptAt`, if there is any, has been shown,
    /// Ctrl-C is typed; or another `signal` is sent, after Ctrl-S, which stops the terminal. Skips the test where no
    /// terminal can be made.
    void runOnTerminal(const std::string& command, const std::string& interruptAt, int wantedResult,
                       int signal = SIGINT);

    nlohmann::json jsonOf(const std::string& command, int wantedStatus = 0);

    /// A file of this content, outside the working directory.
    std::string fileWith(const std::string& content, const std::string& name = "file.json");

    /// Makes a program of these shell lines, in whose working directory "../.." is the parent of the working one
    /// here, and returns what to put before a command that is to find it under this name.
    std::string withTool(const std::string& name, const std::string& lines);

    std::string output, errors;

private:
    fs::path work() const { return root_ / "work"; }
    std::string script(std::string command, const std::string& started) const;

    fs::path root_;
};
