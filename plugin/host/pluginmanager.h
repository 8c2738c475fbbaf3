#pragma once

#include "plugin/host/cimnamespace.h"

namespace [[gnu::visibility("default")]] NHALDEN20 {

class IPluginCallbacks;

/// The namespace in which plug-ins announce themselves.
class TPluginManagerNamespace : public ICIMNamespace {
public:
    /// Hands `plugin` over to the host, which defines this function and ends the plug-in's life with PrepareForUnload.
    void RegisterPlugin(IPluginCallbacks* plugin);

    ~TPluginManagerNamespace() override;
};

} // namespace NHALDEN20
