#include "fuzz/fuzzedcollector.h"

#include "fuzz/input.h"
#include "minihost/minihost.h"
#include "plugin/host/osspecific.h"
#include "simulator/recorder.h"

using NHALDEN20::TOSSpecific;

namespace {

simulator::kernel* installed = nullptr;

} // namespace

simulator::kernel* simulator::activeKernel() { return installed; }
simulator::recorder* simulator::activeRecorder() { return nullptr; }

// The host's services, answered by the machine: no process is started and no file is read.

std::string TOSSpecific::CaptureFile(std::string /*path*/) { return installed->simulated().usbListing; }

std::string TOSSpecific::SpawnProcess(std::string /*command*/, std::vector<std::string> /*arguments*/,
                                      int /*timeout*/) {
    return installed->simulated().opticalTable.value_or("");
}

std::string TOSSpecific::GetMachineName() { return installed->simulated().name; }

bool TOSSpecific::getOrvexVirtualDevices(int kind, std::vector<std::string>& list, bool /*flag*/) {
    list = installed->simulated().virtualDevices[kind];
    return true;
}

namespace fuzz {

fuzzedCollector::fuzzedCollector(simulator::machine machine) : kernel_(std::move(machine)) {
    installed = &kernel_;
    auto& registered = minihost::registeredPlugins();
    for (auto* const loaded : registered) // at the first run, the one that came with this program
        loaded->PrepareForUnload();
    plugin_ = new TScsidevPluginCallbacks;
    registered.clear();
    plugin_->Init();
}

fuzzedCollector::~fuzzedCollector() {
    require(kernel_.openDescriptors() == 0, "every node is closed again");
    kernel_.simulated().nodes.clear();
    query({"KORVA_SysBusDeviceFirmwareElement"});
    require(query({"KORVA_SysBusDeviceFirmwareElement"}) == 0, "a query consumes the records of those before it");
    plugin_->PrepareForUnload();
    installed = nullptr;
}

std::size_t fuzzedCollector::query(const std::vector<std::string>& classNames) {
    TScsidevPluginCallbacks::classList requested;
    for (const auto& name : classNames)
        requested.push_back(namespace_.GetClass(name, {}));
    const std::size_t before = namespace_.instances().size();
    plugin_->GetData({&namespace_,
                      [](NHALDEN20::ICIMNamespace* /*ns*/) {
                      }},
                     requested);
    return namespace_.instances().size() - before;
}

} // namespace fuzz
