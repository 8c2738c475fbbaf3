#pragma once

#include <dlfcn.h>
#include <sys/types.h>

/// The C library's own functions. A plain call by one of these names reaches this process's definition of it instead,
/// which asks the machine in use.
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
