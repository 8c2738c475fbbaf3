#include "plugin/scsidev_linux.h"

#include "device/hostlog.h"
#include "device/scsidevice_linux.h"
#include "plugin/cimnames.h"
#include "plugin/host/osspecific.h"

#include <algorithm>
#include <memory>

using NHALDEN20::ICIMInstance;
using NHALDEN20::ICIMNamespace;
using NHALDEN20::TCIMValue;
using NHALDEN20::TContext;

namespace {

constexpr unsigned short purposeFirmware = 6; // CIM: firmware or BIOS
constexpr unsigned short kWindowsXP = 58;     // reported whatever system the machine runs
constexpr unsigned short kExecutable = 2;

/// Where tape drives are requested first, cartridge drives count as tapes whatever type they report. Where SCSI devices
/// are, cartridge drives are left out.
bool belongsToRequest(const busDevice& record, const std::string& firstClass) {
    const bool cartridgeDrive = isCartridgeDrive(record.product);
    const bool sequentialAccess = record.deviceType.find("Sequential Access") != std::string::npos;
    if (firstClass == tapeDriveClass && !sequentialAccess)
        return cartridgeDrive;
    return firstClass != scsiDeviceClass || !cartridgeDrive;
}

/// An array of one text. Not `{text}` in place of the vector: g++ 14 reads one value in braces as a value to be
/// converted to a vector, which gives an empty one.
TCIMValue arrayOf(const std::string& text) { return {NHALDEN20::kCIMStringArray, 0, std::vector<TCIMValue>(1, text)}; }

void writeDeviceInstance(const busDevice& record, ICIMInstance& instance) {
    const TContext none;
    const auto set = [&instance, &none](const char* property, const TCIMValue& value) {
        instance.SetProperty(property, value, none);
    };
    const std::string fullName = record.vendor + " " + record.product;
    set("SystemCreationClassName", computerSystemClass);
    set("SystemName", NHALDEN20::TOSSpecific::GetMachineName());
    const bool scsiTape =
        record.busType == BusTypeScsi && instance.GetInstanceClass(none)->GetClassName(none) == tapeDriveClass;
    set("Caption", scsiTape ? record.inquiryText : fullName);
    set("Name", record.nodeName);
    set("DeviceID", record.devicePath);
    set("ElementName", fullName);
    set("ProductID", record.product);
    set("VendorID", record.vendor);
    set("Revision", record.firmwareLevel);
    set("HostAdapterID", record.port);
    set("TargetID", record.target);
    set("Bus", record.bus);
    set("Lun", record.lun);
    set("DeviceType", record.deviceType);
    set("serialNum", record.serialNumber);
    set("Model", record.model);
    set(identifyingInfoProperty, arrayOf(record.identity));
    instance.AddToClass(none);
}

std::string firmwareElementName(const busDevice& record) {
    if (record.busType == BusTypeScsi)
        return "SCSI Device";
    if (record.busType == BusTypeAta)
        return "ATA Device";
    // Log readers search for this spelling.
    hostLog(progress, "Unknown Apapter type for FirmwareElement: " + std::to_string(record.busType));
    return "Unknown";
}

} // namespace

void TScsidevPluginCallbacks::GetBusDevice(classList& requested, boost::shared_ptr<ICIMNamespace> ns) {
    for (busDevice* const stored : storedDevices_) {
        const std::unique_ptr<busDevice> record(stored);
        try {
            returnDevice(requested, record.get(), ns);
        } catch (...) { // a record that fails does not stop the others
        }
    }
    storedDevices_.clear();
}

void TScsidevPluginCallbacks::returnDevice(classList& requested, busDevice* record,
                                           boost::shared_ptr<ICIMNamespace> ns) {
    if (requested.empty())
        return;
    boost::shared_ptr<ICIMInstance> instance;
    if (wasRequested(requested, firmwareClass, instance)) {
        writeAssociation(*record, instance);
        return;
    }
    const bool isDevice = chooseDeviceInstance(requested, *record, instance);
    const std::string& firstClass = requested.front()->GetClassName(TContext());
    if (isDevice) {
        if (!belongsToRequest(*record, firstClass))
            return;
        hostLog(progress, "SCSI or ATA");
        writeDeviceInstance(*record, *instance);
    } else if (firstClass == firmwareElementClass) {
        writeFirmwareElement(*record, *ns);
    }
}

bool TScsidevPluginCallbacks::chooseDeviceInstance(classList& requested, const busDevice& record,
                                                   boost::shared_ptr<ICIMInstance>& instance) {
    if (record.busType == BusTypeScsi)
        return wasRequested(requested, scsiDeviceClass, instance) || wasRequested(requested, tapeDriveClass, instance);
    return record.busType == BusTypeAta && wasRequested(requested, ataDeviceClass, instance);
}

void TScsidevPluginCallbacks::writeAssociation(const busDevice& record, boost::shared_ptr<ICIMInstance> association) {
    hostLog(progress, "Making association for " + record.devicePath + " " + record.firmwareLevel + " " +
                          std::to_string(existingDevices_.size()) + " " +
                          std::to_string(existingFirmwareElements_.size()));
    if (!findRefs(record.identity, record.firmwareLevel, association))
        return;
    hostLog(progress, "Found association...");
    association->SetProperty("Purpose", purposeFirmware, TContext());
    association->SetProperty("LoadedOnDevice", true, TContext());
    association->SetProperty("UpgradeableOnDevice", true, TContext());
    association->AddToClass(TContext());
}

void TScsidevPluginCallbacks::writeFirmwareElement(const busDevice& record, ICIMNamespace& ns) {
    hostLog(progress, "FirmwareElement");
    const auto element = ns.GetClass(firmwareElementClass, queryContext())->CreateInstance(TContext());
    const auto set = [&element](const char* property, const TCIMValue& value) {
        element->SetProperty(property, value, TContext());
    };
    set("Version", record.firmwareLevel);
    set("Manufacturer", record.vendor);
    set("TargetOperatingSystem", kWindowsXP);
    set("SoftwareElementState", kExecutable);
    set(softwareElementIdProperty, record.identity);
    set("Name", firmwareElementName(record));
    firmwareElements_.push_back(element);
    element->AddToClass(TContext());
}

bool TScsidevPluginCallbacks::wasRequested(classList& requested, std::string className,
                                           boost::shared_ptr<NHALDEN20::ICIMInstance>& instance) {
    const auto match = std::find_if(requested.begin(), requested.end(), [&className](const auto& candidate) {
        return candidate->GetClassName(TContext()) == className;
    });
    if (match == requested.end())
        return false;
    instance = (*match)->CreateInstance(TContext());
    if (className != firmwareClass)
        instance->SetProperty(creationClassNameProperty, className, TContext());
    return true;
}
