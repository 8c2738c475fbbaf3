#pragma once

class scsiDevice;

/// Room for each command descriptor block: ten bytes for six-byte commands too, because execSCSICommand may
/// overwrite bytes 7 and 8.
constexpr int commandStorage = 10;

/// Length of the two INQUIRY commands.
constexpr int inquiryCommandLength = 6;

// The commands of the layer (SPC-4, SSC-3). Only the two INQUIRY commands are sent; the others serve tape
// drives.
extern unsigned char inquiry_cmd[commandStorage];       ///< INQUIRY, standard data, 36 bytes
extern unsigned char serialinquiry_cmd[commandStorage]; ///< INQUIRY, unit serial number page (0x80)
extern unsigned char test_unit_ready[commandStorage];
extern unsigned char load_cmd[commandStorage];
extern unsigned char unload_cmd[commandStorage];
extern unsigned char prevent_cmd[commandStorage]; ///< PREVENT ALLOW MEDIUM REMOVAL: prevent
extern unsigned char send_diags[commandStorage];
extern unsigned char allow_cmd[commandStorage];        ///< PREVENT ALLOW MEDIUM REMOVAL: allow
extern unsigned char rewind_cmd[commandStorage];       ///< REWIND; the drive answers before it has rewound
extern unsigned char tapeAlert_cmd[commandStorage];    ///< LOG SENSE, TapeAlert page (0x2E), 512 bytes
extern unsigned char driveUsage_cmd[commandStorage];   ///< LOG SENSE, supported pages, 65535 bytes
extern unsigned char deviceStatus_cmd[commandStorage]; ///< LOG SENSE, page 0x33 from parameter 1, 512 bytes

/// Sends SCSI commands to an open node through SG_IO (scsi/sg.h) and keeps the last data and sense.
///
/// At first, the part of the data buffer that an INQUIRY answer fills and the whole sense buffer are zeros, so that
/// nobody reads bytes that nobody wrote. Nothing clears the buffers later: behind a short answer is what was there
/// before.
class scsiPassThrough {
public:
    scsiPassThrough();

    /// Sends the `cdbLength` bytes at `cdb`, which have room for commandStorage bytes. A device that is
    /// becoming ready or reports a unit attention is asked up to five times, 5 s apart, each time waiting 20
    /// s at most.
    ///
    /// Commands other than a standard INQUIRY are refused on an emulated host, except for a few tape and
    /// cartridge models; for those bytes 7 and 8 of `cdb` are overwritten with the allocation length 255.
    ///
    /// 0: data is in the raw buffer; 1: the SG_IO request failed; -1: anything else. Failures are logged.
    int execSCSICommand(scsiDevice* device, unsigned char* cdb, int cdbLength);

    unsigned char* getRawBuffer() { return dataBuffer; }
    unsigned char* getRawSense() { return senseBuffer; }
    unsigned char getSensekey() const { return senseBuffer[2]; } ///< whole byte; the key is in its low four bits
    unsigned char getASC() const { return senseBuffer[12]; }
    unsigned char getASCQ() const { return senseBuffer[13]; }

private:
    enum class attempt { succeeded, requestFailed, retry, failed };
    attempt sendOnce(int fd, unsigned char* cdb, int cdbLength, bool emulated);
    bool awaitsRetry() const;

    unsigned char dataBuffer[65535];
    unsigned char senseBuffer[32] = {}; // fixed format (SPC-4, 4.5.3)
};
