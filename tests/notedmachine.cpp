#include "tests/notedmachine.h"

#include "system/boundary.h"
#include "tests/scarcememory.h"

#include <linux/cdrom.h>
#include <linux/hdreg.h>
#include <scsi/sg.h>

#include <cstdio>

namespace {

std::string hex(const unsigned char* bytes, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        char byte[4];
        std::snprintf(byte, sizeof byte, " %02x", static_cast<unsigned>(bytes[i]));
        text += byte;
    }
    return text;
}

/// The request's name and what it asks: "SG_IO 12 00 00 00 24 00 length 36".
std::string requestText(unsigned long request, const void* argument) {
    const auto* const registers = static_cast<const unsigned char*>(argument);
    const auto* const header = static_cast<const sg_io_hdr*>(argument);
    switch (request) {
    case SG_GET_VERSION_NUM:
        return "SG_GET_VERSION_NUM";
    case SG_EMULATED_HOST:
        return "SG_EMULATED_HOST";
    case SG_GET_SCSI_ID:
        return "SG_GET_SCSI_ID";
    case SG_IO:
        return "SG_IO" + hex(header->cmdp, header->cmd_len) + " length " + std::to_string(header->dxfer_len);
    case CDROM_GET_CAPABILITY:
        return "CDROM_GET_CAPABILITY";
    case HDIO_DRIVE_CMD:
        return "HDIO_DRIVE_CMD" + hex(registers, 4);
    case HDIO_DRIVE_TASK:
        return "HDIO_DRIVE_TASK" + hex(registers, 7);
    default:
        return "unknown " + std::to_string(request);
    }
}

} // namespace

int notedMachine::open(const char* path, int flags, mode_t mode) {
    const scarceMemory::pause memory;
    const int fd = layer::open(path, flags, mode);
    if (sys::isNodePath(path)) {
        calls_.push_back(std::string("open ") + path);
        open_[fd] = path;
    }
    return fd;
}

int notedMachine::close(int fd) {
    const scarceMemory::pause memory;
    if (simulated_.owns(fd))
        calls_.push_back("close " + open_[fd]);
    return layer::close(fd);
}

int notedMachine::ioctl(int fd, unsigned long request, void* argument) {
    const scarceMemory::pause memory;
    if (fd < 0 || simulated_.owns(fd))
        calls_.push_back("ioctl " + (fd < 0 ? "closed" : open_[fd]) + ' ' + requestText(request, argument));
    return layer::ioctl(fd, request, argument);
}

unsigned notedMachine::sleep(unsigned seconds) {
    const scarceMemory::pause memory;
    calls_.push_back("sleep " + std::to_string(seconds));
    return layer::sleep(seconds);
}

int notedMachine::system(const char* command) {
    const scarceMemory::pause memory;
    calls_.push_back(std::string("system ") + command);
    return layer::system(command);
}
