// The system calls of a probe. What the answers come to stands in tests/expected/, odd ones in machines/oddities.json.

#include "tests/simulatedmachine.h"

#include <algorithm>

TEST_F(Plugin, ProbesADiskWithThePrescribedCalls) {
    sys::node& disk = sgNode("/dev/sg0", inquiry(0, "ACME", "ROADRUNNER"));
    disk.address = sys::addressAnswer{0x10200, 0x10300, 0x10400, 0x10100, 0, 0};
    disk.serialPage = serialPage("SN-0001");
    EXPECT_THAT(each(query({scsi}), "OtherIdentifyingInfo"),
                testing::ElementsAre(testing::HasSubstr("Port:512|Target:1024|Bus:768|Lun:256")))
        << "16 bits are kept";
    EXPECT_EQ(strings(calls().begin(), calls().begin() + 9),
              (strings{"system modprobe sg >/dev/null 2>&1", "open /dev/sg0", "ioctl /dev/sg0 SG_GET_VERSION_NUM",
                       "ioctl /dev/sg0 SG_IO 120000002400 length 36", "ioctl /dev/sg0 SG_GET_SCSI_ID",
                       "ioctl /dev/sg0 SG_GET_VERSION_NUM", "ioctl /dev/sg0 SG_EMULATED_HOST",
                       "ioctl /dev/sg0 SG_IO 12018000ff00 length 36", "close /dev/sg0"}));
    EXPECT_EQ(calls().size(), 1U + 8 + 31 * 2 + 32 * 2) << "absent nodes are opened by two names and no more";
    EXPECT_EQ(calls().back(), "open /dev/hd\x80") << "index 31 is the last; letters run past z";
}

TEST_F(Plugin, AsksTheDiskNodeBehindAnAtaDisk) {
    sgNode("/dev/sg2", inquiry(0, "ATA", "DISK")).emulated = sys::numberAnswer{1, 0};
    query({scsi});
    const auto next = std::find(calls().begin(), calls().end(), "close /dev/sg2");
    ASSERT_GE(calls().end() - next, 5);
    EXPECT_EQ(strings(next, next + 5),
              (strings{"close /dev/sg2", "open /dev/sd2", "open /dev/sdc", "ioctl closed CDROM_GET_CAPABILITY",
                       "ioctl closed HDIO_DRIVE_CMD ec000001"}))
        << "without that node the command goes nowhere";
}

TEST_F(Plugin, AsksAgainWhatNamesNoMaker) {
    sgNode("/dev/sg0", inquiry(0, std::string(1, '\0'), "ROADRUNNER"));
    EXPECT_EQ(query({scsi}).size(), 0U) << "a product alone is no identity";
    EXPECT_THAT(takeLog(), testing::Contains("3 Scsi:ATA Inquiry started"));
}
