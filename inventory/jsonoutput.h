#pragma once

#include "inventory/result.h"

#include <ostream>

namespace inventory {

/// Writes the run as one JSON document (docs/json.md, schema/inventory.schema.json), also one that failed. Properties
/// stand in the order in which they were first set; every byte of a text becomes the code point of the same number.
void writeJson(const runResult& result, std::ostream& output);

} // namespace inventory
