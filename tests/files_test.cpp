// The files that a run writes, and the working directory that it leaves.

#include "tests/program.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>

namespace {

using Files = Program;

constexpr const char* accessList = "system.posix_acl_access";

std::string accessListOf(const std::string& path) {
    char bytes[200];
    const ssize_t size = ::getxattr(path.c_str(), accessList, bytes, sizeof bytes);
    return {bytes, size > 0 ? static_cast<std::size_t>(size) : 0};
}

} // namespace

TEST_F(Files, LeavesNothingBehindHoweverItEnds) {
    run("ODD_PLUGIN=terminate %" + oddPlugin, 128 + SIGTERM);
    run("export TMPDIR=.; ODD_PLUGIN=terminate %" + oddPlugin, 128 + SIGTERM);
    if (::geteuid() != 0) // who has a group of one
        run("chgrp $(id -g) .; chmod 770 .; %" + onEmptyMachine);
    run("{ sleep 0.1; % --format json; echo $? >&2; } | true");
    EXPECT_THAT(errors, AllOf(EndsWith("\n1\n"), Not(HasSubstr("written")))) << "whoever ends a pipe knows it";
    run("{ % --log-level 3" + onRackServer + "2>&1 >/dev/null; } | head -n 1");
    EXPECT_THAT(output, HasSubstr("[3] hwinfo"));
    for (const char* arguments : {"", "--version"}) {
        run("(ulimit -f 0; % " + std::string(arguments) + " >../large; echo $? >&2) 2>&1 | cat");
        EXPECT_THAT(output, EndsWith(": File too large\n1\n"));
    }
}

TEST_F(Files, WithoutRoomForTheUsbListingTheRestIsShown) {
    run("(ulimit -f 0; %" + onRackServer + "2>&1; echo $?) | cat");
    EXPECT_THAT(output, AllOf(HasSubstr("\nsg6  sr1    "), HasSubstr("\nthe USB listing could not be read: "),
                              EndsWith("\n3\n")));
}

TEST_F(Files, TouchesNoOtherFilesThanItsOwn) {
    const struct {
        const char *why, *modprobe, *remark;
    } cases[] = {
        {"a link to another directory in its place", "d=$PWD; mv $d ../moved; ln -s ../victim $d",
         " is not removed: Not a directory\n"},
        {"another directory in its place", "d=$PWD; mv $d ../../moved; mkdir $d", " is not removed: No such file or"},
        {"a file of another's", "touch core", " is not removed: Directory not empty\n"},
    };
    run("mkdir ../victim && touch ../victim/infousb.txt ../victim/file");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        run(withTool("modprobe", c.modprobe) +
            "% KORVA_SCSIDevice; ls -d scsidev-*; rm -rf scsidev-* moved; ls ../victim");
        EXPECT_THAT(output, AllOf(HasSubstr("scsidev-inventory-"), EndsWith("\nfile\ninfousb.txt\n")));
        EXPECT_THAT(errors, HasSubstr(c.remark));
    }
}

TEST_F(Files, WritesAFileWholeOrNotAtAll) {
    const std::string json = "% --format json --output ../results/new.json" + onRackServer;
    run("mkdir ../results; umask 027; " + json +
        "--record ../results/a; stat -c '%a %n' ../results/*; rm ../results/a");
    EXPECT_EQ(output, "600 ../results/a\n640 ../results/new.json\n");
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

TEST_F(Files, SomeNamesAreStandardOutput) {
    for (const char* name : {"-", "/dev/stdout", "/dev/fd/1", "/dev/null"}) {
        run(std::string("% --format json --output ") + name + onRackServer + "; test -c /dev/null; ls -A");
        EXPECT_EQ(output, name == std::string("/dev/null") ? "" : contentOf(expected + "rack-server.json")) << name;
    }
}

TEST_F(Files, AnAccessControlListStays) {
    // In the kernel's form: tag, permissions and id of each entry. User 1 may read, the group may not.
    const std::string list("\2\0\0\0\x01\0\6\0\xff\xff\xff\xff\x02\0\4\0\1\0\0\0\x04\0\0\0\xff\xff\xff\xff"
                           "\x10\0\4\0\xff\xff\xff\xff\x20\0\0\0\xff\xff\xff\xff",
                           44);
    run("mkdir ../results");
    const std::string listed = fileWith("", "results/listed"), plain = fileWith("", "results/plain");
    if (::setxattr(listed.c_str(), accessList, list.data(), list.size(), 0) != 0)
        GTEST_SKIP() << "skipped: the file system has no access control lists: whether they stay is not seen";
    const std::string directory = listed.substr(0, listed.rfind('/'));
    ::setxattr(directory.c_str(), "system.posix_acl_default", list.data(), list.size(), 0);
    run("% --schema --output " + listed);
    EXPECT_EQ(accessListOf(listed), list);
    run("% --schema --output " + plain);
    EXPECT_EQ(accessListOf(plain), "") << "nor is there a new one, by the directory's default";
}

TEST_F(Files, WhereAGroupCannotStayNobodyElseGainsAccess) {
    const std::pair<const char*, const char*> cases[] = {
        {"1:2 ../f; chmod 640", "640 2\n"}, // a group of the user's
        {"1:3 ../f; chmod 664", "644 0\n"},
        {"1:3 ../f; chmod 660", "600 0\n"},
        {"1:3 ../f; chmod 604", "600 0\n"}, // whose members would be among the others
    };
    if (::geteuid() != 0)
        GTEST_SKIP() << "skipped: not root, no file can be given to other groups: what becomes of them is not seen";
    for (const auto& [before, after] : cases) {
        SCOPED_TRACE(before);
        run("touch ../f; chown " + std::string(before) +
            " ../f; setpriv --bounding-set -chown --groups 2 % --schema --output ../f; stat -c '%a %g' ../f; rm ../f");
        EXPECT_EQ(output, after);
    }
}
