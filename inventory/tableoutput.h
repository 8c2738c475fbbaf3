#pragma once

#include "inventory/run.h"

#include <cstddef>
#include <ostream>

namespace inventory {

struct tableStyle {
    bool allProperties; ///< list every property of each instance below its table
    std::size_t width;  ///< that lines should fit, in characters; nothing is cut to do so
};

/// Writes what a person looks for: a table for each class that a query asked for, with a heading and a count.
void writeTable(const runResult& result, const tableStyle& style, std::ostream& output);

} // namespace inventory
