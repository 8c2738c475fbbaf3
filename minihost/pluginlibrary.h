#pragma once

#include "plugin/host/plugincallbacks.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace minihost {

/// A plug-in that cannot be used; the text names the file and the reason.
class pluginError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The text of the exception that is being handled; call it in a catch block.
std::string whatWasThrown();

/// A loaded plug-in library and the object that it registered, from loading and Init to DeInit,
/// PrepareForUnload and unloading.
class pluginLibrary {
public:
    /// Loads the library at `path`, which errors call by `name`, and calls Init. Throws pluginError when it does not
    /// load, or does not register exactly one plug-in that collects data, or when Init fails.
    pluginLibrary(const std::string& path, const std::string& name);
    ~pluginLibrary();
    pluginLibrary(const pluginLibrary&) = delete;
    pluginLibrary& operator=(const pluginLibrary&) = delete;

    /// Runs one query. Passes on what the plug-in throws.
    void getData(boost::shared_ptr<NHALDEN20::ICIMNamespace> ns,
                 std::vector<boost::shared_ptr<NHALDEN20::ICIMClass>>& requested);

private:
    class handle {
    public:
        handle(const std::string& path, const std::string& name);
        ~handle();
        handle(const handle&) = delete;
        handle& operator=(const handle&) = delete;

    private:
        void* library_;
    };
    class object {
    public:
        explicit object(const std::string& name);
        ~object();
        object(const object&) = delete;
        object& operator=(const object&) = delete;

        NHALDEN20::IPluginCallbacks& callbacks() { return *callbacks_; }
        NHALDEN20::IPluginBasicQueryCallbacks& queries() { return *queries_; }

    private:
        NHALDEN20::IPluginCallbacks* callbacks_ = nullptr;
        NHALDEN20::IPluginBasicQueryCallbacks* queries_ = nullptr;
    };

    handle handle_; // before object_, whose code it holds: members are destroyed from the last to the first
    object object_;
};

} // namespace minihost
