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

TEST(MofSchema, DeclaresTheClassesOfTheHost) {
    const char* const types[] = {"", "string ", "boolean ", "uint16 ", " REF ", "string "}; // by cimType
    std::string expected;
    for (const auto& each : minihost::classTable()) {
        expected += (each.isAbstract ? "[Abstract\nclass " : "class ") + std::string(each.name) +
                    (each.base.empty() ? "" : " : ") + std::string(each.base) + '\n';
        for (const auto& property : each.properties)
            expected += (property.isKey ? "    [Key\n    " : "    ") + std::string(property.referenced) +
                        types[static_cast<int>(property.type)] + std::string(property.name) +
                        (property.type == cimType::stringArray ? "[];\n" : ";\n");
    }
    std::ostringstream schema;
    inventory::writeMofSchema(schema);
    std::istringstream lines(schema.str());
    std::string declared;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("[Abstract", 0) == 0 || line.rfind("    [Key", 0) == 0)
            declared += line.substr(0, line.find(',')) + '\n';
        else if (line.rfind("class ", 0) == 0 || (line.rfind("    ", 0) == 0 && line.back() == ';'))
            declared += line + '\n';
    }
    EXPECT_EQ(declared, expected);
}

// What the other tests learn from the reader is worth as much as it refuses.
TEST(MofReader, RefusesWhatIsNotWhole) {
    std::ostringstream schema;
    inventory::writeMofSchema(schema);
    const std::string whole = schema.str() + R"(
instance of KORVA_SysBusDeviceFirmware as $A
{
    Antecedent = "a\"b\\c\x00ff";
    // A comment
    Dependent = "d";
};

instance of KORVA_SysBusDeviceFirmware as $B
{
    Antecedent = $A;
    Dependent = "d";
};
)";
    ASSERT_EQ(mof::read(whole).instances.size(), 2U);
    const struct {
        std::string from, to, message;
    } cases[] = {
        {"instance of KORVA_SysBusDeviceFirmware", "instance of KORVA_Other", "map::at"},
        {"Dependent = ", "Dependents = ", "there is no property Dependents"},
        {"    Dependent = \"d\";\n", "", "key 'Dependent' not found"},
        {"    Dependent = \"d\";", "    Antecedent = 1;", "Antecedent is set twice"},
        {"\"d\";", "\"d\"", "not whole: "},
        {"\"d\"", "d", "syntax error"},
        {R"(\x00ff)", R"(\n)", "no escape of MOF: \\n"},
        {"A comment", "\x1b", "a character that is not printed"},
        {"$A;", R"("a\"b\\c\x00ff";)", "a second instance with the path"},
        {"as $B", "as $A", "a second instance with the alias $A"},
        {"$A;", "$B;", "map::at"},
        {"$A;", R"("KORVA_SysBusDeviceFirmware.Antecedent=\"a\\\"b\\\\c\x00ff\",Dependent=\"d\"";)",
         "names an instance without its alias"},
        {"\ninstance of KORVA_SysBusDeviceFirmware as $B", "\nof", "cannot read of"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.to);
        std::string text = whole;
        ASSERT_NE(text.find(c.from), std::string::npos) << c.from;
        text.replace(text.find(c.from), c.from.size(), c.to);
        EXPECT_THAT([&] { mof::read(text); }, testing::ThrowsMessage<std::exception>(testing::HasSubstr(c.message)));
    }
}
