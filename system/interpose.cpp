// Defines functions that the C library has too. The dynamic loader finds these first, also for the plug-in and other
// libraries. Each calls the machine in use, or the C library where there is none. Programs that are fortified or built
// for large files call the same functions by other names (__open_2, open64), so those are here too.

#include "system/clibrary.h"
#include "system/machine.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>
#include <utility>

namespace {

sys::machine* current = nullptr;

int openAnywhere(const char* path, int flags, std::va_list rest) {
    const bool createsFile = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    const mode_t mode = createsFile ? va_arg(rest, mode_t) : 0;
    return current != nullptr && path != nullptr ? current->open(path, flags, mode)
                                                 : sys::cLibrary::open(path, flags, mode);
}

} // namespace

sys::machineInUse::machineInUse(machine& asked) : before_(std::exchange(::current, &asked)) {}
sys::machineInUse::~machineInUse() { ::current = before_; }
sys::machine* sys::machineInUse::current() { return ::current; }

namespace sys::cLibrary {

int open(const char* path, int flags, mode_t mode) {
    static auto* const next = nextDefinition<int(const char*, int, mode_t)>("open");
    return next(path, flags, mode);
}

int close(int fd) {
    static auto* const next = nextDefinition<int(int)>("close");
    return next(fd);
}

int ioctl(int fd, unsigned long request, void* argument) {
    static auto* const next = nextDefinition<int(int, unsigned long, void*)>("ioctl");
    return next(fd, request, argument);
}

unsigned sleep(unsigned seconds) {
    static auto* const next = nextDefinition<unsigned(unsigned)>("sleep");
    return next(seconds);
}

int system(const char* command) {
    static auto* const next = nextDefinition<int(const char*)>("system");
    return next(command);
}

} // namespace sys::cLibrary

extern "C" {

// All else is built with hidden names, which no other library would find.
#pragma GCC visibility push(default)

// Those that take a path have other names here than in the object file: the C library's headers declare that a path is
// never null, so compilers would drop the check for it, and in large-file builds they rename open to open64.
int openPath(const char* path, int flags, ...) asm("open");
int openPath64(const char* path, int flags, ...) asm("open64");
int openPathChecked(const char* path, int flags) asm("__open_2");
int openPath64Checked(const char* path, int flags) asm("__open64_2");

int openPath(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const int fd = openAnywhere(path, flags, rest);
    va_end(rest);
    return fd;
}

int openPath64(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const int fd = openAnywhere(path, flags | O_LARGEFILE, rest);
    va_end(rest);
    return fd;
}

int openPathChecked(const char* path, int flags) { return openPath(path, flags); }

int openPath64Checked(const char* path, int flags) { return openPath64(path, flags); }

int close(int fd) { return current != nullptr ? current->close(fd) : sys::cLibrary::close(fd); }

int ioctl(int fd, unsigned long request, ...) noexcept {
    std::va_list rest;
    va_start(rest, request);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    return current != nullptr ? current->ioctl(fd, request, argument) : sys::cLibrary::ioctl(fd, request, argument);
}

unsigned sleep(unsigned seconds) {
    return current != nullptr ? current->sleep(seconds) : sys::cLibrary::sleep(seconds);
}

int system(const char* command) {
    return current != nullptr && command != nullptr ? current->system(command) : sys::cLibrary::system(command);
}

#pragma GCC visibility pop

} // extern "C"
