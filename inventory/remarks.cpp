#include "inventory/remarks.h"

#include "inventory/nodewatch.h"

#include <unistd.h>

namespace inventory {

void writeRemarks(const runResult& result, bool simulated, std::ostream& output) {
    const nodeCount nodes = countedNodes();
    if (nodes.refused > 0) {
        const bool root = ::geteuid() == 0;
        output << (root ? "" : "not running as root: ") << nodes.refused << " of " << nodes.present
               << " device nodes could not be opened" << (root ? "" : "; try sudo") << '\n';
    } else if (result.instanceCount() == 0 && !result.failed()) {
        output << "no devices found on "
               << (simulated ? "the simulated machine"
                             : "this machine; to see a simulated one: --machine machines/rack-server.json")
               << '\n';
    }
}

} // namespace inventory
