// What the contract leaves to the host: its entry points, its services and the destructors of its interfaces.

#include "plugin/host/rootobject.h"

#include "minihost/minihost.h"
#include "plugin/host/cimclass.h"
#include "plugin/host/ciminstance.h"
#include "plugin/host/cimnamespace.h"
#include "plugin/host/osspecific.h"
#include "plugin/host/plugincallbacks.h"
#include "plugin/host/pluginmanager.h"
#include "system/thismachine.h"

#include <boost/make_shared.hpp>

#include <chrono>
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

/// The machine that the services tell of: that in use, or this one.
sys::machine& machine() {
    static sys::thisMachine otherwise({});
    if (sys::machine* const current = sys::machineInUse::current())
        return *current;
    return otherwise;
}

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

std::string TOSSpecific::CaptureFile(std::string path) { return minihost::machine().captureFile(path).text; }

std::string TOSSpecific::SpawnProcess(std::string command, std::vector<std::string> arguments, int timeout) {
    arguments.insert(arguments.begin(), command);
    return minihost::machine().spawn(arguments, std::chrono::seconds(timeout)).text;
}

std::string TOSSpecific::GetMachineName() { return minihost::machine().hostName(); }

bool TOSSpecific::getOrvexVirtualDevices(int kind, std::vector<std::string>& list, bool /*flag*/) {
    const auto names = minihost::machine().virtualDevices(static_cast<sys::virtualDeviceKind>(kind));
    list.insert(list.end(), names.begin(), names.end());
    return true;
}

// Where the destructors are defined the compiler puts the type information of the interfaces: in the host, so that host
// and plug-in share one and dynamic_cast works between them.
ICIMNamespace::~ICIMNamespace() = default;
ICIMClass::~ICIMClass() = default;
ICIMPropertyHandle::~ICIMPropertyHandle() = default;
ICIMInstance::~ICIMInstance() = default;
IPluginCallbacks::~IPluginCallbacks() = default;
IPluginBasicQueryCallbacks::~IPluginBasicQueryCallbacks() = default;
ILogger::~ILogger() = default;
TPluginManagerNamespace::~TPluginManagerNamespace() = default;

} // namespace NHALDEN20
