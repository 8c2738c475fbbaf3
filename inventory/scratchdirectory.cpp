#include "inventory/scratchdirectory.h"

#include "minihost/heldsignals.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace inventory {

namespace {

namespace fs = std::filesystem;

// What the plug-in's shell command writes; the plug-in removes it too, unless it is ended before.
constexpr const char* madeFile = "infousb.txt";

// For the signal handler: no more than what may be used in one. Signals are held back while these change.
char directory[PATH_MAX];
struct stat facts; // of the directory
int own = -1;      // the directory; -1: there is none
int previous = -1; // the working directory before

[[noreturn]] void fail(const std::string& name, const std::string& why) {
    throw std::runtime_error(name + ": cannot make a temporary directory: " + why);
}

/// Why other users could exchange what lies in a directory; "" when only root and this user can.
std::string danger(const struct stat& place, uid_t machineOwner) {
    const uid_t user = ::geteuid();
    if (place.st_uid != 0 && place.st_uid != machineOwner && place.st_uid != user)
        return " belongs to another user";
    // Where each user has a group of one, its directories are often open to the group.
    const bool privateGroup = user != 0 && place.st_gid == ::getegid();
    const mode_t others = privateGroup ? S_IWOTH : S_IWOTH | S_IWGRP;
    if ((place.st_mode & others) != 0 && (place.st_mode & S_ISVTX) == 0)
        return " can be written by other users and is not sticky";
    return "";
}

/// Where the directory is to be made, without links. Each directory is looked at from the root down: below one that is
/// safe nobody else can exchange the next.
std::string safeParent() {
    const char* wanted = std::getenv("TMPDIR");
    const std::string name = wanted != nullptr && *wanted != '\0' ? wanted : "/tmp";
    std::error_code error;
    const fs::path parent = fs::canonical(name, error);
    struct stat root {};
    if (error || ::lstat("/", &root) != 0)
        fail(name, error ? error.message() : std::strerror(errno));
    fs::path place;
    for (const auto& part : parent) {
        struct stat here {};
        place /= part;
        if (::lstat(place.c_str(), &here) != 0 || !S_ISDIR(here.st_mode))
            fail(name, place.string() + " is no directory");
        // In a user namespace an unknown user owns what is root's outside, the root directory above all.
        if (const std::string why = danger(here, root.st_uid); !why.empty())
            fail(name, place.string() + why + "; TMPDIR names another place");
    }
    return parent.string();
}

// Straight to the kernel, here and below: open and close may be interposed.
int openAt(int where, const char* name, int flags) {
    return static_cast<int>(::syscall(SYS_openat, where, name, flags | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
}

/// Can the plug-in's file be written? Nobody would hear of it from the shell command.
bool holdsFile() {
    constexpr char block[4096] = {}; // more than the listing has
    const int fd = openAt(own, madeFile, O_WRONLY | O_CREAT | O_EXCL);
    if (fd == -1)
        return false;
    errno = ENOSPC; // where only a part is written
    const bool written = ::write(fd, block, sizeof block) == sizeof block;
    const int error = errno;
    ::syscall(SYS_close, fd);
    ::unlinkat(own, madeFile, 0);
    errno = error;
    return written;
}

/// Opens the directory just made and enters it. 0, or the errno of what went wrong.
int enter() {
    own = openAt(AT_FDCWD, directory, O_RDONLY | O_DIRECTORY);
    if (own == -1 || ::fstat(own, &facts) != 0)
        return errno;
    if (facts.st_uid != ::geteuid() || (facts.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return EPERM;
    return holdsFile() && ::fchdir(own) == 0 ? 0 : errno;
}

bool hasItsName() {
    struct stat named {};
    return ::lstat(directory, &named) == 0 && named.st_dev == facts.st_dev && named.st_ino == facts.st_ino;
}

void closeOwn() {
    ::syscall(SYS_close, own);
    own = -1;
}

/// Leaves and removes the directory. Null, or why it is still there. Calls only what is safe in a signal handler.
const char* removeOwn() {
    if (own == -1)
        return nullptr;
    [[maybe_unused]] const int result = ::fchdir(previous);
    ::unlinkat(own, madeFile, 0);
    const char* why = nullptr;
    if (!hasItsName())
        why = "it no longer has this name";
    else if (::rmdir(directory) != 0)
        why = errno == ENOTEMPTY ? "other files are in it" : "the system refuses it";
    closeOwn();
    return why;
}

} // namespace

scratchDirectory::scratchDirectory(std::function<void(const std::string& text)> remark) : remark_(std::move(remark)) {
    const std::string name = safeParent() + "/scsidev-inventory-XXXXXX";
    if (name.size() >= sizeof directory)
        fail(name, "the name is too long");
    previous = ::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC);
    const minihost::heldSignals untilItCanBeRemoved;
    name.copy(directory, name.size());
    directory[name.size()] = '\0';
    if (::mkdtemp(directory) == nullptr)
        fail(name, std::strerror(errno));
    if (const int error = enter(); error != 0) {
        closeOwn();
        ::rmdir(directory);
        fail(name, std::strerror(error));
    }
}

scratchDirectory::~scratchDirectory() {
    const char* why = nullptr;
    {
        const minihost::heldSignals whileItIsRemoved;
        why = removeOwn();
    }
    ::close(previous);
    try {
        if (why != nullptr)
            remark_(std::string(directory) + " is not removed: " + why);
    } catch (...) { // NOLINT(bugprone-empty-catch): memory has run out, and there are worse messages then
    }
}

void scratchDirectory::removeAtOnce() { removeOwn(); }

} // namespace inventory
