#include "inventory/outputfile.h"

#include "minihost/heldsignals.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace inventory {

namespace {

/// A temporary file. For the signal handler too: signals are held back while it changes.
struct temporaryFile {
    int fd = -1; ///< -1: there is none
    int directory = -1;
    char name[40] = {};

    void remove() {
        if (fd == -1)
            return;
        ::unlinkat(directory, name, 0);
        ::syscall(SYS_close, fd); // straight to the kernel: close is interposed, and reads what a signal can interrupt
        fd = -1;
    }
};

temporaryFile temporaries[2];

std::size_t freeSlot() { return temporaries[0].fd == -1 ? 0 : 1; }

const char* kindOf(mode_t mode) {
    switch (mode & S_IFMT) {
    case S_IFDIR:
        return "a directory";
    case S_IFLNK:
        return "a symbolic link";
    case S_IFIFO:
        return "a pipe";
    case S_IFSOCK:
        return "a socket";
    default:
        return "a device node";
    }
}

mode_t modeOfNewFile() {
    const mode_t mask = ::umask(0); // reading the mask takes setting it
    ::umask(mask);
    return 0666 & ~mask;
}

bool writeAll(int fd, const std::string& content) {
    std::size_t written = 0;
    ssize_t step = 0;
    while (written < content.size() &&
           ((step = ::write(fd, content.data() + written, content.size() - written)) > 0 || errno == EINTR))
        written += step > 0 ? static_cast<std::size_t>(step) : 0;
    return written == content.size();
}

} // namespace

outputFile::outputFile(std::string path, existing file) : path_(std::move(path)), existing_(file), slot_(freeSlot()) {
    const std::size_t slash = path_.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path_.substr(0, slash + 1);
    name_ = path_.substr(slash == std::string::npos ? 0 : slash + 1);
    if (name_.empty())
        fail("is a directory, expected a regular file or none");
    directory_ = ::openat(AT_FDCWD, directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory_ == -1)
        failToWrite();
    try {
        lookAtExisting();
        makeTemporary();
    } catch (...) {
        ::close(directory_);
        throw;
    }
}

outputFile::~outputFile() {
    const minihost::heldSignals held;
    temporaries[slot_].remove();
    ::close(directory_);
}

/// None: there is no file yet.
std::optional<outputFile::permissions> outputFile::lookAtExisting() const {
    struct stat found {};
    if (::fstatat(directory_, name_.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno == ENOENT)
            return std::nullopt;
        failToWrite();
    }
    if (!S_ISREG(found.st_mode))
        fail(std::string("is ") + kindOf(found.st_mode) + ", expected a regular file or none");
    if (existing_ == existing::isKept)
        fail("is there already; --force replaces it");
    // Whoever made it would own what is written. The kernel opens no such file either (protected_regular).
    struct stat directory {};
    if (::fstat(directory_, &directory) != 0 || ((directory.st_mode & S_ISVTX) != 0 && found.st_uid != ::geteuid()))
        fail("belongs to another user, in a sticky directory");
    return permissions{found.st_mode & 0777, found.st_uid, found.st_gid};
}

/// Makes it with a name that nobody can have taken before, for its owner only: what is recorded tells serial numbers.
void outputFile::makeTemporary() {
    std::uint64_t random = 0;
    if (::getrandom(&random, sizeof random, 0) != static_cast<ssize_t>(sizeof random))
        failToWrite();
    const minihost::heldSignals untilItCanBeRemoved;
    temporaryFile& made = temporaries[slot_];
    made.directory = directory_;
    std::snprintf(made.name, sizeof made.name, ".scsidev-inventory-%016llx", static_cast<unsigned long long>(random));
    made.fd = ::openat(directory_, made.name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (made.fd == -1)
        failToWrite();
}

void outputFile::write(const std::string& content) {
    const temporaryFile& made = temporaries[slot_];
    const std::optional<permissions> before = lookAtExisting(); // once more: somebody may have made one meanwhile
    errno = ENOSPC;                                             // where only a part is written
    if (!writeAll(made.fd, content) || ::fchmod(made.fd, before ? before->mode : modeOfNewFile()) != 0)
        failToWrite();
    // Whoever could read the file before can read it again. Only root may give a file away.
    if (before && ::geteuid() == 0 && ::fchown(made.fd, before->owner, before->group) != 0)
        failToWrite();
    if (::fsync(made.fd) != 0)
        failToWrite();
    rename();
}

void outputFile::rename() const {
    const minihost::heldSignals untilItHasItsName;
    temporaryFile& made = temporaries[slot_];
    const char* const name = name_.c_str();
    int result = 0;
    if (existing_ == existing::isReplaced) {
        result = ::renameat(directory_, made.name, directory_, name);
    } else {
        result = ::renameat2(directory_, made.name, directory_, name, RENAME_NOREPLACE);
        // Network file systems know no such flag, but a link does not replace a file either.
        if (result != 0 && (errno == EINVAL || errno == ENOSYS))
            result = ::linkat(directory_, made.name, directory_, name, 0);
    }
    if (result != 0)
        failToWrite();
    made.remove(); // of a link, the other name
}

void outputFile::failToWrite() const { fail(std::string("cannot be written: ") + std::strerror(errno)); }

void outputFile::fail(const std::string& why) const { throw std::runtime_error(path_ + ": " + why); }

void outputFile::removeTemporaryAtOnce() {
    for (temporaryFile& each : temporaries)
        each.remove();
}

} // namespace inventory
