#include "plugin/scsidev_linux.h"

#include "device/hostlog.h"
#include "plugin/cimnames.h"
#include "plugin/host/osspecific.h"
#include "plugin/texthelpers.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <sstream>

using NHALDEN20::TContext;
using NHALDEN20::TOSSpecific;

namespace {

constexpr const char* tablePath = "/proc/sys/dev/cdrom/info";
constexpr int readTimeout = 300;
constexpr std::size_t lineBufferSize = 256;
constexpr std::size_t tooFewLines = 19; // a table with a drive has more
constexpr const char* nameKey = "drive name:";
constexpr unsigned short always = 1; // the table has no line for reading CDs

/// The table's capability lines. The colons keep "write DVD-R:" from finding the line of DVD-RAM, and "write CD-R:"
/// that of CD-RW.
enum capability { readDvd, writeDvdRam, writeDvdR, writeCdR, writeCdRw, capabilityCount };
constexpr const char* capabilityKeys[capabilityCount] = {"read DVD", "write DVD-RAM",
                                                         "write DVD-R:", "write CD-R:", "write CD-RW"};

/// The part of `name` behind its last slash; all of it when it has none.
std::string bareName(const std::string& name) { return name.substr(name.rfind('/') + 1); }

} // namespace

void TScsidevPluginCallbacks::IterateCDromdrives(classList& requested) {
    for (const auto& requestedClass : requested) {
        if (requestedClass->GetClassName(TContext()) != opticalDriveClass)
            return;
        if (opticalLines_.empty())
            readOpticalTable();
        if (opticalLines_.size() <= tooFewLines)
            return;
        writeOpticalDrives(requested);
    }
}

void TScsidevPluginCallbacks::readOpticalTable() {
    std::istringstream table(TOSSpecific::SpawnProcess("cat", {tablePath}, readTimeout));
    std::vector<std::string> lines; // becomes the table only when whole: the object keeps it for good
    char line[lineBufferSize];
    while (table.good()) {
        table.getline(line, sizeof line); // the last, failed read leaves an empty line, which counts as one
        lines.emplace_back(line);
    }
    opticalLines_.swap(lines);
}

std::string TScsidevPluginCallbacks::opticalLine(const std::string& key) const {
    const auto line = std::find_if(opticalLines_.begin(), opticalLines_.end(), Tsubstring(key));
    return line == opticalLines_.end() ? "" : *line;
}

bool TScsidevPluginCallbacks::isVirtualOpticalDrive(const std::string& name) const {
    if (std::none_of(virtualOpticalDrives_.begin(), virtualOpticalDrives_.end(), Tsubstring(name)))
        return false;
    hostLog(progress, "TScsidevPluginCallbacks::IterateCDromdrives : Ignoring Virtual Device " + name);
    return true;
}

void TScsidevPluginCallbacks::writeOpticalDrives(classList& requested) {
    const auto columnsOf = [this](const char* key) {
        return SplitBySeperator(ColonFilter(opticalLine(key)), "\t");
    };
    const std::vector<std::string> names = columnsOf(nameKey);
    std::vector<std::string> columns[capabilityCount];
    std::transform(std::begin(capabilityKeys), std::end(capabilityKeys), columns, columnsOf);

    for (std::size_t drive = 0; drive < names.size(); ++drive) {
        const std::string name = bareName(names[drive]);
        boost::shared_ptr<NHALDEN20::ICIMInstance> instance;
        if (isVirtualOpticalDrive(name) || !wasRequested(requested, opticalDriveClass, instance))
            continue;
        const auto set = [&instance](const char* property, const NHALDEN20::TCIMValue& value) {
            instance->SetProperty(property, value, TContext());
        };
        const auto capabilityOf = [&](capability which) -> unsigned short {
            const auto& values = columns[which];
            return drive < values.size() ? static_cast<unsigned short>(getOptProperty(values[drive])) : 0;
        };
        const std::string path = "/dev/" + name;
        set("Name", name);
        set("DeviceID", path);
        set("ElementName", path);
        set("ProductID", path);
        const unsigned short readsDvd = capabilityOf(readDvd);
        set("DvdRRead", readsDvd);
        set("DvdRomRead", readsDvd);
        set("DvdRamRead", readsDvd);
        set("CdRwRead", always);
        set("CdRRead", always);
        set("DvdRamWrite", capabilityOf(writeDvdRam));
        set("DvdRWrite", capabilityOf(writeDvdR));
        set("CdRWrite", capabilityOf(writeCdR));
        set("CdRwWrite", capabilityOf(writeCdRw));
        set(creationClassNameProperty, opticalDriveClass);
        set("SystemCreationClassName", computerSystemClass);
        set("SystemName", TOSSpecific::GetMachineName());
        set("Caption", "Optical Drive");
        instance->AddToClass(TContext());
    }
}
