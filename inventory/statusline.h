#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace inventory {

constexpr std::size_t usualWidth = 80; ///< in characters, of what is no terminal

/// The width, in characters, of the terminal behind `fd`; the usual one where there is none.
std::size_t terminalWidth(int fd);

/// Writes to standard error unless it takes nothing. Safe in a signal handler.
void writeErrorAtOnce(std::string_view text);

/// One line at the bottom of the terminal that shows the newest step while it lives.
///
/// Without a terminal on standard error it shows nothing. As long as it lives, everything for standard error goes
/// through write().
class statusLine {
public:
    statusLine();
    ~statusLine();
    statusLine(const statusLine&) = delete;
    statusLine& operator=(const statusLine&) = delete;

    /// Shows `step` from now on, escaped to printable text.
    void show(const std::string& step);

    /// Writes whole lines of text above the status line.
    void write(const std::string& lines) const;

    /// Takes the line off the terminal when the process ends at once. Safe in a signal handler.
    static void eraseAtOnce();

private:
    void draw() const;

    bool enabled_;
    std::string step_;
};

} // namespace inventory
