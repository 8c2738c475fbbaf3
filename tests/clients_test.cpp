// The preload library: other programs on a simulated machine.

#include "tests/program.h"

#include <cstdlib>

using Clients = Program;

TEST_F(Clients, IndependentClientsSeeTheSimulatedMachine) {
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

TEST_F(Clients, ClientsOfEveryBuildSeeTheSimulatedMachine) {
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
