#pragma once

#include "system/watchedmachine.h"

#include <map>
#include <string>

namespace inventory {

/// Reads off the plug-in's log what no system call shows: what was left out as virtual media, and where an exception
/// ended a walk. The texts of the log do not change: people and programs know them.
class passLog {
public:
    /// Takes a message. `watched` tells which node it is about.
    void take(int level, const std::string& text, const sys::watchedMachine& watched);

    /// The nodes that were left out, with the reason.
    const std::map<std::string, std::string>& excluded() const { return excluded_; }

    /// The names of optical drives that were left out.
    const std::vector<std::string>& excludedDrives() const { return excludedDrives_; }

    /// The node at which a walk ended before its time; "" where none did.
    const std::string& endedAt() const { return endedAt_; }

    /// Why, in words.
    const std::string& endedBy() const { return endedBy_; }

    /// Something else failed than loading the driver of the sg nodes.
    bool failed() const { return failed_; }

private:
    void takeFailure(const std::string& text, const sys::watchedMachine& watched);

    bool walking_ = false;
    bool failed_ = false;
    std::map<std::string, std::string> excluded_;
    std::vector<std::string> excludedDrives_;
    std::string endedAt_, endedBy_;
};

} // namespace inventory
