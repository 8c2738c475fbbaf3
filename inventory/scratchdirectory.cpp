#include "inventory/scratchdirectory.h"

#include "system/heldsignals.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace inventory {

namespace {

// For the signal handler: how the directory is called from within, and whether it is the working directory.
char name[] = "../scsidev-inventory-XXXXXX";
volatile std::sig_atomic_t isInside = 0;

[[noreturn]] void fail(const std::string& parent, const std::string& why) {
    throw std::runtime_error(parent + ": cannot make a temporary directory: " + why);
}

/// Why other users could write in a directory or exchange it; "" when only root and this user can.
std::string dangerOf(const struct stat& own, const struct stat& parent) {
    if (own.st_uid != ::geteuid() || (own.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return "another user has exchanged it";
    struct stat root {};
    // In a user namespace an unknown user owns what is root's outside, the root directory above all.
    const bool isRoots = parent.st_uid == 0 || (::stat("/", &root) == 0 && parent.st_uid == root.st_uid);
    if (!isRoots && parent.st_uid != ::geteuid())
        return "it belongs to another user; TMPDIR names another place";
    // Where each user has a group of one, its directories are often open to the group.
    const bool isPrivateGroup = ::geteuid() != 0 && parent.st_gid == ::getegid();
    const mode_t others = isPrivateGroup ? S_IWOTH : S_IWOTH | S_IWGRP;
    if ((parent.st_mode & others) != 0 && (parent.st_mode & S_ISVTX) == 0)
        return "it can be written by other users and is not sticky; TMPDIR names another place";
    return "";
}

/// Makes the directory just made the working directory. "", or why it is not.
std::string enter(const std::string& path) {
    struct stat own {};
    struct stat parent {};
    const int fd = ::open(path.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    const bool isSeen = fd != -1 && ::fstat(fd, &own) == 0 && ::fstatat(fd, "..", &parent, 0) == 0;
    std::string why = isSeen ? dangerOf(own, parent) : std::strerror(errno);
    if (why.empty() && ::fchdir(fd) != 0)
        why = std::strerror(errno);
    ::close(fd);
    return why;
}

/// Removes the working directory, if it is the temporary one. 0, or the errno of what went wrong. Calls only what is
/// safe in a signal handler.
int removeFromWithin() {
    if (isInside == 0)
        return 0;
    ::unlink("infousb.txt"); // which the plug-in removes too, unless it is ended before
    const int error = ::rmdir(name) == 0 ? 0 : errno;
    isInside = 0;
    return error;
}

} // namespace

scratchDirectory::scratchDirectory(std::function<void(const std::string& text)> remark) : remark_(std::move(remark)) {
    const char* const wanted = std::getenv("TMPDIR");
    const std::string parent = wanted != nullptr && *wanted != '\0' ? wanted : "/tmp";
    path_ = parent + "/scsidev-inventory-XXXXXX";
    const sys::heldSignals untilItCanBeRemoved;
    if (::mkdtemp(path_.data()) == nullptr)
        fail(parent, std::strerror(errno));
    before_ = ::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (const std::string why = enter(path_); !why.empty()) {
        ::close(before_);
        ::rmdir(path_.c_str());
        fail(parent, why);
    }
    ("../" + path_.substr(path_.rfind('/') + 1)).copy(name, sizeof name - 1);
    isInside = 1;
}

scratchDirectory::~scratchDirectory() {
    const int error = removeFromWithin();
    [[maybe_unused]] const int result = ::fchdir(before_);
    ::close(before_);
    try {
        if (error != 0)
            remark_(path_ + " is not removed: " + std::strerror(error));
    } catch (...) { // NOLINT(bugprone-empty-catch): memory has run out, and there are worse messages then
    }
}

void scratchDirectory::removeAtOnce() { removeFromWithin(); }

} // namespace inventory
