#include "plugin/host/osspecific.h"

#include "minihost/childprocess.h"
#include "minihost/minihost.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

namespace {

std::vector<std::string>& virtualDevices(int kind) {
    static std::vector<std::string> lists[2];
    return lists[kind];
}

minihost::failureSink& sinkOfFailures() {
    static minihost::failureSink sink;
    return sink;
}

void tell(minihost::failedService::kinds kind, const std::string& what, const std::string& why) {
    if (sinkOfFailures())
        sinkOfFailures()({kind, what, why});
}

} // namespace

void minihost::setFailureSink(failureSink sink) { sinkOfFailures() = std::move(sink); }

void minihost::setVirtualDevices(int kind, std::vector<std::string> names) { virtualDevices(kind) = std::move(names); }

namespace NHALDEN20 {

std::string TOSSpecific::CaptureFile(std::string path) {
    std::ifstream file(path, std::ios::binary);
    const int error = errno;
    std::ostringstream content;
    errno = 0;
    if (file.is_open())
        content << file.rdbuf(); // which also fails when there is nothing, but without an error
    if (file.is_open() ? content.fail() && errno != 0 : error != ENOENT)
        tell(minihost::failedService::reading, path, std::strerror(file.is_open() ? errno : error));
    return content.str();
}

std::string TOSSpecific::SpawnProcess(std::string command, std::vector<std::string> arguments, int timeout) {
    const minihost::childOutput child = minihost::outputOf(command, arguments, std::chrono::seconds(timeout));
    if (!child.failure.empty()) {
        for (const auto& argument : arguments)
            command += ' ' + argument;
        tell(minihost::failedService::spawning, command, child.failure);
    }
    return child.output;
}

std::string TOSSpecific::GetMachineName() {
    char name[HOST_NAME_MAX + 1] = {};
    return ::gethostname(name, sizeof name) == 0 ? name : "";
}

bool TOSSpecific::getOrvexVirtualDevices(int kind, std::vector<std::string>& list, bool /*flag*/) {
    const auto& names = virtualDevices(kind);
    list.insert(list.end(), names.begin(), names.end());
    return true;
}

} // namespace NHALDEN20
