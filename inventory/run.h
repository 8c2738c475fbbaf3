#pragma once

#include "inventory/options.h"
#include "inventory/result.h"
#include "minihost/memorynamespace.h"

#include <string>

namespace inventory {

/// Runs what the options ask for: loads the plug-in, runs the queries one after the other in `ns`, which outlives the
/// result, and unloads the plug-in. The log and remarks go to standard error as they come, and on a terminal a line
/// says what is done right now. An exception ends the run and becomes the error of `result`, which has then what came
/// of it before. Returns what to say of the recording that was made.
std::string run(const runOptions& options, minihost::memoryNamespace& ns, runResult& result);

} // namespace inventory
