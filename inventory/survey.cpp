#include "inventory/survey.h"

#include "device/scsidevice_linux.h"
#include "inventory/firmware.h"
#include "inventory/instancetext.h"
#include "plugin/cimnames.h"
#include "system/boundary.h"

#include <sys/wait.h>

#include <algorithm>

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

bool isPartOf(const std::string& text, const std::vector<std::string>& names) {
    return std::any_of(names.begin(), names.end(),
                       [&text](const std::string& name) { return text.find(name) != std::string::npos; });
}

std::vector<std::string> nodesOf(const runResult& result) {
    std::vector<std::string> nodes;
    for (const auto& each : result.devices)
        nodes.push_back(each.node);
    return nodes;
}

/// The names of the optical drives that were found; none where no query asked for them.
std::optional<std::vector<std::string>> opticalDrives(const runResult& result, const passLog& log) {
    std::optional<std::vector<std::string>> drives;
    for (const auto& query : result.queries) {
        if (query.classes.front() == opticalDriveClass)
            drives = log.excludedDrives();
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
        if (!isPartOf(text, found))
            unmatched.push_back(std::to_string(kind) + '=' + text);
    }
}

/// What the output shows of the kernel's words.
sys::kernelDetail detailFor(const runOptions& options) {
    if (options.format == outputFormat::json || options.format == outputFormat::prometheus || options.tree)
        return sys::kernelDetail::all;
    return options.showsOverview() ? sys::kernelDetail::sizes : sys::kernelDetail::names;
}

} // namespace

void survey(const runOptions& options, askedMachine& machine, const passLog& log, runResult& result) {
    coverage& seen = result.seen;
    const sys::watchedMachine& watched = machine.watched();
    seen.walked = watched.driverStatus().has_value();
    if (seen.walked)
        seen.beyond = nodesBeyond(machine.machine());
    const int driver = watched.driverStatus().value_or(0);
    seen.driverStatus = WIFEXITED(driver) ? WEXITSTATUS(driver) : -1;
    seen.hasScsiDevices = driver == 0 || machine.machine().hasScsiDevices(); // asked only where it matters
    seen.stepFailed = log.failed();
    seen.endedAt = log.endedAt();
    seen.endedBy = log.endedBy();
    seen.unread = watched.unread();
    if (options.format == outputFormat::json)
        seen.collected = machine.machine().collected();
    seen.secondsSkipped = machine.secondsSkipped();

    result.devices = devicesOf(machine.machine(), watched, log, result.allInstances(), detailFor(options));
    tieFirmware(result);
    seen.drivesLeftOut = log.excludedDrives();
    if (seen.walked)
        addUnmatched(machine.machine(), sys::virtualDisk, nodesOf(result), seen.unmatched);
    if (const auto drives = opticalDrives(result, log))
        addUnmatched(machine.machine(), sys::virtualOpticalDrive, *drives, seen.unmatched);
}

} // namespace inventory
