#include "plugin/scsidev_linux.h"

#include "device/atainterface_linux.h"
#include "device/deviceanswers.h"
#include "device/peripheraltypes.h"
#include "device/scsidevice_linux.h"

#include <algorithm>
#include <iterator>
#include <memory>

// The braces matter: they set the numbers to 0, and so each member that is added later; `busDevice record;` leaves them
// unset.
void busDevice::initialize() { *this = busDevice{}; }

void TScsidevPluginCallbacks::StoreBusDevice(busDevice* record) {
    auto copy = std::make_unique<busDevice>(*record);
    storedDevices_.push_back(copy.get()); // where this throws, nothing has changed
    const busDevice* added = copy.release();
    const auto first = std::find_if(storedDevices_.begin(), storedDevices_.end(),
                                    [added](const busDevice* other) { return other->devicePath == added->devicePath; });
    if (*first == added)
        return;
    delete *first;
    storedDevices_.erase(first);
}

std::string TScsidevPluginCallbacks::getDeviceTypeString(unsigned char type) {
    return type < std::size(peripheralTypes) ? peripheralTypes[type] : "";
}

unsigned int TScsidevPluginCallbacks::getBusType(scsiDevice* device) {
    unsigned char answer[identifyView::answerSize];
    return identifyDevice(device->fd, 0, answer) ? BusTypeAta : BusTypeScsi;
}
