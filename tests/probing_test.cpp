#include "minihost/minihost.h"
#include "tests/simulatedmachine.h"

#include <cerrno>

using simulator::addressAnswer;
using simulator::numberAnswer;
using simulator::scsiAnswer;

namespace {

const strings scsiDevices{"KORVA_SCSIDevice"};

/// The log of one query for SCSI devices behind "Getting sg devices..." and up to "Getting hd devices...".
strings sgPart(const strings& log) {
    const auto begin = std::find(log.begin(), log.end(), "3 Getting sg devices...");
    const auto end = std::find(log.begin(), log.end(), "3 Getting hd devices...");
    return {begin + 1, end};
}

scsiAnswer withData(simulator::bytes data) {
    scsiAnswer answer;
    answer.data = std::move(data);
    return answer;
}

} // namespace

TEST_F(Plugin, ProbesADiskWithThePrescribedCalls) {
    simulator::node& disk = sgNode("/dev/sg0", inquiry(0, "ACME", "ROADRUNNER 4000", "1.02"));
    disk.address = addressAnswer{2, 1, 3, 4, 0, 0};
    disk.serialPage = serialPage("  SN-0001");
    const auto found = query(scsiDevices);
    EXPECT_EQ(strings(calls().begin() + 1, calls().begin() + 9),
              (strings{"open /dev/sg0", "ioctl /dev/sg0 SG_GET_VERSION_NUM",
                       "ioctl /dev/sg0 SG_IO 12 00 00 00 24 00 length 36", "ioctl /dev/sg0 SG_GET_SCSI_ID",
                       "ioctl /dev/sg0 SG_GET_VERSION_NUM", "ioctl /dev/sg0 SG_EMULATED_HOST",
                       "ioctl /dev/sg0 SG_IO 12 01 80 00 ff 00 length 36", "close /dev/sg0"}));
    EXPECT_EQ(calls().size(), 1U + 8 + 31 * 2 + 32 * 2) << "absent nodes are opened by two names and no more";
    EXPECT_EQ(calls().back(), "open /dev/hd\x80") << "index 31 is the last; letters run past z";
    EXPECT_EQ(
        sgPart(takeLog()),
        (strings{"3 SCSI Inquiry returned good...", "3 Vendor: ACME\nProduct: ROADRUNNER 4000\nFirmware Level: 1.02\n",
                 "3 Get SCSI ID passed...", "3 Trying serial number...", "3 Serial Number:   SN-0001"}));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].at("OtherIdentifyingInfo"), "{Port:2|Target:3|Bus:1|Lun:4}");
    EXPECT_EQ(found[0].at("serialNum"), "  SN-0001");
}

TEST_F(Plugin, TakesTextsAsTheDeviceSendsThem) {
    const std::string nul(1, '\0');
    const struct {
        const char* why;
        scsiAnswer answer;
        std::string vendor, product, type;
    } cases[] = {
        {"outer blanks and tabs go", inquiry(13, " \tACME\t ", "\t A  B \t"), "ACME", "A  B", "Enclosure Device"},
        {"a text of blanks stays", inquiry(13, "ACME", "\t"), "ACME", "\t" + std::string(15, ' '), "Enclosure Device"},
        {"no product: the vendor", inquiry(13, "ACME", nul), "ACME", "ACME", "Enclosure Device"},
        {"a text ends at its zero byte", inquiry(13, "AC" + nul + "ME", "X" + nul + "Y"), "AC", "X",
         "Enclosure Device"},
        {"any byte may stand in it", inquiry(13, "\xff\x1b[2J", "\x01\"\\"), "\xff\x1b[2J", "\x01\"\\",
         "Enclosure Device"},
        {"four bits are the type", inquiry(0x31, "ACME", "X"), "ACME", "X", "Sequential Access Device"},
        {"qualifier bits make it no disk", inquiry(0x20, "ACME", std::string(16, ' ')), "ACME", std::string(16, ' '),
         "Direct Access Device"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        sgNode("/dev/sg3", c.answer);
        const auto found = query(scsiDevices);
        EXPECT_THAT(sgPart(takeLog()), testing::Not(testing::Contains("3 Trying serial number...")));
        ASSERT_EQ(found.size(), 1U);
        EXPECT_EQ(found[0].at("VendorID"), c.vendor);
        EXPECT_EQ(found[0].at("ProductID"), c.product);
        EXPECT_EQ(found[0].at("DeviceType"), c.type);
        EXPECT_EQ(found[0].at("OtherIdentifyingInfo"), "{/dev/sg3}") << "the address is not known";
    }
}

TEST_F(Plugin, AShortAnswerEndsWhereItEnds) {
    sgNode("/dev/sg0", withData({13, 0, 5, 2, 3, 0, 0, 0, 'A', 'C', 'M', 'E'}));
    EXPECT_EQ(each(query(scsiDevices), "ProductID"), strings{"ACME"});
}

TEST_F(Plugin, CutsAddressesTo16Bits) {
    sgNode("/dev/sg0", inquiry(8, "ACME", "CHANGER")).address = addressAnswer{65537, 65538, -1, 65540, 8, 0};
    const auto found = query(scsiDevices);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].at("OtherIdentifyingInfo"), "{Port:1|Target:65535|Bus:2|Lun:4}");
    EXPECT_EQ(found[0].at("TargetID"), "65535");
}

