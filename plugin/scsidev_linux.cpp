#include "plugin/scsidev_linux.h"

#include "plugin/host/pluginmanager.h"
#include "plugin/host/rootobject.h"

#include <boost/pointer_cast.hpp>

namespace NHALDEN20 {

const std::string kPluginNSPName("plugin");
const std::string kCMPINSPName("cmpi");
const std::string kContextName("nspID");

} // namespace NHALDEN20

/// Creates the plug-in object, which the host owns once it is registered.
/// Runs before the constants above are made: initialisers of a lower number run first, and constants have 65535.
[[gnu::constructor(65534)]] void scsidevInit() { new TScsidevPluginCallbacks; }

TScsidevPluginCallbacks::TScsidevPluginCallbacks() {
    const boost::shared_ptr<NHALDEN20::ICIMNamespace> manager = NHALDEN20::TRootObject::GetPluginManager();
    boost::dynamic_pointer_cast<NHALDEN20::TPluginManagerNamespace>(manager)->RegisterPlugin(this);
}

TScsidevPluginCallbacks::~TScsidevPluginCallbacks() = default;

int TScsidevPluginCallbacks::GetType() { return 0; }
std::string TScsidevPluginCallbacks::GetName() { return "SCSI/IDE Device Collector"; }
std::string TScsidevPluginCallbacks::GetVersion() { return "1.0"; }
std::string TScsidevPluginCallbacks::GetInterfaceVersion() { return "1.0"; }

void TScsidevPluginCallbacks::PrepareForUnload() { delete this; }
void TScsidevPluginCallbacks::DeInit() {}

void TScsidevPluginCallbacks::IterateDrives(std::string /*nodeBase*/, classList& /*requested*/,
                                            boost::shared_ptr<NHALDEN20::ICIMNamespace> /*ns*/) {}
void TScsidevPluginCallbacks::GetSCSISerialNumber(int /*fd*/, busDevice* /*record*/) {}
void TScsidevPluginCallbacks::GetIDESerialNumber(int /*fd*/, busDevice* /*record*/) {}
void TScsidevPluginCallbacks::GetOpticalCapabilities(classList& /*requested*/, int /*fd*/, busDevice* /*record*/,
                                                     cdvdDevice* /*drive*/) {}
void TScsidevPluginCallbacks::processDrive(int /*fd*/, busDevice* /*record*/) {}
void TScsidevPluginCallbacks::processDevice(unsigned char* /*inquiry*/, busDevice* /*record*/) {}
