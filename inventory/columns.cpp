#include "inventory/columns.h"

#include "inventory/escape.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace inventory {

void columns::add(std::vector<std::string> row) {
    for (auto& text : row)
        text = text.empty() ? "-" : escaped(text);
    rows_.push_back(std::move(row));
}

void columns::write(std::ostream& output, std::size_t width) const {
    std::vector<std::size_t> widths(rows_.front().size());
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    const std::size_t texts = std::accumulate(widths.begin(), widths.end(), std::size_t{0});
    const std::string gap(texts + 2 * widths.size() > width ? 1 : 2, ' ');
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < widths.size(); ++i)
            line.append(gap).append(row[i]).append(widths[i] - row[i].size(), ' ');
        line.erase(line.find_last_not_of(' ') + 1);
        output << line << '\n';
    }
}

} // namespace inventory
