#include "system/childprocess.h"

#include "plugin/host/osspecific.h"
#include "system/thismachine.h"
#include "system/watchedmachine.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <chrono>
#include <string>
#include <vector>

using strings = std::vector<std::string>;
using sys::outputOf;
using namespace std::chrono_literals;

TEST(ChildProcess, ReturnsWhatTheCommandPrints) {
    const struct {
        const char* why;
        strings command;
        std::string output, failure;
    } cases[] = {
        {"arguments see no shell", {"printf", "%s|", "a b", "$HOME"}, "a b|$HOME|", ""},
        {"standard error is not output",
         {"sh", "-c", "echo wrong >&2; echo right; exit 3"},
         "right\n",
         "exit status 3"},
        {"standard input is empty", {"cat"}, "", ""},
        {"no such command", {"no-such-command-here"}, "", "No such file or directory"},
        {"killed by another", {"sh", "-c", "echo early; kill -9 $$"}, "early\n", "ended by signal 9"},
        {"more than a pipe holds", {"sh", "-c", "head -c 200000 /dev/zero | tr '\\0' x"}, std::string(200000, 'x'), ""},
    };
    for (const auto& c : cases) {
        const auto child = outputOf(c.command, 10s);
        EXPECT_EQ(child.text, c.output) << c.why;
        // Under QEMU's user emulation a child that cannot be started ends with 127, as one of a shell.
        EXPECT_TRUE(child.failure == c.failure || (!c.failure.empty() && child.failure == "exit status 127"))
            << c.why << ": " << child.failure;
    }
    EXPECT_EQ(sys::shellStatus("exit 3"), 3 << 8);
    const std::string tooLong(4 << 20, ' '); // for an argument of any process
    EXPECT_EQ(sys::shellStatus(tooLong.c_str()), 127 << 8) << "as if there were no shell";
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
}

TEST(ChildProcess, EndsACommandThatTakesTooLong) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(outputOf({"sh", "-c", "echo early; exec sleep 60"}, 200ms).text, "early\n");
    EXPECT_EQ(outputOf({"sh", "-c", "exec sleep 60"}, 200ms).failure, "not ended in time");
    EXPECT_EQ(outputOf({"sh", "-c", "exec >&-; exec sleep 60"}, 200ms).failure, "not ended in time")
        << "its output closed, it still runs";
    EXPECT_EQ(NHALDEN20::TOSSpecific::SpawnProcess("sh", {"-c", "exec sleep 60"}, 1), "") << "seconds";
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

namespace {

/// Whatever machine the test runs on.
struct machineWithDrives : sys::thisMachine {
    using thisMachine::thisMachine;
    bool hasOpticalTable() override { return true; }
};

} // namespace

TEST(ThisMachine, IsWatchedForWhatItCannotDo) {
    sys::virtualDeviceLists named;
    named[sys::virtualDisk] = {"/dev/sg1"};
    machineWithDrives real(named);
    sys::watchedMachine watched(real);
    const sys::machineInUse inUse(watched);
    using NHALDEN20::TOSSpecific;
    for (const char* path : {"no-such-file", "/etc/passwd/file", "/"})
        EXPECT_EQ(TOSSpecific::CaptureFile(path), "");
    TOSSpecific::SpawnProcess("sh", {"-c", "exit 2"}, 10);
    const int status = std::system("hwinfo() { kill -9 $$; }; hwinfo --usb > /dev/null");
    EXPECT_EQ(status, 9);
    EXPECT_EQ(watched.unread(), (strings{"the USB listing could not be read (/etc/passwd/file: Not a directory)",
                                         "the USB listing could not be read (/: Is a directory)",
                                         "the optical-drive table could not be read (sh -c exit 2: exit status 2)"}));
    strings names;
    TOSSpecific::getOrvexVirtualDevices(sys::virtualDisk, names, true);
    EXPECT_EQ(names, strings{"/dev/sg1"});
}
