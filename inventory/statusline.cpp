#include "inventory/statusline.h"

#include "minihost/heldsignals.h"
#include "text/escape.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstddef>
#include <iostream>
#include <system_error>

namespace inventory {

using text::escaped;

namespace {

constexpr char eraseLine[] = "\r\x1b[K";
volatile std::sig_atomic_t onTerminal = 0; // for eraseAtOnce, in a signal handler

} // namespace

std::size_t terminalWidth(int fd) {
    winsize size{};
    // Straight to the kernel: the interposed ioctl looks into the simulated machine, which the main thread may be
    // changing while the status line's thread is here.
    return ::syscall(SYS_ioctl, fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualWidth;
}

statusLine::statusLine() : enabled_(::isatty(STDERR_FILENO) == 1) {
    if (!enabled_)
        return;
    // The new thread inherits this mask: signal handlers then run on the main thread only.
    const minihost::heldSignals held;
    try {
        ticker_ = std::thread([this] { tick(); });
        onTerminal = 1;
    } catch (const std::system_error&) {
        enabled_ = false; // a limit leaves no room for a thread; nothing else needs one
    }
}

statusLine::~statusLine() {
    if (!enabled_)
        return;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ending_ = true;
        onTerminal = 0;
        erase();
        ended_.notify_one();
    }
    ticker_.join();
}

void statusLine::show(const std::string& step) {
    if (!enabled_)
        return;
    const std::lock_guard<std::mutex> lock(mutex_);
    step_ = escaped(step);
    draw();
}

void statusLine::write(const std::string& lines) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (enabled_)
        erase();
    std::cerr << lines;
    if (enabled_)
        draw();
}

void statusLine::tick() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!ended_.wait_for(lock, std::chrono::seconds(1), [this] { return ending_; })) {
        ++seconds_;
        draw();
    }
}

void statusLine::draw() {
    const std::string line = std::to_string(seconds_) + " s  " + step_;
    std::cerr << eraseLine + line.substr(0, terminalWidth(STDERR_FILENO) - 1) << std::flush;
}

void statusLine::erase() { std::cerr << eraseLine << std::flush; }

void statusLine::eraseAtOnce() {
    // A terminal that is stopped by Ctrl-S, or whose connection hangs, takes nothing and would hold the handler up. One
    // that the other thread is just writing to is waited for.
    constexpr int patience = 100; // milliseconds
    pollfd terminal{STDERR_FILENO, POLLOUT, 0};
    if (onTerminal != 0 && ::poll(&terminal, 1, patience) == 1) [[maybe_unused]]
        const ssize_t written = ::write(STDERR_FILENO, eraseLine, sizeof eraseLine - 1);
}

} // namespace inventory
