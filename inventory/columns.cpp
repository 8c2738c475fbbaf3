#include "inventory/columns.h"

#include "inventory/escape.h"

#include <algorithm>
#include <cstddef>

namespace inventory {

void columns::add(const std::vector<std::string>& texts) {
    std::vector<std::string> row;
    for (const auto& text : texts)
        row.push_back(text.empty() ? "-" : escaped(text));
    rows_.push_back(std::move(row));
}

void columns::write(std::ostream& output) const {
    std::vector<std::size_t> widths(rows_.front().size());
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < widths.size(); ++i)
            line += "  " + row[i] + std::string(widths[i] - row[i].size(), ' ');
        line.erase(line.find_last_not_of(' ') + 1);
        output << line << '\n';
    }
}

} // namespace inventory
