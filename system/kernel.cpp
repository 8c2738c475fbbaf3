#include "system/kernel.h"

#include "system/boundary.h"
#include "system/requests.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>

namespace sys {

namespace {

int fail(int error) {
    errno = error;
    return -1;
}

} // namespace

void kernel::rewind() {
    machine_.modprobe.rewind();
    for (auto& [path, node] : machine_.nodes)
        eachAnswer(node, [](const char* /*name*/, auto& answers) { answers.rewind(); });
}

int kernel::open(const std::string& path) {
    note([&] { return "open " + path; });
    const auto found = machine_.nodes.find(path);
    if (found == machine_.nodes.end())
        return fail(ENOENT);
    auto& outcomes = found->second.open;
    if (const int error = outcomes.empty() ? 0 : outcomes.next().error)
        return fail(error);
    const int fd = newDescriptor();
    if (fd >= 0)
        open_[fd] = &*found;
    return fd;
}

int kernel::newDescriptor() const {
    if (!givesNumbers_)
        return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    constexpr int first = 1 << 30; // a process with so many files would need 8 GiB for their table alone
    return open_.empty() ? first : std::max(first, open_.rbegin()->first + 1);
}

int kernel::openOpticalTable() {
    if (!machine_.opticalTable)
        return fail(ENOENT);
    const int fd = ::memfd_create("optical-table", 0);
    if (fd >= 0) {
        const auto& table = *machine_.opticalTable;
        if (::write(fd, table.data(), table.size()) != static_cast<ssize_t>(table.size())) {
            ::close(fd);
            return fail(EIO);
        }
        ::lseek(fd, 0, SEEK_SET);
    }
    return fd;
}

int kernel::close(int fd) {
    if (!owns(fd))
        return fail(EBADF);
    note([&] { return "close " + open_[fd]->first; });
    open_.erase(fd);
    return givesNumbers_ ? 0 : ::close(fd);
}

int kernel::ioctl(int fd, unsigned long request, void* argument) {
    const auto found = open_.find(fd);
    if (found == open_.end()) {
        note([&] { return "ioctl closed " + requestText(request, argument); });
        return fail(EBADF);
    }
    auto& [path, node] = *found->second;
    note([&, &path = path] { return "ioctl " + path + " " + requestText(request, argument); });
    const requestResult result = answerRequest(path, node, request, argument);
    return result.error == 0 ? result.value : fail(result.error);
}

bool kernel::skipsSleep(unsigned seconds) {
    note([&] { return "sleep " + std::to_string(seconds); });
    secondsSkipped_ += sleepsForReal_ ? 0 : seconds;
    return !sleepsForReal_;
}

bool kernel::system(const std::string& command, int& status) {
    const shellCommand known = commandOf(command);
    if (!isWholeMachine() && known.kind != shellCommand::modprobe)
        return false;
    status = 0;
    switch (known.kind) {
    case shellCommand::modprobe:
        status = (machine_.modprobe.empty() ? 0 : machine_.modprobe.next()) << 8;
        break;
    case shellCommand::usbQuery: {
        constexpr int writeError = 2; // of grep, with which the query ends
        std::ofstream file(known.file, std::ios::binary);
        file << machine_.usbListing;
        file.close();
        status = file ? 0 : writeError << 8;
        break;
    }
    case shellCommand::removal:
        std::remove(known.file.c_str());
        break;
    case shellCommand::other:
        return false;
    }
    note([&] { return "system " + command; });
    return true;
}

} // namespace sys
