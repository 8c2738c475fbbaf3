#pragma once

#include <stdexcept>

namespace fuzz {

/// Ends the process with an exception, so that the fuzzer keeps the input.
inline void require(bool holds, const char* what) {
    if (!holds)
        throw std::logic_error(what);
}

} // namespace fuzz
