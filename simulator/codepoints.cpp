#include "simulator/codepoints.h"

namespace simulator {

std::string bytesAsCodePoints(const std::string& text) {
    std::string utf8;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            utf8 += c;
        else
            utf8.append(1, static_cast<char>(0xC0 | byte >> 6)).append(1, static_cast<char>(0x80 | (byte & 0x3F)));
    }
    return utf8;
}

} // namespace simulator
