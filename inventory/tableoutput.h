#pragma once

#include "inventory/result.h"

#include <cstddef>
#include <ostream>

namespace inventory {

struct tableStyle {
    bool allProperties; ///< list every property of each instance below its table
    std::size_t width;  ///< characters of a line; longer lines get narrower gaps but are not cut
};

/// Writes a table for people: one for each class that a query asked for, with a heading and a count.
void writeTable(const runResult& result, const tableStyle& style, std::ostream& output);

} // namespace inventory
