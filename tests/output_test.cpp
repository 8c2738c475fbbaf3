#include "inventory/columns.h"
#include "inventory/escape.h"
#include "inventory/tableoutput.h"
#include "simulator/codepoints.h"
#include "tests/simulatedmachine.h"

#include <sstream>

namespace {

std::string tableOf(const inventory::queryResult& query) {
    std::ostringstream output;
    inventory::writeTable({"host", {query}}, output);
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
