#include "minihost/pluginlibrary.h"

#include "minihost/minihost.h"

#include <dlfcn.h>

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
    throw pluginError("the plug-in cannot be loaded: " + why);
}

} // namespace

std::string whatWasThrown() {
    try {
        throw;
    } catch (const std::exception& failure) {
        return failure.what();
    } catch (...) {
        return "an exception of an unknown type";
    }
}

pluginLibrary::handle::handle(const std::string& path, const std::string& name) : library_(load(path, name)) {}
pluginLibrary::handle::~handle() { ::dlclose(library_); }

pluginLibrary::object::object(const std::string& name) {
    const auto& registered = registeredPlugins();
    if (registered.size() == 1) {
        callbacks_ = registered.front();
        queries_ = dynamic_cast<NHALDEN20::IPluginBasicQueryCallbacks*>(callbacks_);
    }
    if (queries_ != nullptr)
        return;
    const std::size_t count = registered.size();
    for (NHALDEN20::IPluginCallbacks* unused : registered)
        unused->PrepareForUnload();
    throw pluginError(name + ": expected the library to register one plug-in that collects data, it registered " +
                      std::to_string(count) + (count == 1 ? " that does not" : ""));
}

pluginLibrary::object::~object() { callbacks_->PrepareForUnload(); }

pluginLibrary::pluginLibrary(const std::string& path, const std::string& name) : handle_(path, name), object_(name) {
    // Read here, while the library is loaded: the type of what was thrown may be the library's own.
    try {
        object_.callbacks().Init();
    } catch (...) {
        throw pluginError(name + ": Init failed: " + whatWasThrown());
    }
}

pluginLibrary::~pluginLibrary() { object_.callbacks().DeInit(); }

void pluginLibrary::getData(boost::shared_ptr<NHALDEN20::ICIMNamespace> ns,
                            std::vector<boost::shared_ptr<NHALDEN20::ICIMClass>>& requested) {
    object_.queries().GetData(ns, requested);
}

} // namespace minihost
