#include "system/udev.h"

#include <boost/algorithm/string/trim_all.hpp>
#include <dlfcn.h>
#include <libudev.h>
#include <unistd.h>

#include <memory>
#include <type_traits>

namespace sys {

namespace {

constexpr const char* database = "/run/udev/data"; // where libudev looks

/// In the order in which lsblk of util-linux takes them. Rules of sg3-utils set the first, others of udev the rest.
constexpr const char* serialProperties[] = {"SCSI_IDENT_SERIAL", "ID_SCSI_SERIAL", "ID_SERIAL_SHORT", "ID_SERIAL"};

/// libudev, which is loaded where there is something to ask it: loading it at every start would take longer than most
/// of a run.
class udevLibrary {
public:
    udevLibrary() {
        find("udev_new", newContext_);
        find("udev_unref", freeContext_);
        find("udev_device_new_from_devnum", newDevice_);
        find("udev_device_unref", freeDevice_);
        find("udev_device_get_property_value", valueOf_);
    }

    std::string propertyOf(char kind, dev_t number) const {
        if (!handle_)
            return "";
        udev* const context = newContext_();
        udev_device* const device = newDevice_(context, kind, number);
        std::string found;
        for (const char* const name : serialProperties) {
            const char* const value = device != nullptr && found.empty() ? valueOf_(device, name) : nullptr;
            if (value != nullptr)
                found = value;
        }
        freeDevice_(device); // both take null
        freeContext_(context);
        return found;
    }

private:
    template <typename Function>
    void find(const char* name, Function*& target) const {
        target = handle_ ? reinterpret_cast<Function*>(::dlsym(handle_.get(), name)) : nullptr;
    }

    std::unique_ptr<void, int (*)(void*)> handle_{::dlopen("libudev.so.1", RTLD_NOW), ::dlclose};
    std::add_pointer_t<decltype(udev_new)> newContext_ = nullptr;
    std::add_pointer_t<decltype(udev_unref)> freeContext_ = nullptr;
    std::add_pointer_t<decltype(udev_device_new_from_devnum)> newDevice_ = nullptr;
    std::add_pointer_t<decltype(udev_device_unref)> freeDevice_ = nullptr;
    std::add_pointer_t<decltype(udev_device_get_property_value)> valueOf_ = nullptr;
};

} // namespace

bool hasUdev() { return ::access(database, F_OK) == 0; }

std::string udevSerialNumber(char kind, dev_t number) {
    static const udevLibrary library;
    return boost::trim_all_copy_if(library.propertyOf(kind, number), [](char c) { return c == ' '; });
}

} // namespace sys
