#pragma once

#include "plugin/host/plugincallbacks.h"

#include <memory>
#include <string>
#include <vector>

namespace minihost {

/// The text of the exception that is being handled; call it in a catch block.
std::string whatWasThrown();

/// A loaded plug-in library and the object that it registered, from loading and Init to DeInit,
/// PrepareForUnload and unloading.
class pluginLibrary {
public:
    /// Loads the library at `path`, which errors call by `name`, and calls Init. Throws std::runtime_error,
    /// with the name and the reason, when it does not load, or does not register exactly one plug-in that collects
    /// data, or when Init fails.
    pluginLibrary(const std::string& path, const std::string& name);
    ~pluginLibrary();
    pluginLibrary(const pluginLibrary&) = delete;
    pluginLibrary& operator=(const pluginLibrary&) = delete;

    /// Runs one query. Passes on what the plug-in throws.
    void getData(boost::shared_ptr<NHALDEN20::ICIMNamespace> ns,
                 std::vector<boost::shared_ptr<NHALDEN20::ICIMClass>>& requested);

private:
    struct unloading {
        void operator()(NHALDEN20::IPluginCallbacks* plugin) const { plugin->PrepareForUnload(); }
    };

    std::unique_ptr<void, int (*)(void*)> library_; // first and thus destroyed last: it holds the code of plugin_
    std::unique_ptr<NHALDEN20::IPluginCallbacks, unloading> plugin_;
    NHALDEN20::IPluginBasicQueryCallbacks* queries_; // the same object
};

} // namespace minihost
