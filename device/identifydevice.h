#pragma once

#include "device/answertext.h"

#include <cstddef>
#include <string>

/// ATA IDENTIFY DEVICE (ACS-3, 7.12): the command as a register block of ataInterface.
struct identifyDeviceCommand {
    static constexpr std::size_t answerSize = 512;

    explicit identifyDeviceCommand(unsigned char select = 0) : registers{0, 1, 0, 0, 0, select, opcode} {}

    static constexpr unsigned char opcode = 0xEC;
    unsigned char registers[7]; ///< feature, sector count, sector, cylinder low and high, device/select, command
};

/// Reads the text fields of an IDENTIFY DEVICE answer where it lies.
///
/// Owns nothing: `answer` points at identifyDeviceCommand::answerSize readable bytes and must outlive the
/// view.
class identifyView {
public:
    explicit identifyView(const unsigned char* answer) : answer_(answer) {}

    std::string model() const { return swappedText(answer_ + 54, 40); }             ///< words 27..46, all 40 characters
    std::string firmware() const { return upToZero(swappedText(answer_ + 46, 8)); } ///< words 23..26
    std::string serialNumber() const { return upToZero(swappedText(answer_ + 20, 20)); } ///< words 10..19

private:
    const unsigned char* answer_;
};
