#include "system/sysfs.h"

#include "system/boundary.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

namespace sys {

namespace {

using directoryHandle = std::unique_ptr<DIR, int (*)(DIR*)>;

/// Takes over the descriptor of a directory; null where it is none.
directoryHandle listingOf(int fd) {
    DIR* const listing = fd < 0 ? nullptr : ::fdopendir(fd);
    if (listing == nullptr && fd >= 0)
        ::close(fd);
    return {listing, ::closedir};
}

/// The device to which an entry of a class belongs, known by its path in sysfs: the entry is a link to
/// DEVICE/CLASS/ENTRY. Empty for any other, such as the link of a partition, and for what is no link.
std::string deviceOf(int directory, const std::string& kind, const std::string& entry) {
    char target[PATH_MAX];
    const ssize_t size = ::readlinkat(directory, entry.c_str(), target, sizeof target);
    const std::string_view path(target, size < 0 ? 0 : static_cast<std::size_t>(size));
    const std::string end = '/' + kind + '/' + entry;
    if (path.size() < end.size() || path.substr(path.size() - end.size()) != end)
        return "";
    return std::string(path.substr(0, path.size() - end.size()));
}

/// Is this the plain name of a tape drive, "st0"? The names beside it, "nst0" or "st0a", are the same drive in modes
/// that do not rewind or have another density.
bool isPlainTapeName(std::string_view name) {
    return name.size() > 2 && name.substr(0, 2) == "st" &&
           name.find_first_not_of("0123456789", 2) == std::string_view::npos;
}

using namesOfDevices = std::map<std::string, std::vector<std::string>>; // by the path of the device

/// Adds the names of the devices of a class; none where its directory cannot be read.
void addNames(int sgClass, const std::string& kind, namesOfDevices& found) {
    const directoryHandle listing =
        listingOf(::openat(sgClass, ("../" + kind).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    while (const dirent* const entry = listing ? ::readdir(listing.get()) : nullptr) {
        const std::string name = entry->d_name;
        if (kind != "scsi_tape" || isPlainTapeName(name)) {
            const std::string device = deviceOf(::dirfd(listing.get()), kind, name);
            if (!device.empty())
                found[device].push_back(name);
        }
    }
}

/// The start of a file, as much as a sysfs file can have, without the line end and the blanks that end it; empty where
/// it cannot be read.
std::string startOf(int directory, const std::string& name) {
    const int fd = ::openat(directory, name.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return "";
    std::string content(kernelNames::longestWwid, '\0');
    std::size_t size = 0;
    ssize_t got = 0;
    while (size < content.size() && (got = ::read(fd, content.data() + size, content.size() - size)) > 0)
        size += static_cast<std::size_t>(got);
    ::close(fd);
    content.resize(size);
    content.erase(content.find_last_not_of(" \n") + 1);
    return content;
}

} // namespace

kernelNameMap readKernelNames(const std::set<std::string>& nodes, bool wantsWwid, const std::string& directory) {
    const directoryHandle listing = listingOf(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!listing)
        return {};
    const int sgClass = ::dirfd(listing.get());
    namesOfDevices names;
    for (const char* kind : {"block", "scsi_changer", "scsi_tape"}) // block: optical drives as well
        addNames(sgClass, kind, names);
    kernelNameMap known;
    for (const auto& node : nodes) {
        if (!isSgNodePath(node))
            continue;
        const std::string entry = node.substr(node.rfind('/') + 1);
        kernelNames ofNode;
        ofNode.names = names[deviceOf(sgClass, "scsi_generic", entry)];
        std::sort(ofNode.names.begin(), ofNode.names.end());
        if (wantsWwid)
            ofNode.wwid = startOf(sgClass, entry + "/device/wwid");
        if (!ofNode.empty())
            known[node] = ofNode;
    }
    return known;
}

} // namespace sys
