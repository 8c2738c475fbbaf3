#include "tests/mofscanner.h"

#include <cctype>
#include <utility>

namespace mof {

char scanner::take() {
    if (at_ == document_.size())
        fail("the document ends too soon");
    const char c = document_[at_++];
    if (c != '\n' && (c < ' ' || c > '~'))
        fail("a byte that is not printable ASCII");
    line_ += c == '\n' ? 1 : 0;
    return c;
}

void scanner::skipBlanks() {
    while (peek() == ' ' || peek() == '\n' || document_.compare(at_, 2, "//") == 0) {
        if (take() != '/')
            continue;
        while (take() != '\n') {
        }
    }
}

std::string scanner::word() {
    std::string name;
    while (std::isalnum(static_cast<unsigned char>(peek())) != 0 || peek() == '_')
        name += take();
    return name;
}

/// What follows a backslash in a string: the code point of a byte in UTF-8.
std::string scanner::escape() {
    const char kind = take();
    if (kind == '"' || kind == '\\')
        return {kind};
    std::string digits;
    while (kind == 'x' && digits.size() < 4)
        digits += take();
    if (digits.empty() || digits.find_first_not_of("0123456789abcdef") != std::string::npos)
        fail(R"(an escape that is none of \", \\ and \x with four hex digits)");
    const int code = std::stoi(digits, nullptr, 16);
    if (code > 0xFF || (code >= ' ' && code <= '~'))
        fail("an escape for what is no byte or needs none");
    if (code < 0x80)
        return {static_cast<char>(code)};
    return {static_cast<char>(0xC0 | code >> 6), static_cast<char>(0x80 | (code & 0x3F))};
}

std::string scanner::text() {
    take(); // the quotation mark
    std::string content;
    for (char c = take(); c != '"'; c = take()) {
        if (c == '\n')
            fail("a string over more than one line");
        content += c == '\\' ? escape() : std::string(1, c);
    }
    return content;
}

void scanner::advance() {
    skipBlanks();
    if (at_ == document_.size())
        next_ = {};
    else if (peek() == '"')
        next_ = {token::text, text()};
    else if (std::string name = word(); !name.empty())
        next_ = {token::word, std::move(name)};
    else
        next_ = {token::mark, std::string(1, take())};
}

} // namespace mof
