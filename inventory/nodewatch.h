#pragma once

#include <cstddef>

namespace inventory {

/// What opening the device nodes of this process came to.
struct nodeCount {
    std::size_t present = 0; ///< nodes that opened or were refused
    std::size_t refused = 0; ///< nodes for which there was no permission
};

/// The counts so far. Nodes are counted where they are opened anyway: asking them again would be one access
/// too many.
nodeCount countedNodes();

} // namespace inventory
