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

TEST(Namespace, RemarksOnAPropertyThatDoesNotSuitItsClass) {
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
        bool isRemarkedOn;
    } cases[] = {
        {scsi, "Lun", TCIMValue(), false},
        {scsi, "lun", number, true},
        {scsi, "Lun", "1", true},
        {scsi, "Lun", true, true},
        {scsi, "Model", listOf({"a"}), true},
        {scsi, "OtherIdentifyingInfo", listOf({"a", true}), true},
        {scsi, "Name", toDisk, true},
        {firmware, "Antecedent", toDisk, true},
        {firmware, "Dependent", toNothing, true},
        {firmware, "Purpose", toNothing, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.className + '.' + c.property);
        remarks.clear();
        instanceOf(c.className)->SetProperty(c.property, c.value, {});
        const std::string remark = c.className + " does not declare " + c.property + " with this type";
        EXPECT_EQ(remarks, c.isRemarkedOn ? strings{remark} : strings());
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
