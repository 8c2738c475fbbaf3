#pragma once

#include "inventory/options.h"
#include "inventory/outputfile.h"
#include "inventory/result.h"
#include "system/recordedmachine.h"
#include "system/replayedmachine.h"
#include "system/simulatedmachine.h"
#include "system/thismachine.h"
#include "system/watchedmachine.h"

#include <optional>
#include <string>

namespace inventory {

/// The machine that a run asks: this one, or the one of a machine file, with the layers that the options want around
/// it. While it lives, the plug-in's system calls come to it. One object at a time.
class askedMachine {
public:
    /// Throws sys::machineFileError when the machine file cannot be used, and std::runtime_error when the file to
    /// record into cannot be written or that with the key for an anonymous recording cannot be used.
    explicit askedMachine(const runOptions& options);

    sys::machine& machine() { return replayed_ ? static_cast<sys::machine&>(*replayed_) : *watched_; }
    sys::watchedMachine& watched() { return *watched_; }

    /// Adds to `result` what the machine has shown of itself, and what not, and asks its kernel for the names of the
    /// devices: only now, so that nothing comes between the plug-in's system calls.
    void report(runResult& result);

    /// If the options name a file to record into, writes it. Returns what to say of it.
    std::string writeRecording();

private:
    const runOptions& options_;
    // From the machine itself to the outermost layer: each refers to those before it.
    std::optional<sys::thisMachine> this_;
    std::optional<sys::simulatedMachine> simulated_;
    std::optional<sys::recordedMachine> recorded_;
    std::optional<sys::watchedMachine> watched_;
    std::optional<sys::replayedMachine> replayed_;
    std::optional<outputFile> recording_;
    std::string anonymizeKey_; ///< empty: the recording has the originals
    std::optional<sys::machineInUse> inUse_;
};

} // namespace inventory
