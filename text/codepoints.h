#pragma once

#include <string>

namespace text {

/// `bytes` in UTF-8, where every byte becomes the code point of the same number. JSON holds device text this way,
/// because any byte survives it.
inline std::string bytesAsCodePoints(const std::string& bytes) {
    std::string utf8;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            utf8 += c;
        else
            utf8.append(1, static_cast<char>(0xC0 | byte >> 6)).append(1, static_cast<char>(0x80 | (byte & 0x3F)));
    }
    return utf8;
}

} // namespace text
