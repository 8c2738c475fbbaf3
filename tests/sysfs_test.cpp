#include "inventory/sysfs.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

TEST(Sysfs, TellsWhatTheKernelCallsADevice) {
    using texts = std::vector<std::string>;
    const std::string zero(1, '\0');
    const struct {
        const char* why;
        std::string node;
        texts directories; ///< of sg7
        std::string wwid, wwidTold;
        texts namesTold;
    } cases[] = {
        {"a disk", "/dev/sg7", {"block/sda"}, "naa.5000c500\n", "naa.5000c500", {"sda"}},
        {"a tape drive in all its modes",
         "/dev/sg7",
         {"scsi_tape/nst10", "scsi_tape/st10", "scsi_tape/st10a", "scsi_tape/st"},
         "",
         "",
         {"st10"}},
        {"a changer that is a disk too", "/dev/sg7", {"scsi_changer/sch0", "block/sdb"}, "\n", "", {"sch0", "sdb"}},
        {"odd bytes",
         "/dev/sg7",
         {"block/\x1b[2J\xff"},
         "t10." + zero + "\xff \n b \n",
         "t10." + zero + "\xff \n b",
         {"\x1b[2J\xff"}},
        {"a file longer than any", "/dev/sg7", {"enclosure/x"}, std::string(5000, 'w'), std::string(4096, 'w'), {}},
        {"another path", "/dev/sg7/../sg7", {"block/sda"}, "naa.1\n", "", {}},
        {"a letter", "/dev/sga", {"block/sda"}, "naa.1\n", "", {}},
        {"a node that the kernel does not know", "/dev/sg70", {"block/sda"}, "naa.1\n", "", {}},
    };
    const fs::path root = testing::TempDir() + "scsidev-sysfs";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        fs::remove_all(root);
        for (const auto& directory : c.directories)
            fs::create_directories(root / "sg7/device" / directory);
        std::ofstream(root / "sg7/device/wwid") << c.wwid;
        const auto known = inventory::readKernelNames(c.node, true, root.string() + '/');
        EXPECT_EQ(known.names, c.namesTold);
        EXPECT_EQ(known.wwid, c.wwidTold);
    }
    fs::remove_all(root);
    EXPECT_TRUE(inventory::readKernelNames("/dev/sg7", true, root.string() + '/').empty());
}
