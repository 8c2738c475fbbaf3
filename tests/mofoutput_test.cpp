#include "inventory/mofoutput.h"

#include "inventory/jsonoutput.h"
#include "tests/mofreader.h"
#include "tests/simulatedmachine.h"

#include <sstream>

using NHALDEN20::TCIMValue;

namespace {

using writer = void(const inventory::runResult&, std::ostream&);

std::string written(writer* write, const std::vector<inventory::queryResult>& queries) {
    std::ostringstream output;
    write({"host", queries}, output);
    return output.str();
}

inventory::queryResult queryOf(const minihost::memoryNamespace& ns) { return {{}, ns.instances(), std::nullopt}; }

/// Commits an instance of the class with `text` in all its declared properties of type string.
NHALDEN20::TCIMReference commit(minihost::memoryNamespace& ns, const std::string& className, const std::string& text) {
    const auto instance = ns.GetClass(className, {})->CreateInstance({});
    for (const auto* property : propertiesOf(*minihost::findClass(className))) {
        if (property->type == minihost::cimType::string)
            instance->SetProperty(std::string(property->name), text, {});
        if (property->type == minihost::cimType::uint16)
            instance->SetProperty(std::string(property->name), static_cast<unsigned short>(0xFFFF), {});
    }
    instance->AddToClass({});
    return instance->GetReference({});
}

void associate(minihost::memoryNamespace& ns, NHALDEN20::TCIMReference device, NHALDEN20::TCIMReference element) {
    const auto association = ns.GetClass("KORVA_SysBusDeviceFirmware", {})->CreateInstance({});
    association->SetProperty("Dependent", TCIMValue(device), {});
    association->SetProperty("Antecedent", TCIMValue(element), {});
    association->AddToClass({});
}

} // namespace

TEST(Mof, EveryByteReadsBackInTextsKeysAndReferences) {
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte)
        everyByte += static_cast<char>(byte);
    minihost::memoryNamespace ns;
    associate(ns, commit(ns, "KORVA_SCSIDevice", everyByte),
              commit(ns, "KORVA_SysBusDeviceFirmwareElement", everyByte));

    const mof::document document = mof::read(written(inventory::writeMof, {queryOf(ns)}));
    EXPECT_EQ(document.instances.size(), 3U);
    EXPECT_EQ(document.instances,
              mof::instancesOf(nlohmann::json::parse(written(inventory::writeJson, {queryOf(ns)}))));
}

TEST(Mof, EscapesWhatACompilerDoesNotTakeBare) {
    minihost::memoryNamespace ns;
    commit(ns, "KORVA_ATADevice", std::string("'\"\\/?~\x7f\x80\xff\n\0.", 12));
    EXPECT_THAT(written(inventory::writeMof, {queryOf(ns)}),
                testing::HasSubstr(R"(    Caption = "'\"\\/?~\x007f\x0080\x00ff\x000a\x0000.";)"
                                   "\n"));
}

TEST(Mof, WritesAnInstanceOnceInItsLatestForm) {
    minihost::memoryNamespace ns;
    const auto device = commit(ns, "KORVA_SCSIDevice", "a");
    associate(ns, device, commit(ns, "KORVA_SysBusDeviceFirmwareElement", "a"));
    commit(ns, "KORVA_SCSIDevice", "a");
    ns.instances().back()->SetProperty("Lun", static_cast<unsigned short>(7), {});
    ns.instances().back()->SetProperty("Model", TCIMValue(), {});
    const auto instances = mof::read(written(inventory::writeMof, {queryOf(ns)})).instances;
    ASSERT_EQ(instances.size(), 3U) << "and the reader has found the device before its association";
    EXPECT_EQ(instances[0]["properties"]["Lun"], 7);
    EXPECT_FALSE(instances[0]["properties"].contains("Model")) << "an empty value is no value";
}

TEST(Mof, LeavesOutAnInstanceThatLacksAKey) {
    const TCIMValue unsuitable[] = {TCIMValue(), TCIMValue(true)};
    for (const auto& value : unsuitable) {
        minihost::memoryNamespace ns;
        commit(ns, "KORVA_CDVDDevice", "a");
        ns.instances().back()->SetProperty("DeviceID", value, {});
        const std::string text = written(inventory::writeMof, {queryOf(ns)});
        EXPECT_EQ(mof::read(text).instances.size(), 0U);
        EXPECT_THAT(text,
                    testing::EndsWith("\n// An instance of KORVA_CDVDDevice is left out: it lacks the key DeviceID\n"));
    }
}

