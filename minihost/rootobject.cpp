#include "plugin/host/rootobject.h"

#include "minihost/minihost.h"
#include "plugin/host/pluginmanager.h"

#include <boost/make_shared.hpp>

#include <stdexcept>
#include <utility>

using NHALDEN20::ICIMNamespace;
using NHALDEN20::IPluginCallbacks;

namespace minihost {

namespace {

class sinkLogger : public NHALDEN20::ILogger {
public:
    void Log(int level, const std::string& text) override {
        if (sink)
            sink(level, text);
    }

    logSink sink;
};

// Made at the first use: a plug-in that is linked into the program registers before the objects of this file exist.
sinkLogger& logger() {
    static sinkLogger logger;
    return logger;
}

class pluginManager : public NHALDEN20::TPluginManagerNamespace {
public:
    boost::shared_ptr<NHALDEN20::ICIMClass> GetClass(std::string name, NHALDEN20::TContext /*context*/) override {
        throw std::invalid_argument("the plug-in manager has no class " + name);
    }
};

} // namespace

void setLogSink(logSink sink) { logger().sink = std::move(sink); }

std::vector<IPluginCallbacks*>& registeredPlugins() {
    static std::vector<IPluginCallbacks*> plugins;
    return plugins;
}

} // namespace minihost

namespace NHALDEN20 {

void TPluginManagerNamespace::RegisterPlugin(IPluginCallbacks* plugin) {
    minihost::registeredPlugins().push_back(plugin);
}

ILogger* TRootObject::GetCoreLogger() { return &minihost::logger(); }

boost::shared_ptr<ICIMNamespace> TRootObject::GetPluginManager() {
    static const auto manager = boost::make_shared<minihost::pluginManager>();
    return manager;
}

} // namespace NHALDEN20
