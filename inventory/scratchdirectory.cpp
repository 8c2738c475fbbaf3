#include "inventory/scratchdirectory.h"

#include "inventory/statusline.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace inventory {

namespace {

constexpr int endingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// For the signal handler: no more than what may be used in one.
char directory[PATH_MAX];
int previous = -1;

/// Removes the directory, if it is there, and the files in it. Calls only what is safe in a signal handler.
void removeAtOnce() {
    alignas(dirent64) char entries[4096];
    // Straight to the kernel: open and close may be interposed.
    const auto fd = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (ssize_t got; (got = ::getdents64(fd, entries, sizeof entries)) > 0;) {
        for (ssize_t offset = 0; offset < got;) {
            const auto* entry = reinterpret_cast<const dirent64*>(entries + offset);
            ::unlinkat(fd, entry->d_name, 0); // fails, as it should, for . and ..
            offset += entry->d_reclen;
        }
    }
    ::syscall(SYS_close, fd);
    ::rmdir(directory);
}

extern "C" void removeAndExit(int signal) {
    statusLine::eraseAtOnce();
    removeAtOnce();
    ::_exit(128 + signal);
}

std::string parentDirectory() {
    const char* wanted = std::getenv("TMPDIR");
    return std::filesystem::absolute(wanted != nullptr && *wanted != '\0' ? wanted : "/tmp").string();
}

} // namespace

scratchDirectory::scratchDirectory() {
    const std::string name = parentDirectory() + "/scsidev-inventory-XXXXXX";
    if (name.size() >= sizeof directory)
        throw std::runtime_error(name + ": the name of the temporary directory is too long");
    name.copy(directory, name.size());
    directory[name.size()] = '\0';
    previous = ::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC);
    for (const int signal : endingSignals) {
        if (std::signal(signal, removeAndExit) == SIG_IGN)
            std::signal(signal, SIG_IGN); // started with nohup, say
    }
    if (::mkdtemp(directory) == nullptr || ::chdir(directory) != 0) {
        const int error = errno;
        removeAtOnce();
        throw std::runtime_error(name + ": cannot make a temporary directory: " + std::strerror(error));
    }
}

scratchDirectory::~scratchDirectory() {
    [[maybe_unused]] const int result = ::fchdir(previous);
    ::close(previous);
    removeAtOnce();
    for (const int signal : endingSignals) {
        if (std::signal(signal, SIG_DFL) == SIG_IGN)
            std::signal(signal, SIG_IGN);
    }
}

} // namespace inventory
