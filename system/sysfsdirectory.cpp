#include "system/sysfsdirectory.h"

#include "system/clibrary.h"

#include <boost/algorithm/string/trim.hpp>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <memory>

namespace sys {

sysfsDirectory::sysfsDirectory(const std::string& path)
    : fd_(cLibrary::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC, 0)) {}

sysfsDirectory::~sysfsDirectory() {
    if (isThere())
        cLibrary::close(fd_);
}

std::string sysfsDirectory::contentOf(const std::string& file) const {
    const int fd = ::openat(fd_, file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd == -1)
        return "";
    char content[16384]; // a file of sysfs has at most one page, and is given at once
    const ssize_t size = ::read(fd, content, sizeof content);
    cLibrary::close(fd);
    return {content, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

std::string sysfsDirectory::targetOf(const std::string& link) const {
    char target[PATH_MAX];
    const ssize_t size = ::readlinkat(fd_, link.c_str(), target, sizeof target);
    return {target, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

std::string sysfsDirectory::trimmed(const std::string& text) {
    return boost::trim_copy_if(text, [](char c) { return c == ' ' || c == '\n' || c == '\0'; });
}

std::vector<std::string> sysfsDirectory::entriesOf(const std::string& directory) const {
    std::vector<std::string> entries;
    const int fd = ::openat(fd_, directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> listed(fd == -1 ? nullptr : ::fdopendir(fd), ::closedir);
    while (const dirent* const entry = listed ? ::readdir(listed.get()) : nullptr) {
        if (entry->d_name[0] != '.')
            entries.push_back(directory + '/' + entry->d_name);
    }
    return entries;
}

} // namespace sys
