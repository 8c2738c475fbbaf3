#pragma once

#include "inventory/result.h"

#include <string>
#include <vector>

namespace inventory {

/// Finds out of each device whether its firmware is tied to it, if a query of the run asked for associations.
void tieFirmware(runResult& result);

/// The remarks on associations of devices with firmware that a run has asked for.
std::vector<std::string> firmwareRemarks(const runResult& result);

} // namespace inventory
