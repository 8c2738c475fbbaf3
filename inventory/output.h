#pragma once

#include "inventory/result.h"

#include <cstddef>
#include <ostream>

namespace inventory {

// The formats in which a run is shown, also one that failed.

struct tableStyle {
    bool allProperties; ///< list every property of each instance below its table
    std::size_t width;  ///< characters of a line; longer lines get narrower gaps but are not cut
    bool inColour;      ///< marks and reasons
    bool asTree;        ///< the overview, by adapter, channel, target and LUN
};

/// Writes a table for people: one for each class that a query asked for, with a heading and a count.
void writeTable(const runResult& result, const tableStyle& style, std::ostream& output);

/// Writes the overview: a line for each device, then the optical drives, then one that sums up.
void writeOverview(const runResult& result, const tableStyle& style, std::ostream& output);

/// Writes the table of optical drives, and a line for each that was left out. The overview ends with it.
void writeOpticalDrives(const runResult& result, const tableStyle& style, std::ostream& output);

/// Writes one JSON document (docs/json.md). Properties are in the order in which they were first set; every byte of a
/// text becomes the code point of the same number.
void writeJson(const runResult& result, std::ostream& output);

/// Writes the JSON Schema (2020-12) of the documents that writeJson() writes: schema/inventory.schema.json. Members
/// that it does not name are allowed: a later version may have more.
void writeJsonSchema(std::ostream& output);

/// Writes the declarations and the instances of a run as one MOF document that a CIM compiler takes whole.
///
/// An object path names one instance: of instances with the same path the last is written. Each has an alias, such as
/// $SCSIDevice1, and comes before the references to it, which use the alias; a reference to an instance that is not
/// written stays an object path in a text. Properties that were never set are left out. So is what a compiler would
/// refuse, with a comment that says so: a property that its class does not declare, or declares with another type, and
/// an instance that lacks a key or belongs to an abstract class. Every byte of a text becomes the code point of the
/// same number, also where XML, in which CIM servers answer, has no such character.
void writeMof(const runResult& result, std::ostream& output);

/// Writes the declarations of all classes, and of the qualifiers that they use, as a MOF document (DSP0004).
void writeMofSchema(std::ostream& output);

/// Writes the devices of a run and what it saw as metrics in Prometheus' text exposition format. No series comes twice.
/// Texts are without padding, in printable ASCII with escapes as in tables.
void writePrometheus(const runResult& result, std::ostream& output);

} // namespace inventory
