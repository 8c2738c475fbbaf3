#include "tests/program.h"

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

int exitStatus(int result) { return WIFEXITED(result) ? WEXITSTATUS(result) : -1; }

} // namespace

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string logLines(const std::string& errors) {
    std::istringstream lines(errors);
    std::string log;
    for (std::string line; std::getline(lines, line);)
        log += line.front() == '[' ? line + '\n' : "";
    return log;
}

Program::Program() : root_(fs::temp_directory_path() / ("scsidev-test-" + std::to_string(::getpid()))) {
    fs::create_directories(work());
}

Program::~Program() { fs::remove_all(root_); }

void Program::run(const std::string& command, int wantedStatus) {
    const std::string redirected = script("{ " + command + "; } >../out 2>../err", program);
    const int status = exitStatus(std::system(redirected.c_str()));
    output = contentOf(root_ / "out");
    errors = contentOf(root_ / "err");
    const bool isWanted = wantedStatus == anyInventory ? status == 0 || status == 3 : status == wantedStatus;
    EXPECT_TRUE(isWanted) << status << ", not " << wantedStatus << ": " << command << '\n' << errors;
    EXPECT_TRUE(fs::is_empty(work())) << "something is left behind by " << command;
}

void Program::runOnTerminal(const std::string& command, const std::string& interruptAt, int wantedResult, int signal) {
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == -1)
        GTEST_SKIP() << "skipped: no pseudo-terminal can be opened: what the program does on one stays unseen";
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
            const bool isTyped = signal == SIGINT;
            interrupted = ::write(terminal, isTyped ? "\x03" : "\x13", 1) == 1;
            if (!isTyped && ::usleep(100000) == 0) // the kernel takes what is typed a little later
                ::kill(child, signal);
        }
    }
    ::close(terminal);
    int result = 0;
    ::waitpid(child, &result, 0);
    EXPECT_EQ(result, wantedResult);
    EXPECT_TRUE(interrupted) << interruptAt << " was never shown";
    EXPECT_TRUE(fs::is_empty(work()));
}

nlohmann::json Program::jsonOf(const std::string& command, int wantedStatus) {
    run(command + " --format json", wantedStatus);
    return nlohmann::json::parse(output);
}

std::string Program::fileWith(const std::string& content, const std::string& name) {
    std::ofstream(root_ / name) << content;
    return (root_ / name).string();
}

std::string Program::withTool(const std::string& name, const std::string& lines) {
    fs::create_directories(root_ / "bin");
    std::ofstream(root_ / "bin" / name) << "#!/bin/sh\n" << lines << '\n';
    fs::permissions(root_ / "bin" / name, fs::perms::owner_all);
    return "export PATH=$PWD/../bin:$PATH; ";
}

std::string Program::script(std::string command, const std::string& started) const {
    if (const std::size_t mark = command.find('%'); mark != std::string::npos)
        command.replace(mark, 1, started);
    return "cd " + work().string() + " && export TMPDIR=$PWD && " + command;
}
