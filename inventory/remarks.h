#pragma once

#include "inventory/result.h"

#include <string>
#include <vector>

namespace inventory {

/// Remarks, one for each cause, on why the output of a run shows less than there is, or other things than one might
/// take it for, and what can be done about it. Each is a line of text that is not escaped yet. `exampleMachine`
/// tells the machine file to hint at where this machine has no devices.
std::vector<std::string> remarksOn(const runResult& result, std::string (*exampleMachine)());

} // namespace inventory
