// Defines functions that the C library has too. The dynamic loader finds these first, also for the plug-in and other
// libraries: each asks the simulated machine and passes on to the C library what that machine does not answer. Programs
// that are fortified or built for large files call the same functions by other names (__open_2, open64), so these stand
// here too.

// This file must not be such a build itself: the headers would rename what is defined here, open to open64, say.
#undef _FORTIFY_SOURCE
#undef _FILE_OFFSET_BITS
#undef _TIME_BITS

#include "system/boundary.h"
#include "system/kernel.h"
#include "system/recorder.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/single_threaded.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <vector>

using sys::activeKernel;
using sys::activeRecorder;
using sys::kernel;
using sys::recorder;

namespace {

/// The definition of `name` that comes after this one: the C library's.
template <typename Function>
Function* nextDefinition(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

using openCall = int(const char*, int, mode_t);
using fopenCall = FILE*(const char*, const char*);

// A program under the preload library can have several threads, and the simulated kernel takes one at a time. It makes
// system calls itself, which come back here on the same thread.
std::recursive_mutex kernelInUse;

/// Lets no other thread be at the kernel while one forks. In the child, whose only thread is another one to the mutex,
/// it begins anew.
[[gnu::constructor]] void keepKernelUsableInChildren() {
    ::pthread_atfork([] { kernelInUse.lock(); }, [] { kernelInUse.unlock(); },
                     [] { new (&kernelInUse) std::recursive_mutex; });
}

using callResult = std::optional<int>; // none: the call is the C library's

/// What `call` gives on the simulated kernel; none where there is no such kernel.
template <typename Call>
callResult askKernel(Call call) {
    kernel* const active = activeKernel();
    if (active == nullptr)
        return std::nullopt;
    std::unique_lock<std::recursive_mutex> alone(kernelInUse, std::defer_lock);
    if (__libc_single_threaded == 0) // most programs have one thread, and a lock costs as much as a short request
        alone.lock();
    return call(*active);
}

/// The same for a call on a descriptor, if it is one of the kernel's own. A negative number, which is nobody's
/// descriptor, goes there too and is refused.
template <typename Call>
callResult askKernel(int fd, Call call) {
    return askKernel(
        [&](kernel& active) { return fd < 0 || active.owns(fd) ? callResult(call(active)) : std::nullopt; });
}

/// The simulated kernel where it stands for more than device nodes, or null.
kernel* activeMachine() {
    kernel* const active = activeKernel();
    return active != nullptr && active->isWholeMachine() ? active : nullptr;
}

bool isSimulatedTable(const char* path) {
    return activeMachine() != nullptr && std::strcmp(path, sys::opticalTablePath) == 0;
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

bool isHiddenDirectory(const char* path) {
    return activeMachine() != nullptr && std::strncmp(path, sys::sgClassPath, std::strlen(sys::sgClassPath)) == 0;
}

int openAnywhere(openCall* realOpen, const char* path, int flags, mode_t mode) {
    if (path == nullptr)
        return realOpen(path, flags, mode); // which refuses it
    if (isSimulatedTable(path))
        return activeKernel()->openOpticalTable();
    if (isHiddenDirectory(path)) {
        errno = ENOENT;
        return -1;
    }
    const callResult own = askKernel(
        [path](kernel& active) { return sys::isNodePath(path) ? callResult(active.open(path)) : std::nullopt; });
    const int fd = own ? *own : realOpen(path, flags, mode);
    tellRecorder([&](recorder& recording, int error) { recording.sawOpen(path, fd, error); });
    return fd;
}

FILE* fopenAnywhere(fopenCall* realFopen, const char* path, const char* mode) {
    if (path == nullptr || !isSimulatedTable(path))
        return realFopen(path, mode);
    const int fd = activeKernel()->openOpticalTable();
    FILE* const file = fd < 0 ? nullptr : ::fdopen(fd, mode);
    if (fd >= 0 && file == nullptr)
        ::close(fd);
    return file;
}

int hostName(char* name, std::size_t size) {
    if (kernel* const active = activeMachine()) {
        std::snprintf(name, size, "%s", active->model().name.c_str());
        return 0;
    }
    static auto* const real = nextDefinition<int(char*, std::size_t)>("gethostname");
    return real(name, size);
}

bool createsFile(int flags) { return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE; }

/// Replaces the path of the optical-drive table among a command's arguments by an inherited descriptor, so
/// that a child which is not interposed reads the simulated table too.
class redirectedArguments {
public:
    redirectedArguments(kernel* active, char* const* arguments) {
        for (; arguments != nullptr && *arguments != nullptr; ++arguments)
            list_.push_back(*arguments);
        list_.push_back(nullptr);
        const auto found = std::find_if(list_.begin(), list_.end() - 1, [](const char* argument) {
            return std::strcmp(argument, sys::opticalTablePath) == 0;
        });
        if (found == list_.end() - 1)
            return;
        tellRecorder([](recorder& recording, int /*error*/) { recording.sawOpticalTableRead(); });
        if (active == nullptr)
            return;
        table_ = active->openOpticalTable();
        path_ = "/dev/fd/" + std::to_string(table_); // /dev/fd/-1, which is no file, where there is no table
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

// All else is built with hidden names, which no other library would find.
#pragma GCC visibility push(default)

int open(const char* path, int flags, ...) {
    static auto* const real = nextDefinition<openCall>("open");
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = createsFile(flags) ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openAnywhere(real, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    static auto* const real = nextDefinition<openCall>("open64");
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = createsFile(flags) ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openAnywhere(real, path, flags, mode);
}

int __open_2(const char* path, int flags) { return open(path, flags); }

int __open64_2(const char* path, int flags) { return open64(path, flags); }

FILE* fopen(const char* path, const char* mode) {
    static auto* const real = nextDefinition<fopenCall>("fopen");
    return fopenAnywhere(real, path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    static auto* const real = nextDefinition<fopenCall>("fopen64");
    return fopenAnywhere(real, path, mode);
}

int close(int fd) {
    static auto* const real = nextDefinition<int(int)>("close");
    tellRecorder([fd](recorder& recording, int /*error*/) { recording.sawClose(fd); });
    const callResult own = askKernel(fd, [fd](kernel& active) { return active.close(fd); });
    return own ? *own : real(fd);
}

int ioctl(int fd, unsigned long request, ...) noexcept {
    static auto* const real = nextDefinition<int(int, unsigned long, void*)>("ioctl");
    std::va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    const callResult own = askKernel(fd, [=](kernel& active) { return active.ioctl(fd, request, argument); });
    const int result = own ? *own : real(fd, request, argument);
    tellRecorder([&](recorder& recording, int error) { recording.sawRequest(fd, request, argument, result, error); });
    return result;
}

unsigned sleep(unsigned seconds) {
    static auto* const real = nextDefinition<unsigned(unsigned)>("sleep");
    const callResult left =
        askKernel([seconds](kernel& active) { return active.skipsSleep(seconds) ? callResult(0) : std::nullopt; });
    return left ? static_cast<unsigned>(*left) : real(seconds);
}

int system(const char* command) {
    static auto* const real = nextDefinition<int(const char*)>("system");
    if (command == nullptr)
        return real(command);
    const callResult own = askKernel([command](kernel& active) {
        int status = 0;
        return active.system(command, status) ? callResult(status) : std::nullopt;
    });
    recorder* const watching = activeRecorder();
    const int status = own ? *own : watching != nullptr ? watching->run(command, real) : real(command);
    tellRecorder([&](recorder& recording, int /*error*/) { recording.sawCommand(command, status); });
    return status;
}

int gethostname(char* name, std::size_t size) noexcept { return hostName(name, size); }

int __gethostname_chk(char* name, std::size_t size, std::size_t /*room*/) noexcept { return hostName(name, size); }

int posix_spawnp(pid_t* child, const char* file, const posix_spawn_file_actions_t* actions,
                 const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment) {
    static auto* const real = nextDefinition<decltype(::posix_spawnp)>("posix_spawnp");
    const redirectedArguments redirected(activeMachine(), arguments);
    return real(child, file, actions, attributes, redirected.list(), environment);
}

#pragma GCC visibility pop

} // extern "C"
