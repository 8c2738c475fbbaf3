// Operations of the plug-in object that a query alone does not show.

#include "device/scsidevice_linux.h"
#include "minihost/minihost.h"
#include "tests/simulatedmachine.h"

#include <stdexcept>

TEST_F(Plugin, SaysWhoItIs) {
    EXPECT_EQ(plugin_->GetType(), 0);
    EXPECT_EQ(plugin_->GetName(), "SCSI/IDE Device Collector");
    EXPECT_EQ(plugin_->GetVersion(), "1.0");
    EXPECT_EQ(plugin_->GetInterfaceVersion(), "1.0");
}

TEST_F(Plugin, TellsAnAtaDeviceByItsAnswer) {
    at("/dev/hda").identify = identify("ACME DISK");
    at("/dev/hdb");
    scsiDevice device;
    device.GetDevice("/dev/hd", 0);
    EXPECT_EQ(plugin_->getBusType(&device), BusTypeAta);
    EXPECT_EQ(calls().back(), "ioctl /dev/hda HDIO_DRIVE_CMD ec000001");
    device.GetDevice("/dev/hd", 1);
    EXPECT_EQ(plugin_->getBusType(&device), BusTypeScsi);
}

TEST_F(Plugin, NamesDeviceTypesByTheWholeByte) {
    EXPECT_EQ(plugin_->getDeviceTypeString(15), "Optical Card Reader Device");
    EXPECT_EQ(plugin_->getDeviceTypeString(17), "Optical Based Storage Device");
    for (const int nameless : {16, 18, 32, 255})
        EXPECT_EQ(plugin_->getDeviceTypeString(static_cast<unsigned char>(nameless)), "") << nameless;
}

TEST_F(Plugin, ExcludesByTheQuotedNameInTheUsbListing) {
    machine().usbListing = "  Device: usb 0x4012 \"Virtual Disk\"\n";
    plugin_->Init();
    EXPECT_EQ(calls(), (strings{"system hwinfo --usb|grep \"Device: usb\" | grep 0x4012 > infousb.txt",
                                "system rm -f infousb.txt"}));
    takeLog();
    EXPECT_TRUE(plugin_->FindUSBDevice(ns(), "any vendor", " Virtual Disk\t"));
    EXPECT_EQ(takeLog(), strings{"3 FindUSBDevice Remove Virtual: \"Virtual Disk\"\n"});
    for (const char* other : {"Virtual", "Disk", "virtual disk", "Virtual  Disk"})
        EXPECT_FALSE(plugin_->FindUSBDevice(ns(), "", other)) << other;
    EXPECT_THROW(plugin_->FindUSBDevice(ns(), "", " \t"), std::out_of_range);

    machine().usbListing.clear();
    plugin_->Init();
    EXPECT_FALSE(plugin_->FindUSBDevice(ns(), "", "Virtual Disk")) << "a second Init replaces the listing";
}
