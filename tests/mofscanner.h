#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace mof {

struct token {
    enum { word, text, mark, end } kind = end; ///< word: a name or a number
    std::string content;                       ///< of a text in UTF-8, without quotes and escapes
};

/// Splits a MOF document into its tokens, and refuses what the program never writes: bytes that are no printable ASCII,
/// strings over more than one line, escapes that are none of \", \\ and \x with four hex digits, and escapes of
/// characters that need none.
class scanner {
public:
    /// `document` must outlive the scanner.
    explicit scanner(const std::string& document) : document_(document) { advance(); }

    const token& next() const { return next_; }
    void advance();
    /// Throws std::runtime_error with the number of the line.
    [[noreturn]] void fail(const std::string& what) const {
        throw std::runtime_error("line " + std::to_string(line_) + ": " + what);
    }

private:
    char peek() const { return at_ < document_.size() ? document_[at_] : '\0'; }
    char take();
    void skipBlanks();
    std::string word();
    std::string text();
    std::string escape();

    const std::string& document_;
    std::size_t at_ = 0;
    std::size_t line_ = 1;
    token next_;
};

} // namespace mof
