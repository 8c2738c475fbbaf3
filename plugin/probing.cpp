#include "plugin/scsidev_linux.h"

#include "device/atainterface_linux.h"
#include "device/deviceanswers.h"
#include "device/hostlog.h"
#include "device/scsidevice_linux.h"
#include "device/scsipassthrough_linux.h"

#include <scsi/sg.h>
#include <sys/ioctl.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>

namespace {

constexpr std::size_t modelLength = 23;      // what a record keeps of the 40 characters
constexpr unsigned longestSerialNumber = 32; // 36 bytes are read, and the page header takes 4
constexpr std::size_t pageLengthOffset = 3;  // of the unit serial number page (SPC-4, 7.8.19)
constexpr std::size_t serialNumberOffset = 4;

bool isAtaVendor(const busDevice& record) { return record.vendor.find("ATA") != std::string::npos; }

/// `text` without outer blanks and tabs; a text made only of these stays as it is.
std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return text;
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

void startRecord(busDevice& record, const std::string& path, bool scsiNode) {
    record.initialize();
    record.devicePath = path;
    record.nodeName = path;
    record.busType = scsiNode ? BusTypeScsi : BusTypeAta;
}

void readInquiry(const inquiryView& inquiry, busDevice& record) {
    record.inquiryText = inquiry.identification();
    record.vendor = trimmed(inquiry.vendor());
    const std::string product = inquiry.product();
    record.product = trimmed(product.empty() ? record.vendor : product);
    record.firmwareLevel = inquiry.revision();
    hostLog(progress, "Vendor: " + record.vendor + "\nProduct: " + record.product +
                          "\nFirmware Level: " + record.firmwareLevel + "\n");
}

void readAddress(const scsiDevice& device, busDevice& record) {
    sg_scsi_id id{};
    if (::ioctl(device.fd, SG_GET_SCSI_ID, &id) == -1) {
        record.identity = record.devicePath;
        return;
    }
    hostLog(progress, "Get SCSI ID passed...");
    record.port = static_cast<std::uint16_t>(id.host_no);
    record.target = static_cast<std::uint16_t>(id.scsi_id);
    record.bus = static_cast<std::uint16_t>(id.channel);
    record.lun = static_cast<std::uint16_t>(id.lun);
    record.identity = "Port:" + std::to_string(record.port) + "|Target:" + std::to_string(record.target) +
                      "|Bus:" + std::to_string(record.bus) + "|Lun:" + std::to_string(record.lun);
}

void readSerialNumber(scsiDevice& device, scsiPassThrough& passThrough, busDevice& record) {
    hostLog(progress, "Trying serial number...");
    if (passThrough.execSCSICommand(&device, serialinquiry_cmd, inquiryCommandLength) != 0)
        return;
    const unsigned char* page = passThrough.getRawBuffer();
    const unsigned char* serialNumber = page + serialNumberOffset;
    const unsigned length = page[pageLengthOffset];
    if (length > longestSerialNumber) {
        hostLog(progress, "Size pointer is too large");
        return;
    }
    record.serialNumber = upToZero({serialNumber, serialNumber + length});
    hostLog(progress, "Serial Number: " + record.serialNumber);
}

void readIdentify(const identifyView& answer, busDevice& record) {
    const std::string model = answer.model();
    hostLog(progress, model);
    std::istringstream words(model);
    std::string word;
    if (words >> word)
        record.vendor = word;
    if (words >> word)
        record.product = word;
    record.model = model.substr(0, modelLength);
    record.firmwareLevel = answer.firmware();
    record.serialNumber = answer.serialNumber();
    hostLog(progress, record.serialNumber);
}

} // namespace

void TScsidevPluginCallbacks::collectData(std::string nodeBase, boost::shared_ptr<NHALDEN20::ICIMNamespace> ns,
                                          classList& /*requested*/) {
    const bool scsiNodes = nodeBase == "/dev/sg" || nodeBase == "/dev/sd";
    scsiDevice device;
    busDevice record;
    for (int index = 0; index < nodesPerFamily; ++index) {
        if (device.GetDevice(nodeBase, index) == -1)
            continue;
        startRecord(record, device.devicePath, scsiNodes);
        const bool scsiDone = collectScsiNode(device, record, ns);
        // "ATA" as vendor is what a translation layer says in place of a SATA disk's maker: IDENTIFY DEVICE has the
        // disk's own words, which replace those of INQUIRY.
        if (!scsiDone || isAtaVendor(record))
            collectAtaDevice(device, index, scsiDone, record);
        device.CloseDevice();
    }
}

/// Identifies the device by INQUIRY and stores its record unless it is excluded. False: INQUIRY gave no
/// identity. A node that is not SCSI is sent the INQUIRY too, but its answer is ignored.
bool TScsidevPluginCallbacks::collectScsiNode(scsiDevice& device, busDevice& record,
                                              boost::shared_ptr<NHALDEN20::ICIMNamespace> ns) {
    const auto allocated = std::make_unique<scsiPassThrough>(); // 64 KiB: a host's thread can have a small stack
    scsiPassThrough& passThrough = *allocated;
    if (passThrough.execSCSICommand(&device, inquiry_cmd, inquiryCommandLength) != 0 || record.busType != BusTypeScsi)
        return false;
    hostLog(progress, "SCSI Inquiry returned good...");
    const inquiryView inquiry(passThrough.getRawBuffer());
    const unsigned char peripheralByte = inquiry.peripheralByte(); // the next command overwrites the buffer
    readInquiry(inquiry, record);
    record.deviceType = getDeviceTypeString(peripheralByte & deviceTypeMask);
    if (record.vendor.empty() || record.product.empty())
        return false;

    readAddress(device, record);
    if (isDiskOrTape(peripheralByte))
        readSerialNumber(device, passThrough, record);
    if (!isExcluded(peripheralByte, record, ns))
        StoreBusDevice(&record);
    return true;
}

/// Identifies the device by IDENTIFY DEVICE and stores its record. Where the command fails, the record and the store
/// stay as they are.
void TScsidevPluginCallbacks::collectAtaDevice(scsiDevice& device, int index, bool scsiDone, busDevice& record) {
    hostLog(progress, "Scsi:ATA Inquiry started");
    if (isAtaVendor(record))
        device.GetDevice("/dev/sd", index); // the generic node does not take ATA commands
    unsigned char answer[identifyView::answerSize];
    if (!identifyDevice(device.fd, 0, answer))
        return;
    hostLog(progress, "Ata Inquiry returned good...");
    readIdentify(identifyView(answer), record);
    if (!scsiDone)
        record.identity = record.devicePath;
    StoreBusDevice(&record);
}
