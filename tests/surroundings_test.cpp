// What a run inherits, and the processes that it starts.

#include "tests/program.h"

#include <csignal>

using Surroundings = Program;

TEST_F(Surroundings, ASignalEndsWithTheRunWhatItHasStarted) {
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

TEST_F(Surroundings, DoesNotDependOnWhatItInherits) {
    // A parent that does not wait for its children: their exit statuses would be lost.
    run(withTool("modprobe", "") + "perl -e '$SIG{CHLD} = q(IGNORE); exec @ARGV' % --log-level 0 KORVA_SCSIDevice");
    EXPECT_THAT(errors, Not(HasSubstr("sg module is not loaded correctly")));

    const std::string odd = "d='../a b:c'; mkdir \"$d\" && cp " + program + ' ' + plugin + " \"$d\" && ";
    run(odd + "\"$d\"/scsidev-inventory --format json" + onRackServer);
    EXPECT_EQ(output, contentOf(expected + "rack-server.json")) << "from a path with blanks and colons";
    run("cat " + machines + "rack-server.json | % --format json --machine /dev/stdin");
    EXPECT_EQ(output, contentOf(expected + "rack-server.json")) << "a machine file that can be read only once";

    run(withTool("modprobe", "") + withTool("hwinfo", R"(printf 'Device: usb 0x4012 "V\377"\n')") +
            "LC_ALL=C.UTF-8 % --record ../recording KORVA_SCSIDevice",
        anyInventory);
    run("cat ../recording");
    EXPECT_THAT(output, HasSubstr(R"(V\u00ff)")) << "a line that is no UTF-8 is found in any locale";

    run("PATH=/nonexistent % --format json" + onRackServer);
    EXPECT_EQ(output, contentOf(expected + "rack-server.json")) << "a simulated machine needs no tools";
}
