// The system calls of this process that a simulated machine answers. A definition here wins over the C
// library's; what does not belong to the simulated machine goes on to the C library. Fortified and large-file
// builds call other names, so these stand here too.

// This file itself is no such build: the C library's headers would turn one name into another.
#undef _FORTIFY_SOURCE
#undef _FILE_OFFSET_BITS
#undef _TIME_BITS

#include "simulator/kernel.h"
#include "simulator/nodepath.h"
#include "simulator/recorder.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using simulator::activeKernel;
using simulator::activeRecorder;
using simulator::kernel;
using simulator::recorder;

namespace {

/// The definition of `name` behind this one.
template <typename Function>
Function* behind(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

using openCall = int(const char*, int, mode_t);
using fopenCall = FILE*(const char*, const char*);

/// The kernel that answers for `path`, or null for the real one.
kernel* owner(const char* path) {
    kernel* const simulated = activeKernel();
    return simulated != nullptr && simulator::isNodePath(path) ? simulated : nullptr;
}

/// The kernel that answers for `fd`, or null for the real one. A descriptor that is none belongs to any.
kernel* owner(int fd) {
    kernel* const simulated = activeKernel();
    return simulated != nullptr && (fd < 0 || simulated->owns(fd)) ? simulated : nullptr;
}

bool isSimulatedTable(const char* path) {
    return activeKernel() != nullptr && std::strcmp(path, simulator::opticalTablePath) == 0;
}

/// Tells the recorder, if there is one, without touching errno.
template <typename Tell>
void tellRecorder(Tell tell) {
    if (recorder* const recording = activeRecorder()) {
        const int error = errno;
        tell(*recording, error);
        errno = error;
    }
}

int openAnywhere(openCall* realOpen, const char* path, int flags, mode_t mode) {
    if (isSimulatedTable(path))
        return activeKernel()->openOpticalTable();
    kernel* const simulated = owner(path);
    const int fd = simulated != nullptr ? simulated->open(path) : realOpen(path, flags, mode);
    tellRecorder([&](recorder& recording, int error) { recording.opened(path, fd, error); });
    return fd;
}

FILE* fopenAnywhere(fopenCall* realFopen, const char* path, const char* mode) {
    if (!isSimulatedTable(path))
        return realFopen(path, mode);
    const int fd = activeKernel()->openOpticalTable();
    FILE* const file = fd < 0 ? nullptr : ::fdopen(fd, mode);
    if (fd >= 0 && file == nullptr)
        ::close(fd);
    return file;
}

int hostName(char* name, std::size_t size) {
    if (kernel* simulated = activeKernel()) {
        std::snprintf(name, size, "%s", simulated->simulated().name.c_str());
        return 0;
    }
    static auto* const real = behind<int(char*, std::size_t)>("gethostname");
    return real(name, size);
}

bool createsFile(int flags) { return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE; }

/// Replaces the path of the optical-drive table among a command's arguments by an inherited descriptor, so
/// that a child which is not interposed reads the simulated table too.
class redirectedArguments {
public:
    redirectedArguments(kernel* simulated, char* const* arguments) {
        for (; *arguments != nullptr; ++arguments)
            list_.push_back(*arguments);
        list_.push_back(nullptr);
        const auto found = std::find_if(list_.begin(), list_.end() - 1, [](const char* argument) {
            return std::strcmp(argument, simulator::opticalTablePath) == 0;
        });
        if (found == list_.end() - 1)
            return;
        tellRecorder([](recorder& recording, int /*error*/) { recording.readsOpticalTable(); });
        if (simulated == nullptr)
            return;
        table_ = simulated->openOpticalTable();
        path_ = "/dev/fd/" + std::to_string(table_); // no file at all where the machine has no table
        *found = path_.data();
    }
    ~redirectedArguments() {
        if (table_ >= 0)
            ::close(table_);
    }
    redirectedArguments(const redirectedArguments&) = delete;
    redirectedArguments& operator=(const redirectedArguments&) = delete;

    char* const* list() const { return list_.data(); }

private:
    std::vector<char*> list_;
    int table_ = -1;
    std::string path_;
};

} // namespace

extern "C" {

#pragma GCC visibility push(default)

int open(const char* path, int flags, ...) {
    static auto* const real = behind<openCall>("open");
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = createsFile(flags) ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openAnywhere(real, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    static auto* const real = behind<openCall>("open64");
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = createsFile(flags) ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openAnywhere(real, path, flags, mode);
}

int __open_2(const char* path, int flags) { return open(path, flags); }

int __open64_2(const char* path, int flags) { return open64(path, flags); }

FILE* fopen(const char* path, const char* mode) {
    static auto* const real = behind<fopenCall>("fopen");
    return fopenAnywhere(real, path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    static auto* const real = behind<fopenCall>("fopen64");
    return fopenAnywhere(real, path, mode);
}

int close(int fd) {
    static auto* const real = behind<int(int)>("close");
    tellRecorder([fd](recorder& recording, int /*error*/) { recording.closed(fd); });
    kernel* const simulated = owner(fd);
    return simulated != nullptr ? simulated->close(fd) : real(fd);
}

int ioctl(int fd, unsigned long request, ...) noexcept {
    static auto* const real = behind<int(int, unsigned long, void*)>("ioctl");
    std::va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    kernel* const simulated = owner(fd);
    const int result = simulated != nullptr ? simulated->ioctl(fd, request, argument) : real(fd, request, argument);
    tellRecorder([&](recorder& recording, int error) { recording.answered(fd, request, argument, result, error); });
    return result;
}

unsigned sleep(unsigned seconds) {
    static auto* const real = behind<unsigned(unsigned)>("sleep");
    kernel* const simulated = activeKernel();
    return simulated != nullptr && simulated->skipsSleep(seconds) ? 0 : real(seconds);
}

int system(const char* command) {
    static auto* const real = behind<int(const char*)>("system");
    if (command == nullptr)
        return real(command);
    int status = 0;
    kernel* const simulated = activeKernel();
    if (simulated == nullptr || !simulated->system(command, status))
        status = real(command);
    tellRecorder([&](recorder& recording, int /*error*/) { recording.ran(command, status); });
    return status;
}

int gethostname(char* name, std::size_t size) noexcept { return hostName(name, size); }

int __gethostname_chk(char* name, std::size_t size, std::size_t /*room*/) noexcept { return hostName(name, size); }

int posix_spawnp(pid_t* child, const char* file, const posix_spawn_file_actions_t* actions,
                 const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment) {
    static auto* const real = behind<decltype(::posix_spawnp)>("posix_spawnp");
    const redirectedArguments redirected(activeKernel(), arguments);
    return real(child, file, actions, attributes, redirected.list(), environment);
}

#pragma GCC visibility pop

} // extern "C"
