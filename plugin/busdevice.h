#pragma once

#include <cstdint>
#include <string>

/// What is known of one probed SCSI or ATA device. A plain value.
struct busDevice {
    busDevice() = default; // leaves the numbers unset: initialize() sets them

    /// Empties all texts and sets all numbers to 0.
    void initialize();

    std::string devicePath; ///< the node that was probed; the record's identity in the store
    std::string nodeName;   ///< the same path
    std::string product;
    std::string vendor;
    std::string firmwareLevel;
    std::string deviceType; ///< name of the peripheral device type
    std::string serialNumber;
    std::string identity;    ///< "Port:H|Target:T|Bus:C|Lun:L", or the node path where the address is unknown
    std::string model;       ///< first 23 characters of the ATA model; empty for others
    std::string inquiryText; ///< INQUIRY bytes 8..35 as they came; empty for nodes that are not SCSI
    std::uint16_t port;      ///< host number of the SCSI address
    std::uint16_t target;
    std::uint16_t bus; ///< channel of the SCSI address
    std::uint16_t lun;
    std::uint16_t busType; ///< BusTypeScsi or BusTypeAta
};

/// Parameter type of a placeholder: optical drives have no record.
struct cdvdDevice {};
