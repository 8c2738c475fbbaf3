#pragma once

#include "inventory/result.h"

#include <ostream>

namespace inventory {

/// Writes the declarations of all classes, and of the qualifiers that they use, as a MOF document (DSP0004).
void writeMofSchema(std::ostream& output);

/// Writes the declarations and the instances of a run as one MOF document that a CIM compiler takes whole.
///
/// An object path names one instance: of instances with the same path the last is written. Each has an alias, such as
/// $SCSIDevice1, and stands before the references to it, which use the alias; a reference to an instance that is not
/// written stays an object path in a text. Properties that were never set are left out. So is what a compiler would
/// refuse, with a comment that says so: a property that its class does not declare, or declares with another type, and
/// an instance that lacks a key or belongs to an abstract class. Every byte of a text becomes the code point of the
/// same number, also where XML, in which CIM servers answer, has no such character.
void writeMof(const runResult& result, std::ostream& output);

} // namespace inventory
