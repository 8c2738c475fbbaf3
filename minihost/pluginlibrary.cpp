#include "minihost/pluginlibrary.h"

#include "minihost/minihost.h"

#include <dlfcn.h>

namespace minihost {

namespace {

void* load(const std::string& path) {
    registeredPlugins().clear();
    // What a plug-in throws now cannot be caught: there is no way back through the dynamic loader.
    if (void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
        return library;
    throw pluginError(std::string("the plug-in cannot be loaded: ") + ::dlerror());
}

} // namespace

pluginLibrary::handle::handle(const std::string& path) : library_(load(path)) {}
pluginLibrary::handle::~handle() { ::dlclose(library_); }

pluginLibrary::object::object(const std::string& path) {
    if (registeredPlugins().size() != 1)
        throw pluginError(path + ": expected the library to register one plug-in, it registered " +
                          std::to_string(registeredPlugins().size()));
    callbacks_ = registeredPlugins().front(); // NOLINT(clang-analyzer-core.CallAndMessage)
    queries_ = dynamic_cast<NHALDEN20::IPluginBasicQueryCallbacks*>(callbacks_);
    if (queries_ == nullptr)
        throw pluginError(path + ": the plug-in " + callbacks_->GetName() + " does not collect data");
}

pluginLibrary::object::~object() { callbacks_->PrepareForUnload(); }

pluginLibrary::pluginLibrary(const std::string& path) : handle_(path), object_(path) {
    // What the plug-in throws may be of a type of its own, which is gone when it has been unloaded.
    try {
        object_.callbacks().Init();
    } catch (const std::exception& failure) {
        throw pluginError(path + ": Init failed: " + failure.what());
    }
}

pluginLibrary::~pluginLibrary() { object_.callbacks().DeInit(); }

void pluginLibrary::getData(boost::shared_ptr<NHALDEN20::ICIMNamespace> ns,
                            std::vector<boost::shared_ptr<NHALDEN20::ICIMClass>>& requested) {
    object_.queries().GetData(ns, requested);
}

} // namespace minihost
