#include "text/escape.h"

#include "text/hex.h"

#include <algorithm>

namespace text {

namespace {

bool isPrintable(char c) { return c >= 0x20 && c <= 0x7E; }

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

} // namespace text
