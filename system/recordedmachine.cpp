#include "system/recordedmachine.h"

#include "system/boundary.h"
#include "system/requests.h"

#include <sys/wait.h>

#include <algorithm>
#include <cerrno>

namespace sys {

int recordedMachine::open(const char* path, int flags, mode_t mode) {
    const int fd = layer::open(path, flags, mode);
    const int error = errno;
    if (isNodePath(path)) {
        node& asked = answers_.nodes[path];
        asked.open.add({fd >= 0 ? 0 : error});
        if (fd >= 0)
            open_[fd] = &asked;
    }
    errno = error;
    return fd;
}

int recordedMachine::close(int fd) {
    open_.erase(fd);
    return layer::close(fd);
}

int recordedMachine::ioctl(int fd, unsigned long request, void* argument) {
    const int result = layer::ioctl(fd, request, argument);
    const int error = errno;
    if (const auto found = open_.find(fd); found != open_.end())
        keepAnswer(*found->second, request, argument, result, result == -1 ? error : 0);
    errno = error;
    return result;
}

int recordedMachine::system(const char* command) {
    const int status = layer::system(command);
    if (commandOf(command).kind == shellCommand::modprobe)
        answers_.modprobe.add(status == 0 ? 0 : std::max(1, WEXITSTATUS(status)));
    return status;
}

serviceAnswer recordedMachine::spawn(const std::string& command, const std::vector<std::string>& arguments,
                                     std::chrono::seconds limit) {
    serviceAnswer answer = layer::spawn(command, arguments, limit);
    if (hasOpticalTable()) // the one thing that a plug-in reads this way
        answers_.opticalTable = answer.text;
    return answer;
}

serviceAnswer recordedMachine::captureFile(const std::string& path) {
    serviceAnswer answer = layer::captureFile(path);
    answers_.usbListing = answer.text; // and this way
    return answer;
}

machineAnswers recordedMachine::wholeMachine() {
    machineAnswers whole = answers_;
    whole.name = hostName();
    for (const auto kind : virtualDeviceKinds)
        whole.virtualDevices[kind] = virtualDevices(kind);
    whole.hasScsiDevices = hasScsiDevices();
    whole.collected = collected();
    for (const auto& path : deviceNodes())
        whole.nodes[path]; // also those that nobody asked: a replay too says that they are not shown
    std::set<std::string> paths;
    for (const auto& [path, node] : whole.nodes)
        paths.insert(path);
    for (const auto& [path, known] : kernelWordsOf(paths, kernelDetail::all))
        whole.nodes[path].knownAs = known;
    return whole;
}

} // namespace sys
