#include "tests/simulatedmachine.h"

#include <algorithm>

using simulator::addressAnswer;

namespace {

const std::string scsi = "KORVA_SCSIDevice", tape = "KORVA_SCSITapeDrive", ata = "KORVA_ATADevice",
                  element = "KORVA_SysBusDeviceFirmwareElement", firmware = "KORVA_SysBusDeviceFirmware",
                  optical = "KORVA_CDVDDevice";

busDevice recordOf(unsigned short busType, const std::string& product, const std::string& deviceType) {
    busDevice record;
    record.initialize();
    record.devicePath = "/dev/" + product;
    record.product = product;
    record.deviceType = deviceType;
    record.busType = busType;
    return record;
}

} // namespace

TEST_F(Plugin, WritesTheSameSeventeenPropertiesOfEachDevice) {
    machine().name = "rack-07";
    simulator::node& drive = sgNode("/dev/sg5", inquiry(1, " ACME", "TAPE", "B35S"));
    drive.address = addressAnswer{4, 1, 5, 2, 1, 0};
    drive.serialPage = serialPage("SN1");
    query({tape});
    const auto& written = namespace_.instances().front()->properties();
    strings names;
    for (const auto& property : written)
        names.push_back(property.first);
    EXPECT_EQ(names, (strings{"CreationClassName", "SystemCreationClassName", "SystemName", "Caption", "Name",
                              "DeviceID", "ElementName", "ProductID", "VendorID", "Revision", "HostAdapterID",
                              "TargetID", "Bus", "Lun", "DeviceType", "serialNum", "Model", "OtherIdentifyingInfo"}));

    const properties inScsi{{"class", scsi},
                            {"CreationClassName", scsi},
                            {"SystemCreationClassName", "KORVA_ComputerSystem"},
                            {"SystemName", "rack-07"},
                            {"Caption", "ACME TAPE"},
                            {"Name", "/dev/sg5"},
                            {"DeviceID", "/dev/sg5"},
                            {"ElementName", "ACME TAPE"},
                            {"ProductID", "TAPE"},
                            {"VendorID", "ACME"},
                            {"Revision", "B35S"},
                            {"HostAdapterID", "4"},
                            {"TargetID", "5"},
                            {"Bus", "1"},
                            {"Lun", "2"},
                            {"DeviceType", "Sequential Access Device"},
                            {"serialNum", "SN1"},
                            {"Model", ""},
                            {"OtherIdentifyingInfo", "{Port:4|Target:5|Bus:1|Lun:2}"}};
    EXPECT_EQ(query({scsi, tape}), std::vector<properties>{inScsi}) << "the SCSI class is tried first";

    properties inTape = inScsi;
    inTape["class"] = inTape["CreationClassName"] = tape;
    inTape["Caption"] = " ACME   TAPE            B35S"; // the INQUIRY text as it came
    EXPECT_EQ(query({tape}), std::vector<properties>{inTape});
    EXPECT_EQ(query({tape, scsi})[0].at("class"), scsi);
}

TEST_F(Plugin, WritesAFirmwareElementForEachDevice) {
    sgNode("/dev/sg0", inquiry(0, "ACME", "DISK", "1.02")).address = addressAnswer{};
    at("/dev/hda").identify = identify("PEBBLEWORKS CF", "S", "CF1.06");
    const auto elements = query({element});
    ASSERT_EQ(elements.size(), 2U);
    EXPECT_EQ(elements[0], (properties{{"class", element},
                                       {"Version", "1.02"},
                                       {"Manufacturer", "ACME"},
                                       {"TargetOperatingSystem", "58"},
                                       {"SoftwareElementState", "2"},
                                       {"SoftwareElementId", "Port:0|Target:0|Bus:0|Lun:0"},
                                       {"Name", "SCSI Device"}}));
    EXPECT_EQ(elements[1].at("Name"), "ATA Device");
    EXPECT_EQ(elements[1].at("SoftwareElementId"), "/dev/hda");
    EXPECT_EQ(each(query({element, ata}), "class"), (strings{element, ata})) << "a device class that fits wins";

    busDevice strange = recordOf(7, "X", "");
    plugin_->StoreBusDevice(&strange);
    auto requested = classes({element});
    takeLog();
    plugin_->GetBusDevice(requested, ns());
    EXPECT_EQ(takeLog(), (strings{"3 FirmwareElement", "3 Unknown Apapter type for FirmwareElement: 7"}));
    EXPECT_EQ(static_cast<std::string>(*namespace_.instances().back()->find("Name")), "Unknown");
}

TEST_F(Plugin, ChoosesTheClassByBusRequestAndModel) {
    const std::string direct = "Direct Access Device", sequential = "Sequential Access Device";
    const struct {
        const char* why;
        unsigned short busType;
        const char* product;
        std::string type;
        strings requested;
        std::string writtenAs;
    } cases[] = {
        {"disk as SCSI device", 0, "DISK", direct, {scsi}, scsi},
        {"disk as tape", 0, "DISK", direct, {tape}, ""},
        {"tape as SCSI device", 0, "LTO", sequential, {scsi}, scsi},
        {"tape as tape", 0, "LTO", sequential, {tape}, tape},
        {"cartridge drive as SCSI device", 0, "MY RDX 3", direct, {scsi}, ""},
        {"cartridge drive as tape", 0, "GoVault", direct, {tape}, tape},
        {"cartridge drive, tape first, SCSI listed", 0, "RDX", direct, {tape, scsi}, scsi},
        {"cartridge drive behind another class", 0, "RDX", direct, {ata, scsi}, scsi},
        {"sequential cartridge drive, SCSI first", 0, "RDX", sequential, {scsi, tape}, ""},
        {"disk, tape first, SCSI listed", 0, "DISK", direct, {tape, scsi}, ""},
        {"SCSI disk as ATA device", 0, "DISK", direct, {ata}, ""},
        {"ATA disk as ATA device", 1, "DISK", "", {optical, ata}, ata},
        {"ATA disk under a tape request", 1, "DISK", "", {tape, ata}, ""},
        {"ATA disk as SCSI device", 1, "DISK", "", {scsi}, ""},
        {"neither bus", 2, "DISK", direct, {scsi, ata}, ""},
        {"element not first", 0, "DISK", direct, {ata, element}, ""},
        {"nothing requested", 0, "DISK", direct, {}, ""},
        {"association beats all", 0, "DISK", direct, {scsi, firmware}, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        busDevice record = recordOf(c.busType, c.product, c.type);
        plugin_->StoreBusDevice(&record);
        auto requested = classes(c.requested);
        const std::size_t before = namespace_.instances().size();
        plugin_->GetBusDevice(requested, ns());
        const auto& instances = namespace_.instances();
        EXPECT_EQ(instances.size() == before ? "" : instances.back()->declaration().name, c.writtenAs);
    }
}
