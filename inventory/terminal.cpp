#include "inventory/terminal.h"

#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace inventory {

std::size_t terminalWidth(int fd) {
    winsize size{};
    // Straight to the kernel: the interposed ioctl looks into the simulated machine, which the main thread may be
    // changing while the status line's thread is here.
    return ::syscall(SYS_ioctl, fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

} // namespace inventory
