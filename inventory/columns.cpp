#include "inventory/columns.h"

#include "text/forms.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <numeric>
#include <utility>

namespace inventory {

using text::escaped;

namespace {

/// How many blanks stand before the first column of a line, and before each other one.
struct spacing {
    std::size_t before, between;
};

/// The widest that fits is taken, or else the last.
constexpr spacing spacings[] = {{2, 2}, {1, 1}, {0, 1}};

} // namespace

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
    const auto* const fitting = std::find_if(std::begin(spacings), std::end(spacings) - 1, [&](const spacing& each) {
        return texts + each.before + each.between * (widths.size() - 1) <= width;
    });
    std::string line; // keeps its room from row to row
    for (const auto& row : rows_) {
        line.clear();
        for (std::size_t i = 0; i < widths.size(); ++i)
            line.append(i == 0 ? fitting->before : fitting->between, ' ')
                .append(row[i])
                .append(widths[i] - row[i].size(), ' ');
        line.erase(line.find_last_not_of(' ') + 1);
        output << line << '\n';
    }
}

} // namespace inventory
