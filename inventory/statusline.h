#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

namespace inventory {

constexpr std::size_t usualWidth = 80; ///< in characters, of what is no terminal

/// The width, in characters, of the terminal behind `fd`; the usual one where there is none.
std::size_t terminalWidth(int fd);

/// One line at the bottom of the terminal that shows the newest step and the seconds spent, while it lives.
///
/// Without a terminal on standard error, or room for its thread, it shows nothing. As long as it lives, everything for
/// standard error goes through write().
class statusLine {
public:
    statusLine();
    ~statusLine();
    statusLine(const statusLine&) = delete;
    statusLine& operator=(const statusLine&) = delete;

    /// Shows `step` from now on, escaped to printable text.
    void show(const std::string& step);

    /// Takes the line off the terminal when a signal ends the process. Safe in a signal handler.
    static void eraseAtOnce();

    /// Writes whole lines of text above the status line.
    void write(const std::string& lines);

private:
    void tick();
    void draw();
    void erase();

    bool enabled_;
    std::mutex mutex_;
    std::condition_variable ended_;
    bool ending_ = false;
    std::string step_;
    unsigned seconds_ = 0;
    std::thread ticker_;
};

} // namespace inventory
