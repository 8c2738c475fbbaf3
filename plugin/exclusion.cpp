#include "plugin/scsidev_linux.h"

#include "device/hostlog.h"
#include "plugin/host/osspecific.h"

#include <cstdlib>

using NHALDEN20::TOSSpecific;

void TScsidevPluginCallbacks::Init() {
    TOSSpecific::getOrvexVirtualDevices(0, virtualDisks_, true);
    TOSSpecific::getOrvexVirtualDevices(1, virtualOpticalDrives_, true);
    // Without hwinfo the listing is empty and excludes nothing, so the results do not matter.
    [[maybe_unused]] int result = std::system("hwinfo --usb|grep \"Device: usb\" | grep 0x4012 > infousb.txt");
    usbListing_ = TOSSpecific::CaptureFile("infousb.txt");
    result = std::system("rm -f infousb.txt");
    hostLog(progress, "hwinfo --usb | grep 'Device: usb' | grep 0x4012\n" + usbListing_ + "\n");
}

bool TScsidevPluginCallbacks::FindUSBDevice(boost::shared_ptr<NHALDEN20::ICIMNamespace> /*ns*/, std::string /*vendor*/,
                                            std::string product) {
    // Not guarded against a product of blanks only, unlike the trimming of the probe: substr throws then.
    product = product.substr(product.find_first_not_of(" \t"));
    product.erase(product.find_last_not_of(" \t") + 1);
    const std::string quoted = '"' + product + '"';
    if (usbListing_.find(quoted) == std::string::npos)
        return false;
    hostLog(progress, "FindUSBDevice Remove Virtual: " + quoted + "\n");
    return true;
}
