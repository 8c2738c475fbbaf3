#include "system/udev.h"

#include <boost/algorithm/string/trim_all.hpp>
#include <libudev.h>
#include <unistd.h>

#include <memory>

namespace sys {

namespace {

constexpr const char* database = "/run/udev/data"; // where libudev looks

/// In the order in which lsblk of util-linux takes them. Rules of sg3-utils set the first, others of udev the rest.
constexpr const char* serialProperties[] = {"SCSI_IDENT_SERIAL", "ID_SCSI_SERIAL", "ID_SERIAL_SHORT", "ID_SERIAL"};

} // namespace

bool hasUdev() { return ::access(database, F_OK) == 0; }

std::string udevSerialNumber(char kind, dev_t number) {
    const std::unique_ptr<udev, udev* (*)(udev*)> context(::udev_new(), ::udev_unref);
    const std::unique_ptr<udev_device, udev_device* (*)(udev_device*)> device(
        ::udev_device_new_from_devnum(context.get(), kind, number), ::udev_device_unref);
    for (const char* const name : serialProperties) {
        const char* const value = device ? ::udev_device_get_property_value(device.get(), name) : nullptr;
        if (value != nullptr)
            return boost::trim_all_copy_if(std::string(value), [](char c) { return c == ' '; });
    }
    return "";
}

} // namespace sys
