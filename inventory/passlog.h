#pragma once

#include "system/watchedmachine.h"

#include <map>
#include <string>
#include <vector>

namespace inventory {

/// What the plug-in's log tells that no system call shows. Names and nodes are empty where there are none.
struct logFindings {
    bool failed = false;                         ///< something failed other than loading the driver of the sg nodes
    std::string endedAt, endedBy;                ///< the node at which a walk ended before its time, and why, in words
    std::map<std::string, std::string> excluded; ///< the nodes left out as virtual media, with the reason
    std::vector<std::string> excludedDrives;     ///< the names of the optical drives that were
};

/// Reads the plug-in's log. Its texts do not change: people and programs know them.
class passLog {
public:
    /// Takes a message. `watched` tells which node it is about.
    void take(int level, const std::string& text, const sys::watchedMachine& watched);

    const logFindings& found() const { return found_; }

private:
    void takeFailure(const std::string& text, const sys::watchedMachine& watched);

    bool walking_ = false;
    logFindings found_;
};

} // namespace inventory
