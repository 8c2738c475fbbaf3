#pragma once

#include "inventory/run.h"

#include <ostream>

namespace inventory {

/// Writes what a person looks for: a table for each class that a query asked for, with a heading and a count.
void writeTable(const runResult& result, std::ostream& output);

} // namespace inventory
