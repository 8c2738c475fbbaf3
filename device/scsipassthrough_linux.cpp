#include "device/scsipassthrough_linux.h"

#include "device/deviceanswers.h"
#include "device/hostlog.h"
#include "device/scsidevice_linux.h"

#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>

unsigned char inquiry_cmd[commandStorage] = {0x12, 0x00, 0x00, 0x00, 0x24, 0x00};
unsigned char serialinquiry_cmd[commandStorage] = {0x12, 0x01, 0x80, 0x00, 0xFF, 0x00};
unsigned char test_unit_ready[commandStorage] = {};
unsigned char load_cmd[commandStorage] = {0x1B, 0x00, 0x00, 0x00, 0x01, 0x00};
unsigned char unload_cmd[commandStorage] = {0x1B, 0x00, 0x00, 0x00, 0x00, 0x00};
unsigned char prevent_cmd[commandStorage] = {0x1E, 0x00, 0x00, 0x00, 0x01, 0x00};
unsigned char send_diags[commandStorage] = {0x1D, 0x00, 0x00, 0x00, 0x00, 0x00};
unsigned char allow_cmd[commandStorage] = {0x1E, 0x00, 0x00, 0x00, 0x00, 0x00};
unsigned char rewind_cmd[commandStorage] = {0x01, 0x01, 0x00, 0x00, 0x00, 0x00};
unsigned char tapeAlert_cmd[commandStorage] = {0x4D, 0x00, 0x6E, 0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00};
unsigned char driveUsage_cmd[commandStorage] = {0x4D, 0x00, 0x40, 0x00, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0x00};
unsigned char deviceStatus_cmd[commandStorage] = {0x4D, 0x00, 0x33, 0x00, 0x00, 0x00, 0x01, 0x02, 0x00, 0x00};

namespace {

constexpr unsigned char inquiryOpcode = 0x12;
constexpr int firstSgIoVersion = 30000;
constexpr unsigned commandTimeout = 20000; // ms
constexpr unsigned retryPause = 5;         // s
constexpr int attemptsPerCommand = 5;
constexpr unsigned emulatedTransferLength = 255;
constexpr unsigned char unitAttentionKey = 6;

bool offersSgIo(int fd) {
    int version = 0;
    return ::ioctl(fd, SG_GET_VERSION_NUM, &version) != -1 && version >= firstSgIoVersion;
}

/// Asks a second time on a newly opened descriptor: the device handle has that one from then on.
bool offersSgIoAtSecondTry(scsiDevice* device) {
    if (offersSgIo(device->fd))
        return true;
    hostLog(progress, "Device does not support SGIO, try again!");
    if (device->GetDevice() == -1)
        return false;
    if (offersSgIo(device->fd))
        return true;
    hostLog(progress, "Device does not support SGIO");
    return false;
}

bool isEmulatedHost(int fd) {
    int emulated = 0;
    if (::ioctl(fd, SG_EMULATED_HOST, &emulated) != -1 && emulated != 1)
        return false;
    hostLog(progress, "Device is emulated scsi");
    return true;
}

bool isKnownBehindEmulation(const std::string& product) {
    for (const char* name : {"DAT160", "GoVault", "RDX", "LTO", "DDS"}) {
        if (product.find(name) != std::string::npos) {
            hostLog(progress, product + " Found!\n");
            return true;
        }
    }
    return false;
}

void logFailure(const sg_io_hdr& header, const unsigned char* sense) {
    // One stream for all four lines, on purpose: std::hex stays set on it, so the numbers after a sense line are
    // hexadecimal, and without a sense line they are decimal. Readers of the log know both.
    std::stringstream text;
    const auto logText = [&text] {
        hostLog(progress, text.str());
        text.str("");
    };
    if (header.sb_len_wr > 0) {
        text << "SCSI sense data: " << std::hex;
        for (unsigned i = 0; i < std::min<unsigned>(header.sb_len_wr, header.mx_sb_len); ++i)
            text << static_cast<unsigned>(sense[i]);
        logText();
    }
    if (header.masked_status != 0) {
        text << "SG SCSI status=" << header.status; // one raw character
        logText();
    }
    if (header.host_status != 0) {
        text << "SG Host status=" << header.host_status;
        logText();
    }
    if (header.driver_status != 0) {
        text << "SG Driver status=" << header.driver_status;
        logText();
    }
}

} // namespace

// Clears only what an INQUIRY answer fills: clearing 64 KiB for each node would cost more than the rest of its probing.
scsiPassThrough::scsiPassThrough() { std::fill_n(dataBuffer, inquiryView::answerSize, 0); } // NOLINT(*-member-init)

int scsiPassThrough::execSCSICommand(scsiDevice* device, unsigned char* cdb, int cdbLength) {
    if (!offersSgIoAtSecondTry(device))
        return -1;

    const bool standardInquiry = cdb[0] == inquiryOpcode && cdb[1] == 0;
    const bool emulated = !standardInquiry && isEmulatedHost(device->fd);
    if (emulated && !isKnownBehindEmulation(device->product))
        return -1;

    for (int attempts = 0; attempts < attemptsPerCommand; ++attempts) {
        switch (sendOnce(device->fd, cdb, cdbLength, emulated)) {
        case attempt::succeeded:
            return 0;
        case attempt::requestFailed:
            return 1;
        case attempt::failed:
            return -1;
        case attempt::retry:
            break;
        }
    }
    return -1;
}

scsiPassThrough::attempt scsiPassThrough::sendOnce(int fd, unsigned char* cdb, int cdbLength, bool emulated) {
    sg_io_hdr header{};
    header.interface_id = 'S';
    header.dxfer_direction = SG_DXFER_FROM_DEV;
    header.cmd_len = static_cast<unsigned char>(cdbLength);
    header.mx_sb_len = sizeof senseBuffer;
    header.dxfer_len = cdb[0] == inquiryOpcode ? inquiryView::answerSize : sizeof dataBuffer;
    header.dxferp = dataBuffer;
    header.cmdp = cdb;
    header.sbp = senseBuffer;
    header.timeout = commandTimeout;
    if (emulated) {
        header.dxfer_len = emulatedTransferLength;
        cdb[8] = emulatedTransferLength;
        cdb[7] = 0;
    }

    if (::ioctl(fd, SG_IO, &header) == -1) {
        hostLog(progress, "SG IOCTL error");
        return attempt::requestFailed;
    }
    if ((header.info & SG_INFO_OK_MASK) != SG_INFO_CHECK)
        return attempt::succeeded;

    // The sense buffer is read even when this attempt wrote no sense: that of an earlier command then decides. The
    // pause comes after the last attempt too, and before the lines that say why.
    const bool retry = awaitsRetry();
    if (retry) {
        hostLog(progress, "Retry condition...");
        ::sleep(retryPause);
    }
    logFailure(header, senseBuffer);
    return retry ? attempt::retry : attempt::failed;
}

bool scsiPassThrough::awaitsRetry() const {
    const auto reports = [this](unsigned char asc, unsigned char ascq) {
        return getASC() == asc && getASCQ() == ascq;
    };
    return (getSensekey() & 0x0F) == unitAttentionKey || reports(0x04, 0x01) // becoming ready
           || reports(0x28, 0x00);                                           // medium may have changed
}
