#include "minihost/childprocess.h"

#include "minihost/heldsignals.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <memory>
#include <utility>

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

/// The child that is waited for, which leads a process group of its own; 0: none. For signal handlers too.
std::atomic<pid_t> running{0};
static_assert(std::atomic<pid_t>::is_always_lock_free);

/// Starts a child by `spawn`, which gets the attributes and is 0 when that worked, in a process group of its own. A
/// signal finds the child running or never started. -1: it cannot be started, and errno says why.
template <typename Spawn>
pid_t startGroup(Spawn spawn) {
    const heldSignals held;
    sigset_t mask = held.before();
    // The group is in the background of a terminal, where writing can stop a process.
    sigaddset(&mask, SIGTTOU);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
    posix_spawnattr_setsigmask(&attributes, &mask);
    pid_t child = -1;
    const int failed = spawn(&child, &attributes);
    posix_spawnattr_destroy(&attributes);
    errno = failed;
    if (failed != 0)
        return -1;
    running = child;
    return child;
}

/// Has the child ended? With WNOHANG as `options` it is not waited for. It keeps its process id, so that no signal
/// meets another process.
bool hasEnded(pid_t child, int options) {
    siginfo_t end{};
    int result = 0;
    do
        result = ::waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOWAIT | options);
    while (result == -1 && errno == EINTR);
    return result == -1 || end.si_pid == child;
}

/// Takes the exit status of a child that has ended.
int statusOf(pid_t child) {
    running = 0;
    int status = 0;
    return ::waitpid(child, &status, 0) == child ? status : -1;
}

/// Starts the child with `output` as its standard output. -1: it cannot be started, and errno says why.
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
    return startGroup([&](pid_t* child, const posix_spawnattr_t* attributes) {
        return ::posix_spawnp(child, argv[0], &actions, attributes, argv.data(), environ);
    });
}

/// Waits until `fd` can be read. False: it will not be, and errno says why: ETIMEDOUT when the deadline has passed.
bool waitForInput(int fd, clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - clock::now()).count();
        if (left <= 0) {
            errno = ETIMEDOUT;
            return false;
        }
        pollfd wanted{fd, POLLIN, 0};
        const int ready = ::poll(&wanted, 1, static_cast<int>(std::min<long long>(left, INT_MAX)));
        if (ready > 0)
            return true;
        if (ready == -1 && errno != EINTR)
            return false;
    }
}

/// Appends all that comes out of `fd` until its end. False: that did not come, and errno says why.
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

/// Waits until the child has ended and returns its wait status. -1: the deadline came first, and it was ended.
int reap(pid_t child, clock::time_point deadline) {
    constexpr std::chrono::milliseconds pause(1); // waitid knows no time-out
    while (!hasEnded(child, WNOHANG)) {
        if (clock::now() >= deadline)
            endChildAtOnce();
        ::poll(nullptr, 0, static_cast<int>(pause.count()));
    }
    return statusOf(child);
}

/// Reaps the child in its destructor: no way out, an exception because memory runs out included, leaves a zombie.
struct runningChild {
    ~runningChild() { end(); }

    int end() { return pid == -1 ? -1 : reap(std::exchange(pid, -1), deadline); }

    pid_t pid; ///< -1: none was started, or it was reaped
    clock::time_point deadline;
};

std::string failureOf(int status) {
    if (status == -1)
        return "not ended in time";
    if (WIFSIGNALED(status))
        return "ended by signal " + std::to_string(WTERMSIG(status));
    return status == 0 ? "" : "exit status " + std::to_string(WEXITSTATUS(status));
}

} // namespace

childOutput outputOf(const std::string& command, const std::vector<std::string>& arguments,
                     std::chrono::milliseconds limit) {
    const auto deadline = clock::now() + limit;
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) == -1)
        return {"", std::strerror(errno)};
    const descriptor reading(ends[0]);
    descriptor writing(ends[1]);
    // Until all output is there, the child has no time left: whatever leaves this function earlier ends it.
    runningChild child{startChild(command, arguments, ends[1]), clock::time_point::min()};
    childOutput result;
    if (child.pid == -1) {
        result.failure = std::strerror(errno);
        return result;
    }
    writing.close(); // or the pipe would not end with the output of the child
    if (readToEnd(ends[0], deadline, result.output))
        child.deadline = deadline;
    else
        result.failure = errno == ETIMEDOUT ? "not ended in time" : std::strerror(errno);
    const int status = child.end();
    if (result.failure.empty())
        result.failure = failureOf(status);
    return result;
}

int shellStatus(const char* command) {
    const char* const arguments[] = {"sh", "-c", command, nullptr};
    // What a tool says of devices could drive a terminal; the exit status says whether it worked. Reading from a
    // terminal would stop it, in the background: some shells, dash for one, clear the signal mask that they inherit.
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const pid_t child = startGroup([&](pid_t* pid, const posix_spawnattr_t* attributes) {
        return ::posix_spawn(pid, "/bin/sh", &actions, attributes, const_cast<char* const*>(arguments), environ);
    });
    posix_spawn_file_actions_destroy(&actions);
    if (child == -1)
        return W_EXITCODE(127, 0); // as if the shell could not be executed
    hasEnded(child, 0);
    return statusOf(child);
}

void endChildAtOnce() {
    const pid_t group = running.exchange(0);
    if (group == 0)
        return;
    ::kill(-group, SIGKILL);
    // What it is writing may come into being until it has gone; a process that hangs in a driver is not waited for.
    for (int milliseconds = 0; milliseconds < 100 && ::kill(-group, 0) == 0; ++milliseconds) {
        ::waitpid(group, nullptr, WNOHANG);
        ::poll(nullptr, 0, 1);
    }
}

} // namespace minihost
