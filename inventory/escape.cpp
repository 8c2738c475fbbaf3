#include "inventory/escape.h"

namespace inventory {

std::string escaped(const std::string& text) {
    constexpr const char* digits = "0123456789abcdef";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\\')
            result += "\\\\";
        else if (c == '\n')
            result += "\\n";
        else if (c == '\t')
            result += "\\t";
        else if (byte >= 0x20 && byte <= 0x7E)
            result += c;
        else
            result.append("\\x").append(1, digits[byte >> 4]).append(1, digits[byte & 0x0F]);
    }
    return result;
}

} // namespace inventory
