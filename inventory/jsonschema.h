#pragma once

#include <ostream>

namespace inventory {

/// Writes the JSON Schema (2020-12) of the documents that writeJson() writes. Members that it does not name are
/// allowed: a later version may have more.
void writeJsonSchema(std::ostream& output);

} // namespace inventory
