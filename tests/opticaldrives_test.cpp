#include "minihost/minihost.h"
#include "tests/simulatedmachine.h"

#include <algorithm>

namespace {

const strings optical{"KORVA_CDVDDevice"};

/// A table of 22 lines with the drives sr1 and sr0, of which sr0 can do everything.
std::string twoDrives() {
    return "CD-ROM information, Id: cdrom.c 3.20 2003/12/17\n\n"
           "drive name:\t\tsr1\tsr0\n"
           "Can write CD-RW:\t0\t1\nCan write CD-R:\t\t0\t2\nCan read DVD:\t\t0\t3\n"
           "Can write DVD-RAM:\t0\t4\nCan write DVD-R:\t0\t5\n" +
           std::string(14, '\n');
}

void replace(std::string& text, const std::string& old, const std::string& with) {
    text.replace(text.find(old), old.size(), with);
}

} // namespace

TEST_F(Plugin, WritesOneInstanceForEachOpticalDrive) {
    machine().name = "rack-07";
    machine().opticalTable = twoDrives();
    const auto drives = query(optical);
    ASSERT_EQ(drives.size(), 2U);
    EXPECT_EQ(each(drives, "DeviceID"), (strings{"/dev/sr1", "/dev/sr0"}));
    EXPECT_EQ(drives[1], (properties{{"class", "KORVA_CDVDDevice"},
                                     {"CreationClassName", "KORVA_CDVDDevice"},
                                     {"Name", "sr0"},
                                     {"DeviceID", "/dev/sr0"},
                                     {"ElementName", "/dev/sr0"},
                                     {"ProductID", "/dev/sr0"},
                                     {"DvdRRead", "3"},
                                     {"DvdRomRead", "3"},
                                     {"DvdRamRead", "3"},
                                     {"CdRwRead", "1"},
                                     {"CdRRead", "1"},
                                     {"DvdRamWrite", "4"},
                                     {"DvdRWrite", "5"},
                                     {"CdRWrite", "2"},
                                     {"CdRwWrite", "1"},
                                     {"SystemCreationClassName", "KORVA_ComputerSystem"},
                                     {"SystemName", "rack-07"},
                                     {"Caption", "Optical Drive"}}));
    EXPECT_EQ(drives[0].at("DvdRomRead"), "0");
    EXPECT_EQ(drives[0].at("CdRwRead"), "1") << "reading CDs is not in the table";

    machine().opticalTable = "gone";
    EXPECT_EQ(query(optical).size(), 2U) << "the table is read once";
}

TEST_F(Plugin, TakesOddTablesAsTheyCome) {
    const struct {
        const char* why;
        void (*change)(std::string&);
        strings drives, readsDvd, log;
    } cases[] = {
        {"names with directories",
         [](std::string& t) { replace(t, "sr1", "x/scd0"); },
         {"/dev/scd0", "/dev/sr0"},
         {"0", "3"},
         {}},
        {"a missing line",
         [](std::string& t) { replace(t, "read DVD", "lead"); },
         {"/dev/sr1", "/dev/sr0"},
         {"0", "0"},
         {}},
        {"a missing column",
         [](std::string& t) { replace(t, "\t\t0\t3", "\t\t7"); },
         {"/dev/sr1", "/dev/sr0"},
         {"7", "0"},
         {}},
        {"no number, said once for three properties",
         [](std::string& t) { replace(t, "\t\t0\t3", "\t\tx\t-1"); },
         {"/dev/sr1", "/dev/sr0"},
         {"0", "65535"},
         {"1 Parse error in cdromInfo...", "1 x"}},
        {"no drives", [](std::string& t) { replace(t, "\t\tsr1\tsr0", ""); }, {}, {}, {}},
        {"no name line", [](std::string& t) { replace(t, "drive name", "device"); }, {}, {}, {}},
        {"19 lines and the last, failed read",
         [](std::string& t) { t.resize(t.size() - 3); },
         {"/dev/sr1", "/dev/sr0"},
         {"0", "3"},
         {}},
        {"one line less", [](std::string& t) { t.resize(t.size() - 4); }, {}, {}, {}},
        {"18 lines and a half", [](std::string& t) { t.replace(t.size() - 4, 4, "x"); }, {}, {}, {}},
        {"19 lines and a half",
         [](std::string& t) { t.replace(t.size() - 3, 3, "x"); },
         {"/dev/sr1", "/dev/sr0"},
         {"0", "3"},
         {}},
        {"the longest line",
         [](std::string& t) { replace(t, "CD-ROM", std::string(255 - 41, 'x')); },
         {"/dev/sr1", "/dev/sr0"},
         {"0", "3"},
         {}},
        {"a longer line ends the reading",
         [](std::string& t) { replace(t, "CD-ROM", std::string(256 - 41, 'x')); },
         {},
         {},
         {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        plugin_ = std::make_unique<TScsidevPluginCallbacks>();
        machine().opticalTable = twoDrives();
        c.change(*machine().opticalTable);
        takeLog();
        const auto drives = query(optical);
        EXPECT_EQ(each(drives, "DeviceID"), c.drives);
        EXPECT_EQ(each(drives, "DvdRomRead"), c.readsDvd);
        const strings log = takeLog();
        EXPECT_EQ(strings(log.begin() + 3, log.end()), c.log);
    }
}

TEST_F(Plugin, LeavesOutVirtualOpticalDrives) {
    machine().opticalTable = twoDrives();
    minihost::setVirtualDevices(1, {"the drive sr01"});
    plugin_->Init();
    EXPECT_EQ(each(query(optical), "Name"), strings{"sr1"});
    EXPECT_EQ(takeLog().back(), "3 TScsidevPluginCallbacks::IterateCDromdrives : Ignoring Virtual Device sr0");
}

TEST_F(Plugin, PassesOverTheTableForEachClassUntilAnotherOne) {
    machine().opticalTable = twoDrives();
    EXPECT_EQ(query({"KORVA_CDVDDevice", "KORVA_CDVDDevice"}).size(), 4U);
    EXPECT_EQ(query({"KORVA_CDVDDevice", "KORVA_ATADevice", "KORVA_CDVDDevice"}).size(), 2U);
}
