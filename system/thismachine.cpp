#include "system/thismachine.h"

#include "system/boundary.h"
#include "system/childprocess.h"
#include "system/clibrary.h"
#include "system/sysfs.h"
#include "system/utctime.h"

#include <dirent.h>
#include <unistd.h>

#include <climits>
#include <ctime>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

namespace sys {

int thisMachine::open(const char* path, int flags, mode_t mode) { return cLibrary::open(path, flags, mode); }
int thisMachine::close(int fd) { return cLibrary::close(fd); }
int thisMachine::ioctl(int fd, unsigned long request, void* argument) { return cLibrary::ioctl(fd, request, argument); }
unsigned thisMachine::sleep(unsigned seconds) { return cLibrary::sleep(seconds); }

// Not the C library's: while a command runs, that ignores interrupts, and other signals end this process but not the
// command. Whoever sends one means both.
int thisMachine::system(const char* command) { return shellStatus(command); }

std::string thisMachine::hostName() {
    char name[HOST_NAME_MAX + 1] = {};
    return ::gethostname(name, sizeof name) == 0 ? name : "";
}

bool thisMachine::hasOpticalTable() { return ::access(opticalTablePath, F_OK) == 0; }

serviceAnswer thisMachine::spawn(const std::string& command, const std::vector<std::string>& arguments,
                                 std::chrono::seconds limit) {
    return outputOf(command, arguments, limit);
}

kernelWordMap thisMachine::kernelWordsOf(const std::set<std::string>& nodes, kernelDetail detail) {
    return readKernelWords(nodes, detail);
}

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
    return !std::filesystem::is_empty("/sys/bus/scsi/devices", ignored) && !ignored;
}

std::string thisMachine::collected() { return utcText(std::time(nullptr)); }

} // namespace sys
