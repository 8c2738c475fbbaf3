#include "tests/simulatedmachine.h"

#include <stdexcept>

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string gettingSg = "3 Getting sg devices...", gettingHd = "3 Getting hd devices...",
                  gettingOptical = "3 Getting optical devices...";

} // namespace

TEST_F(Plugin, WithoutAnyClassDoesNothing) {
    EXPECT_EQ(query({}).size(), 0U);
    EXPECT_EQ(calls(), strings());
    EXPECT_EQ(takeLog(), strings());
}

TEST_F(Plugin, SkipsTheScsiNodesWithoutTheirDriver) {
    sgNode("/dev/sg0", inquiry(13, "ACME", "X"));
    EXPECT_EQ(query({"KORVA_SCSIDevice"}).size(), 1U);
    EXPECT_EQ(calls()[0], "system modprobe sg >/dev/null 2>&1");
    takeLog();
    machine().modprobe = 1;
    EXPECT_EQ(query({"KORVA_SCSIDevice"}).size(), 0U);
    EXPECT_EQ(takeLog(), (strings{"0 sg module is not loaded correctly", gettingHd, gettingOptical}));
}

TEST_F(Plugin, AnAllBlankProductEndsTheWalkAndLeavesRecordsForTheNextQuery) {
    sgNode("/dev/sg0", inquiry(13, "ACME", "FIRST"));
    sgNode("/dev/sg1", inquiry(0, "ACME", " \t "));
    sgNode("/dev/sg2", inquiry(13, "ACME", "THIRD"));
    EXPECT_EQ(query({"KORVA_SCSIDevice"}).size(), 0U);
    const strings log = takeLog();
    EXPECT_THAT(log.back(), HasSubstr("0 basic_string::substr"));
    EXPECT_THAT(log, Not(Contains(gettingHd)));

    machine().nodes.erase("/dev/sg0");
    machine().nodes.erase("/dev/sg1");
    EXPECT_EQ(each(query({"KORVA_SCSIDevice"}), "ProductID"), (strings{"FIRST", "THIRD"}));
}

TEST_F(Plugin, AsksForFirmwareOnlyWhenBothEndsAreThere) {
    sgNode("/dev/sg0", inquiry(13, "ACME", "X"));
    EXPECT_EQ(query({"KORVA_SysBusDeviceFirmware"}).size(), 0U);
    query({"KORVA_SCSIDevice"});
    const std::size_t before = calls().size();
    takeLog();
    EXPECT_EQ(query({"KORVA_SysBusDeviceFirmware"}).size(), 0U);
    EXPECT_EQ(calls().size(), before) << "not even the driver is loaded";
    EXPECT_EQ(takeLog(), strings());

    query({"KORVA_SysBusDeviceFirmwareElement"});
    takeLog();
    EXPECT_EQ(query({"KORVA_SysBusDeviceFirmware"}).size(), 1U);
    // Device lists grow from query to query: two reads of one device, one read of one element before this
    // one.
    EXPECT_THAT(takeLog(), Contains("3 Making association for /dev/sg0 0001 2 1"));
}

TEST_F(Plugin, TheFirstClassDecides) {
    sgNode("/dev/sg0", inquiry(13, "ACME", "X"));
    machine().opticalTable = "drive name:\tsr0\n" + std::string(20, '\n');
    EXPECT_EQ(each(query({"KORVA_SCSIDevice", "KORVA_CDVDDevice"}), "class"), strings{"KORVA_SCSIDevice"});
    EXPECT_EQ(each(query({"KORVA_CDVDDevice", "KORVA_SCSIDevice"}), "class"),
              (strings{"KORVA_CDVDDevice", "KORVA_SCSIDevice"}));
    EXPECT_EQ(takeLog().back(), "3 SCSI or ATA");
}
