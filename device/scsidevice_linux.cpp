#include "device/scsidevice_linux.h"

#include "device/atainterface_linux.h"
#include "device/deviceanswers.h"
#include "device/hostlog.h"
#include "device/scsipassthrough_linux.h"

#include <fcntl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <utility>

namespace {

constexpr int lastLetterIndex = 25;                                 // 'z'
constexpr unsigned char selectDevice0 = 0xA0, selectDevice1 = 0xB0; // of an ATA channel

int openNode(const std::string& path) { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK); }

} // namespace

bool isCartridgeDrive(const std::string& product) {
    return product.find("GoVault") != std::string::npos || product.find("RDX") != std::string::npos;
}

scsiException::scsiException(std::string message) : message_(std::move(message)) {}
scsiException::~scsiException() = default;
const char* scsiException::what() const noexcept { return message_.c_str(); }

scsiDevice::scsiDevice() = default;
scsiDevice::~scsiDevice() { CloseDevice(); }

int scsiDevice::GetDevice(std::string path, int index) {
    devicePath = path + std::to_string(static_cast<std::uint16_t>(index));
    CloseDevice();
    fd = openNode(devicePath);
    if (fd >= 0)
        return 1;
    devicePath = path + static_cast<char>('a' + (index & 0xFF));
    fd = openNode(devicePath);
    return fd >= 0 ? 1 : -1;
}

int scsiDevice::GetDevice() {
    CloseDevice();
    fd = openNode(devicePath);
    return fd >= 0 ? 1 : -1;
}

void scsiDevice::GetDevice(int /*host*/, int /*target*/, int /*lun*/) {}

void scsiDevice::CloseDevice() {
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

int scsiDevice::getBusType() const {
    unsigned char answer[identifyView::answerSize];
    return identifyDevice(fd, selectDevice0, answer) ? 3 : 1;
}

int scsiDevice::initialize(std::string path, int index) {
    const int opened = GetDevice(path, index);
    hostLog(progress, "Trying device: ");
    hostLog(progress, devicePath);
    if (opened == -1)
        return index <= lastLetterIndex ? 0 : -1;

    unsigned char answer[identifyView::answerSize] = {};
    if (!path.empty() && !identifyDevice(fd, target % 2 != 0 ? selectDevice0 : selectDevice1, answer))
        return identifyScsi() ? 1 : 0;
    hostLog(progress, identifyView(answer).model());
    return 1;
}

bool scsiDevice::identifyScsi() {
    const auto allocated = std::make_unique<scsiPassThrough>(); // 64 KiB: a host's thread can have a small stack
    scsiPassThrough& passThrough = *allocated;
    if (passThrough.execSCSICommand(this, inquiry_cmd, inquiryCommandLength) != 0)
        return false;
    const inquiryView inquiry(passThrough.getRawBuffer());
    if (inquiry.peripheralByte() > 1) // neither a disk nor a tape, or nothing connected
        return false;

    vendor = inquiry.vendor();
    product = inquiry.product();
    firmwareLevel = inquiry.revision();
    hostLog(progress, "Vendor: " + vendor + "\nProduct: " + product + "\nFirmware Level: " + firmwareLevel + "\n");
    if (vendor.empty() && product.empty())
        return false;
    deviceType = isCartridgeDrive(product) ? 1 : inquiry.peripheralByte() & deviceTypeMask;

    sg_scsi_id id{};
    if (::ioctl(fd, SG_GET_SCSI_ID, &id) != -1) {
        lun = id.lun;
        channel = id.channel;
        target = id.scsi_id;
        host = id.host_no;
    }
    return true;
}
