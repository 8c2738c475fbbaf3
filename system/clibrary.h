#pragma once

#include <dlfcn.h>
#include <sys/types.h>

/// The C library's functions of these names. Called by name they would be those that this process puts before it, which
/// ask the machine in use.
namespace sys::cLibrary {

/// The definition of `name` that comes after this program's own.
template <typename Function>
Function* nextDefinition(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

int open(const char* path, int flags, mode_t mode);
int close(int fd);
int ioctl(int fd, unsigned long request, void* argument);
unsigned sleep(unsigned seconds);
int system(const char* command);

} // namespace sys::cLibrary
