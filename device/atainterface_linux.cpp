#include "device/atainterface_linux.h"

#include "device/deviceanswers.h"
#include "device/hostlog.h"
#include "device/scsidevice_linux.h"

#include <linux/cdrom.h>
#include <linux/hdreg.h>
#include <sys/ioctl.h>

#include <cstddef>
#include <cstring>
#include <exception>
#include <sstream>
#include <string>

namespace {

enum commandRegister { feature, sectorCount, sectorNumber, cylinderLow, cylinderHigh, deviceSelect, commandCode };

constexpr unsigned char identifyDeviceOpcode = 0xEC;
constexpr unsigned char smartReturnStatus = 0xDA;
constexpr std::size_t requestSize = 516;    // 4 register bytes and one sector of HDIO_DRIVE_CMD
constexpr std::size_t taskAnswerOffset = 1; // the error register of HDIO_DRIVE_TASK
constexpr std::size_t commandDataOffset = 4;

void refuseOpticalDrive(int fd) {
    // An optical drive returns its capabilities as a number, so only -1 means that this is none.
    if (::ioctl(fd, CDROM_GET_CAPABILITY, 0) == -1)
        return;
    hostLog(progress, "Aborting inquiry to cdrom...");
    throw scsiException("device is a cdrom");
}

void requireSuccess(int result, const unsigned char* command) {
    if (result == 0)
        return;
    std::stringstream text;
    // The number is the feature register's, whatever the text says: support staff search for it as it is.
    text << "ATA " << std::hex << static_cast<unsigned>(command[feature]) << "command returned fail: ";
    hostLog(progress, text.str());
    throw scsiException(text.str());
}

void driveTask(int fd, const unsigned char* command, unsigned char* request) {
    request[0] = command[commandCode];
    request[1] = smartReturnStatus;
    request[4] = command[cylinderLow];
    request[5] = command[cylinderHigh];
    requireSuccess(::ioctl(fd, HDIO_DRIVE_TASK, request), command);
}

void driveCommand(int fd, const unsigned char* command, unsigned char* request) {
    request[0] = command[commandCode];
    request[1] = command[sectorNumber];
    request[2] = command[feature];
    request[3] = command[sectorCount];
    requireSuccess(::ioctl(fd, HDIO_DRIVE_CMD, request), command);
}

} // namespace

int ataInterface::executeCommand(int fd, unsigned char* command, unsigned char* out, int size) {
    unsigned char request[requestSize] = {};
    if (command[commandCode] == identifyDeviceOpcode)
        refuseOpticalDrive(fd);
    if (command[feature] == smartReturnStatus) {
        driveTask(fd, command, request);
        std::memcpy(out, request + taskAnswerOffset, static_cast<std::size_t>(size));
    } else {
        driveCommand(fd, command, request);
        std::memcpy(out, request + commandDataOffset, static_cast<std::size_t>(size));
    }
    return 0;
}

int ataInterface::executePassThroughCmd(int fd, unsigned char* command, unsigned char* out, int size) {
    unsigned char request[requestSize]; // not cleared: the driver fills in what the command returns
    driveCommand(fd, command, request);
    std::memcpy(out, request + commandDataOffset, static_cast<std::size_t>(size));
    return 0;
}

bool identifyDevice(int fd, unsigned char select, unsigned char* answer) {
    unsigned char command[] = {0, 1, 0, 0, 0, select, identifyDeviceOpcode};
    try {
        ataInterface().executeCommand(fd, command, answer, identifyView::answerSize);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}
