#pragma once

#include "inventory/result.h"

#include <ostream>

namespace inventory {

/// Writes the devices of a run and what it saw as metrics in Prometheus' text exposition format, also a
/// run that failed. No series comes twice. Texts are without padding, and every byte becomes the code point of the same
/// number. The format has no escape for control characters: for a terminal, which they could drive, texts are shown as
/// in the table.
void writePrometheus(const runResult& result, bool forTerminal, std::ostream& output);

} // namespace inventory
