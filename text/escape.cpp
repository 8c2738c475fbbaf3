#include "text/escape.h"

#include <algorithm>

namespace text {

namespace {

bool isPrintable(char c) { return c >= 0x20 && c <= 0x7E; }

/// The byte as two hex digits.
std::string hex(char c) {
    constexpr const char* digits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    return {digits[byte >> 4], digits[byte & 0x0F]};
}

} // namespace

std::string escaped(const std::string& text) {
    // Nearly every text is printable as it is.
    if (std::all_of(text.begin(), text.end(), [](char c) { return isPrintable(c) && c != '\\'; }))
        return text;
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        if (c == '\\')
            result += "\\\\";
        else if (c == '\n')
            result += "\\n";
        else if (c == '\t')
            result += "\\t";
        else if (isPrintable(c))
            result += c;
        else
            result += "\\x" + hex(c);
    }
    return result;
}

std::string mofQuoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += {'\\', c};
        else if (isPrintable(c))
            result += c;
        else
            result += "\\x00" + hex(c);
    }
    return result + '"';
}

} // namespace text
