#pragma once

#include "minihost/classtable.h"
#include "plugin/host/cimvalue.h"

#include <string>
#include <string_view>

namespace minihost {

/// Is `value` of the type that the property is declared with? The empty value suits every type.
bool suits(const NHALDEN20::TCIMValue& value, const propertyDeclaration& property);

/// What is wrong with `value` as the property `name` of a class: the class declares no such property, or one
/// of another type. "" when nothing is.
std::string mismatch(const classDeclaration& declaration, std::string_view name, const NHALDEN20::TCIMValue& value);

} // namespace minihost
