#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>

namespace inventory {

/// A file that a run writes at its end, whole or not at all. At most two at a time.
///
/// The constructor finds out whether it can be written, so that nobody waits for a run whose result is lost, and makes
/// an empty temporary file beside it. That file becomes the other one by a change of its name, so a reader sees the old
/// content or the new one. A file that is there has to be a regular one: a symbolic link, a device node or a pipe is
/// not replaced and not followed.
class outputFile {
public:
    enum class existing { isKept, isReplaced };

    /// Throws std::runtime_error, with the path, when there is something that is not to be replaced, as a file of
    /// another user in a sticky directory, or when the directory cannot be written.
    outputFile(std::string path, existing file);
    /// Removes the temporary file if there is one.
    ~outputFile();
    outputFile(const outputFile&) = delete;
    outputFile& operator=(const outputFile&) = delete;

    const std::string& path() const { return path_; }

    /// Writes the file, with the permissions and the owner of the one that it replaces, or else those of any new file.
    /// Throws std::runtime_error, with the path, when that fails.
    void write(const std::string& content);

    /// Removes the temporary files when a signal ends the process. Safe in a signal handler.
    static void removeTemporaryAtOnce();

private:
    struct permissions {
        mode_t mode;
        uid_t owner;
        gid_t group;
    };

    std::optional<permissions> lookAtExisting() const;
    void makeTemporary();
    void rename() const;
    [[noreturn]] void failToWrite() const; // errno says why
    [[noreturn]] void fail(const std::string& why) const;

    std::string path_;
    std::string name_; // in its directory
    existing existing_;
    int directory_ = -1;
    std::size_t slot_; // of the temporary file
};

} // namespace inventory
