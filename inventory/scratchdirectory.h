#pragma once

#include <functional>
#include <string>

namespace inventory {

/// A private temporary directory that is the working directory while it lives. One at a time.
///
/// No other user but root can write in it or exchange it: it belongs to this user, and the directory that it is in
/// belongs to root or this user and is sticky where others can write to it. Directories above that one do not matter,
/// since all is done from within. At the end it is removed with the file that the plug-in makes in it. What else lies
/// there, such as a core dump, stays.
class scratchDirectory {
public:
    /// Throws std::runtime_error when it cannot be made. `remark` is told when it cannot be removed.
    explicit scratchDirectory(std::function<void(const std::string& text)> remark);
    ~scratchDirectory();
    scratchDirectory(const scratchDirectory&) = delete;
    scratchDirectory& operator=(const scratchDirectory&) = delete;

    /// Removes it, if there is one, when the process ends at once. Safe in a signal handler.
    static void removeAtOnce();

private:
    std::function<void(const std::string& text)> remark_;
    std::string path_;
    int before_; // the working directory
};

} // namespace inventory
