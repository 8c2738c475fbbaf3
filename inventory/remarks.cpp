#include "inventory/remarks.h"

#include "device/scsidevice_linux.h"

#include <boost/algorithm/string.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <sstream>
#include <utility>

namespace inventory {

namespace {

using texts = std::vector<std::string>;

bool isOnPath(const std::string& command) {
    const char* path = std::getenv("PATH");
    std::istringstream directories(path == nullptr ? "" : path);
    for (std::string directory; std::getline(directories, directory, ':');) {
        if (::access(directory.append("/").append(command).c_str(), X_OK) == 0)
            return true;
    }
    return false;
}

/// The first texts with commas between them, and how many more there are.
std::string shortList(texts list) {
    constexpr std::size_t most = 5;
    const std::size_t others = list.size() - std::min(most, list.size());
    list.resize(list.size() - others);
    return boost::join(list, ", ") + (others == 0 ? "" : " and " + std::to_string(others) + " more");
}

/// "2 of 3 device nodes", what happened to them, and which they are.
std::string nodesText(const std::vector<sys::nodeFailure>& nodes, const coverage& seen, const std::string& what) {
    texts names;
    for (const auto& node : nodes)
        names.push_back(node.path + (node.why.empty() ? "" : " (" + node.why + ')'));
    return std::to_string(nodes.size()) + " of " + std::to_string(seen.nodes.present) + ' ' + what + ": " +
           shortList(std::move(names));
}

/// A remark on what only root may do.
std::string forRoot(const std::string& remark) {
    return ::geteuid() == 0 ? remark : "not running as root: " + remark + "; try sudo";
}

void remarkOnRefusals(const coverage& seen, texts& remarks) {
    std::vector<sys::nodeFailure> forbidden, failing;
    for (const auto& node : seen.nodes.refused)
        (node.why == "EACCES" || node.why == "EPERM" ? forbidden : failing).push_back(node);
    const char* const what = "device nodes could not be opened";
    if (!forbidden.empty())
        remarks.push_back(forRoot(nodesText(forbidden, seen, what)));
    if (!failing.empty())
        remarks.push_back(nodesText(failing, seen, what));
}

void remarkOnDriver(const runResult& result, texts& remarks) {
    const std::string consequence = "the sg driver could not be loaded, SCSI devices are not shown";
    if (result.seen.driverStatus == 0)
        return;
    const bool noTool = !result.simulated && !isOnPath("modprobe");
    remarks.push_back(noTool ? "modprobe is not on the path: " + consequence : forRoot(consequence));
}

void remarkOnUnseen(const coverage& seen, texts& remarks) {
    if (!seen.nodes.silent.empty())
        remarks.push_back(nodesText(seen.nodes.silent, seen,
                                    seen.nodes.silent.size() == 1 ? "nodes opened but did not identify itself"
                                                                  : "nodes opened but did not identify themselves"));
    if (!seen.beyond.empty())
        remarks.push_back("sg nodes beyond /dev/sg" + std::to_string(nodesPerFamily - 1) +
                          ", the last that is looked at, are not shown: " + shortList(seen.beyond));
    remarks.insert(remarks.end(), seen.unread.begin(), seen.unread.end());
}

/// An ATA disk's own words are asked for at the /dev/sd node whose letter is the sg node's number, which can be another
/// disk's.
void remarkOnForeignWords(const runResult& result, texts& remarks) {
    texts disks;
    for (const auto& [node, askedAt] : result.seen.nodes.askedElsewhere) {
        const auto known = result.kernelNames.find(node);
        if (known == result.kernelNames.end() || known->second.names.empty())
            continue;
        const texts& names = known->second.names;
        const std::string asked = askedAt.substr(askedAt.rfind('/') + 1);
        if (std::find(names.begin(), names.end(), asked) != names.end())
            continue;
        std::string disk = node;
        disks.push_back(disk.append(" is ").append(names.front()).append(", but was asked at ").append(askedAt));
    }
    if (!disks.empty())
        remarks.push_back("the words of ATA disks come from other disks: " + shortList(std::move(disks)));
}

/// Was the machine looked at, and has none?
bool hasNoDevices(const runResult& result) {
    const coverage& seen = result.seen;
    return seen.walked && seen.driverStatus == 0 && seen.nodes.present == 0 && result.instanceCount() == 0 &&
           !result.error;
}

} // namespace

texts remarksOn(const runResult& result, std::string (*exampleMachine)()) {
    texts remarks;
    remarkOnRefusals(result.seen, remarks);
    remarkOnDriver(result, remarks);
    remarkOnUnseen(result.seen, remarks);
    remarkOnForeignWords(result, remarks);
    if (result.instanceCount() > 0 && !result.simulated && !isOnPath("hwinfo"))
        remarks.emplace_back("hwinfo is not on the path: virtual USB media cannot be told apart");
    if (hasNoDevices(result))
        remarks.push_back(result.simulated ? "no devices found on the simulated machine"
                                           : "no devices found on this machine; to see a simulated one: --machine " +
                                                 exampleMachine());
    for (const auto& remark : firmwareRemarks(result))
        remarks.push_back(remark);
    if (result.secondsSkipped > 0)
        remarks.push_back("simulated machine: " + std::to_string(result.secondsSkipped) + " s of sleeping skipped");
    return remarks;
}

} // namespace inventory
