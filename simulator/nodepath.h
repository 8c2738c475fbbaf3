#pragma once

#include <string_view>

namespace simulator {

/// Does `path` belong to a family of device nodes that a simulated machine answers for? It answers for the whole
/// family, also for nodes that it does not have.
inline bool isNodePath(std::string_view path) {
    const std::string_view family = path.substr(0, 7);
    return family == "/dev/sg" || family == "/dev/sd" || family == "/dev/hd" || family == "/dev/sr";
}

} // namespace simulator
