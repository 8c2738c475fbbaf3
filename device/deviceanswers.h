#pragma once

// Reads what devices answer to INQUIRY and IDENTIFY DEVICE.

#include <cstddef>
#include <string>

/// The text in the `size` bytes at `bytes`, up to the first zero byte.
std::string fixedText(const unsigned char* bytes, std::size_t size);

/// All `size` bytes at `bytes`, with the two bytes of every 16-bit word exchanged: ATA devices send texts this way.
/// `size` is even.
std::string swappedText(const unsigned char* bytes, std::size_t size);

/// `text` up to its first zero byte.
std::string upToZero(const std::string& text);

/// Reads the fields of a standard INQUIRY answer (SPC-4, 6.4.2) where it lies.
///
/// Owns nothing: `answer` points at answerSize readable bytes and must outlive the view.
/// A text ends at its first zero byte. Padding is kept: callers decide what to trim.
class inquiryView {
public:
    static constexpr std::size_t answerSize = 36;

    explicit inquiryView(const unsigned char* answer) : answer_(answer) {}

    unsigned char peripheralByte() const { return answer_[0]; } ///< qualifier in bits 7..5, type in bits 4..0
    std::string vendor() const { return fixedText(answer_ + 8, 8); }
    std::string product() const { return fixedText(answer_ + 16, 16); }
    std::string revision() const { return fixedText(answer_ + 32, 4); }
    std::string identification() const { return fixedText(answer_ + 8, 28); } ///< the three fields together

private:
    const unsigned char* answer_;
};

/// The low four bits of the peripheral byte: what this system takes as the device type.
constexpr unsigned char deviceTypeMask = 0x0F;

// Whole peripheral bytes. Their qualifier bits are 0: the device is connected.
constexpr unsigned char diskByte = 0;
constexpr unsigned char tapeByte = 1;
constexpr unsigned char opticalDriveByte = 5;

constexpr bool isDiskOrTape(unsigned char peripheralByte) {
    return peripheralByte == diskByte || peripheralByte == tapeByte;
}

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