TEST_F(Plugin, NeverBelievesTheSerialNumberPage) {
    const std::string longest(32, 'S');
    const struct {
        const char* why;
        scsiAnswer page;
        std::string serial, log;
    } cases[] = {
        {"all that 36 bytes hold", serialPage(longest), longest, "3 Serial Number: " + longest},
        {"a length that lies", serialPage(longest + 'X'), "", "3 Size pointer is too large"},
        {"text up to its zero byte", serialPage(std::string("AB\0CD", 5)), "AB", "3 Serial Number: AB"},
        {"no text", serialPage(""), "", "3 Serial Number: "},
        {"no page", check(5, 0x24, 0), "", "3 SG Driver status=8"},
        {"a short page shows what INQUIRY left", withData({0, 0x80, 0, 12}), "\x1f", "3 Serial Number: \x1f"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        sgNode("/dev/sg0", inquiry(1, "ACME", "TAPE")).serialPage = c.page;
        EXPECT_EQ(each(query(scsiDevices), "serialNum"), strings{c.serial});
        EXPECT_EQ(sgPart(takeLog()).back(), c.log);
    }
}

TEST_F(Plugin, LeavesOutVirtualMedia) {
    machine().usbListing = "  Device: usb 0x4012 \"VMEDIA\"\n";
    minihost::setVirtualDevices(0, {"other", "the disk /dev/sg4"});
    plugin_->Init();
    const struct {
        const char* why;
        const char* path;
        unsigned char type;
        const char* product;
        bool stored;
    } cases[] = {
        {"a disk in the USB listing", "/dev/sg1", 0, "VMEDIA", false},
        {"a tape in the USB listing", "/dev/sg1", 1, "VMEDIA", true},
        {"an optical drive in the USB listing", "/dev/sg1", 5, "VMEDIA", false},
        {"an enclosure in the USB listing", "/dev/sg1", 13, "VMEDIA", true},
        {"a disk with a longer name", "/dev/sg1", 0, "VMEDIA 2", true},
        {"a disk in the controller's list", "/dev/sg4", 0, "X", false},
        {"a tape in the controller's list", "/dev/sg4", 1, "VMEDIA", false},
        {"an optical drive in the controller's list", "/dev/sg4", 5, "X", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        machine().nodes.clear();
        sgNode(c.path, inquiry(c.type, "ACME", c.product));
        takeLog();
        EXPECT_EQ(query(scsiDevices).size(), c.stored ? 1U : 0U);
        const bool listed = std::string(c.path) == "/dev/sg4" && c.type < 2;
        EXPECT_EQ(testing::Matches(testing::Contains(
                      "3 TScsidevPluginCallbacks::collectData : Ignoring Virtual Device /dev/sg4"))(takeLog()),
                  listed);
    }
}

TEST_F(Plugin, AsksAnAtaDiskBehindAScsiNodeAgain) {
    simulator::node& disk = sgNode("/dev/sg2", inquiry(0, "ATA", "SHORT NAME", "2.1"));
    disk.emulated = numberAnswer{1, 0};
    disk.address = addressAnswer{1, 0, 0, 0, 0, 0};
    simulator::node& block = at("/dev/sdc");
    const struct {
        const char *model, *vendor, *product;
    } cases[] = {
        {"ACME ROADRUNNER-480 PRO", "ACME", "ROADRUNNER-480"},
        {" ACME\tROADRUNNER", "ACME", "ROADRUNNER"},
        {"ACME", "ACME", "SHORT NAME"},
        {"", "ATA", "SHORT NAME"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        block.identify = identify(c.model, "SER 7", "FWREV01X");
        const auto found = query(scsiDevices);
        ASSERT_EQ(found.size(), 1U) << "the second record replaces the first";
        EXPECT_EQ(found[0].at("VendorID"), c.vendor);
        EXPECT_EQ(found[0].at("ProductID"), c.product);
        EXPECT_EQ(found[0].at("Revision"), "FWREV01X");
        EXPECT_EQ(found[0].at("serialNum"), "SER 7               ");
        EXPECT_EQ(found[0].at("DeviceID"), "/dev/sg2");
        EXPECT_EQ(found[0].at("OtherIdentifyingInfo"), "{Port:1|Target:0|Bus:0|Lun:0}");
        EXPECT_EQ(found[0].at("Model").size(), 23U);
    }
    const strings log = sgPart(takeLog());
    EXPECT_EQ(strings(log.begin() + 3, log.begin() + 9),
              (strings{"3 Trying serial number...", "3 Device is emulated scsi", "3 Scsi:ATA Inquiry started",
                       "3 Ata Inquiry returned good...", "3 ACME ROADRUNNER-480 PRO                 ",
                       "3 SER 7               "}));
    EXPECT_THAT(calls(), testing::IsSupersetOf({"close /dev/sg2", "open /dev/sd2", "open /dev/sdc"}));

    block.identify = simulator::driveAnswer{EIO, {}};
    EXPECT_EQ(each(query(scsiDevices), "VendorID"), strings{"ATA"}) << "a failed IDENTIFY leaves the first record";
    machine().nodes.erase("/dev/sdc");
    EXPECT_EQ(each(query(scsiDevices), "VendorID"), strings{"ATA"});
    EXPECT_THAT(calls(), testing::Contains("ioctl closed HDIO_DRIVE_CMD ec 00 00 01"));
}

TEST_F(Plugin, StoresAnExcludedAtaDiskWhenItIdentifiesItself) {
    machine().usbListing = "\"VMEDIA\"";
    plugin_->Init();
    sgNode("/dev/sg0", inquiry(0, "SATACO", "VMEDIA"));
    EXPECT_EQ(query(scsiDevices).size(), 0U);
    at("/dev/sda").identify = identify("ACME DISK");
    EXPECT_EQ(each(query(scsiDevices), "ProductID"), strings{"DISK"}) << "ATA anywhere in the vendor counts";
}

TEST_F(Plugin, IdentifiesIdeNodesByAtaAlone) {
    simulator::node& disk = sgNode("/dev/hda", inquiry(0, "IGNORED", "IGNORED"));
    disk.identify = identify("PEBBLEWORKS CF-8G", "S", "F");
    at("/dev/hdb").opticalCapability = numberAnswer{7, 0};
    at("/dev/hdb").identify = identify("OPTICAL DRIVE");
    at("/dev/hdc").identify = simulator::driveAnswer{EIO, {}};
    const auto found = query({"KORVA_ATADevice"});
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].at("VendorID"), "PEBBLEWORKS");
    EXPECT_EQ(found[0].at("DeviceType"), "");
    EXPECT_EQ(found[0].at("OtherIdentifyingInfo"), "{/dev/hda}");
    EXPECT_EQ(query(scsiDevices).size(), 0U);
    EXPECT_THAT(calls(), testing::Contains("ioctl /dev/hda SG_IO 12 00 00 00 24 00 length 36").Times(2))
        << "the INQUIRY is sent nevertheless";
    EXPECT_THAT(takeLog(), testing::Not(testing::Contains("3 SCSI Inquiry returned good...")));
}

TEST_F(Plugin, ANodeThatFailsDoesNotEndTheWalk) {
    at("/dev/sg0").open = numberAnswer{0, EACCES};
    sgNode("/dev/sg1", check(5, 0x25, 0));
    sgNode("/dev/sg2", withData(simulator::bytes(36, 0))).identify = identify("NAMELESS BUT ATA");
    at("/dev/sg3");
    sgNode("/dev/sg31", inquiry(13, "ACME", "LAST"));
    sgNode("/dev/sg32", inquiry(13, "ACME", "BEYOND"));
    const auto found = query(scsiDevices);
    EXPECT_EQ(each(found, "DeviceID"), (strings{"/dev/sg2", "/dev/sg31"}));
    EXPECT_EQ(each(found, "OtherIdentifyingInfo")[0], "{/dev/sg2}");
}
