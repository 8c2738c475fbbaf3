// What the program shows on a terminal while it works.

#include "tests/program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>
#include <string>
#include <utility>

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

using Terminal = Program;

} // namespace

TEST_F(Terminal, ShowsOnATerminalWhatItDoes) {
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
