// A plug-in that does what ODD_PLUGIN says: "load", "init" and "query" throw at that step ("query" after the first
// instance), "number" and "memory" throw something else in Init, "terminate" sends SIGTERM to the process in a query,
// "drift" sets properties that the class does not declare, and "nothing" registers no plug-in, "twice" two.

#include "plugin/host/cimclass.h"
#include "plugin/host/ciminstance.h"
#include "plugin/host/plugincallbacks.h"
#include "plugin/host/pluginmanager.h"
#include "plugin/host/rootobject.h"

#include <boost/pointer_cast.hpp>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

using namespace NHALDEN20;

namespace {

/// A type that only this library knows.
struct oddFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What ODD_PLUGIN says; "" when it is not set.
std::string oddity() {
    const char* value = std::getenv("ODD_PLUGIN");
    return value == nullptr ? "" : value;
}

void failAt(const std::string& step) {
    if (oddity() == step)
        throw oddFailure("odd \x1b[2J " + step);
}

class oddPlugin : public IPluginCallbacks, public IPluginBasicQueryCallbacks {
public:
    int GetType() override { return 0; }
    std::string GetName() override { return "odd"; }
    std::string GetVersion() override { return "1.0"; }
    std::string GetInterfaceVersion() override { return "1.0"; }
    void PrepareForUnload() override { delete this; }
    void Init() override {
        failAt("init");
        if (oddity() == "number")
            throw 7;
        if (oddity() == "memory")
            throw std::bad_alloc();
    }
    void DeInit() override {}
    void GetData(boost::shared_ptr<ICIMNamespace> /*ns*/,
                 std::vector<boost::shared_ptr<ICIMClass>>& requested) override {
        TRootObject::GetCoreLogger()->Log(1, "one \\ \n\t\x7f\xff line");
        const auto instance = requested.front()->CreateInstance({});
        std::string everyByte;
        for (int byte = 0; byte < 256; ++byte)
            everyByte += static_cast<char>(byte);
        for (const char* name : {"CreationClassName", "DeviceID", "SystemCreationClassName", "SystemName", "ProductID"})
            instance->SetProperty(name, everyByte, {});
        if (oddity() == "drift") {
            instance->SetProperty("Odd\xff\x1b[2J", true, {});
            instance->SetProperty("Lun", "7", {});
        }
        instance->AddToClass({});
        failAt("query");
        if (oddity() == "terminate")
            std::raise(SIGTERM);
    }
};

[[gnu::constructor]] void registerPlugin() {
    failAt("load");
    for (int count = oddity() == "nothing" ? 0 : oddity() == "twice" ? 2 : 1; count > 0; --count)
        boost::dynamic_pointer_cast<TPluginManagerNamespace>(TRootObject::GetPluginManager())
            ->RegisterPlugin(new oddPlugin);
}

} // namespace
