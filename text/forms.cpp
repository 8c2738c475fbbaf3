#include "text/forms.h"

#include "text/hex.h"

#include <cstring>

namespace text {

namespace {

bool isPrintable(char c) { return c >= 0x20 && c <= 0x7E; }

} // namespace

std::string escaped(const std::string& text) {
    std::string result;
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
            result += "\\x" + hexDigits(std::string(1, c));
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
            result += "\\x00" + hexDigits(std::string(1, c));
    }
    return result + '"';
}

std::string bytesAsCodePoints(const std::string& bytes) {
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

std::string errorName(int error) {
    const char* const name = ::strerrorname_np(error);
    return name == nullptr ? std::to_string(error) : name;
}

} // namespace text
