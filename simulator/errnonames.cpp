#include "simulator/errnonames.h"

#include <cstring>

namespace simulator {

int errnoOf(const std::string& name) {
    constexpr int lastErrno = 133; // EHWPOISON, asm-generic/errno.h
    for (int number = 1; number <= lastErrno; ++number) {
        const char* known = ::strerrorname_np(number);
        if (known != nullptr && name == known)
            return number;
    }
    return 0;
}

} // namespace simulator
