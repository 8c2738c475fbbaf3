#pragma once

#include "system/machineanswers.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace sys {

// Forms that machine files share with the program's own documents.

nlohmann::ordered_json toJson(const std::vector<std::string>& texts);

/// Leaves out what is not known, but for the names.
nlohmann::ordered_json toJson(const kernelWords& known);

} // namespace sys
