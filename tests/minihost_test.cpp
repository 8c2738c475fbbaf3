#include "minihost/cimcontent.h"
#include "minihost/classtable.h"
#include "minihost/memorynamespace.h"
#include "minihost/minihost.h"
#include "plugin/host/addtovectorcallback.h"
#include "tests/simulatedmachine.h"

using NHALDEN20::TCIMValue;

TEST(Values, AreIndependentCopies) {
    TCIMValue list = listOf({"a", "b"});
    TCIMValue copy = list;
    static_cast<std::vector<TCIMValue>&>(copy)[0] = "changed";
    EXPECT_EQ(static_cast<std::string>(static_cast<std::vector<TCIMValue>&>(list)[0]), "a");
    EXPECT_THROW(static_cast<void>(static_cast<std::string>(TCIMValue(true))), std::runtime_error);
    EXPECT_TRUE(static_cast<std::vector<TCIMValue>&>(copy = TCIMValue("text")).empty());
}

TEST(Namespace, EnumeratesAClassWithItsSubclassesInCommitOrder) {
    minihost::memoryNamespace ns;
    const strings all{"KORVA_ATADevice", "KORVA_CDVDDevice", "KORVA_SCSIDevice", "KORVA_SCSITapeDrive"};
    for (const auto& name : all)
        ns.GetClass(name, {})->CreateInstance({})->AddToClass({});
    ns.GetClass("KORVA_SCSIDevice", {})->CreateInstance({}); // not committed
    std::vector<boost::shared_ptr<NHALDEN20::ICIMInstance>> found;
    const NHALDEN20::TAddToVectorCallback<NHALDEN20::ICIMInstance> add(&found);
    ns.GetClass("KORVA_SysBusDevice", {})->EnumerateInstances(add, true, {});
    strings names;
    for (const auto& instance : found)
        names.push_back(instance->GetInstanceClass({})->GetClassName({}));
    EXPECT_EQ(names, (strings{"KORVA_ATADevice", "KORVA_SCSIDevice", "KORVA_SCSITapeDrive"}));
    EXPECT_THROW(ns.GetClass("KORVA_Other", {}), std::invalid_argument);
}

TEST(Namespace, RemarksOnceOnEachPropertyThatDoesNotSuitItsClass) {
    minihost::memoryNamespace ns;
    strings remarks;
    minihost::setRemarkSink([&remarks](const std::string& text) { remarks.push_back(text); });
    const auto instanceOf = [&ns](const std::string& className) {
        return ns.GetClass(className, {})->CreateInstance({});
    };
    auto toDisk = instanceOf(scsi)->GetReference({});
    auto toNothing = NHALDEN20::TCIMReference({}, {});
    const unsigned short number = 1;
    const struct {
        std::string className, property;
        TCIMValue value;
        std::string remark; ///< behind the class name
    } cases[] = {
        {scsi, "Lun", number, ""},
        {scsi, "OtherIdentifyingInfo", listOf({"a"}), ""},
        {scsi, "Lun", TCIMValue(), ""},
        {firmware, "LoadedOnDevice", true, ""},
        {firmware, "Dependent", toDisk, ""},
        {scsi, "lun", number, " declares no property lun"},
        {scsi, "Lun", "1", " declares Lun as uint16, it is set as string"},
        {scsi, "Lun", true, ""}, // once for a property of a class
        {"KORVA_ATADevice", "Lun", true, " declares Lun as uint16, it is set as boolean"},
        {scsi, "Model", listOf({"a"}), " declares Model as string, it is set as string[]"},
        {scsi, "OtherIdentifyingInfo", listOf({"a", true}),
         " declares OtherIdentifyingInfo as string[], it is set as array of other than strings"},
        {scsi, "Name", toDisk, " declares Name as string, it is set as reference to KORVA_SCSIDevice"},
        {firmware, "Antecedent", toDisk,
         " declares Antecedent as reference to KORVA_SysBusDeviceFirmwareElement, it is set as reference to "
         "KORVA_SCSIDevice"},
        {firmware, "Dependent", toNothing,
         " declares Dependent as reference to KORVA_SysBusDevice, it is set as reference to "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.className + '.' + c.property);
        remarks.clear();
        instanceOf(c.className)->SetProperty(c.property, c.value, {});
        EXPECT_EQ(remarks, c.remark.empty() ? strings() : strings{c.className + c.remark});
    }
    minihost::setRemarkSink(nullptr);
}

TEST(ObjectPath, HoldsTheKeysThatWereSetInAlphabeticalOrder) {
    minihost::memoryNamespace ns;
    const auto instance = ns.GetClass("KORVA_SysBusDeviceFirmwareElement", {})->CreateInstance({});
    const auto path = [&instance] {
        return minihost::objectPath(instance->GetReference({}));
    };
    EXPECT_EQ(path(), "KORVA_SysBusDeviceFirmwareElement");
    instance->SetProperty("Version", "a\"b\\c", {});
    instance->SetProperty("Manufacturer", "no key", {});
    instance->SetProperty("SoftwareElementState", static_cast<unsigned short>(2), {});
    EXPECT_EQ(path(), R"(KORVA_SysBusDeviceFirmwareElement.SoftwareElementState=2,Version="a\"b\\c")");
    for (const TCIMValue& noKey : {TCIMValue(), TCIMValue(true), listOf({"a"})}) {
        instance->SetProperty("Version", noKey, {});
        EXPECT_EQ(path(), "KORVA_SysBusDeviceFirmwareElement.SoftwareElementState=2");
    }
}
