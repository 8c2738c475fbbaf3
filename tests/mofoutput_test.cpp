#include "inventory/output.h"
#include "tests/mofreader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <numeric>
#include <sstream>

using minihost::cimType;
using NHALDEN20::TCIMValue;

namespace {

/// A namespace with a device, its firmware element and their association, which tests add to.
class Mof : public testing::Test {
protected:
    Mof() {
        std::string everyByte(256, '\0');
        std::iota(everyByte.begin(), everyByte.end(), '\0');
        values_ = {{cimType::string, everyByte},
                   {cimType::uint16, static_cast<unsigned short>(0xFFFF)},
                   {cimType::boolean, true},
                   {cimType::stringArray, {NHALDEN20::kCIMStringArray, 0, {everyByte, "b"}}}};
        auto device = commit("KORVA_SCSIDevice").GetReference({});
        auto element = commit("KORVA_SysBusDeviceFirmwareElement").GetReference({});
        auto& association = commit("KORVA_SysBusDeviceFirmware");
        association.SetProperty("Dependent", device, {});
        association.SetProperty("Antecedent", element, {});
    }

    /// Commits an instance with every byte in each of its texts, and no reference.
    minihost::memoryInstance& commit(const std::string& className) {
        const auto instance = ns_.GetClass(className, {})->CreateInstance({});
        for (const auto* property : propertiesOf(*minihost::findClass(className)))
            instance->SetProperty(std::string(property->name), values_[property->type], {});
        instance->AddToClass({});
        return *ns_.instances().back();
    }

    std::string written(void write(const inventory::runResult&, std::ostream&)) const {
        std::ostringstream output;
        inventory::runResult result;
        result.queries = {{{}, ns_.instances(), std::nullopt}};
        write(result, output);
        return output.str();
    }

    std::map<cimType, TCIMValue> values_;
    minihost::memoryNamespace ns_;
};

} // namespace

TEST_F(Mof, EveryByteReadsBackInTextsKeysAndReferences) {
    const auto instances = mof::read(written(inventory::writeMof)).instances;
    EXPECT_EQ(instances.size(), 3U);
    EXPECT_EQ(instances, mof::instancesOf(nlohmann::json::parse(written(inventory::writeJson))));
}

TEST_F(Mof, WritesAnInstanceOnceInItsLatestForm) {
    auto& again = commit("KORVA_SCSIDevice");
    again.SetProperty("Lun", static_cast<unsigned short>(7), {});
    again.SetProperty("Model", TCIMValue(), {});
    const auto instances = mof::read(written(inventory::writeMof)).instances;
    ASSERT_EQ(instances.size(), 3U) << "and the reader has found the device before its association";
    EXPECT_EQ(instances[0]["properties"]["Lun"], 7);
    EXPECT_FALSE(instances[0]["properties"].contains("Model")) << "an empty value is no value";
}

TEST_F(Mof, LeavesOutAnInstanceThatLacksAKey) {
    commit("KORVA_CDVDDevice").SetProperty("DeviceID", TCIMValue(), {});
    commit("KORVA_ATADevice").SetProperty("SystemName", true, {});
    const std::string text = written(inventory::writeMof);
    EXPECT_EQ(mof::read(text).instances.size(), 3U);
    EXPECT_THAT(text,
                testing::EndsWith("\n// An instance of KORVA_CDVDDevice is left out: it lacks the key DeviceID\n"
                                  "\n// An instance of KORVA_ATADevice is left out: it lacks the key SystemName\n"));
}

TEST_F(Mof, NamesAnInstanceThatItLeavesOutByItsPath) {
    ns_.instances().front()->SetProperty("SystemName", true, {});
    EXPECT_THAT(written(inventory::writeMof), testing::HasSubstr("\n    Dependent = \"KORVA_SCSIDevice.CreationClass"));
}

// What the other tests learn from the reader is worth as much as it refuses.
TEST(MofReader, RefusesWhatIsNotWhole) {
    const std::string whole = R"([Abstract, Version("1"), Description("It's " "a base.")]
class Base { [Key, Description("d")] string Id; [ValueMap{"6"}, Values{"six"}, Description("d")] uint16 Number; };
[Version("1"), Description("d")] class Device : Base { [Description("d")] string List[]; };
[Version("1"), Description("d")] class Other { [Key, Description("d")] string Id; };
[Association, Version("1"), Description("d")] class Link { [Key, Description("d")] Base REF End; };
instance of Device as $D1 { Id = "a\"b\\c\x00ff"; Number = 65535; List = {"x", "y"}; }; // A comment
instance of Other as $O1 { Id = "o"; };
instance of Link as $L1 { End = $D1; };
)";
    ASSERT_EQ(mof::read(whole).instances.size(), 3U);
    const struct {
        std::string from, to, message;
    } cases[] = {
        {"of Device", "of Devices", "there is no class Devices"},
        {"of Device", "of Base", "an instance of the abstract class Base"},
        {"Number = ", "Numbers = ", "there is no property Numbers"},
        {"Number = ", R"(Id = "b"; Number = )", "Id is set twice"},
        {"65535", R"("1")", "Number has a value of another type"},
        {"65535", "65536", "cannot read on at instance of Device"},
        {R"(Id = "o";)", "", "key 'Id' not found"},
        {R"("o")", R"("\x006f")", "cannot read on at instance of Other"},
        {R"("o")", R"("\n")", "cannot read on at instance of Other"},
        {R"("o")", "\"\xff\"", "cannot read on at instance of Other"},
        {"comment", "\x1b comment", "cannot read on at //"},
        {"instance of Other", R"(instance of Other as $O2 { Id = "o"; }; instance of Other)",
         "a second instance with the path"},
        {"$O1", "$D1", "a second instance with the alias D1"},
        {"= $D1", "= $L1", "there is no alias L1"},
        {"= $D1", R"(= "Other.Id=\"o\"")", "End names an instance without its alias"},
        {"= $D1", "= $O1", "End refers to an instance that is no Base"},
    };
    for (const auto& c : cases) {
        std::string text = whole;
        ASSERT_NE(text.find(c.from), std::string::npos) << c.from;
        text.replace(text.find(c.from), c.from.size(), c.to);
        EXPECT_THAT([&] { mof::read(text); }, testing::ThrowsMessage<std::exception>(testing::HasSubstr(c.message)));
    }
}
