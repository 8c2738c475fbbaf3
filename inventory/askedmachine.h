#pragma once

#include "inventory/options.h"
#include "system/recordedmachine.h"
#include "system/replayedmachine.h"
#include "system/simulatedmachine.h"
#include "system/thismachine.h"
#include "system/watchedmachine.h"

#include <optional>
#include <string>
#include <vector>

namespace inventory {

/// Remembers which node was opened last.
class openedNode : public sys::nodeListener {
public:
    using nodeListener::nodeListener;

    /// Its path; "" before the first.
    const std::string& latest() const { return latest_; }

private:
    void opened(const std::string& path, int error) override { latest_ = error == 0 ? path : latest_; }

    std::string latest_;
};

/// The machine that a run asks: this one, or the one of a machine file, with the layers that the options want around
/// it. While it lives, the plug-in's system calls come to it. One object at a time.
class askedMachine {
public:
    /// Throws std::runtime_error when the machine file cannot be used.
    explicit askedMachine(const runOptions& options);

    sys::machine& machine() { return *outermost_; }
    const openedNode& opened() const { return *outermost_; }
    sys::watchedMachine& watched() { return *watched_; }
    sys::recordedMachine& recorded() { return *recorded_; }
    /// What is doubtful in the machine file.
    const std::vector<std::string>& doubts() const { return doubts_; }
    unsigned secondsSkipped() const { return simulated_ ? simulated_->secondsSkipped() : 0; }

private:
    std::vector<std::string> doubts_;
    // From the machine itself to the outermost layer: each refers to those before it.
    std::optional<sys::thisMachine> this_;
    std::optional<sys::simulatedMachine> simulated_;
    std::optional<sys::recordedMachine> recorded_;
    std::optional<sys::watchedMachine> watched_;
    std::optional<sys::replayedMachine> replayed_;
    std::optional<openedNode> outermost_;
    std::optional<sys::machineInUse> inUse_;
};

} // namespace inventory
