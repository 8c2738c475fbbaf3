// The preload library: shows a program that knows nothing of it the devices of the machine file that the environment
// names, in place of this machine's. Beside the calls that a plug-in makes it answers those of foreign programs and
// foreign hosts: the host's name, and the optical-drive table as a file.

#include "system/boundary.h"
#include "system/clibrary.h"
#include "system/machinefile.h"
#include "system/simulatedmachine.h"
#include "text/forms.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <mutex>
#include <new>

namespace {

constexpr const char* machineVariable = "SCSIDEV_MACHINE";

/// A simulated machine for programs that can have several threads: it takes one call at a time.
class preloadedMachine : public sys::simulatedMachine {
public:
    using simulatedMachine::simulatedMachine;

    int open(const char* path, int flags, mode_t mode) override {
        const lock alone(inUse);
        return std::strcmp(path, sys::opticalTablePath) == 0 ? openTable() : simulatedMachine::open(path, flags, mode);
    }
    int close(int fd) override {
        const lock alone(inUse);
        if (owns(fd))
            simulatedMachine::close(fd);
        return sys::cLibrary::close(fd);
    }
    int ioctl(int fd, unsigned long request, void* argument) override {
        const lock alone(inUse);
        return simulatedMachine::ioctl(fd, request, argument);
    }
    unsigned sleep(unsigned seconds) override {
        const lock alone(inUse);
        return simulatedMachine::sleep(seconds);
    }
    int system(const char* command) override {
        if (sys::commandOf(command).kind == sys::shellCommand::other)
            return sys::cLibrary::system(command);
        const lock alone(inUse);
        return simulatedMachine::system(command);
    }

    /// A real descriptor, so that no other of the process has the same number.
    int newDescriptor() override { return sys::cLibrary::open("/dev/null", O_RDONLY | O_CLOEXEC, 0); }

    /// Gives a descriptor of a new file with the optical-drive table in it.
    int openTable() {
        const auto& table = answers().opticalTable;
        const int fd = table ? ::memfd_create("optical-table", 0) : -1;
        if (fd == -1)
            errno = ENOENT;
        else if (::write(fd, table->data(), table->size()) == static_cast<ssize_t>(table->size()))
            ::lseek(fd, 0, SEEK_SET);
        return fd;
    }

    // Recursive: a call can lead to another one on the same thread, for example while a file is written.
    using lock = std::lock_guard<std::recursive_mutex>;
    static inline std::recursive_mutex inUse;
};

// Never destroyed: the program makes calls until the very end of its process.
preloadedMachine* loaded = nullptr;

[[gnu::constructor]] void load() {
    const char* path = std::getenv(machineVariable);
    if (path == nullptr)
        return;
    try {
        loaded = new preloadedMachine(sys::readMachineFile(path));
        // A child process inherits the variable, but can have another working directory.
        ::setenv(machineVariable, std::filesystem::absolute(path).c_str(), 1);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "simulated machine: %s\n", text::escaped(failure.what()).c_str());
        ::_exit(1);
    }
    // No other thread uses the machine while one forks. The child gets a new mutex, since the one that it inherits is
    // held by a thread that it does not have.
    ::pthread_atfork([] { preloadedMachine::inUse.lock(); }, [] { preloadedMachine::inUse.unlock(); },
                     [] { new (&preloadedMachine::inUse) std::recursive_mutex; });
    new sys::machineInUse(*loaded);
}

[[gnu::destructor]] void sayWhatWasSkipped() {
    if (loaded != nullptr && loaded->secondsSkipped() > 0)
        std::fprintf(stderr, "simulated machine: %u s of sleeping skipped\n", loaded->secondsSkipped());
}

using sys::cLibrary::nextDefinition;
using fopenCall = FILE*(const char*, const char*);

FILE* fopenAnywhere(fopenCall* next, const char* path, const char* mode) {
    if (loaded == nullptr || path == nullptr || std::strcmp(path, sys::opticalTablePath) != 0)
        return next(path, mode);
    const int fd = loaded->open(path, 0, 0);
    FILE* const file = fd < 0 ? nullptr : ::fdopen(fd, mode);
    if (fd >= 0 && file == nullptr)
        ::close(fd);
    return file;
}

} // namespace

extern "C" {

#pragma GCC visibility push(default)

// As where open is defined: names that the C library's headers declare nothing of.
FILE* fopenPath(const char* path, const char* mode) asm("fopen");
FILE* fopenPath64(const char* path, const char* mode) asm("fopen64");
int nameOfHost(char* name, std::size_t size) noexcept asm("gethostname");

FILE* fopenPath(const char* path, const char* mode) {
    static auto* const next = nextDefinition<fopenCall>("fopen");
    return fopenAnywhere(next, path, mode);
}

FILE* fopenPath64(const char* path, const char* mode) {
    static auto* const next = nextDefinition<fopenCall>("fopen64");
    return fopenAnywhere(next, path, mode);
}

int nameOfHost(char* name, std::size_t size) noexcept {
    static auto* const next = nextDefinition<int(char*, std::size_t)>("gethostname");
    if (loaded == nullptr)
        return next(name, size);
    std::snprintf(name, size, "%s", loaded->hostName().c_str());
    return 0;
}

int __gethostname_chk(char* name, std::size_t size, std::size_t /*room*/) noexcept { return nameOfHost(name, size); }

#pragma GCC visibility pop

} // extern "C"
