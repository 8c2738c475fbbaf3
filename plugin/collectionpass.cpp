#include "plugin/scsidev_linux.h"

#include "device/hostlog.h"
#include "plugin/cimnames.h"
#include "plugin/host/addtovectorcallback.h"
#include "plugin/host/osspecific.h"

#include <cstdlib>
#include <exception>

using NHALDEN20::ICIMNamespace;
using NHALDEN20::TContext;
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

TContext TScsidevPluginCallbacks::queryContext() {
    TContext context;
    context[NHALDEN20::kContextName] = NHALDEN20::kPluginNSPName;
    return context;
}

void TScsidevPluginCallbacks::GetData(boost::shared_ptr<ICIMNamespace> ns, classList& requested) {
    const TContext context = queryContext();
    if (requested.empty())
        return;
    const auto firstClassIs = [&requested](const char* name) {
        return requested.front()->GetClassName(TContext()) == name;
    };
    if (firstClassIs(firmwareClass)) {
        readExistingInstances(*ns, busDeviceClass, context, existingDevices_);
        readExistingInstances(*ns, firmwareElementClass, context, existingFirmwareElements_);
        if (existingDevices_.empty() || existingFirmwareElements_.empty())
            return;
    }
    try {
        if (std::system("modprobe sg >/dev/null 2>&1") == 0) {
            hostLog(progress, "Getting sg devices...");
            collectData("/dev/sg", ns, requested);
        } else {
            hostLog(failedStep, "sg module is not loaded correctly");
        }
        hostLog(progress, "Getting hd devices...");
        collectData("/dev/hd", ns, requested);
        hostLog(progress, "Getting optical devices...");
        if (firstClassIs(opticalDriveClass))
            IterateCDromdrives(requested);
        GetBusDevice(requested, ns);
    } catch (const std::exception& failure) {
        hostLog(failedStep, failure.what());
    }
}

void TScsidevPluginCallbacks::readExistingInstances(ICIMNamespace& ns, const std::string& className,
                                                    const TContext& context, instanceList& instances) {
    ns.GetClass(className, context)
        ->EnumerateInstances(NHALDEN20::TAddToVectorCallback<NHALDEN20::ICIMInstance>(&instances), true, TContext());
}
