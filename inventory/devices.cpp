#include "inventory/devices.h"

#include "device/scsidevice_linux.h"
#include "inventory/instancetext.h"
#include "plugin/cimnames.h"
#include "system/boundary.h"
#include "text/forms.h"

#include <algorithm>
#include <cstring>
#include <tuple>

namespace inventory {

namespace {

/// Where a node comes in a walk: first those of SCSI, by number, then those of IDE.
auto placeOf(const std::string& path) { return std::make_tuple(!sys::sgNodeNumber(path), path.size(), path); }

bool isWalked(const std::string& path) { return sys::sgNodeNumber(path).value_or(0) < nodesPerFamily; }

/// Are the words of the device those of another? Where the kernel does not tell its names, they count as its own.
bool isMistaken(const std::string& askedAt, const sys::kernelWords& kernel) {
    const std::string name = askedAt.substr(askedAt.rfind('/') + 1);
    return !askedAt.empty() && kernel.knowsNames &&
           std::find(kernel.names.begin(), kernel.names.end(), name) == kernel.names.end();
}

void addWords(const minihost::memoryInstance& instance, device& target) {
    target.classes.emplace(instance.declaration().name);
    target.vendor = propertyOf(instance, "VendorID");
    target.product = propertyOf(instance, "ProductID");
    target.revision = propertyOf(instance, "Revision");
    target.serial = propertyOf(instance, "serialNum");
    target.type = shortTypeName(propertyOf(instance, "DeviceType"));
    target.address = addressOf(instance);
    target.identity = propertyOf(instance, "OtherIdentifyingInfo");
}

/// Are the kernel's words wanted in place of the plug-in's?
bool lacksWords(const device& each) {
    return each.state != deviceState::identified || each.classes.empty() || each.serial.empty() ||
           each.revision.empty() || each.address.empty();
}

class deviceList {
public:
    deviceList(sys::machine& machine, const logFindings& log) : machine_(machine), log_(log) {}

    std::vector<device> of(const std::vector<sys::visit>& visits, const instances& all, sys::kernelDetail detail) {
        for (const auto& visit : visits)
            devices_.emplace_back().node = visit.path;
        if (!log_.endedAt.empty())
            addNotAsked();
        for (const auto& instance : all) {
            if (isKindOf(instance->declaration(), busDeviceClass))
                if (device* const owner = deviceAt(devices_, nodeOf(*instance)))
                    addWords(*instance, *owner);
        }
        addKernelWords(detail, [](const device&) { return true; });
        for (std::size_t i = 0; i < visits.size(); ++i)
            judge(visits[i], devices_[i]);
        if (detail == sys::kernelDetail::sizes)
            addKernelWords(sys::kernelDetail::all, lacksWords);
        return std::move(devices_);
    }

private:
    void addNotAsked() {
        std::vector<std::string> behind;
        for (const auto& path : machine_.deviceNodes()) {
            if (isWalked(path) && placeOf(path) > placeOf(log_.endedAt) && deviceAt(devices_, path) == nullptr)
                behind.push_back(path);
        }
        std::sort(behind.begin(), behind.end(),
                  [](const auto& one, const auto& other) { return placeOf(one) < placeOf(other); });
        for (const auto& path : behind) {
            device& added = devices_.emplace_back();
            added.node = path;
            added.state = deviceState::notAsked;
            added.why = "the walk ended at " + log_.endedAt;
        }
    }

    void addKernelWords(sys::kernelDetail detail, bool (*isMeant)(const device&)) {
        std::set<std::string> paths;
        for (const auto& each : devices_) {
            if (isMeant(each))
                paths.insert(each.node);
        }
        const auto known = machine_.kernelWordsOf(paths, detail);
        for (auto& each : devices_) {
            if (const auto found = known.find(each.node); found != known.end())
                each.kernel = found->second;
        }
    }

    void judge(const sys::visit& visit, device& target) {
        const auto set = [&target](deviceState state, const std::string& why) {
            target.state = state;
            target.why = why;
        };
        if (visit.inquired)
            target.peripheralType = visit.peripheralByte & 0x1F;
        const auto excluded = log_.excluded.find(visit.path);
        const bool wasWritten = !target.classes.empty();
        if (visit.error != 0) {
            target.error = text::errorName(visit.error);
            set(deviceState::refused, std::strerror(visit.error) + (" (" + target.error + ')'));
        } else if (!visit.identified) {
            set(deviceState::silent, visit.failure);
        } else if (excluded != log_.excluded.end() && !visit.hasOwnWords) {
            set(deviceState::excluded, excluded->second);
        } else if (!log_.endedAt.empty() && !wasWritten) {
            const bool isTheEnd = visit.path == log_.endedAt;
            set(deviceState::lost, isTheEnd ? log_.endedBy : "the walk ended at " + log_.endedAt);
        } else if (isMistaken(visit.askedAt, target.kernel)) {
            target.askedAt = visit.askedAt;
            set(deviceState::mistaken, "its words are those of " + visit.askedAt);
        } else if (visit.inquired && !visit.hasOwnWords && !visit.askedInVain.empty()) {
            target.ownWords = false;
            set(deviceState::identified, "its own words could not be asked for: " + visit.askedInVain);
        } else {
            target.model = visit.model;
            target.why = visit.inquired || visit.hasOwnWords ? "" : "an optical drive, which is not asked more";
        }
    }

    sys::machine& machine_;
    const logFindings& log_;
    std::vector<device> devices_;
};

} // namespace

const char* nameOf(deviceState state) {
    constexpr const char* names[deviceStates] = {"identified", "excluded", "mistaken", "silent",
                                                 "refused",    "lost",     "not asked"};
    return names[static_cast<std::size_t>(state)];
}

std::vector<device> devicesOf(sys::machine& machine, const sys::watchedMachine& watched, const logFindings& log,
                              const instances& all, sys::kernelDetail detail) {
    return deviceList(machine, log).of(watched.nodes(), all, detail);
}

std::size_t countOf(const std::vector<device>& devices, std::initializer_list<deviceState> states) {
    return static_cast<std::size_t>(std::count_if(devices.begin(), devices.end(), [states](const device& each) {
        return std::find(states.begin(), states.end(), each.state) != states.end();
    }));
}

} // namespace inventory
