#pragma once

#include <exception>
#include <string>

/// The kinds of bus that an inventory record names. scsiDevice::getBusType returns other numbers.
constexpr unsigned char BusTypeScsi = 0;
constexpr unsigned char BusTypeAta = 1;

/// How many nodes of a family a walk looks at, from index 0.
constexpr int nodesPerFamily = 32;

/// A failed command of the device layer.
class scsiException : public std::exception {
public:
    explicit scsiException(std::string message);
    ~scsiException() override;
    const char* what() const noexcept override;

private:
    std::string message_;
};

/// Where a SCSI device sits.
struct scsiAddress {
    scsiAddress(int hostNumber, int channelNumber, int targetId, int unit)
        : host(hostNumber), channel(channelNumber), target(targetId), lun(unit) {}

    int host, channel, target, lun;
};

/// Is `product` one of the removable-cartridge drives, which count as tapes whatever type they report?
bool isCartridgeDrive(const std::string& product);

/// A handle on one Linux device node at a time: names the node, opens it, identifies the device behind it and
/// closes it.
///
/// Not for sharing: opening a node closes the one that the handle had open.
class scsiDevice {
public:
    scsiDevice();
    ~scsiDevice();
    scsiDevice(const scsiDevice&) = delete;
    scsiDevice& operator=(const scsiDevice&) = delete;

    /// Opens the node `path` + `index` (16 bits, decimal), or else the node `path` + letter ('a' for 0),
    /// read-only and without waiting. 1: opened; -1: neither opens. devicePath then names the node that was
    /// tried last.
    int GetDevice(std::string path, int index);

    /// Opens devicePath once more. 1: opened; -1: not.
    int GetDevice();

    /// Does nothing; kept for the interface.
    void GetDevice(int host, int target, int lun);

    void CloseDevice();

    /// 3 when the open node answers ATA IDENTIFY DEVICE, 1 when it does not.
    int getBusType() const;

    /// Opens the node at `path` and `index` and identifies its device, as ATA first, as SCSI disk or tape
    /// second. 1: identified; 0: nothing usable at this index; -1: stop scanning this base path.
    int initialize(std::string path, int index);

    std::string reservedText1{"null"};
    std::string vendor{"null"};        ///< INQUIRY bytes 8..15, blanks included; "null" until identified
    std::string product{"null"};       ///< INQUIRY bytes 16..31; "null" until identified
    std::string firmwareLevel{"null"}; ///< INQUIRY bytes 32..35; "null" until identified
    int deviceType = 0;                ///< peripheral device type; 1 (sequential access) for cartridge drives
    int lun = 0;
    int channel = 0;
    int target = 0;
    int host = 0;
    int fd = -1; ///< negative when closed
    std::string devicePath{"null"};
    std::string reservedText2{"null"};

private:
    bool identifyScsi();
};
