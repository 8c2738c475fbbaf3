#pragma once

#include "inventory/columns.h"
#include "inventory/output.h"

#include <string>
#include <vector>

namespace inventory {

/// The texts of a device: node, kernel's names, vendor, product, firmware, serial number, size, type, address.
std::vector<std::string> overviewRow(const device& each);

/// What has to be said of a device beside them.
note overviewNote(const device& each, bool inColour);

/// Writes a line for each device, under lines for the adapter, the channel and the target that it is at.
void writeTree(const runResult& result, bool inColour, std::ostream& output);

} // namespace inventory
