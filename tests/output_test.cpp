#include "inventory/columns.h"
#include "inventory/escape.h"
#include "inventory/tableoutput.h"
#include "simulator/codepoints.h"
#include "tests/simulatedmachine.h"

#include <sstream>

namespace {

std::string tableOf(const inventory::queryResult& query, bool allProperties = false) {
    std::ostringstream output;
    inventory::writeTable({"host", {query}}, {allProperties, 80}, output);
    return output.str();
}

} // namespace

TEST(Escape, LeavesOnlyPrintableAscii) {
    EXPECT_EQ(inventory::escaped("a\\b\n\t\x1b[2J\x7f\xff" + std::string(1, '\0') + "~ \"'"),
              "a\\\\b\\n\\t\\x1b[2J\\x7f\\xff\\x00~ \"'");
    EXPECT_EQ(simulator::bytesAsCodePoints("A\x80\xff"), "A\u0080\u00ff");
}

TEST(Columns, AreAsWideAsTheirLongestText) {
    inventory::columns rows({"Node", "Name"});
    rows.add({"/dev/sg10", ""});
    rows.add({"/dev/sg2", "\x1b[31m"});
    std::ostringstream output;
    rows.write(output, 80);
    EXPECT_EQ(output.str(), "  Node       Name\n  /dev/sg10  -\n  /dev/sg2   \\x1b[31m\n");
    output.str("");
    rows.write(output, 20);
    EXPECT_EQ(output.str(), " Node      Name\n /dev/sg10 -\n /dev/sg2  \\x1b[31m\n") << "narrower, never cut";
}

TEST_F(Plugin, TheTableShowsWhatAPersonLooksFor) {
    sgNode("/dev/sg4", inquiry(1, "ACME", "TAPE")).address = simulator::addressAnswer{1, 2, 3, 4, 1, 0};
    sgNode("/dev/sg5", inquiry(13, "ACME", "BOX"));
    machine().opticalTable = "drive name:\tsr0\nread DVD:\t0\nwrite CD-RW:\t1\n" + std::string(17, '\n');
    for (const char* name : {"KORVA_SCSIDevice", "KORVA_CDVDDevice"})
        query({name});
    EXPECT_EQ(tableOf({{"KORVA_SCSIDevice", "KORVA_ATADevice", "KORVA_SCSIDevice", "KORVA_CDVDDevice"},
                       namespace_.instances(),
                       std::nullopt}),
              "SCSI devices (KORVA_SCSIDevice): 2\n"
              "  Node      Vendor  Product  Rev   Serial  Type       H:C:T:L\n"
              "  /dev/sg4  ACME    TAPE     0001  -       tape       1:2:3:4\n"
              "  /dev/sg5  ACME    BOX      0001  -       Enclosure  -\n"
              "\n"
              "ATA devices (KORVA_ATADevice): none\n"
              "\n"
              "Optical drives (KORVA_CDVDDevice): 1\n"
              "  Drive     Reads       Writes\n"
              "  /dev/sr0  CD-R CD-RW  CD-RW\n");
}

TEST(Table, ListsEveryPropertyBelowTheRows) {
    using NHALDEN20::TCIMValue;
    minihost::memoryNamespace ns;
    const auto commit = [&ns](const char* className, const std::vector<std::pair<const char*, TCIMValue>>& values) {
        const auto instance = ns.GetClass(className, {})->CreateInstance({});
        for (const auto& [name, value] : values)
            instance->SetProperty(name, value, {});
        instance->AddToClass({});
        return instance->GetReference({});
    };
    const TCIMValue list(NHALDEN20::kCIMStringArray, 0, {TCIMValue("a"), TCIMValue("\x1b")});
    auto device = commit("KORVA_ATADevice", {{"Model", " \x1b[2J\xff "},
                                             {"DeviceID", "/dev/hda"},
                                             {"Name", "/dev/hda"},
                                             {"serialNum", ""},
                                             {"Lun", static_cast<unsigned short>(7)},
                                             {"OtherIdentifyingInfo", list}});
    commit("KORVA_SysBusDeviceFirmware", {{"LoadedOnDevice", true}, {"Dependent", TCIMValue(device)}});
    const inventory::queryResult query{
        {"KORVA_ATADevice", "KORVA_CDVDDevice", "KORVA_SysBusDeviceFirmware"}, ns.instances(), std::nullopt};
    EXPECT_EQ(tableOf(query, true), "ATA devices (KORVA_ATADevice): 1\n"
                                    "  Node      Vendor  Product  Rev  Serial  Type  H:C:T:L\n"
                                    "  /dev/hda  -       -        -    -       -     :::7\n"
                                    "\n"
                                    "  /dev/hda\n"
                                    "    Model =  \\x1b[2J\\xff \n"
                                    "    DeviceID = /dev/hda\n"
                                    "    Name = /dev/hda\n"
                                    "    serialNum =\n"
                                    "    Lun = 7\n"
                                    "    OtherIdentifyingInfo = a, \\x1b\n"
                                    "\n"
                                    "Optical drives (KORVA_CDVDDevice): none\n"
                                    "\n"
                                    "Firmware of devices (KORVA_SysBusDeviceFirmware): 1\n"
                                    "  Device    Name  Firmware  Device identity\n"
                                    "  /dev/hda  -     -         -\n"
                                    "\n"
                                    "  /dev/hda\n"
                                    "    LoadedOnDevice = true\n"
                                    "    Dependent = KORVA_ATADevice.DeviceID=\"/dev/hda\"\n");
}
