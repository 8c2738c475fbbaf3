#include "inventory/output.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>

using minihost::cimType;
using NHALDEN20::TCIMValue;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

/// A namespace with a device, its firmware element and their association, which tests add to.
class Mof : public testing::Test {
protected:
    Mof() {
        auto device = commit("KORVA_SCSIDevice").GetReference({});
        auto element = commit("KORVA_SysBusDeviceFirmwareElement").GetReference({});
        auto& association = commit("KORVA_SysBusDeviceFirmware");
        association.SetProperty("Dependent", device, {});
        association.SetProperty("Antecedent", element, {});
    }

    /// Commits an instance with odd bytes in each of its texts, and no reference.
    minihost::memoryInstance& commit(const std::string& className) {
        const auto instance = ns_.GetClass(className, {})->CreateInstance({});
        for (const auto* property : propertiesOf(*minihost::findClass(className)))
            instance->SetProperty(std::string(property->name), values_[property->type], {});
        instance->AddToClass({});
        return *ns_.instances().back();
    }

    /// What is written behind the declarations.
    std::string written() const {
        std::ostringstream output, declarations;
        inventory::runResult result;
        result.queries = {{{}, ns_.instances(), std::nullopt}};
        inventory::writeMof(result, output);
        inventory::writeMofSchema(declarations);
        return output.str().substr(declarations.str().size());
    }

    const std::string odd_{'\0', '\n', '\x1F', ' ', '"', '\\', '~', '\x7F', '\xFF'};
    std::map<cimType, TCIMValue> values_{{cimType::string, odd_},
                                         {cimType::uint16, static_cast<unsigned short>(0xFFFF)},
                                         {cimType::boolean, true},
                                         {cimType::stringArray, {NHALDEN20::kCIMStringArray, 0, {odd_, "b"}}}};
    minihost::memoryNamespace ns_;
};

} // namespace

TEST_F(Mof, WritesEachTypeAndOddBytes) {
    const std::string text = written();
    const std::string odd = R"("\x0000\x000a\x001f \"\\~\x007f\x00ff")";
    EXPECT_THAT(text, StartsWith("\ninstance of KORVA_SCSIDevice as $SCSIDevice1\n{\n"));
    EXPECT_THAT(text, HasSubstr("    Caption = " + odd + ";\n"));
    EXPECT_THAT(text, HasSubstr("    Lun = 65535;\n"));
    EXPECT_THAT(text, HasSubstr("    OtherIdentifyingInfo = {" + odd + ", \"b\"};\n};\n"));
    EXPECT_THAT(text, HasSubstr("    LoadedOnDevice = true;\n"));
    EXPECT_THAT(text, HasSubstr("    Dependent = $SCSIDevice1;\n"));
    EXPECT_THAT(text, HasSubstr("    Antecedent = $SysBusDeviceFirmwareElement1;\n"));
}

TEST_F(Mof, WritesAnInstanceOnceInItsLatestForm) {
    auto& again = commit("KORVA_SCSIDevice");
    again.SetProperty("Lun", static_cast<unsigned short>(7), {});
    again.SetProperty("Model", TCIMValue(), {});
    const std::string text = written();
    EXPECT_THAT(text, StartsWith("\ninstance of KORVA_SCSIDevice as $SCSIDevice1\n")) << "before its association";
    EXPECT_THAT(text, HasSubstr("    Lun = 7;\n"));
    EXPECT_THAT(text, Not(HasSubstr("Model = "))) << "an empty value is no value";
    EXPECT_THAT(text, Not(HasSubstr("$SCSIDevice2")));
}

TEST_F(Mof, LeavesOutAnInstanceThatLacksAKey) {
    const std::string before = written();
    commit("KORVA_CDVDDevice").SetProperty("DeviceID", TCIMValue(), {});
    commit("KORVA_ATADevice").SetProperty("SystemName", true, {});
    EXPECT_EQ(written(), before + "\n// An instance of KORVA_CDVDDevice is left out: it lacks the key DeviceID\n"
                                  "\n// An instance of KORVA_ATADevice is left out: it lacks the key SystemName\n");
}

TEST_F(Mof, NamesAnInstanceThatItLeavesOutByItsPath) {
    ns_.instances().front()->SetProperty("SystemName", true, {});
    EXPECT_THAT(written(), HasSubstr("\n    Dependent = \"KORVA_SCSIDevice.CreationClassName=\\\"\\x"));
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
