#pragma once

#include "minihost/classtable.h"
#include "plugin/host/cimvalue.h"

#include <string>
#include <string_view>

namespace minihost {

/// What is wrong with `value` as the property `name` of a class: the class declares no such property, or one
/// of another type. "" when nothing is; the empty value suits every type.
std::string mismatch(const classDeclaration& declaration, std::string_view name, const NHALDEN20::TCIMValue& value);

} // namespace minihost
