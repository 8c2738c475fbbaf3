#include "system/answerlayout.h"

#include "system/replacements.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace sys {

namespace {

// Standard INQUIRY (SPC-4, 6.4.2).
constexpr range vendor{8, 16}, product{16, 32};
constexpr std::size_t inquirySize = 36;
constexpr range vendorSpecific{36, 56}; // often a serial number

// Unit serial number page (SPC-4, 7.8.19).
constexpr std::size_t pageHeaderSize = 4, pageLengthOffset = 3;

constexpr std::size_t fixedSenseSize = 18; // SPC-4, 4.5.3

// IDENTIFY DEVICE (ACS-3, 7.12), two bytes a word.
constexpr range serialNumber{20, 40};          // words 10..19
constexpr range firmwareAndModel{46, 94};      // words 23..46
constexpr range worldWideName{216, 224};       // words 108..111
constexpr range vendorSpecificWords{258, 320}; // words 129..159
constexpr range mediaSerialNumber{352, 412};   // words 176..205
constexpr std::size_t sectorSize = 512, signatureOffset = 510, checksumOffset = 511;
constexpr char checksumSignature = '\xA5';

// World wide names (SPC-4, 7.8.6): the format and the maker's number of registered ones, the maker's of EUI-64 ones.
constexpr std::size_t registeredDigits = 7, makerDigits = 6;
// The kernel writes a format, four characters, before them. A name after T10 begins with the maker, that of an ATA
// device with "ATA", the model and the serial number (SAT-3, 10.4.2).
constexpr std::size_t formatSize = 4, makerSize = 8, modelSize = 40;

std::string fieldOf(const bytes& data, range field) {
    const std::string text(data.begin(), data.end());
    if (text.size() <= field.begin)
        return "";
    const std::string all = text.substr(field.begin, field.end - field.begin);
    return all.substr(0, all.find('\0'));
}

/// Are the bytes of `left` and `right` from `begin` to before `end` there and the same?
bool areEqual(const bytes& left, const bytes& right, std::size_t begin, std::size_t end) {
    const auto at = [](const bytes& data, std::size_t i) {
        return data.begin() + static_cast<std::ptrdiff_t>(i);
    };
    return end <= std::min(left.size(), right.size()) && std::equal(at(left, begin), at(left, end), at(right, begin));
}

/// Where the bytes end that the device has sent, as far as the driver tells.
std::size_t sentSize(const scsiAnswer& answer) {
    const int residual = answer.residual.value_or(0);
    const bool isSound = residual > 0 && static_cast<std::size_t>(residual) <= answer.data.size();
    return isSound ? answer.data.size() - static_cast<std::size_t>(residual) : answer.data.size();
}

/// The bytes of hexadecimal digits; "" if they are no such digits in pairs.
std::string bytesOf(const std::string& digits) {
    const bool isHex = std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isxdigit(c) != 0; });
    std::string decoded;
    for (std::size_t i = 0; isHex && digits.size() % 2 == 0 && i < digits.size(); i += 2)
        decoded += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return decoded;
}

unsigned char sumOf(const std::string& sector) {
    return static_cast<unsigned char>(std::accumulate(sector.begin(), sector.end(), 0));
}

} // namespace

answerLayout layoutOfInquiry() {
    answerLayout layout;
    layout.identifying = {vendorSpecific};
    layout.kept = {{0, inquirySize}};
    return layout;
}

answerLayout layoutOfSense() {
    answerLayout layout;
    layout.kept = {{0, fixedSenseSize}};
    return layout;
}

answerLayout layoutOfIdentify(const bytes& answer) {
    answerLayout layout;
    layout.identifying = {serialNumber, mediaSerialNumber};
    layout.kept = {firmwareAndModel};
    layout.cleared = {vendorSpecificWords};
    if (answer.size() >= worldWideName.end)
        layout.worldWideName =
            swappedPairs(std::string(answer.begin() + worldWideName.begin, answer.begin() + worldWideName.end));
    layout.keptDigits = registeredDigits;
    layout.isSwapped = true;
    layout.mayHaveChecksum = true;
    return layout;
}

answerLayout layoutOfSerialPage(const scsiAnswer& page, const bytes& inquiry) {
    const std::size_t size = page.data.size();
    answerLayout layout;
    if (size < pageHeaderSize || areEqual(page.data, inquiry, 0, pageHeaderSize)) {
        layout.kept = {{0, inquirySize}}; // the device has sent nothing, or no page
        layout.cleared = {{inquirySize, size}};
        return layout;
    }
    const std::size_t end = std::min(pageHeaderSize + page.data[pageLengthOffset], size);
    const std::size_t sent = std::clamp(sentSize(page), pageHeaderSize, end);
    const std::size_t endOfNumber = areEqual(page.data, inquiry, sent, end) ? sent : end;
    layout.identifying = {{pageHeaderSize, endOfNumber}};
    layout.kept = {{0, pageHeaderSize}, {endOfNumber, end}};
    layout.cleared = {{end, size}};
    return layout;
}

answerLayout layoutOfWwid(const std::string& wwid, const bytes& inquiry) {
    answerLayout layout;
    layout.identifying = {{0, wwid.size()}};
    const std::string format = wwid.substr(0, formatSize), rest = wwid.substr(format.size());
    if (format == "naa." || format == "eui.") {
        layout.kept = {{0, formatSize}};
        layout.identifying = {{formatSize, wwid.size()}};
        layout.worldWideName = bytesOf(rest);
        const bool isRegistered = rest[0] == '5' || rest[0] == '6';
        layout.keptDigits = format == "eui." ? makerDigits : isRegistered ? registeredDigits : 1;
    }
    if (format == "t10.") {
        const std::size_t makerEnd = formatSize + makerSize;
        const std::string named = productOf(inquiry);
        const std::size_t found = named.empty() ? std::string::npos : wwid.find(named, makerEnd);
        const range kept = rest.compare(0, makerSize, "ATA     ") == 0 ? range{makerEnd, makerEnd + modelSize}
                           : found == std::string::npos                ? range{makerEnd, makerEnd}
                                                                       : range{found, found + named.size()};
        layout.kept = {{0, makerEnd}, kept};
        layout.identifying = {{makerEnd, kept.begin}, {kept.end, wwid.size()}};
    }
    return layout;
}

std::string productOf(const bytes& inquiry) {
    const std::string named = fieldOf(inquiry, product);
    const std::string text = named.empty() ? fieldOf(inquiry, vendor) : named;
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

void correctChecksum(const std::string& before, std::string& changed) {
    if (before.size() != sectorSize || before[signatureOffset] != checksumSignature || sumOf(before) != 0)
        return;
    changed[checksumOffset] = static_cast<char>(changed[checksumOffset] - sumOf(changed));
}

} // namespace sys
