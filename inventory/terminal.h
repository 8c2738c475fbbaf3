#pragma once

#include <cstddef>

namespace inventory {

/// The width, in characters, of the terminal behind `fd`; 80 where there is none.
std::size_t terminalWidth(int fd);

} // namespace inventory
