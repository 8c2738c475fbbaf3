#pragma once

#include "plugin/host/cimreference.h"
#include "plugin/host/cimvalue.h"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace NHALDEN20 {

/// What an object path holds: the class that it names and the key properties.
struct TCIMReference::TContent {
    TContext keys;
    std::string className;
};

/// What a value holds; std::monostate is the empty value.
struct TCIMValue::TContent {
    bool isEmpty() const { return std::holds_alternative<std::monostate>(value); }
    bool isArray() const { return std::holds_alternative<std::vector<TCIMValue>>(value); }

    std::variant<std::monostate, std::string, bool, std::uint16_t, TCIMReference, std::vector<TCIMValue>> value;
};

} // namespace NHALDEN20

namespace minihost {

/// The object path as text (DSP0004, untyped path): CLASS.key="text",key=number,... with the keys in alphabetical
/// order. Texts are quoted, with " and \ escaped by \.
std::string objectPath(const NHALDEN20::TCIMReference& reference);

/// Writes a text that is part of a value: in quotes, escaped, or as it is.
using textForm = std::string (*)(const std::string& text);

inline std::string asItIs(const std::string& text) { return text; }

/// The value as text: a string, or the object path of a reference, in the form wanted; a number in decimal; true or
/// false; the elements of an array with ", " between them. "" for the empty value.
std::string valueText(const NHALDEN20::TCIMValue& value, textForm form = asItIs);

} // namespace minihost
