#include "system/udev.h"

#include <boost/algorithm/string/trim_all.hpp>
#include <dlfcn.h>
#include <libudev.h>
#include <unistd.h>

#include <memory>

namespace sys {

namespace {

constexpr const char* database = "/run/udev/data"; // where libudev looks

/// In the order in which lsblk of util-linux takes them. Rules of sg3-utils set the first, others of udev the rest.
constexpr const char* serialProperties[] = {"SCSI_IDENT_SERIAL", "ID_SCSI_SERIAL", "ID_SERIAL_SHORT", "ID_SERIAL"};

/// libudev, which is loaded where there is something to ask it: loading it at every start would take longer than most
/// of a run.
class udevLibrary {
public:
    std::string propertyOf(char kind, dev_t number) const {
        if (!handle_)
            return "";
        const std::unique_ptr<udev, decltype(unref_)> context(new_(), unref_);
        const std::unique_ptr<udev_device, decltype(unrefDevice_)> device(deviceOf_(context.get(), kind, number),
                                                                          unrefDevice_);
        for (const char* const name : serialProperties) {
            const char* const value = device ? value_(device.get(), name) : nullptr;
            if (value != nullptr)
                return value;
        }
        return "";
    }

private:
    template <typename Function>
    Function* function(const char* name) const {
        return handle_ ? reinterpret_cast<Function*>(::dlsym(handle_.get(), name)) : nullptr;
    }

    std::unique_ptr<void, int (*)(void*)> handle_{::dlopen("libudev.so.1", RTLD_NOW), ::dlclose};
    decltype(&::udev_new) new_ = function<decltype(::udev_new)>("udev_new");
    decltype(&::udev_unref) unref_ = function<decltype(::udev_unref)>("udev_unref");
    decltype(&::udev_device_new_from_devnum) deviceOf_ =
        function<decltype(::udev_device_new_from_devnum)>("udev_device_new_from_devnum");
    decltype(&::udev_device_unref) unrefDevice_ = function<decltype(::udev_device_unref)>("udev_device_unref");
    decltype(&::udev_device_get_property_value) value_ =
        function<decltype(::udev_device_get_property_value)>("udev_device_get_property_value");
};

} // namespace

bool hasUdev() { return ::access(database, F_OK) == 0; }

std::string udevSerialNumber(char kind, dev_t number) {
    static const udevLibrary library;
    return boost::trim_all_copy_if(library.propertyOf(kind, number), [](char c) { return c == ' '; });
}

} // namespace sys
