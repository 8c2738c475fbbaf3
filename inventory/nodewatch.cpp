// The program's own open(): it stands before the C library's for the plug-in too, and passes each call on.

// The other names of open() are defined here as well: in a fortified or large-file build, which many compilers set up
// by themselves, the C library's headers would turn one of them into another.
#undef _FORTIFY_SOURCE
#undef _FILE_OFFSET_BITS
#undef _TIME_BITS

#include "inventory/nodewatch.h"

#include <dlfcn.h>
#include <fcntl.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <map>
#include <string>

namespace {

// Path to "was refused". Made at the first use and never destroyed: files are opened before and after main.
std::map<std::string, bool>& nodes() {
    static auto* const opened = new std::map<std::string, bool>;
    return *opened;
}

bool isDeviceNode(const char* path) {
    return std::strncmp(path, "/dev/sg", 7) == 0 || std::strncmp(path, "/dev/hd", 7) == 0;
}

using openCall = int(const char*, int, mode_t);

int watchedOpen(openCall* real, const char* path, int flags, mode_t mode) {
    const int fd = real(path, flags, mode);
    const int error = errno;
    const bool refused = fd < 0 && (error == EACCES || error == EPERM);
    if ((fd >= 0 || refused) && isDeviceNode(path))
        nodes()[path] = refused;
    errno = error;
    return fd;
}

} // namespace

extern "C" {

#pragma GCC visibility push(default)

int open(const char* path, int flags, ...) {
    static auto* const real = reinterpret_cast<openCall*>(::dlsym(RTLD_NEXT, "open"));
    std::va_list arguments;
    va_start(arguments, flags);
    const bool createsFile = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    const mode_t mode = createsFile ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return watchedOpen(real, path, flags, mode);
}

// The same on 64-bit systems, and what large-file and fortified builds of a plug-in call.
int open64(const char* path, int flags, ...) __attribute__((alias("open")));

int __open_2(const char* path, int flags) { return open(path, flags); }

int __open64_2(const char* path, int flags) { return open(path, flags); }

#pragma GCC visibility pop

} // extern "C"

inventory::nodeCount inventory::countedNodes() {
    nodeCount count;
    for (const auto& [path, refused] : nodes()) {
        ++count.present;
        count.refused += refused ? 1 : 0;
    }
    return count;
}
