#include "minihost/minihost.h"
#include "tests/simulatedmachine.h"

#include <algorithm>
#include <cerrno>

TEST_F(Plugin, SaysWhoItIs) {
    EXPECT_EQ(plugin_->GetType(), 0);
    EXPECT_EQ(plugin_->GetName(), "SCSI/IDE Device Collector");
    EXPECT_EQ(plugin_->GetVersion(), "1.0");
    EXPECT_EQ(plugin_->GetInterfaceVersion(), "1.0");
    EXPECT_EQ(minihost::registeredPlugins().back(), plugin_.get());
}

TEST_F(Plugin, GivesANewInstanceOfARequestedClass) {
    boost::shared_ptr<NHALDEN20::ICIMInstance> instance;
    auto requested = classes({"KORVA_CDVDDevice", "KORVA_SysBusDeviceFirmware", "KORVA_CDVDDevice"});
    auto none = classes({});
    EXPECT_FALSE(plugin_->wasRequested(none, "KORVA_CDVDDevice", instance));
    for (const char* other : {"KORVA_cdvddevice", "KORVA_CDVDDevice ", "KORVA_CDVD", ""})
        EXPECT_FALSE(plugin_->wasRequested(requested, other, instance)) << other;
    EXPECT_FALSE(instance) << "left as it was";

    const auto propertiesOf = [&instance] {
        return dynamic_cast<minihost::memoryInstance&>(*instance).properties();
    };
    ASSERT_TRUE(plugin_->wasRequested(requested, "KORVA_CDVDDevice", instance));
    const auto first = instance;
    ASSERT_EQ(propertiesOf().size(), 1U);
    EXPECT_EQ(propertiesOf()[0].first, "CreationClassName");
    EXPECT_EQ(static_cast<std::string>(propertiesOf()[0].second), "KORVA_CDVDDevice");
    ASSERT_TRUE(plugin_->wasRequested(requested, "KORVA_CDVDDevice", instance));
    EXPECT_NE(instance, first);
    ASSERT_TRUE(plugin_->wasRequested(requested, "KORVA_SysBusDeviceFirmware", instance));
    EXPECT_TRUE(propertiesOf().empty());
    EXPECT_TRUE(namespace_.instances().empty()) << "nothing is committed by asking";
}

TEST_F(Plugin, KeepsOneRecordForANode) {
    busDevice record;
    record.initialize();
    for (const char* path : {"/dev/sg1", "/dev/sg10", "/dev/sg2", "/dev/sg1"}) {
        record.devicePath = path;
        record.product += "+";
        plugin_->StoreBusDevice(&record);
    }
    record.devicePath = "changed after it was stored";
    auto requested = classes({"KORVA_SCSIDevice"});
    plugin_->GetBusDevice(requested, ns());
    strings stored;
    for (const auto& instance : namespace_.instances())
        stored.push_back(static_cast<std::string>(*instance->find("DeviceID")) +
                         static_cast<std::string>(*instance->find("ProductID")));
    EXPECT_EQ(stored, (strings{"/dev/sg10++", "/dev/sg2+++", "/dev/sg1++++"}));
    plugin_->GetBusDevice(requested, ns());
    EXPECT_EQ(namespace_.instances().size(), 3U) << "the records were consumed";
}

TEST_F(Plugin, NamesDeviceTypesByTheWholeByte) {
    const struct {
        unsigned char type;
        const char* name;
    } cases[] = {{0, "Direct Access Device"},
                 {9, "Communications Device"},
                 {10, "Graphic Arts Device"},
                 {11, "Graphic Arts Device"},
                 {12, "Storage Array Controller"},
                 {15, "Optical Card Reader Device"},
                 {16, ""},
                 {17, "Optical Based Storage Device"},
                 {18, ""},
                 {32, ""},
                 {255, ""}};
    for (const auto& c : cases)
        EXPECT_EQ(plugin_->getDeviceTypeString(c.type), c.name) << static_cast<int>(c.type);
}

TEST_F(Plugin, ExcludesByTheQuotedNameInTheUsbListing) {
    machine().usbListing = "  Device: usb 0x4012 \"Virtual Disk\"\n";
    machine().virtualDevices[0] = {};
    minihost::setVirtualDevices(0, {"one"});
    plugin_->Init();
    EXPECT_EQ(calls(), (strings{"system hwinfo --usb|grep \"Device: usb\" | grep 0x4012 > infousb.txt",
                                "system rm -f infousb.txt"}));
    EXPECT_EQ(takeLog(), strings{"3 hwinfo --usb | grep 'Device: usb' | grep 0x4012\n"
                                 "  Device: usb 0x4012 \"Virtual Disk\"\n\n"});

    EXPECT_TRUE(plugin_->FindUSBDevice(ns(), "any vendor", " Virtual Disk\t"));
    EXPECT_EQ(takeLog(), strings{"3 FindUSBDevice Remove Virtual: \"Virtual Disk\"\n"});
    for (const char* other : {"Virtual", "Disk", "virtual disk", "Virtual  Disk"})
        EXPECT_FALSE(plugin_->FindUSBDevice(ns(), "", other)) << other;
    EXPECT_THROW(plugin_->FindUSBDevice(ns(), "", " \t"), std::out_of_range);
    EXPECT_EQ(takeLog(), strings());

    machine().usbListing.clear();
    plugin_->Init();
    EXPECT_FALSE(plugin_->FindUSBDevice(ns(), "", "Virtual Disk")) << "a second Init replaces the listing";
}

TEST_F(Plugin, PlaceholdersTouchNothing) {
    auto requested = classes({});
    plugin_->IterateDrives("/dev/sg", requested, nullptr);
    plugin_->GetSCSISerialNumber(-1, nullptr);
    plugin_->GetIDESerialNumber(-1, nullptr);
    plugin_->GetOpticalCapabilities(requested, -1, nullptr, nullptr);
    plugin_->DeInit();
    EXPECT_EQ(calls(), strings());
    EXPECT_EQ(takeLog(), strings());
}
