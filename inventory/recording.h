#pragma once

#include "inventory/options.h"
#include "inventory/outputfile.h"
#include "system/recordedmachine.h"

#include <optional>
#include <string>

namespace inventory {

/// The file into which a run records its machine.
class recording {
public:
    /// Throws std::runtime_error when the file cannot be written, or that with the key for an anonymous recording
    /// cannot be used.
    explicit recording(const runOptions& options);

    /// Writes what the machine has answered. Returns what to say of it.
    std::string write(sys::recordedMachine& recorded) const;

private:
    bool isAnonymous_;
    std::string key_;
    outputFile file_;
};

} // namespace inventory
