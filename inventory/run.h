#pragma once

#include "inventory/askedmachine.h"
#include "inventory/options.h"
#include "inventory/result.h"
#include "minihost/memorynamespace.h"

#include <functional>
#include <string>

namespace inventory {

/// Called while a run goes on.
struct runEvents {
    std::function<void(const std::string& step)> step;              ///< printable text: what is done now
    std::function<void(int level, const std::string& text)> logged; ///< a message of the plug-in
    std::function<void(const std::string& text)> remarked;          ///< a remark of the program
};

/// Loads the plug-in, runs the queries one after the other in `ns`, which outlives the result, and unloads the plug-in.
/// Throws when the run cannot start or a query fails; `result` has then what came of it before.
void run(const runOptions& options, askedMachine& machine, minihost::memoryNamespace& ns, const runEvents& events,
         runResult& result);

} // namespace inventory
