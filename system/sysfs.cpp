#include "system/sysfs.h"

#include "system/boundary.h"
#include "system/clibrary.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <boost/algorithm/string/trim_all.hpp>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <libudev.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace sys {

namespace {

namespace fs = std::filesystem;

/// Without the blanks, line ends and zero bytes around it.
std::string trimmed(const std::string& text) {
    return boost::trim_copy_if(text, [](char c) { return c == ' ' || c == '\n' || c == '\0'; });
}

/// A directory of sysfs, kept open: the kernel walks the long way to it once and not for each file. Files are
/// named by their way from it. What cannot be read is empty.
class keptDirectory {
public:
    explicit keptDirectory(const std::string& path)
        : fd_(cLibrary::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC, 0)) {}
    ~keptDirectory() {
        if (isThere())
            cLibrary::close(fd_);
    }
    keptDirectory(const keptDirectory&) = delete;
    keptDirectory& operator=(const keptDirectory&) = delete;

    bool isThere() const { return fd_ != -1; }

    /// The start of a file, longer than such files are.
    std::string contentOf(const std::string& file) const {
        const int fd = ::openat(fd_, file.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd == -1)
            return "";
        char content[4096]; // a file of sysfs has at most one page, and is given at once
        const ssize_t size = ::read(fd, content, sizeof content);
        cLibrary::close(fd);
        return {content, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }

    std::string textOf(const std::string& file) const { return trimmed(contentOf(file)); }

    /// The number that a file holds, in decimal; none for anything else.
    std::optional<std::int64_t> numberOf(const std::string& file) const {
        const std::string text = textOf(file);
        std::int64_t number = 0;
        const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        return error == std::errc() && rest == text.data() + text.size() ? std::make_optional(number) : std::nullopt;
    }

    /// What a symbolic link in it points to.
    std::string targetOf(const std::string& link) const {
        char target[PATH_MAX];
        const ssize_t size = ::readlinkat(fd_, link.c_str(), target, sizeof target);
        return {target, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }

    /// The names in one of its directories, each with that directory in front: "block/sda".
    std::vector<std::string> entriesOf(const std::string& directory) const {
        std::vector<std::string> entries;
        const int fd = ::openat(fd_, directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const std::unique_ptr<DIR, int (*)(DIR*)> listed(fd == -1 ? nullptr : ::fdopendir(fd), ::closedir);
        while (const dirent* const entry = listed ? ::readdir(listed.get()) : nullptr) {
            if (entry->d_name[0] != '.')
                entries.push_back(directory + '/' + entry->d_name);
        }
        return entries;
    }

private:
    int fd_;
};

/// Is this the plain name of a tape drive, "scsi_tape/st0"? The names beside it, "nst0" or "st0a", are the same drive
/// in modes that do not rewind or have another density.
bool isPlainTape(std::string_view node) {
    constexpr std::string_view start = "scsi_tape/st";
    return node.size() > start.size() && node.substr(0, start.size()) == start &&
           node.find_first_not_of("0123456789", start.size()) == std::string_view::npos;
}

bool isBlockDevice(const std::string& node) { return boost::starts_with(node, "block/"); }

/// The directories of a device's own nodes, such as "block/sda"; of optical drives as well as of disks. A device has
/// one driver beside that of the sg nodes, so its nodes are of one kind.
std::vector<std::string> nodesOf(const keptDirectory& device) {
    std::vector<std::string> nodes;
    for (const std::string kind : {"block", "scsi_changer", "scsi_tape"}) {
        if (!nodes.empty())
            break;
        for (auto& node : device.entriesOf(kind)) {
            if (kind != "scsi_tape" || isPlainTape(node))
                nodes.push_back(std::move(node));
        }
    }
    return nodes;
}

constexpr const char* database = "/run/udev/data"; // where libudev looks

/// In the order in which lsblk of util-linux takes them. Rules of sg3-utils set the first, others of udev the rest.
constexpr const char* serialProperties[] = {"SCSI_IDENT_SERIAL", "ID_SCSI_SERIAL", "ID_SERIAL_SHORT", "ID_SERIAL"};

template <typename Function>
Function* find(void* library, const char* name) {
    return reinterpret_cast<Function*>(::dlsym(library, name));
}

/// The first of those that a device has. libudev is loaded where there is something to ask it: loading it at every
/// start would take longer than most of a run.
std::string serialProperty(const std::string& id) {
    static void* const library = ::dlopen("libudev.so.1", RTLD_NOW);
    if (library == nullptr)
        return "";
    static auto* const newContext = find<decltype(udev_new)>(library, "udev_new");
    static auto* const freeContext = find<decltype(udev_unref)>(library, "udev_unref");
    static auto* const newDevice =
        find<decltype(udev_device_new_from_device_id)>(library, "udev_device_new_from_device_id");
    static auto* const freeDevice = find<decltype(udev_device_unref)>(library, "udev_device_unref");
    static auto* const valueOf =
        find<decltype(udev_device_get_property_value)>(library, "udev_device_get_property_value");
    udev* const context = newContext();
    udev_device* const device = newDevice(context, id.c_str());
    const char* value = nullptr;
    for (const char* const name : serialProperties)
        value = device != nullptr && value == nullptr ? valueOf(device, name) : value;
    std::string found = value == nullptr ? "" : value;
    freeDevice(device); // both take null
    freeContext(context);
    return found;
}

/// The serial number by the device manager, as lsblk shows it; "" where there is none. `node` is the directory of a
/// device's node. In an initial RAM disk there can be no device manager.
std::string udevSerialNumberOf(const keptDirectory& device, const std::string& node) {
    if (::access(database, F_OK) != 0)
        return "";
    const std::string number = device.textOf(node + "/dev"); // "8:16"
    return boost::trim_all_copy_if(serialProperty((isBlockDevice(node) ? 'b' : 'c') + number),
                                   [](char c) { return c == ' '; });
}

/// Adds the texts of an INQUIRY answer (SPC-4, 6.4.2). The files vendor, model and rev have the same ones, but reading
/// three files takes three times as long.
void addInquiry(const std::string& answer, kernelWords& known) {
    constexpr std::size_t vendor = 8, model = 16, revision = 32, size = 36;
    if (answer.size() < size)
        return;
    known.vendor = trimmed(answer.substr(vendor, model - vendor));
    known.model = trimmed(answer.substr(model, revision - model));
    known.revision = trimmed(answer.substr(revision, size - revision));
}

/// The text of page 0x80, the unit serial number (SPC-4, 7.8.19).
std::string serialNumberOfPage(const std::string& page) {
    constexpr std::size_t header = 4;
    if (page.size() < header)
        return "";
    const auto length = static_cast<unsigned char>(page[2]) << 8 | static_cast<unsigned char>(page[3]);
    return trimmed(page.substr(header, static_cast<std::size_t>(length)));
}

void addSize(const keptDirectory& device, const std::string& node, kernelWords& known) {
    constexpr std::int64_t sectorSize = 512; // bytes: the kernel's unit here, whatever sectors the device has
    const auto sectors = isBlockDevice(node) ? device.numberOf(node + "/size") : std::nullopt;
    if (sectors >= 0 && sectors <= kernelWords::largestSize / sectorSize)
        known.size = static_cast<std::uint64_t>(*sectors * sectorSize);
}

/// Is it a PCI address, such as "0000:00:1f.2"? Its domain, in front, can have more digits.
bool isPciAddress(std::string_view name) {
    constexpr std::string_view form = "0000:00:00.0";
    return name.size() >= form.size() && std::equal(form.rbegin(), form.rend(), name.rbegin(), [](char wanted, char c) {
               return wanted == '0' ? std::isxdigit(static_cast<unsigned char>(c)) != 0 : wanted == c;
           });
}

/// The last PCI address among the directories of a path, which is that of the adapter nearest to the device; "" where
/// there is none.
std::string pciAddressIn(const fs::path& path) {
    std::string last;
    for (const fs::path& directory : path) {
        if (isPciAddress(directory.native()))
            last = directory;
    }
    return last;
}

/// The directory of the device behind an sg node; "" where there is none. The class has links to
/// DEVICE/scsi_generic/sg0; the way through such a link would take the kernel longer.
std::string placeOf(const std::string& path, const keptDirectory& sgClass, const std::string& name) {
    const std::string link = sgClass.targetOf(name);
    const std::size_t end = link.rfind("/scsi_generic/");
    return end == std::string::npos ? "" : path + link.substr(0, end);
}

/// Tells what the kernel knows. Reads each host adapter once.
class deviceClasses {
public:
    explicit deviceClasses(const std::string& path) : path_(path), sgClass_(path + "scsi_generic/") {}

    kernelWords wordsOfSgNode(const std::string& name, kernelDetail detail) {
        kernelWords known;
        const std::string place = placeOf(path_ + "scsi_generic/", sgClass_, name);
        const keptDirectory device(place);
        if (!device.isThere())
            return known;
        const auto nodes = nodesOf(device);
        known.knowsNames = true;
        for (const auto& node : nodes)
            known.names.push_back(node.substr(node.find('/') + 1));
        std::sort(known.names.begin(), known.names.end());
        if (detail == kernelDetail::names)
            return known;
        if (!nodes.empty())
            addSize(device, nodes.front(), known);
        if (detail == kernelDetail::all) {
            addPlace(place, known);
            addWords(device, nodes, known);
        }
        return known;
    }

    kernelWords wordsOfIdeNode(const std::string& name, kernelDetail detail) const {
        kernelWords known;
        if (!keptDirectory(path_ + "block/" + name).isThere())
            return known;
        known.knowsNames = true;
        known.names = {name};
        if (detail != kernelDetail::names)
            addSize(keptDirectory(path_), "block/" + name, known);
        if (detail == kernelDetail::all)
            known.serial = udevSerialNumberOf(keptDirectory(path_), "block/" + name);
        return known;
    }

private:
    static void addWords(const keptDirectory& device, const std::vector<std::string>& nodes, kernelWords& known) {
        addInquiry(device.contentOf("inquiry"), known);
        known.wwid = device.textOf("wwid");
        if (const auto type = device.numberOf("type"); type >= 0 && type <= kernelWords::largestType)
            known.type = static_cast<int>(*type);
        if (!nodes.empty())
            known.serial = udevSerialNumberOf(device, nodes.front());
        if (known.serial.empty())
            known.serial = serialNumberOfPage(device.contentOf("vpd_pg80"));
    }

    /// Adds what the place of a device among all devices tells: .../0000:00:1f.2/ata1/host0/target0:0:0/0:0:0:0
    void addPlace(const fs::path& place, kernelWords& known) {
        known.address = place.filename();
        const std::string driver = driverOf("host" + known.address.substr(0, known.address.find(':')));
        known.adapter = trimmed(driver + ' ' + pciAddressIn(place));
    }

    /// The driver of a host adapter; "" where the kernel has no name for it.
    const std::string& driverOf(const std::string& host) {
        const auto [driver, isNew] = drivers_.emplace(host, "");
        const std::string name = isNew ? keptDirectory(path_ + "scsi_host/" + host).textOf("proc_name") : "";
        if (name != "<NULL>" && name != "(null)")
            driver->second += name;
        return driver->second;
    }

    std::string path_;
    keptDirectory sgClass_;
    std::map<std::string, std::string> drivers_; // by host
};

} // namespace

kernelWordMap readKernelWords(const std::set<std::string>& nodes, kernelDetail detail, const std::string& path) {
    deviceClasses classes(path);
    kernelWordMap known;
    for (const auto& node : nodes) {
        if (!isWalkedNode(node))
            continue;
        const std::string name = node.substr(node.rfind('/') + 1);
        const auto ofNode =
            sgNodeNumber(node) ? classes.wordsOfSgNode(name, detail) : classes.wordsOfIdeNode(name, detail);
        if (!ofNode.empty())
            known[node] = ofNode;
    }
    return known;
}

} // namespace sys
