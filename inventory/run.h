#pragma once

#include "inventory/askedmachine.h"
#include "inventory/options.h"
#include "minihost/memorynamespace.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace inventory {

/// The result of one query.
struct queryResult {
    std::vector<std::string> classes;
    std::vector<boost::shared_ptr<minihost::memoryInstance>> instances; ///< committed during it, in commit order
    std::optional<std::string> error; ///< the text of the exception that escaped from it
};

/// The result of a run: its queries, up to the first that failed.
struct runResult {
    std::string machineName;
    std::vector<queryResult> queries;

    bool failed() const { return !queries.empty() && queries.back().error; }
    std::size_t instanceCount() const;
};

/// Called while a run goes on.
struct runEvents {
    std::function<void(const std::string& step)> step;              ///< printable text: what is done now
    std::function<void(int level, const std::string& text)> logged; ///< a message of the plug-in
    std::function<void(const std::string& text)> remarked;          ///< a remark of the program
};

/// Loads the plug-in, runs the queries one after the other in `ns`, which outlives the result, and unloads
/// it. Throws minihost::pluginError when the plug-in cannot be used.
runResult run(const options& options, askedMachine& machine, minihost::memoryNamespace& ns, const runEvents& events);

} // namespace inventory
