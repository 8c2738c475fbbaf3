// The files that a run writes, and the working directory that it leaves.

#include "tests/program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <csignal>
#include <string>

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

using Files = Program;

} // namespace

TEST_F(Files, LeavesNothingBehindHoweverItEnds) {
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

TEST_F(Files, TouchesNoOtherFilesThanItsOwn) {
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

TEST_F(Files, WritesAFileWholeOrNotAtAll) {
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
