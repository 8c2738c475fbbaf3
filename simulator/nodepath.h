#pragma once

#include <string_view>

namespace simulator {

/// Is `path` of a family of device nodes that is the simulated machine's alone, also where it has none of them?
inline bool isNodePath(std::string_view path) {
    const std::string_view family = path.substr(0, 7);
    return family == "/dev/sg" || family == "/dev/sd" || family == "/dev/hd" || family == "/dev/sr";
}

} // namespace simulator
