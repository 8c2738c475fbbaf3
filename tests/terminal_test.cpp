// What the program shows on a terminal while it works.

#include "tests/program.h"

#include <csignal>
#include <ctime>

using Terminal = Program;

TEST_F(Terminal, ShowsTheNewestStepBelowTheLog) {
    const std::string command = "% KORVA_SCSITapeDrive --log-level 3" + onRackServer;
    runOnTerminal("stty cols 10; " + command, "", 0);
    if (IsSkipped())
        return;
    EXPECT_THAT(output, HasSubstr("\r\x1b[Kloading t\r")) << "a column stays free, or the line would wrap";
    EXPECT_THAT(output, HasSubstr("\r\x1b[K[3] ")) << "erased before a log line";
    EXPECT_THAT(output, Not(HasSubstr("\n\r\x1b[K[3] "))) << "drawn again below it";
    EXPECT_THAT(output, HasSubstr("\r\x1b[KSCSI tape drives (KORVA_SCSITapeDrive): 2\r\n")) << "gone before the result";
}

TEST_F(Terminal, ASignalEndsTheRunWhateverItWaitsFor) {
    const struct {
        const char *tool, *step;
        int signal, result;
        const char* end;
    } cases[] = {
        {"hwinfo", "looking for virtual USB media", SIGINT, SIGINT, "\r\x1b[K"},
        {"modprobe", "loading the sg driver", SIGINT, SIGINT, "\r\x1b[K"},
        // The terminal is stopped and takes nothing.
        {"modprobe", "loading the sg driver", SIGTERM, SIGTERM, "loading the sg driver"},
        {"modprobe", "loading the sg driver", SIGXCPU, 1 << 8, "loading the sg driver"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tool + std::string(" and signal ") + std::to_string(c.signal));
        const std::time_t begin = std::time(nullptr);
        runOnTerminal(withTool(c.tool, "exec sleep 30") + "% KORVA_SCSIDevice", c.step, c.result, c.signal);
        if (IsSkipped())
            return;
        EXPECT_THAT(output, EndsWith(c.end));
        EXPECT_LT(std::time(nullptr) - begin, 20) << "the tool is ended too";
        run("rm ../bin/*");
    }
}

TEST_F(Terminal, AToolThatReadsIsNotStopped) {
    const std::string reads = withTool("modprobe", "timeout 5 sh -c 'read line'; test $? != 124");
    runOnTerminal(reads + "(% KORVA_SCSITapeDrive); true", "", 0);
    EXPECT_THAT(output, Not(HasSubstr("the sg driver could not be loaded")));
}
