#pragma once

#include "plugin/host/cimnamespace.h"

namespace [[gnu::visibility("default")]] NHALDEN20 {

class IPluginCallbacks;

/// The namespace in which plug-ins announce themselves.
class TPluginManagerNamespace : public ICIMNamespace {
public:
    /// Hands `plugin` over to the host, which ends its life with PrepareForUnload.
    virtual void RegisterPlugin(IPluginCallbacks* plugin) = 0;

    ~TPluginManagerNamespace() override;
};

} // namespace NHALDEN20
