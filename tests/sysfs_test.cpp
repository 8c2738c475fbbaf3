#include "system/sysfs.h"

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
        texts entries; ///< below the device of sg7
        std::string wwid, wwidTold;
        texts namesTold;
    } cases[] = {
        {"a disk with a partition",
         "/dev/sg7",
         {"block/sda", "block/sda/sda1"},
         "naa.5000c500\n",
         "naa.5000c500",
         {"sda"}},
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
    const auto tell = [&root](const std::string& node) {
        return sys::readKernelWords({node}, sys::kernelDetail::all, (root / "scsi_generic/").string())[node];
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        fs::remove_all(root);
        const fs::path device = root / "scsi_generic/sg7/device";
        fs::create_directories(device);
        for (const auto& entry : c.entries)
            fs::create_directories(device / entry);
        std::ofstream(device / "wwid") << c.wwid;
        const auto known = tell(c.node);
        EXPECT_EQ(known.names, c.namesTold);
        EXPECT_EQ(known.wwid, c.wwidTold);
    }
    fs::remove_all(root);
    EXPECT_TRUE(tell("/dev/sg7").empty());
}
