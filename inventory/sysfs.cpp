#include "inventory/sysfs.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

namespace inventory {

namespace {

using simulator::kernelNames;

constexpr std::size_t mostEntries = 64; // of a directory; the largest, scsi_tape, has eight

/// The names of the entries in a subdirectory, but for those that begin with a dot; none where it cannot be read.
std::vector<std::string> entriesOf(int directory, const char* name) {
    const int fd = ::openat(directory, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return {};
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(::fdopendir(fd), ::closedir);
    if (!listing) {
        ::close(fd);
        return {};
    }
    std::vector<std::string> names;
    while (const dirent* const entry = names.size() < mostEntries ? ::readdir(listing.get()) : nullptr) {
        if (entry->d_name[0] != '.')
            names.emplace_back(entry->d_name);
    }
    return names;
}

/// The start of a file, as much as a sysfs file can have; empty where it cannot be read.
std::string startOf(int directory, const char* name) {
    const int fd = ::openat(directory, name, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return "";
    std::string content(kernelNames::longestWwid, '\0');
    std::size_t size = 0;
    ssize_t got = 0;
    while (size < content.size() && (got = ::read(fd, content.data() + size, content.size() - size)) > 0)
        size += static_cast<std::size_t>(got);
    ::close(fd);
    return content.substr(0, size);
}

/// Is this the plain name of a tape drive, "st0"? The names beside it, "nst0" or "st0a", are the same drive in modes
/// that do not rewind or have another density.
bool isPlainTapeName(const std::string& name) {
    return name.size() > 2 && name.compare(0, 2, "st") == 0 &&
           name.find_first_not_of("0123456789", 2) == std::string::npos;
}

} // namespace

kernelNames readKernelNames(const std::string& node, bool wantsWwid, const std::string& directory) {
    if (!simulator::isSgNodePath(node))
        return {};
    const std::string path = directory + node.substr(node.rfind('/') + 1) + "/device";
    const int device = ::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (device < 0)
        return {};
    kernelNames known;
    for (const char* kind : {"block", "scsi_changer"}) { // block: optical drives as well
        const auto names = entriesOf(device, kind);
        known.names.insert(known.names.end(), names.begin(), names.end());
    }
    const auto tapes = entriesOf(device, "scsi_tape");
    std::copy_if(tapes.begin(), tapes.end(), std::back_inserter(known.names), isPlainTapeName);
    std::sort(known.names.begin(), known.names.end());
    if (wantsWwid)
        known.wwid = startOf(device, "wwid");
    known.wwid.erase(known.wwid.find_last_not_of(" \n") + 1);
    ::close(device);
    return known;
}

} // namespace inventory
