#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace inventory {

/// What comes behind the last column of a row; as long as it likes. A colour is the number of an SGR sequence
/// (ECMA-48).
struct note {
    std::string text;
    int colour = 0; ///< 0: none
};

/// The text in its colour, with what is not printable escaped.
std::string coloured(const note& note);

/// Rows of text under short headings, each column as wide as its longest text. Nothing is cut.
class columns {
public:
    explicit columns(std::vector<std::string> headings) : rows_{{std::move(headings), {}}} {}

    /// Adds a row with one text for each heading, and what is to be said behind them. What is not printable in a text
    /// is escaped, because devices send it; an empty text becomes "-".
    void add(std::vector<std::string> row, note after = {});

    /// Writes the headings and rows, with two blanks before each column. Where lines would pass `width` it is one
    /// blank, and where they still would, none before the first column.
    void write(std::ostream& output, std::size_t width) const;

private:
    struct entry {
        std::vector<std::string> texts;
        note after;
    };
    std::vector<entry> rows_;
};

} // namespace inventory
