#include "inventory/outputfile.h"

#include "system/heldsignals.h"

#include <fcntl.h>
#include <linux/limits.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

namespace inventory {

namespace {

/// A new file for its owner only: what is recorded tells serial numbers. It has no name, so it goes with the process;
/// where the file system knows no such files, it goes with this object.
class newFile {
public:
    explicit newFile(const std::string& directory)
        : passingName_(directory + "/.scsidev-inventory-" + std::to_string(std::random_device{}())) {
        constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
        fd_ = ::openat(AT_FDCWD, directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, ownerOnly);
        if (fd_ != -1)
            return;
        fd_ = ::openat(AT_FDCWD, passingName_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, ownerOnly);
        isNamed_ = fd_ != -1;
    }
    ~newFile() {
        if (isNamed_)
            ::unlink(passingName_.c_str());
        if (fd_ != -1)
            ::close(fd_);
    }
    newFile(const newFile&) = delete;
    newFile& operator=(const newFile&) = delete;

    int fd() const { return fd_; } ///< -1: there is none, and errno says why

    /// Gives it the name that stays. False: that is not possible, and errno says why.
    bool take(const std::string& path, bool mayReplace) {
        if (!isNamed_) {
            if (link(path))
                return true;
            if (errno != EEXIST || !mayReplace || !link(passingName_)) // a link replaces nothing
                return false;
        }
        const unsigned flags = mayReplace ? 0 : RENAME_NOREPLACE;
        isNamed_ = ::renameat2(AT_FDCWD, passingName_.c_str(), AT_FDCWD, path.c_str(), flags) != 0;
        return !isNamed_ || (!mayReplace && link(path)); // network file systems know no flags, FAT knows no links
    }

private:
    bool link(const std::string& path) const {
        const std::string self = "/proc/self/fd/" + std::to_string(fd_);
        return ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0 ||
               (errno == ENOENT &&
                ::linkat(fd_, "", AT_FDCWD, path.c_str(), AT_EMPTY_PATH) == 0); // root, without /proc
    }

    std::string passingName_;
    int fd_;
    bool isNamed_ = false; // by the passing name
};

std::string directoryOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

mode_t withoutUmask(mode_t mode) {
    const mode_t mask = ::umask(0); // reading the mask takes setting it
    ::umask(mask);
    return mode & ~mask;
}

bool writeAll(int fd, const std::string& content) {
    for (std::size_t written = 0; written < content.size();) {
        const ssize_t step = ::write(fd, content.data() + written, content.size() - written);
        if (step <= 0)
            return false;
        written += static_cast<std::size_t>(step);
    }
    return true;
}

/// Gives the file `made` the owner, the group and the access control list of the file at `path`, as far as this user
/// may. Returns the mode with which nobody can read it who could not read that one.
mode_t handOnAccess(const std::string& path, const struct stat& before, int made) {
    constexpr const char* listName = "system.posix_acl_access";
    const auto isAbsent = [] {
        return errno == ENODATA || errno == EOPNOTSUPP;
    };
    const mode_t mode = before.st_mode & 0777;
    const bool keepsGroup =
        ::fchown(made, before.st_uid, before.st_gid) == 0 || ::fchown(made, static_cast<uid_t>(-1), before.st_gid) == 0;
    std::vector<char> list(XATTR_SIZE_MAX); // as large as a small stack
    const ssize_t size = ::lgetxattr(path.c_str(), listName, list.data(), list.size());
    if (size != -1 || !isAbsent()) {
        const bool keepsList =
            size != -1 && ::fsetxattr(made, listName, list.data(), static_cast<std::size_t>(size), 0) == 0;
        return keepsGroup && keepsList ? mode : mode & S_IRWXU;
    }
    if (::fremovexattr(made, listName) != 0 && !isAbsent()) // the directory may have given it one
        return mode & S_IRWXU;
    // Members of the group before are among the others now, or the other way round: what both could do remains.
    const mode_t both = mode & mode >> 3 & S_IRWXO;
    return keepsGroup ? mode : (mode & S_IRWXU) | both << 3 | both;
}

} // namespace

outputFile::outputFile(std::string path, existing file, mode_t mode)
    : path_(std::move(path)), directory_(directoryOf(path_)), existing_(file), mode_(mode) {
    lookAtExisting();
    const sys::heldSignals untilItIsGone;
    const newFile trial(directory_);
    if (trial.fd() == -1)
        failToWrite();
}

/// None: there is no file yet.
std::optional<struct stat> outputFile::lookAtExisting() const {
    struct stat found {
    }, directory{};
    if (::lstat(path_.c_str(), &found) != 0) {
        if (errno == ENOENT)
            return std::nullopt;
        failToWrite();
    }
    const char* const kind = S_ISDIR(found.st_mode)   ? "a directory"
                             : S_ISLNK(found.st_mode) ? "a symbolic link"
                                                      : "a special file";
    if (!S_ISREG(found.st_mode))
        fail(std::string("is ") + kind + ", expected a regular file or none");
    if (existing_ == existing::isKept)
        fail("is there already; --force replaces it");
    // Whoever made it would own what is written. The kernel opens no such file either (protected_regular).
    if (::stat(directory_.c_str(), &directory) != 0 ||
        ((directory.st_mode & S_ISVTX) != 0 && found.st_uid != ::geteuid()))
        fail("belongs to another user, in a sticky directory");
    return found;
}

void outputFile::write(const std::string& content) const {
    const sys::heldSignals untilItHasItsName;
    newFile made(directory_);
    if (made.fd() == -1)
        failToWrite();
    const auto before = lookAtExisting(); // once more: somebody may have made one meanwhile
    if (!writeAll(made.fd(), content) ||
        ::fchmod(made.fd(), before ? handOnAccess(path_, *before, made.fd()) : withoutUmask(mode_)) != 0 ||
        ::fsync(made.fd()) != 0 || !made.take(path_, existing_ == existing::isReplaced))
        failToWrite();
}

void outputFile::failToWrite() const { fail(std::string("cannot be written: ") + std::strerror(errno)); }

void outputFile::fail(const std::string& why) const { throw std::runtime_error(path_ + ": " + why); }

} // namespace inventory
