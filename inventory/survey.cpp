#include "inventory/survey.h"

#include "device/scsidevice_linux.h"
#include "inventory/instancetext.h"
#include "minihost/classtable.h"
#include "plugin/cimnames.h"
#include "system/boundary.h"

#include <sys/wait.h>

#include <algorithm>
#include <map>
#include <set>

namespace inventory {

namespace {

std::vector<std::string> nodesBeyond(sys::machine& machine) {
    std::set<unsigned> numbers;
    for (const auto& path : machine.deviceNodes()) {
        if (const auto number = sys::sgNodeNumber(path); number.value_or(0) >= nodesPerFamily)
            numbers.insert(*number);
    }
    std::vector<std::string> beyond;
    for (const unsigned number : numbers)
        beyond.push_back("/dev/sg" + std::to_string(number));
    return beyond;
}

std::vector<std::string> nodesOf(const runResult& result) {
    std::vector<std::string> nodes;
    for (const auto& each : result.devices)
        nodes.push_back(each.node);
    return nodes;
}

/// The names of the optical drives that were found; none where nobody looked for them.
std::optional<std::vector<std::string>> opticalDrives(const runResult& result) {
    std::optional<std::vector<std::string>> drives;
    for (const auto& query : result.queries) {
        if (query.classes.front() == opticalDriveClass && result.seen.log.endedAt.empty())
            drives = result.seen.log.excludedDrives;
    }
    for (const auto& instance : result.allInstances()) {
        if (drives && instance->declaration().name == opticalDriveClass)
            drives->push_back(propertyOf(*instance, "Name"));
    }
    return drives;
}

/// The entries of a list of virtual devices that name none of those that were found.
void addUnmatched(sys::machine& machine, sys::virtualDeviceKind kind, const std::vector<std::string>& found,
                  std::vector<std::string>& unmatched) {
    for (const auto& text : machine.virtualDevices(kind)) {
        const auto isNamed = [&text](const std::string& name) {
            return text.find(name) != std::string::npos;
        };
        if (std::none_of(found.begin(), found.end(), isNamed))
            unmatched.push_back(std::to_string(kind) + '=' + text);
    }
}

/// The devices of associations, by their nodes, with the identities of the firmware that is tied to them.
using tieList = std::multimap<std::string, std::string>;

tieList tiesOf(const instances& all) {
    tieList ties;
    for (const auto& instance : all) {
        if (instance->declaration().name == firmwareClass)
            ties.emplace(keyAt(*instance, "Dependent", "DeviceID"),
                         keyAt(*instance, "Antecedent", "SoftwareElementId"));
    }
    return ties;
}

firmwareTie tieOf(const device& each, const tieList& ties) {
    const auto [first, end] = ties.equal_range(each.node);
    if (first == end)
        return firmwareTie::none;
    const bool hasOwn = std::any_of(first, end, [&each](const auto& tie) { return tie.second == each.identity; });
    return hasOwn ? firmwareTie::tied : firmwareTie::anothers;
}

bool asksForAssociations(const queryResult& query) { return query.classes.front() == firmwareClass; }

/// Did a query for associations come before those that it needs?
bool tiesTooEarly(const runResult& result) {
    bool hasDevices = false, hasFirmware = false;
    for (const auto& query : result.queries) {
        for (const auto& name : query.classes) {
            hasDevices = hasDevices || isKindOf(*minihost::findClass(name), busDeviceClass);
            hasFirmware = hasFirmware || name == firmwareElementClass;
        }
        if (asksForAssociations(query) && query.instances.empty() && !(hasDevices && hasFirmware))
            return true;
    }
    return false;
}

/// Finds out of each device whether its firmware is tied to it, if a query of the run asked for associations.
void tieFirmware(runResult& result) {
    result.seen.tiedTooEarly = tiesTooEarly(result);
    if (std::none_of(result.queries.begin(), result.queries.end(), asksForAssociations) || result.seen.tiedTooEarly)
        return;
    const tieList ties = tiesOf(result.allInstances());
    for (auto& each : result.devices) {
        if (!each.classes.empty())
            each.firmware = tieOf(each, ties);
    }
}

/// What the output shows of the kernel's words.
sys::kernelDetail detailFor(const runOptions& options) {
    if (options.format == outputFormat::json || options.format == outputFormat::prometheus || options.tree)
        return sys::kernelDetail::all;
    return options.showsOverview() ? sys::kernelDetail::sizes : sys::kernelDetail::names;
}

} // namespace

void survey(const runOptions& options, askedMachine& machine, const logFindings& log, runResult& result) {
    coverage& seen = result.seen;
    const sys::watchedMachine& watched = machine.watched();
    seen.walked = watched.driverStatus().has_value();
    if (seen.walked)
        seen.beyond = nodesBeyond(machine.machine());
    const int driver = watched.driverStatus().value_or(0);
    seen.driverStatus = WIFEXITED(driver) ? WEXITSTATUS(driver) : -1;
    seen.hasScsiDevices = driver == 0 || machine.machine().hasScsiDevices(); // asked only where it matters
    seen.log = log;
    seen.unread = watched.unread();
    if (options.format == outputFormat::json)
        seen.collected = machine.machine().collected();
    seen.secondsSkipped = machine.secondsSkipped();

    result.devices = devicesOf(machine.machine(), watched, log, result.allInstances(), detailFor(options));
    tieFirmware(result);
    if (seen.walked && driver == 0)
        addUnmatched(machine.machine(), sys::virtualDisk, nodesOf(result), seen.unmatched);
    if (const auto drives = opticalDrives(result))
        addUnmatched(machine.machine(), sys::virtualOpticalDrive, *drives, seen.unmatched);
}

} // namespace inventory
