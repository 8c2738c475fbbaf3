#include "plugin/host/osspecific.h"

#include "minihost/childprocess.h"
#include "minihost/minihost.h"

#include <unistd.h>

#include <chrono>
#include <climits>
#include <fstream>
#include <iterator>
#include <utility>

namespace {

std::vector<std::string>& virtualDevices(int kind) {
    static std::vector<std::string> lists[2];
    return lists[kind];
}

} // namespace

void minihost::setVirtualDevices(int kind, std::vector<std::string> names) { virtualDevices(kind) = std::move(names); }

namespace NHALDEN20 {

std::string TOSSpecific::CaptureFile(std::string path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string TOSSpecific::SpawnProcess(std::string command, std::vector<std::string> arguments, int timeout) {
    return minihost::outputOf(command, arguments, std::chrono::seconds(timeout));
}

std::string TOSSpecific::GetMachineName() {
    char name[HOST_NAME_MAX + 1] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? name : "";
}

bool TOSSpecific::getOrvexVirtualDevices(int kind, std::vector<std::string>& list, bool /*flag*/) {
    const auto& names = virtualDevices(kind);
    list.insert(list.end(), names.begin(), names.end());
    return true;
}

} // namespace NHALDEN20
