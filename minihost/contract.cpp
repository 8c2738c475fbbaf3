// The destructors of the contract's interfaces. Where they are defined the compiler puts the type information: in the
// host, so that host and plug-in share one and dynamic_cast works between them.

#include "plugin/host/cimclass.h"
#include "plugin/host/ciminstance.h"
#include "plugin/host/cimnamespace.h"
#include "plugin/host/plugincallbacks.h"
#include "plugin/host/pluginmanager.h"
#include "plugin/host/rootobject.h"

namespace NHALDEN20 {

ICIMNamespace::~ICIMNamespace() = default;
ICIMClass::~ICIMClass() = default;
ICIMPropertyHandle::~ICIMPropertyHandle() = default;
ICIMInstance::~ICIMInstance() = default;
IPluginCallbacks::~IPluginCallbacks() = default;
IPluginBasicQueryCallbacks::~IPluginBasicQueryCallbacks() = default;
ILogger::~ILogger() = default;
TPluginManagerNamespace::~TPluginManagerNamespace() = default;

} // namespace NHALDEN20
