#pragma once

#include "inventory/askedmachine.h"
#include "inventory/run.h"

#include <ostream>
#include <string>

namespace inventory {

/// What explains why there may be less to see than there is, each once: nodes that could not be opened, a driver that
/// is not loaded, a tool that is missing, no devices at all. And that a simulated machine did not wait.
class remarks {
public:
    /// Takes note of a message of the plug-in.
    void sawMessage(int level, const std::string& text);

    void write(const runResult& result, const askedMachine& machine, std::ostream& output) const;

private:
    bool driverMissing_ = false;
};

} // namespace inventory
