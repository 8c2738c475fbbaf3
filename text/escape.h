#pragma once

#include <string>

namespace text {

/// `text` in printable ASCII on one line, so that device text cannot drive a terminal: backslash as \\,
/// newline as \n, tab as \t, any other byte outside 0x20..0x7E as \x and two lower-case hex digits.
std::string escaped(const std::string& text);

/// `text` as a MOF string literal, quotes included (DSP0004): " and \ escaped by \, any byte outside
/// 0x20..0x7E as \x and four lower-case hex digits.
std::string mofQuoted(const std::string& text);

} // namespace text
