#include "inventory/installation.h"

#include <filesystem>

namespace inventory {

namespace fs = std::filesystem;

std::string installedFile(const std::string& name) {
    const fs::path directory = fs::read_symlink("/proc/self/exe").parent_path();
    const fs::path beside = directory / name;
    const fs::path installed = directory / SCSIDEV_LIBRARY_DIRECTORY / name;
    std::error_code ignored;
    return (!fs::exists(beside, ignored) && fs::exists(installed, ignored) ? installed : beside).string();
}

} // namespace inventory
