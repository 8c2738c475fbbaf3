#pragma once

#include "inventory/run.h"

#include <ostream>

namespace inventory {

/// Says why there may be less to see than there is: nodes that could not be opened, or no devices at all.
void writeRemarks(const runResult& result, bool simulated, std::ostream& output);

} // namespace inventory
