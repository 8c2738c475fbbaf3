#include "minihost/minihost.h"
#include "tests/simulatedmachine.h"

using NHALDEN20::TCIMValue;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

const strings scsi{"KORVA_SCSIDevice"}, element{"KORVA_SysBusDeviceFirmwareElement"},
    firmware{"KORVA_SysBusDeviceFirmware"};

/// A machine with one device, /dev/sg0, whose identity is its path.
class Associations : public Plugin {
protected:
    Associations() { sgNode("/dev/sg0", inquiry(13, "ACME", "X")); }

    /// Another provider's instance with one property.
    void foreignInstance(const strings& className, const std::string& property, const TCIMValue& value) {
        const auto instance = namespace_.GetClass(className[0], {})->CreateInstance({});
        instance->SetProperty(property, value, {});
        instance->AddToClass({});
    }
};

} // namespace

TEST_F(Associations, AreMadeOnlyWhenBothEndsAreThere) {
    EXPECT_EQ(query(firmware).size(), 0U);
    query(scsi);
    const std::size_t before = calls().size();
    takeLog();
    EXPECT_EQ(query(firmware).size(), 0U);
    EXPECT_EQ(calls().size(), before) << "not even the driver is loaded";
    EXPECT_EQ(takeLog(), strings());

    query(element);
    EXPECT_EQ(query(firmware).size(), 1U);
    // Device lists grow from query to query: two reads of one device, one read of one element before this one.
    EXPECT_THAT(takeLog(), Contains("3 Making association for /dev/sg0 0001 2 1"));
}

TEST_F(Associations, PassOverDevicesWithoutASuitableIdentity) {
    const auto listOf = [](std::initializer_list<TCIMValue> elements) {
        return TCIMValue(NHALDEN20::kCIMStringArray, 0, std::vector<TCIMValue>(elements));
    };
    minihost::setRemarkSink(nullptr); // not every provider does as its class says
    for (const TCIMValue& identity :
         {TCIMValue(), listOf({}), listOf({TCIMValue(true)}), listOf({TCIMValue("/dev/sg0 and more")})})
        foreignInstance(scsi, "OtherIdentifyingInfo", identity);
    query(scsi);
    query(element);
    EXPECT_THAT(each(query(firmware), "Dependent"), ElementsAre(HasSubstr("DeviceID=\"/dev/sg0\"")));
}

TEST_F(Associations, NeedAnElementOfTheSameIdentity) {
    query(scsi);
    foreignInstance(element, "SoftwareElementId", "Port:9");
    EXPECT_EQ(query(firmware).size(), 0U);
    EXPECT_THAT(takeLog(), Not(Contains("3 Found association...")));
    foreignInstance(element, "SoftwareElementId", "");
    EXPECT_EQ(query(firmware).size(), 1U) << "an empty identity is part of every key";
}
