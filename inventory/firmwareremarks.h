#pragma once

#include "inventory/result.h"

#include <string>
#include <vector>

namespace inventory {

/// Remarks on the associations of devices with firmware that a run has asked for: on those that are missing, or another
/// device's.
std::vector<std::string> firmwareRemarks(const runResult& result);

} // namespace inventory
