#include "inventory/remarks.h"

#include "device/scsidevice_linux.h"
#include "plugin/cimnames.h"

#include <boost/algorithm/string.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <sstream>

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
    constexpr std::size_t most = 20;
    const std::size_t others = list.size() - std::min(most, list.size());
    list.resize(list.size() - others);
    return boost::join(list, ", ") + (others == 0 ? "" : " and " + std::to_string(others) + " more");
}

using choice = std::function<bool(const device&)>;

/// The nodes of those devices, each with what `text` says of it.
texts nodesOf(const runResult& result, const choice& isMeant, const std::function<std::string(const device&)>& text) {
    texts nodes;
    for (const auto& each : result.devices) {
        if (!isMeant(each))
            continue;
        const std::string said = text(each);
        nodes.push_back(each.node + (said.empty() ? "" : " (" + said + ')'));
    }
    return nodes;
}

choice hasState(deviceState state) {
    return [state](const device& each) {
        return each.state == state;
    };
}

std::string whyOf(const device& each) { return each.why; }

/// "2 of 3 device nodes", what happened to them, and which they are.
std::string partText(const texts& nodes, const runResult& result, const std::string& what) {
    const std::size_t all = result.devices.size();
    return std::to_string(nodes.size()) + " of " + std::to_string(all) +
           (all == 1 ? " device node " : " device nodes ") + what + ": " + shortList(nodes);
}

/// A remark on what only root may do.
std::string forRoot(const std::string& remark) {
    return ::geteuid() == 0 ? remark : "not running as root: " + remark + "; try sudo";
}

void remarkOnRefusals(const runResult& result, texts& remarks) {
    const auto error = [](const device& each) {
        return each.error;
    };
    const auto isForbidden = [](const device& each) {
        return each.error == "EACCES" || each.error == "EPERM";
    };
    const auto fails = [&](const device& each) {
        return !each.error.empty() && !isForbidden(each);
    };
    const char* const what = "could not be opened";
    if (const texts nodes = nodesOf(result, isForbidden, error); !nodes.empty())
        remarks.push_back(forRoot(partText(nodes, result, what)));
    if (const texts nodes = nodesOf(result, fails, error); !nodes.empty())
        remarks.push_back(partText(nodes, result, what));
}

void remarkOnDriver(const runResult& result, texts& remarks) {
    const std::string consequence = "the sg driver could not be loaded, SCSI devices are not shown";
    if (!result.seen.missesDriver())
        return;
    const bool noTool = !result.simulated && !isOnPath("modprobe");
    remarks.push_back(noTool ? "modprobe is not on the path: " + consequence : forRoot(consequence));
}

void remarkOnUnseen(const runResult& result, texts& remarks) {
    const coverage& seen = result.seen;
    if (const texts nodes = nodesOf(result, hasState(deviceState::silent), whyOf); !nodes.empty())
        remarks.push_back(
            partText(nodes, result, nodes.size() == 1 ? "did not identify itself" : "did not identify themselves"));
    if (!seen.beyond.empty())
        remarks.push_back("sg nodes beyond /dev/sg" + std::to_string(nodesPerFamily - 1) +
                          ", the last that is looked at, are not shown: " + shortList(seen.beyond));
    remarks.insert(remarks.end(), seen.unread.begin(), seen.unread.end());
}

std::string namesOf(const device& each) { return boost::join(each.kernel.names, " "); }

void remarkOnEndedWalk(const runResult& result, texts& remarks) {
    if (result.seen.log.endedAt.empty())
        return;
    const auto nothing = [](const device&) {
        return "";
    };
    std::string remark = "the walk ended at " + result.seen.log.endedAt + ": " + result.seen.log.endedBy;
    if (const texts nodes = nodesOf(result, hasState(deviceState::lost), nothing); !nodes.empty())
        remark += "; lost with it: " + shortList(nodes);
    if (const texts nodes = nodesOf(result, hasState(deviceState::notAsked), nothing); !nodes.empty())
        remark += "; not asked: " + shortList(nodes);
    remarks.push_back(remark + "; the optical-drive table was not read either");
}

