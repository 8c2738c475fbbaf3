#include "tests/notedmachine.h"

#include "system/boundary.h"
#include "system/requests.h"
#include "tests/scarcememory.h"
#include "text/hex.h"

#include <linux/cdrom.h>
#include <linux/hdreg.h>
#include <scsi/sg.h>

namespace {

/// The request's name and what it asks: "SG_IO 120000002400 length 36".
std::string requestText(unsigned long request, const void* argument) {
    static const std::map<unsigned long, const char*> names{{SG_GET_VERSION_NUM, "SG_GET_VERSION_NUM"},
                                                            {SG_EMULATED_HOST, "SG_EMULATED_HOST"},
                                                            {SG_GET_SCSI_ID, "SG_GET_SCSI_ID"},
                                                            {SG_IO, "SG_IO"},
                                                            {CDROM_GET_CAPABILITY, "CDROM_GET_CAPABILITY"},
                                                            {HDIO_DRIVE_CMD, "HDIO_DRIVE_CMD"},
                                                            {HDIO_DRIVE_TASK, "HDIO_DRIVE_TASK"}};
    const auto name = names.find(request);
    if (name == names.end())
        return "unknown " + std::to_string(request);
    const auto* asked = static_cast<const unsigned char*>(argument);
    std::size_t size = request == HDIO_DRIVE_CMD ? 4 : request == HDIO_DRIVE_TASK ? sys::taskBytes : 0;
    std::string length;
    if (request == SG_IO) {
        const auto* const header = static_cast<const sg_io_hdr*>(argument);
        asked = header->cmdp;
        size = header->cmd_len;
        length = " length " + std::to_string(header->dxfer_len);
    }
    return name->second + (size == 0 ? "" : ' ' + text::hexDigits(sys::bytes(asked, asked + size))) + length;
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
