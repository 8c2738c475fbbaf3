#pragma once

#include "inventory/run.h"

#include <ostream>

namespace inventory {

/// Writes the declarations of all classes, and of the qualifiers that they use, as a MOF document (DSP0004).
void writeMofSchema(std::ostream& output);

/// Writes the declarations and the instances of a run as one MOF document that a CIM compiler takes whole.
///
/// An object path names one instance: one that was committed more than once is written with its latest
/// properties. Properties that were never set are left out. What a compiler would refuse is left out too, and
/// a comment says so: a property that its class does not declare so, and an instance that lacks a key or
/// belongs to an abstract class. Every byte of a text becomes the code point of the same number.
void writeMof(const runResult& result, std::ostream& output);

} // namespace inventory
