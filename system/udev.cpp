#include "system/udev.h"

#include <boost/algorithm/string/trim_all.hpp>
#include <dlfcn.h>
#include <libudev.h>
#include <unistd.h>

namespace sys {

namespace {

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

} // namespace

bool hasUdev() { return ::access(database, F_OK) == 0; }

std::string udevSerialNumber(const std::string& device) {
    return boost::trim_all_copy_if(serialProperty(device), [](char c) { return c == ' '; });
}

} // namespace sys