// What the other tests learn from the reader is worth as much as it refuses.
TEST(MofReader, RefusesWhatIsNotWhole) {
    const std::string whole = R"(// A comment
Qualifier Abstract : boolean = false, Scope(class, association), Flavor(Restricted);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride);
Qualifier Description : string = null, Scope(any), Flavor(Translatable);
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);
[Abstract, Description("It's " "a base.")]
class Base { [Key] string Id; [Description("d")] uint16 Number; };
[Description("d")] class Device : Base { [Description("d")] string List[]; };
[Description("d")] class Other { [Key] string Id; [Description("d")] boolean Flag; };
[Association, Description("d")] class Link { [Key] Base REF End; };
instance of Device { Id = "a\"b\\c\x00ff"; Number = 65535; List = {"x", "y"}; };
instance of Other { Id = "o"; Flag = true; };
instance of Link { End = "Device.Id=\"a\\\"b\\\\c\x00ff\""; };
)";
    ASSERT_EQ(mof::read(whole).instances.size(), 3U);
    const struct {
        std::string from, to, message;
    } cases[] = {
        {"Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);", "",
         "line 7: the qualifier Key is not declared"},
        {"Qualifier Key : boolean = false", "Qualifier Key : boolean = 1", "expected a value of type boolean"},
        {"Scope(property, reference)", "Scope(property)", "Key: no qualifier of a reference"},
        {"[Abstract,", "[Key, Abstract,", "Key: no qualifier of a class"},
        {"[Abstract,", "[Abstract, Abstract,", "the qualifier Abstract stands twice"},
        {R"([Association, Description("d")])", R"([Description("d"), Association])", "Association is not the first"},
        {"[Association, ", "[", "a reference in a class that is no association"},
        {R"(Description("d"))", "Description(1)", "expected a value of type string"},
        {"Device : Base", "Device : Bass", "the class Bass is not declared"},
        {"Base REF", "Bass REF", "the class Bass is not declared"},
        {"class Other", "class Base", "the class Base is declared twice"},
        {"string List[]", "string Id", "the property Id is declared twice"},
        {"string List[]", "text List", "the type text is unknown"},
        {"of Device", "of Devices", "the class Devices is not declared"},
        {"of Device", "of Base", "an instance of the abstract class Base"},
        {"of Device {", "of Device as $a {", "expected {, found 'as'"},
        {R"(Id = "o"; )", "", "Id: missing key of an instance of Other"},
        {"Flag = true; ", "Flat = true; ", "Flat: no property of Other"},
        {"Flag = true; ", "Flag = true; Flag = true; ", "the property Flag is set twice"},
        {"Flag = true", R"(Flag = "true")", "expected a value of type boolean"},
        {"Flag = true", "Flag = NULL", "expected a value, found 'NULL'"},
        {"65535", "65536", "expected a value of type uint16"},
        {"65535", R"("1")", "expected a value of type uint16"},
        {R"({"x", "y"})", R"("x")", "expected a value of type string[]"},
        {R"({"x", "y"})", R"({"x", 1})", "expected a value of type string"},
        {R"(= "Device.Id)", R"(= "Other.Id)", "a reference to nothing"},
        {R"(= "Device.Id=\"a\\\"b\\\\c\x00ff\"")", R"(= "Other.Id=\"o\"")",
         "a reference to an instance of Other, expected Base"},
        {"instance of Other", R"(instance of Other { Id = "o"; }; instance of Other)",
         "a second instance with the path"},
        {"instance of Link", R"([Description("d")] class New {};)", "line 13: a declaration behind an instance"},
        {R"(\x00ff"; N)", R"(\xff"; N)", "an escape that is none of"},
        {R"(\x00ff"; N)", R"(\n"; N)", "an escape that is none of"},
        {R"(\x00ff"; N)", R"(\x01ff"; N)", "an escape for what is no byte or needs none"},
        {R"(\x00ff"; N)", R"(\x0041"; N)", "an escape for what is no byte or needs none"},
        {R"(\x00ff"; N)", "\xff\"; N", "a byte that is not printable ASCII"},
        {R"(\x00ff"; N)", "\n\"; N", "a string over more than one line"},
        {"A comment", "A \x1b comment", "line 1: a byte that is not printable ASCII"},
        {"\\\"\"; };\n", "", "line 13: the document ends too soon"},
        {R"(o"; Flag)", R"(o" Flag)", "expected ;, found 'Flag'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.from + " -> " + c.to);
        std::string text = whole;
        ASSERT_NE(text.find(c.from), std::string::npos);
        text.replace(text.find(c.from), c.from.size(), c.to);
        try {
            mof::read(text);
            ADD_FAILURE() << "accepted";
        } catch (const std::runtime_error& refusal) {
            EXPECT_THAT(refusal.what(), testing::HasSubstr(c.message));
        }
    }
}
