#pragma once

#include "plugin/host/rootobject.h"

#include <string>

/// The levels of the host's log that this system uses.
enum hostLogLevel {
    failedStep = 0,     ///< a failure that ends a step
    malformedInput = 1, ///< input that was skipped
    progress = 3,       ///< progress and trace
};

/// Writes one message to the host's log. The logger is fetched anew each time: the host may exchange it.
inline void hostLog(hostLogLevel level, const std::string& text) {
    NHALDEN20::TRootObject::GetCoreLogger()->Log(level, text);
}
