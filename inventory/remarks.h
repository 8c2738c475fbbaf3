#pragma once

#include "inventory/askedmachine.h"
#include "inventory/run.h"

#include <ostream>
#include <string>

namespace inventory {

/// Remarks, each made once, on why the output may show less than there is: nodes that could not be opened, a driver
/// that is not loaded, a missing tool, no devices at all. One more says that a simulated machine did not wait.
class remarks {
public:
    /// Takes note of a message of the plug-in.
    void sawMessage(int level, const std::string& text);

    void write(const runResult& result, const askedMachine& machine, std::ostream& output) const;

private:
    bool driverMissing_ = false;
};

} // namespace inventory
