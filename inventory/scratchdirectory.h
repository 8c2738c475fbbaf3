#pragma once

#include <string>

namespace inventory {

/// A private temporary directory that is the working directory while it lives. It is removed, with the files
/// in it, at the end of its life and when a signal ends the process. One at a time.
class scratchDirectory {
public:
    /// Throws std::runtime_error when it cannot be made.
    scratchDirectory();
    ~scratchDirectory();
    scratchDirectory(const scratchDirectory&) = delete;
    scratchDirectory& operator=(const scratchDirectory&) = delete;
};

} // namespace inventory
