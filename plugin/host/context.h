#pragma once

#include "plugin/host/cimvalue.h"

#include <map>
#include <string>

namespace NHALDEN20 {

/// Names and values that go with a call: a query context, the keys of an object path, or nothing.
using TContext = std::map<std::string, TCIMValue>;

} // namespace NHALDEN20
