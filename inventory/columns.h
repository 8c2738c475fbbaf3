#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace inventory {

/// Rows of text under short headings, each column as wide as its longest text. Nothing is cut.
class columns {
public:
    explicit columns(std::vector<std::string> headings) : rows_{std::move(headings)} {}

    /// Adds a row of as many texts as there are headings. They are device text: what is not printable is
    /// escaped, and an empty one shows as "-".
    void add(const std::vector<std::string>& texts);

    /// Writes the headings and rows, two blanks before each column; one where that makes a line fit `width`.
    void write(std::ostream& output, std::size_t width) const;

private:
    std::vector<std::vector<std::string>> rows_;
};

} // namespace inventory
