#include "minihost/pluginlibrary.h"

#include "minihost/minihost.h"

#include <dlfcn.h>

#include <new>
#include <stdexcept>

namespace minihost {

namespace {

void* load(const std::string& path, const std::string& name) {
    registeredPlugins().clear();
    // No handler here: dlopen is declared to throw nothing, so an exception of the plug-in's initialisers ends the
    // process.
    if (void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
        return library;
    std::string why = ::dlerror();
    if (why.rfind(path, 0) == 0)
        why.replace(0, path.size(), name);
    throw std::runtime_error("the plug-in cannot be loaded: " + why);
}

/// The plug-in that the library has registered; it collects data.
NHALDEN20::IPluginCallbacks* onlyPlugin(const std::string& name) {
    const auto& registered = registeredPlugins();
    const std::size_t count = registered.size();
    if (count == 1 && dynamic_cast<NHALDEN20::IPluginBasicQueryCallbacks*>(registered.front()) != nullptr)
        return registered.front();
    for (NHALDEN20::IPluginCallbacks* unused : registered)
        unused->PrepareForUnload();
    throw std::runtime_error(name +
                             ": expected the library to register one plug-in that collects data, it registered " +
                             std::to_string(count) + (count == 1 ? " that does not" : ""));
}

} // namespace

std::string whatWasThrown() {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return "out of memory";
    } catch (const std::exception& failure) {
        return failure.what();
    } catch (...) {
        return "an exception of an unknown type";
    }
}

pluginLibrary::pluginLibrary(const std::string& path, const std::string& name)
    : library_(load(path, name), ::dlclose),
      plugin_(onlyPlugin(name)),
      queries_(dynamic_cast<NHALDEN20::IPluginBasicQueryCallbacks*>(plugin_.get())) {
    // Read here, while the library is loaded: the type of what was thrown may be the library's own.
    try {
        plugin_->Init();
    } catch (...) {
        throw std::runtime_error(name + ": Init failed: " + whatWasThrown());
    }
}

pluginLibrary::~pluginLibrary() { plugin_->DeInit(); }

void pluginLibrary::getData(boost::shared_ptr<NHALDEN20::ICIMNamespace> ns,
                            std::vector<boost::shared_ptr<NHALDEN20::ICIMClass>>& requested) {
    queries_->GetData(ns, requested);
}

} // namespace minihost
