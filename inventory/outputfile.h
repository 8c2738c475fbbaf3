#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

namespace inventory {

/// A file that a run writes at its end, whole or not at all.
///
/// The constructor finds out whether it can be written, so that nobody waits for a run whose result is lost, and leaves
/// nothing there. What is written gets its name when it is whole, so a reader sees the old content or the new one. A
/// file that is there has to be a regular one: a symbolic link, a device node or a pipe is not replaced and not
/// followed. A relative path means the same file at both times if the working directory is the same.
class outputFile {
public:
    enum class existing { isKept, isReplaced };

    /// A new file has the mode `mode`, but for the bits of the umask. Throws std::runtime_error, with the path, when
    /// there is something that is not to be replaced, as a file of another user in a sticky directory, or when the
    /// directory cannot be written.
    outputFile(std::string path, existing file, mode_t mode);

    const std::string& path() const { return path_; }

    /// Writes the file. Owner, group, mode and access control list are those of the file that it replaces; where this
    /// user may not hand one of them on, fewer people can read the file, never more. Throws std::runtime_error, with
    /// the path, when it cannot be written.
    void write(const std::string& content) const;

private:
    std::optional<struct stat> lookAtExisting() const;
    [[noreturn]] void failToWrite() const; // errno says why
    [[noreturn]] void fail(const std::string& why) const;

    std::string path_;
    std::string directory_; // that it is in
    existing existing_;
    mode_t mode_; // of a new file
};

} // namespace inventory
