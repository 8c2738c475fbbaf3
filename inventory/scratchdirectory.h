#pragma once

#include <functional>
#include <string>

namespace inventory {

/// A private temporary directory that is the working directory while it lives. One at a time.
///
/// No other user but root can exchange it or a directory above it: each belongs to root or this user, and others can
/// write to none that is not sticky. At the end it is removed with the file that the plug-in makes in it. What else
/// lies there, such as a core dump, stays, and so does what has taken the directory's name.
class scratchDirectory {
public:
    /// Throws std::runtime_error when it cannot be made. `remark` is told when it cannot be removed.
    explicit scratchDirectory(std::function<void(const std::string& text)> remark);
    ~scratchDirectory();
    scratchDirectory(const scratchDirectory&) = delete;
    scratchDirectory& operator=(const scratchDirectory&) = delete;

    /// Removes it, if there is one, when a signal ends the process. Safe in a signal handler.
    static void removeAtOnce();

private:
    std::function<void(const std::string& text)> remark_;
};

} // namespace inventory
