#pragma once

#include <string>

namespace text {

/// `text` in printable ASCII on one line, so that device text cannot drive a terminal: backslash as \\,
/// newline as \n, tab as \t, any other byte outside 0x20..0x7E as \x and two lower-case hex digits.
std::string escaped(const std::string& text);

/// `text` as a MOF string literal, quotes included (DSP0004): " and \ escaped by \, any byte outside
/// 0x20..0x7E as \x and four lower-case hex digits.
std::string mofQuoted(const std::string& text);

/// `bytes` in UTF-8, where every byte becomes the code point of the same number. JSON holds device text this way,
/// because any byte survives it.
std::string bytesAsCodePoints(const std::string& bytes);

/// The name of an errno, such as "EACCES"; of an unknown one its number.
std::string errorName(int error);

} // namespace text
