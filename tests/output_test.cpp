#include "inventory/columns.h"
#include "inventory/tableoutput.h"
#include "minihost/memorynamespace.h"

#include <boost/make_shared.hpp>

#include <gtest/gtest.h>

#include <sstream>

using NHALDEN20::TCIMValue;

TEST(Columns, StandCloserWhereTheyWouldNotFit) {
    inventory::columns rows({"Node", "Name"});
    rows.add({"/dev/sg10", "\x1b[31m"});
    std::ostringstream output;
    rows.write(output, 21);
    EXPECT_EQ(output.str(), "  Node       Name\n  /dev/sg10  \\x1b[31m\n");
    output.str("");
    rows.write(output, 20);
    EXPECT_EQ(output.str(), " Node      Name\n /dev/sg10 \\x1b[31m\n");
    output.str("");
    rows.write(output, 1);
    EXPECT_EQ(output.str(), " Node      Name\n /dev/sg10 \\x1b[31m\n") << "never cut";
}

namespace {

std::string tableOf(const inventory::queryResult& query, bool allProperties) {
    std::ostringstream output;
    inventory::writeTable({"host", {query}}, {allProperties, 80}, output);
    return output.str();
}

} // namespace

TEST(Table, HasAPlainSectionForAClassThatHasNone) {
    constexpr minihost::propertyDeclaration properties[] = {{"Ready", minihost::cimType::boolean, false, ""},
                                                            {"Name", minihost::cimType::string, true, ""},
                                                            {"Slots", minihost::cimType::uint16, false, ""}};
    const minihost::classDeclaration box{"KORVA_Box", "", minihost::classKind::concrete, "", properties};
    const minihost::classDeclaration bare{"KORVA_Bare", "", minihost::classKind::concrete, "", {}};
    const minihost::classDeclaration derived{"KORVA_Derived", "KORVA_SysBusDeviceFirmwareElement",
                                             minihost::classKind::concrete, "", properties};
    minihost::memoryNamespace ns;
    const auto instance = boost::make_shared<minihost::memoryInstance>(ns, box);
    instance->SetProperty("Name", "left ", {});
    instance->SetProperty("Ready", true, {});
    const auto nothing = boost::make_shared<minihost::memoryInstance>(ns, bare);
    const auto element = boost::make_shared<minihost::memoryInstance>(ns, derived);
    element->SetProperty("Version", "1.0", {});
    EXPECT_EQ(
        tableOf(
            {{"KORVA_Box", "KORVA_Bare", "KORVA_Derived", "KORVA_Other"}, {instance, nothing, element}, std::nullopt},
            false),
        "KORVA_Box: 1\n"
        "  Ready  Name  Slots\n"
        "  true   left  -\n"
        "\n"
        "KORVA_Bare: 1\n"
        "\n"
        "KORVA_Derived: 1\n"
        "  Device identity  Kind  Vendor  Version\n"
        "  -                -     -       1.0\n"
        "\n"
        "KORVA_Other: none\n");
}

TEST(Table, ListsEveryPropertyBelowTheRows) {
    minihost::memoryNamespace ns;
    const auto commit = [&ns](const char* className, const std::vector<std::pair<const char*, TCIMValue>>& values) {
        const auto instance = ns.GetClass(className, {})->CreateInstance({});
        for (const auto& [name, value] : values)
            instance->SetProperty(name, value, {});
        instance->AddToClass({});
        return instance->GetReference({});
    };
    auto device = commit("KORVA_ATADevice", {{"Model", " \x1b[2J\xff"},
                                             {"DeviceID", "/dev/hda"},
                                             {"Name", "/dev/hda"},
                                             {"serialNum", ""},
                                             {"Lun", static_cast<unsigned short>(7)},
                                             {"OtherIdentifyingInfo", TCIMValue(NHALDEN20::kCIMStringArray, 0,
                                                                                {TCIMValue("a"), TCIMValue("\x1b")})}});
    commit("KORVA_SysBusDeviceFirmware", {{"LoadedOnDevice", true}, {"Dependent", TCIMValue(device)}});
    const inventory::queryResult query{
        {"KORVA_ATADevice", "KORVA_CDVDDevice", "KORVA_ATADevice", "KORVA_SysBusDeviceFirmware"},
        ns.instances(),
        std::nullopt};
    EXPECT_EQ(tableOf(query, true), R"(ATA devices (KORVA_ATADevice): 1
  Node      Vendor  Product  Rev  Serial  Type  H:C:T:L
  /dev/hda  -       -        -    -       -     -

  /dev/hda
    Model =  \x1b[2J\xff
    DeviceID = /dev/hda
    Name = /dev/hda
    serialNum =
    Lun = 7
    OtherIdentifyingInfo = a, \x1b

Optical drives (KORVA_CDVDDevice): none

Firmware of devices (KORVA_SysBusDeviceFirmware): 1
  Device    Name  Firmware  Device identity
  /dev/hda  -     -         -

  /dev/hda
    LoadedOnDevice = true
    Dependent = KORVA_ATADevice.DeviceID="/dev/hda"
)");
}
