#pragma once

#include "inventory/askedmachine.h"
#include "inventory/options.h"
#include "inventory/passlog.h"
#include "inventory/result.h"

namespace inventory {

/// Adds to `result` what the machine has shown of itself, and what not, and asks its kernel what it knows of the
/// devices: only at the end of a run, so that nothing comes between the plug-in's system calls.
void survey(const runOptions& options, askedMachine& machine, const logFindings& log, runResult& result);

} // namespace inventory
