#include "inventory/statusline.h"

#include "text/forms.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

namespace inventory {

namespace {

constexpr char eraseLine[] = "\r\x1b[K";
volatile std::sig_atomic_t onTerminal = 0; // for eraseAtOnce, in a signal handler

} // namespace

std::size_t terminalWidth(int fd) {
    winsize size{};
    return ::ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualWidth;
}

void writeErrorAtOnce(std::string_view text) {
    // A terminal that is stopped by Ctrl-S, a full pipe or a connection that hangs would hold the process up.
    constexpr int patience = 100; // milliseconds
    pollfd errors{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&errors, 1, patience) != 1)
        return;
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

statusLine::statusLine() : enabled_(::isatty(STDERR_FILENO) == 1) { onTerminal = enabled_ ? 1 : 0; }

statusLine::~statusLine() {
    if (enabled_)
        std::cerr << eraseLine;
    onTerminal = 0;
}

void statusLine::show(const std::string& step) {
    step_ = text::escaped(step);
    draw();
}

void statusLine::write(const std::string& lines) const {
    std::cerr << (enabled_ ? eraseLine : "") + lines;
    draw();
}

void statusLine::draw() const {
    if (enabled_) // in all but the last column, behind which the terminal would begin another line
        std::cerr << eraseLine + step_.substr(0, terminalWidth(STDERR_FILENO) - 1);
}

void statusLine::eraseAtOnce() {
    if (onTerminal != 0)
        writeErrorAtOnce(eraseLine);
}

} // namespace inventory