/// The plug-in asks an ATA disk for its own words at the /dev/sd node whose letter is the number of the disk's sg node.
void remarkOnWords(const runResult& result, texts& remarks) {
    texts mistaken;
    for (const auto& each : result.devices) {
        if (each.state == deviceState::mistaken)
            mistaken.push_back(each.node + (each.kernel.names.empty() ? " has no other node" : " is " + namesOf(each)) +
                               ", but " + each.askedAt + " was asked");
    }
    if (!mistaken.empty())
        remarks.push_back(
            "the words of other disks: " + boost::join(mistaken, ", ") +
            "; their own serial numbers: lsblk -o NAME,SERIAL; a host of the plug-in gets these words too");
    const auto foreign =
        std::count_if(result.devices.begin(), result.devices.end(), [](const device& each) { return !each.ownWords; });
    if (foreign > 0)
        remarks.push_back("ATA disks whose own words could not be asked for, shown with those of INQUIRY: " +
                          std::to_string(foreign));
}

void remarkOnVirtualMedia(const runResult& result, texts& remarks) {
    texts left = nodesOf(result, hasState(deviceState::excluded), whyOf);
    for (const auto& name : result.seen.log.excludedDrives)
        left.push_back("/dev/" + name + " (named by --virtual-device)");
    if (!left.empty())
        remarks.push_back("left out as virtual media: " + shortList(left));
    for (const auto& name : result.seen.unmatched)
        remarks.push_back("--virtual-device " + name + " names nothing that is there");
}

/// The rules of the first class decide which devices are left out, and which class those have that are not.
void remarkOnQueries(const runResult& result, texts& remarks) {
    for (const auto& query : result.queries) {
        texts others;
        std::copy_if(query.classes.begin(), query.classes.end(), std::back_inserter(others),
                     [&query](const std::string& name) { return name != query.classes.front(); });
        if (!others.empty())
            remarks.push_back("a query follows the rules of its first class, " + query.classes.front() +
                              "; ask in queries of their own for " + shortList(others));
    }
}

/// The plug-in ties a device to the first firmware element whose identity the device's own contains.
void remarkOnFirmware(const runResult& result, texts& remarks) {
    if (result.seen.tiedTooEarly)
        remarks.push_back(std::string(firmwareClass) +
                          " ties together what earlier queries of the run have collected: ask for devices and " +
                          firmwareElementClass + " before it");
    std::size_t all = 0, untied = 0;
    for (const auto& each : result.devices) {
        all += each.firmware == firmwareTie::notAskedFor ? 0 : 1;
        untied += each.firmware == firmwareTie::anothers || each.firmware == firmwareTie::none ? 1 : 0;
    }
    if (untied > 0)
        remarks.push_back(std::to_string(untied) + " of " + std::to_string(all) +
                          " devices have no firmware tied to them, or another's: the plug-in takes the first identity "
                          "that theirs contains");
}

/// Was the machine looked at, and has none?
bool hasNoDevices(const runResult& result) {
    return result.seen.walked && !result.seen.missesDriver() && result.devices.empty() &&
           result.allInstances().empty() && !result.error;
}

} // namespace

texts remarksOn(const runResult& result, std::string (*exampleMachine)()) {
    texts remarks;
    remarkOnRefusals(result, remarks);
    remarkOnDriver(result, remarks);
    remarkOnUnseen(result, remarks);
    remarkOnEndedWalk(result, remarks);
    remarkOnWords(result, remarks);
    remarkOnVirtualMedia(result, remarks);
    if (!result.devices.empty() && !result.simulated && !isOnPath("hwinfo"))
        remarks.emplace_back("hwinfo is not on the path: virtual USB media cannot be told apart");
    if (hasNoDevices(result))
        remarks.push_back(result.simulated ? "no devices found on the simulated machine"
                                           : "no devices found on this machine; to see a simulated one: --machine " +
                                                 exampleMachine());
    remarkOnQueries(result, remarks);
    remarkOnFirmware(result, remarks);
    if (result.seen.secondsSkipped > 0)
        remarks.push_back("simulated machine: " + std::to_string(result.seen.secondsSkipped) +
                          " s of sleeping skipped");
    return remarks;
}

} // namespace inventory
