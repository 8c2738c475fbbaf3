#pragma once

// Reads what devices answer to INQUIRY and IDENTIFY DEVICE.

#include <cstddef>
#include <string>

/// `text` up to its first zero byte.
std::string upToZero(const std::string& text);

/// All `size` bytes at `bytes`, with the two bytes of every 16-bit word exchanged: ATA devices send texts this way.
/// `size` is even.
std::string swappedText(const unsigned char* bytes, std::size_t size);

/// Reads the fields of a standard INQUIRY answer (SPC-4, 6.4.2) where it lies.
///
/// Owns nothing: `answer` points at answerSize readable bytes and must outlive the view.
/// A text ends at its first zero byte. Padding is kept: callers decide what to trim.
class inquiryView {
public:
    static constexpr std::size_t answerSize = 36;

    explicit inquiryView(const unsigned char* answer) : answer_(answer) {}

    unsigned char peripheralByte() const { return answer_[0]; } ///< qualifier in bits 7..5, type in bits 4..0
    std::string vendor() const { return text(8, 8); }
    std::string product() const { return text(16, 16); }
    std::string revision() const { return text(32, 4); }
    std::string identification() const { return text(8, 28); } ///< the three fields together

private:
    std::string text(std::size_t offset, std::size_t size) const {
        return upToZero({answer_ + offset, answer_ + offset + size});
    }

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

/// Reads the text fields of an IDENTIFY DEVICE answer (ACS-3, 7.12) where it lies.
///
/// Owns nothing: `answer` points at answerSize readable bytes and must outlive the view.
class identifyView {
public:
    static constexpr std::size_t answerSize = 512;

    explicit identifyView(const unsigned char* answer) : answer_(answer) {}

    std::string model() const { return swappedText(answer_ + 54, 40); }             ///< words 27..46, all 40 characters
    std::string firmware() const { return upToZero(swappedText(answer_ + 46, 8)); } ///< words 23..26
    std::string serialNumber() const { return upToZero(swappedText(answer_ + 20, 20)); } ///< words 10..19

private:
    const unsigned char* answer_;
};
