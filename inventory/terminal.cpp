#include "inventory/terminal.h"

#include <sys/ioctl.h>

namespace inventory {

std::size_t terminalWidth(int fd) {
    winsize size{};
    return ::ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

} // namespace inventory
