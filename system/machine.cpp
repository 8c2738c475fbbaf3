#include "system/machine.h"

#include "system/boundary.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace sys {

serviceAnswer machine::captureFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open())
        return {"", errno == ENOENT ? "" : std::strerror(errno)};
    std::ostringstream content;
    errno = 0;
    content << file.rdbuf(); // which also fails where there is nothing to read, but without an error
    return {content.str(), content.fail() && errno != 0 ? std::strerror(errno) : ""};
}

int nodeListener::open(const char* path, int flags, mode_t mode) {
    const int fd = layer::open(path, flags, mode);
    const int error = errno;
    if (isNodePath(path)) {
        if (fd >= 0)
            open_.emplace_back(fd, path);
        opened(path, fd >= 0 ? 0 : error);
    }
    errno = error;
    return fd;
}

int nodeListener::close(int fd) {
    open_.erase(std::remove_if(open_.begin(), open_.end(), [fd](const auto& each) { return each.first == fd; }),
                open_.end());
    return layer::close(fd);
}

int nodeListener::ioctl(int fd, unsigned long request, void* argument) {
    const int result = layer::ioctl(fd, request, argument);
    const int error = errno;
    for (const auto& [descriptor, path] : open_) {
        if (descriptor == fd)
            asked(path, request, argument, result, result == -1 ? error : 0);
    }
    errno = error;
    return result;
}

} // namespace sys
