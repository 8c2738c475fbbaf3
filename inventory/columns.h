#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace inventory {

/// Rows of text under short headings, each column as wide as its longest text. Nothing is cut.
class columns {
public:
    explicit columns(std::vector<std::string> headings) : rows_{std::move(headings)} {}

    /// Adds a row with one text for each heading. What is not printable in a text is escaped, because devices send
    /// it; an empty text becomes "-".
    void add(std::vector<std::string> row);

    /// Writes the headings and rows, with two blanks before each column. Where lines would pass `width` it is one
    /// blank, and where they still would, none before the first column.
    void write(std::ostream& output, std::size_t width) const;

private:
    std::vector<std::vector<std::string>> rows_;
};

} // namespace inventory
