#pragma once

#include <cstring>
#include <string>

namespace text {

/// The name of an errno, such as "EACCES"; of an unknown one its number.
inline std::string errorName(int error) {
    const char* const name = ::strerrorname_np(error);
    return name == nullptr ? std::to_string(error) : name;
}

} // namespace text
