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

/// How many blanks are before the first column of a line, and before each other one.
struct spacing {
    std::size_t before, between;
};

/// The widest that fits is taken, or else the last.
constexpr spacing spacings[] = {{2, 2}, {1, 1}, {0, 1}};

} // namespace

std::string coloured(const note& note) {
    const std::string text = escaped(note.text);
    return note.colour == 0 ? text : "\x1b[" + std::to_string(note.colour) + 'm' + text + "\x1b[0m";
}

void columns::add(std::vector<std::string> row, note after) {
    for (auto& text : row)
        text = text.empty() ? "-" : escaped(text);
    rows_.push_back({std::move(row), std::move(after)});
}

void columns::write(std::ostream& output, std::size_t width) const {
    std::vector<std::size_t> widths(rows_.front().texts.size());
    for (const auto& each : rows_) {
        for (std::size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], each.texts[i].size());
    }
    const std::size_t texts = std::accumulate(widths.begin(), widths.end(), std::size_t{0});
    const auto* const fitting = std::find_if(std::begin(spacings), std::end(spacings) - 1, [&](const spacing& each) {
        return texts + each.before + each.between * (widths.size() - 1) <= width;
    });
    std::string line; // keeps its room from row to row
    for (const auto& each : rows_) {
        line.clear();
        for (std::size_t i = 0; i < widths.size(); ++i)
            line.append(i == 0 ? fitting->before : fitting->between, ' ')
                .append(each.texts[i])
                .append(widths[i] - each.texts[i].size(), ' ');
        if (each.after.text.empty())
            line.erase(line.find_last_not_of(' ') + 1);
        else
            line.append(fitting->between, ' ').append(coloured(each.after));
        output << line << '\n';
    }
}

} // namespace inventory
