#include "inventory/passlog.h"

#include <algorithm>

namespace inventory {

namespace {

// The plug-in's log, as far as it is read here.
constexpr const char* walkBegins[] = {"Getting sg devices...", "Getting hd devices..."};
constexpr const char* walksEnd = "Getting optical devices...";
constexpr const char* driverMissed = "sg module is not loaded correctly";
const std::string diskIgnored = "TScsidevPluginCallbacks::collectData : Ignoring Virtual Device ";
const std::string driveIgnored = "TScsidevPluginCallbacks::IterateCDromdrives : Ignoring Virtual Device ";
const std::string usbProductFound = "FindUSBDevice Remove Virtual: ";

constexpr int failure = 0; // level

constexpr unsigned char diskByte = 0, opticalDriveByte = 5; // whole peripheral bytes of INQUIRY (SPC-4, 6.4.2)

} // namespace

void passLog::take(int level, const std::string& text, const sys::watchedMachine& watched) {
    const auto begins = [&text](const std::string& words) {
        return text.rfind(words, 0) == 0;
    };
    if (level == failure)
        takeFailure(text, watched);
    else if (text == walkBegins[0] || text == walkBegins[1])
        walking_ = true;
    else if (text == walksEnd)
        walking_ = false;
    else if (begins(diskIgnored))
        found_.excluded.emplace(text.substr(diskIgnored.size()), "named by --virtual-device");
    else if (begins(driveIgnored)) {
        const std::string name = text.substr(driveIgnored.size());
        if (std::find(found_.excludedDrives.begin(), found_.excludedDrives.end(), name) == found_.excludedDrives.end())
            found_.excludedDrives.push_back(name);
    } else if (begins(usbProductFound) && watched.isAsking()) {
        const sys::visit& node = *watched.latest(); // a tape is not left out for its product
        if (node.peripheralByte == diskByte || node.peripheralByte == opticalDriveByte)
            found_.excluded.emplace(node.path, "like a USB device of product 0x4012");
    }
}

/// An exception has left the nodes closed: it is about the node that was asked last.
void passLog::takeFailure(const std::string& text, const sys::watchedMachine& watched) {
    if (text == driverMissed)
        return;
    found_.failed = true;
    if (!walking_ || watched.latest() == nullptr || !found_.endedAt.empty())
        return;
    found_.endedAt = watched.latest()->path;
    found_.endedBy = watched.latest()->blankProduct ? "its product is blank, which ends the walk" : text;
}

} // namespace inventory
