#include "system/clibrary.h"

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
