#include "minihost/childprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <memory>

namespace minihost {

namespace {

using clock = std::chrono::steady_clock;

/// Owns a descriptor.
class descriptor {
public:
    explicit descriptor(int fd) : fd_(fd) {}
    ~descriptor() { close(); }
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;

    void close() {
        if (fd_ != -1)
            ::close(fd_);
        fd_ = -1;
    }

private:
    int fd_;
};

/// Starts the child with `output` as its standard output. -1: it cannot be started.
pid_t startChild(const std::string& command, const std::vector<std::string>& arguments, int output) {
    std::vector<char*> argv{const_cast<char*>(command.c_str())}; // the type is C's: the texts are not written to
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    // posix_spawnp, not fork: between fork and exec the child would be a copy of this process, with its locks and
    // signal handlers.
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const std::unique_ptr<posix_spawn_file_actions_t, int (*)(posix_spawn_file_actions_t*)> destroyedAtEnd(
        &actions, ::posix_spawn_file_actions_destroy);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO); // the copy stays open across exec
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    const int failed = ::posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
    return failed == 0 ? child : -1;
}

/// Waits until `fd` can be read or the deadline has passed. False: it has passed.
bool waitForInput(int fd, clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - clock::now()).count();
        if (left <= 0)
            return false;
        pollfd wanted{fd, POLLIN, 0};
        const int ready = ::poll(&wanted, 1, static_cast<int>(std::min<long long>(left, INT_MAX)));
        if (ready > 0)
            return true;
        if (ready == -1 && errno != EINTR)
            return false;
    }
}

/// Appends all that comes out of `fd` until its end. False: the deadline came first, or reading failed.
bool readToEnd(int fd, clock::time_point deadline, std::string& output) {
    char block[4096];
    while (waitForInput(fd, deadline)) {
        const ssize_t got = ::read(fd, block, sizeof block);
        if (got == 0)
            return true;
        if (got > 0)
            output.append(block, static_cast<std::size_t>(got));
        else if (errno != EINTR)
            return false;
    }
    return false;
}

/// Waits until the child has ended, and ends it when the deadline comes first.
void reap(pid_t child, clock::time_point deadline) {
    constexpr std::chrono::milliseconds pause(1); // waitpid knows no time-out
    while (::waitpid(child, nullptr, WNOHANG) == 0) {
        if (clock::now() >= deadline) {
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
            return;
        }
        ::poll(nullptr, 0, static_cast<int>(pause.count()));
    }
}

/// Reaps the child in its destructor: no way out, an exception because memory runs out included, leaves a zombie.
struct runningChild {
    ~runningChild() {
        if (pid != -1)
            reap(pid, deadline);
    }

    pid_t pid; ///< -1: none was started
    clock::time_point deadline;
};

} // namespace

std::string outputOf(const std::string& command, const std::vector<std::string>& arguments,
                     std::chrono::milliseconds limit) {
    const auto deadline = clock::now() + limit;
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) == -1)
        return "";
    const descriptor reading(ends[0]);
    descriptor writing(ends[1]);
    // Until all output is there, the child has no time left: whatever leaves this function earlier ends it.
    runningChild child{startChild(command, arguments, ends[1]), clock::time_point::min()};
    writing.close(); // or the pipe would not end with the output of the child
    std::string output;
    if (child.pid != -1 && readToEnd(ends[0], deadline, output))
        child.deadline = deadline;
    return output;
}

} // namespace minihost
