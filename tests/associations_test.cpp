#include "minihost/minihost.h"
#include "tests/simulatedmachine.h"

#include <algorithm>

using simulator::addressAnswer;

namespace {

const std::string scsi = "KORVA_SCSIDevice", element = "KORVA_SysBusDeviceFirmwareElement",
                  firmware = "KORVA_SysBusDeviceFirmware";

} // namespace

class Associations : public Plugin {
protected:
    void scsiDevice(const std::string& path, int target) {
        sgNode(path, inquiry(13, "ACME", "UNIT " + std::to_string(target))).address =
            addressAnswer{1, 0, target, 10, 0, 0};
    }

    /// Another provider's instance with one property, or with none.
    void foreignInstance(const std::string& className, const std::string& property = "",
                         const NHALDEN20::TCIMValue& value = {}) {
        const auto instance = namespace_.GetClass(className, {})->CreateInstance({});
        if (!property.empty())
            instance->SetProperty(property, value, {});
        instance->AddToClass({});
    }

    /// The device that each association names, by its node.
    strings devices(const std::vector<properties>& associations) {
        strings nodes;
        for (const std::string& path : each(associations, "Dependent")) {
            const std::size_t begin = path.find("DeviceID=\"");
            nodes.push_back(
                begin == std::string::npos ? "" : path.substr(begin + 10, path.find('"', begin + 10) - begin - 10));
        }
        return nodes;
    }
};

TEST_F(Associations, TieEachDeviceToItsFirmware) {
    machine().name = "rack-07";
    scsiDevice("/dev/sg0", 3);
    query({scsi});
    query({element});
    const auto associations = query({firmware});
    ASSERT_EQ(associations.size(), 1U);
    EXPECT_EQ(associations[0],
              (properties{{"class", firmware},
                          {"Purpose", "6"},
                          {"LoadedOnDevice", "true"},
                          {"UpgradeableOnDevice", "true"},
                          {"Dependent", "KORVA_SCSIDevice.CreationClassName=\"KORVA_SCSIDevice\",DeviceID=\"/dev/sg0\","
                                        "SystemCreationClassName=\"KORVA_ComputerSystem\",SystemName=\"rack-07\""},
                          {"Antecedent", "KORVA_SysBusDeviceFirmwareElement.Name=\"SCSI Device\","
                                         "SoftwareElementId=\"Port:1|Target:3|Bus:0|Lun:10\",SoftwareElementState=2,"
                                         "TargetOperatingSystem=58,Version=\"0001\""}}));
    const auto& written = namespace_.instances().back()->properties();
    EXPECT_EQ(written[0].first, "Dependent");
    EXPECT_EQ(written[1].first, "Antecedent");
    EXPECT_EQ(takeLog().back(), "3 Found association...");
}

TEST_F(Associations, TakeTheFirstDeviceWhoseIdentityIsPartOfTheKey) {
    const auto identifiedBy = [](const std::string& identity) {
        return NHALDEN20::TCIMValue(NHALDEN20::kCIMStringArray, 0, {NHALDEN20::TCIMValue(identity)});
    };
    minihost::setRemarkSink(nullptr); // not every provider does as its class says
    foreignInstance(scsi);
    foreignInstance(scsi, "OtherIdentifyingInfo",
                    NHALDEN20::TCIMValue(NHALDEN20::kCIMStringArray, 0, {NHALDEN20::TCIMValue(true)}));
    foreignInstance(scsi, "OtherIdentifyingInfo", NHALDEN20::TCIMValue(NHALDEN20::kCIMStringArray, 0, {}));
    foreignInstance(scsi, "OtherIdentifyingInfo", identifiedBy("Port:1|Target:4|Bus:0|Lun:10 and more"));
    scsiDevice("/dev/sg0", 3);
    scsiDevice("/dev/sg1", 4);
    query({scsi});
    query({element});
    EXPECT_EQ(devices(query({firmware})), (strings{"/dev/sg0", "/dev/sg1"}))
        << "devices without an identity, or with a longer one, do not match";
}

TEST_F(Associations, AShorterIdentityThatStandsFirstCapturesTheLongerOne) {
    sgNode("/dev/sg0", inquiry(13, "ACME", "LUN 1")).address = addressAnswer{1, 0, 0, 1, 0, 0};
    sgNode("/dev/sg1", inquiry(13, "ACME", "LUN 10")).address = addressAnswer{1, 0, 0, 10, 0, 0};
    query({scsi});
    query({element});
    const auto associations = query({firmware});
    EXPECT_EQ(devices(associations), (strings{"/dev/sg0", "/dev/sg0"}));
    EXPECT_THAT(associations[1].at("Antecedent"), testing::HasSubstr("Lun:1\""));
}

TEST_F(Associations, ADeviceWithoutAnElementEndsTheSearch) {
    scsiDevice("/dev/sg0", 3);
    query({scsi});
    foreignInstance(element, "SoftwareElementId", "Port:9");
    EXPECT_EQ(query({firmware}).size(), 0U);
    EXPECT_THAT(takeLog(), testing::Not(testing::Contains("3 Found association...")));
    foreignInstance(element, "SoftwareElementId", "");
    EXPECT_EQ(devices(query({firmware})), strings{"/dev/sg0"}) << "an empty identity is part of every key";
}
