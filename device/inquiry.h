#pragma once

#include "device/answertext.h"

#include <cstddef>
#include <string>

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
