#include "system/thismachine.h"

#include "system/boundary.h"
#include "system/utctime.h"

#include <dirent.h>
#include <unistd.h>

#include <cctype>
#include <climits>
#include <ctime>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

namespace sys {

std::string thisMachine::hostName() {
    char name[HOST_NAME_MAX + 1] = {};
    return ::gethostname(name, sizeof name) == 0 ? name : "";
}

bool thisMachine::hasOpticalTable() { return ::access(opticalTablePath, F_OK) == 0; }

std::set<std::string> thisMachine::deviceNodes() {
    std::set<std::string> nodes;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir("/dev"), ::closedir);
    while (const dirent* const entry = directory ? ::readdir(directory.get()) : nullptr) {
        if (std::string path = std::string("/dev/") + entry->d_name; isWalkedNode(path))
            nodes.insert(std::move(path));
    }
    return nodes;
}

bool thisMachine::hasScsiDevices() {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/bus/scsi/devices", ignored)) {
        if (std::isdigit(static_cast<unsigned char>(entry.path().filename().native()[0])) != 0)
            return true; // "2:0:1:4"; hosts and targets are there too
    }
    return false;
}

std::string thisMachine::collected() { return utcText(std::time(nullptr)); }

} // namespace sys
