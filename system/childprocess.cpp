#include "system/childprocess.h"

#include "system/heldsignals.h"

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
#include <optional>
#include <utility>

namespace sys {

namespace {

using clock = std::chrono::steady_clock;
constexpr clock::time_point never = clock::time_point::max();

/// Closes a descriptor at the end.
struct descriptor {
    explicit descriptor(int owned) : fd(owned) {}
    ~descriptor() { ::close(fd); }
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;

    const int fd;
};

/// The child that this process waits for, which leads a process group of its own; 0: none. Signal handlers read it.
std::atomic<pid_t> running{0};
static_assert(std::atomic<pid_t>::is_always_lock_free);

/// Starts a command in a process group of its own, with `output` as its standard output. Its standard input and error
/// are /dev/null: what a tool says of devices could drive a terminal, and to read from one would stop it in the
/// background. A signal finds the child running or never started. -1: it cannot be started, and errno says why.
pid_t start(const std::vector<std::string>& words, int output) {
    std::vector<char*> argv;
    for (const auto& word : words)
        argv.push_back(const_cast<char*>(word.c_str())); // the type is C's: the texts are not written to
    argv.push_back(nullptr);

    const heldSignals held;
    sigset_t mask = held.before();
    sigaddset(&mask, SIGTTOU); // in the background of a terminal, writing can stop a process
    // posix_spawnp, not fork: between fork and exec the child would be a copy of this process, with its signal
    // handlers.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
    posix_spawnattr_setsigmask(&attributes, &mask);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO); // the copy stays open across exec
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    const int error = ::posix_spawnp(&child, argv[0], &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    running = error == 0 ? child : 0;
    errno = error;
    return error == 0 ? child : -1;
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

/// A command from its start until it is reaped. The destructor reaps it at the latest, so even an exception, as when
/// memory runs out, leaves no zombie.
class childProcess {
public:
    /// `output` becomes the command's standard output.
    childProcess(const std::vector<std::string>& words, int output) : pid_(start(words, output)) {}
    ~childProcess() { statusBy(clock::time_point::min()); }
    childProcess(const childProcess&) = delete;
    childProcess& operator=(const childProcess&) = delete;

    bool isStarted() const { return pid_ != -1; }

    /// Waits until the command has ended and returns its wait status. -1: the deadline came first, and it was ended.
    int statusBy(clock::time_point deadline) {
        const pid_t child = std::exchange(pid_, -1);
        if (child == -1)
            return -1;
        constexpr int pause = 1; // milliseconds; waitid knows no time-out
        while (!hasEnded(child, deadline == never ? 0 : WNOHANG)) {
            if (clock::now() >= deadline)
                endChildAtOnce();
            ::poll(nullptr, 0, pause);
        }
        running = 0;
        int status = 0;
        return ::waitpid(child, &status, 0) == child ? status : -1;
    }

private:
    pid_t pid_; ///< -1: none was started, or it was reaped
};

/// Appends all that comes out of `fd` until its end. False: that did not come, and errno says why: ETIMEDOUT when the
/// deadline has passed.
bool readToEnd(int fd, clock::time_point deadline, std::string& output) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - clock::now()).count();
        if (left <= 0) {
            errno = ETIMEDOUT;
            return false;
        }
        pollfd wanted{fd, POLLIN, 0};
        const int ready = ::poll(&wanted, 1, static_cast<int>(std::min<long long>(left, INT_MAX)));
        char block[4096];
        const ssize_t got = ready > 0 ? ::read(fd, block, sizeof block) : ready == 0 ? 1 : -1;
        if (got == 0)
            return true;
        if (ready > 0 && got > 0)
            output.append(block, static_cast<std::size_t>(got));
        else if (got == -1 && errno != EINTR)
            return false;
    }
}

constexpr const char* tooLate = "not ended in time";

std::string failureOf(int status) {
    if (status == -1)
        return tooLate;
    if (WIFSIGNALED(status))
        return "ended by signal " + std::to_string(WTERMSIG(status));
    return status == 0 ? "" : "exit status " + std::to_string(WEXITSTATUS(status));
}

} // namespace

serviceAnswer outputOf(const std::vector<std::string>& command, std::chrono::milliseconds limit) {
    const auto deadline = clock::now() + limit;
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) == -1)
        return {"", std::strerror(errno)};
    const descriptor reading(ends[0]);
    std::optional<descriptor> writing(std::in_place, ends[1]);
    childProcess child(command, ends[1]);
    if (!child.isStarted())
        return {"", std::strerror(errno)};
    writing.reset(); // or the pipe would not end with the output of the child
    serviceAnswer answer;
    if (readToEnd(ends[0], deadline, answer.text))
        answer.failure = failureOf(child.statusBy(deadline));
    else
        answer.failure = errno == ETIMEDOUT ? tooLate : std::strerror(errno);
    return answer;
}

int shellStatus(const char* command) {
    childProcess child({"/bin/sh", "-c", command}, STDOUT_FILENO);
    return child.isStarted() ? child.statusBy(never) : W_EXITCODE(127, 0); // as if the shell could not be executed
}

void endChildAtOnce() {
    const pid_t group = running.exchange(0);
    if (group == 0)
        return;
    ::kill(-group, SIGKILL);
    // Until it has gone it can still create the file that it writes. A process that hangs in a driver is not waited for
    // any longer.
    for (int milliseconds = 0; milliseconds < 100 && ::kill(-group, 0) == 0; ++milliseconds) {
        ::waitpid(group, nullptr, WNOHANG);
        ::poll(nullptr, 0, 1);
    }
}

} // namespace sys
