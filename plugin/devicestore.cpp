#include "plugin/scsidev_linux.h"

#include "device/atainterface_linux.h"
#include "device/deviceanswers.h"
#include "device/peripheraltypes.h"
#include "device/scsidevice_linux.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <memory>

// The braces matter: they set the numbers to 0, and so each member that is added later; `busDevice record;` leaves them
// unset.
void busDevice::initialize() { *this = busDevice{}; }

void TScsidevPluginCallbacks::StoreBusDevice(busDevice* record) {
    auto copy = std::make_unique<busDevice>(*record);
    storedDevices_.reserve(storedDevices_.size() + 1); // so that nothing below can throw and lose a record
    const auto stored = std::find_if(storedDevices_.begin(), storedDevices_.end(),
                                     [&copy](const busDevice* other) { return other->devicePath == copy->devicePath; });
    if (stored != storedDevices_.end()) {
        delete *stored;
        storedDevices_.erase(stored);
    }
    storedDevices_.push_back(copy.release());
}

std::string TScsidevPluginCallbacks::getDeviceTypeString(unsigned char type) {
    return type < std::size(peripheralTypes) ? peripheralTypes[type].name : "";
}

unsigned int TScsidevPluginCallbacks::getBusType(scsiDevice* device) {
    identifyDeviceCommand command;
    unsigned char answer[identifyDeviceCommand::answerSize];
    try {
        ataInterface().executeCommand(device->fd, command.registers, answer, sizeof answer);
        return BusTypeAta;
    } catch (const std::exception&) {
        return BusTypeScsi;
    }
}
