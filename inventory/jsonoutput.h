#pragma once

#include "inventory/run.h"

#include <ostream>

namespace inventory {

/// Writes the run as one JSON document: {"machine": NAME, "queries": [{"classes": [...], "instances":
/// [{"class": NAME, "properties": {...}}]}]}, a failed query with a member "error". Properties stand in the
/// order in which they were first set; every byte of a text becomes the code point of the same number.
void writeJson(const runResult& result, std::ostream& output);

} // namespace inventory
