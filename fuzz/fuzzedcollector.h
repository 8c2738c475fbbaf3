#pragma once

#include "minihost/memorynamespace.h"
#include "plugin/scsidev_linux.h"
#include "simulator/kernel.h"

#include <string>
#include <vector>

namespace fuzz {

/// A plug-in object, after its Init, on a simulated machine, and a namespace for its instances. One at a time.
class fuzzedCollector {
public:
    explicit fuzzedCollector(simulator::machine machine);
    /// Requires that no node is left open, and that no record outlives the query after the next.
    ~fuzzedCollector();
    fuzzedCollector(const fuzzedCollector&) = delete;
    fuzzedCollector& operator=(const fuzzedCollector&) = delete;

    /// Runs one query and returns how many instances were committed.
    std::size_t query(const std::vector<std::string>& classNames);

    const minihost::memoryNamespace& ns() const { return namespace_; }

private:
    simulator::kernel kernel_;
    minihost::memoryNamespace namespace_;
    TScsidevPluginCallbacks* plugin_;
};

} // namespace fuzz
