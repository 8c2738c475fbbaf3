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

/// "13 devices: 10 identified, 1 mistaken, 2 silent; 9 with firmware; not complete", as a line.
std::string summary(const runResult& result);

} // namespace inventory
