#include "system/sysfs.h"

#include "system/boundary.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

namespace sys {

namespace {

namespace fs = std::filesystem;

/// Is this the plain name of a tape drive, "st0"? The names beside it, "nst0" or "st0a", are the same drive in modes
/// that do not rewind or have another density.
bool isPlainTapeName(std::string_view name) {
    return name.size() > 2 && name.substr(0, 2) == "st" &&
           name.find_first_not_of("0123456789", 2) == std::string_view::npos;
}

/// The names of a device, in alphabetical order.
std::vector<std::string> namesOf(const std::string& device) {
    std::vector<std::string> names;
    for (const std::string kind : {"block", "scsi_changer", "scsi_tape"}) { // block: optical drives as well
        std::error_code error;
        for (fs::directory_iterator entry(device + kind, error), end; !error && entry != end; entry.increment(error)) {
            std::string name = entry->path().filename();
            if (kind != "scsi_tape" || isPlainTapeName(name))
                names.push_back(std::move(name));
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// The start of a file, as much as a sysfs file can have, without the line end and the blanks that end it; empty where
/// it cannot be read.
std::string startOf(const std::string& path) {
    std::string content(kernelWords::longestText, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(file.gcount()));
    content.erase(content.find_last_not_of(" \n") + 1);
    return content;
}

} // namespace

kernelWordMap readKernelWords(const std::set<std::string>& nodes, kernelDetail detail, const std::string& directory) {
    kernelWordMap known;
    for (const auto& node : nodes) {
        if (!sgNodeNumber(node))
            continue;
        const std::string device = directory + node.substr(node.rfind('/') + 1) + "/device/";
        kernelWords ofNode;
        ofNode.names = namesOf(device);
        if (detail == kernelDetail::all)
            ofNode.wwid = startOf(device + "wwid");
        if (!ofNode.empty())
            known[node] = ofNode;
    }
    return known;
}

} // namespace sys
