#pragma once

#include "minihost/memorynamespace.h"

#include <ostream>

namespace inventory {

/// Writes every property of an instance that was set, in the order first set, as an indented line "NAME =
/// VALUE". Texts are whole, padding included, with what is not printable escaped; the elements of a list stand
/// behind each other with commas.
void writeProperties(const minihost::memoryInstance& instance, std::ostream& output);

} // namespace inventory
