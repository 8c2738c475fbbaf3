#pragma once

/// Sends ATA commands to a node through the IDE driver's HDIO requests (linux/hdreg.h).
///
/// A command is seven bytes: feature, sector count, sector number, cylinder low, cylinder high,
/// device/select, command. The sector count is at most 1: there is room for one sector. `size` is the number of bytes
/// to copy to `out`, 512 at most, as they come: no bytes are swapped. A failure is logged and thrown as scsiException,
/// and leaves `out` untouched. The result is always 0.
class ataInterface {
public:
    /// Refuses IDENTIFY DEVICE on an optical drive. With feature 0xDA (SMART RETURN STATUS) `out` receives
    /// the returned registers, the error register first; otherwise the data.
    int executeCommand(int fd, unsigned char* command, unsigned char* out, int size);

    /// Sends any command through HDIO_DRIVE_CMD, on any node.
    int executePassThroughCmd(int fd, unsigned char* command, unsigned char* out, int size);
};

/// Sends IDENTIFY DEVICE (ACS-3, 7.12) with `select` in the device/select register. True: `answer` has the
/// identifyView::answerSize bytes of the answer. False: the command failed, which is logged, and `answer` is untouched.
bool identifyDevice(int fd, unsigned char select, unsigned char* answer);
