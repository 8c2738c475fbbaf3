#include "system/machine.h"

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

} // namespace sys
