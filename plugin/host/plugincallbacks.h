#pragma once

#include <boost/shared_ptr.hpp>

#include <string>
#include <vector>

// The headers of this directory are a binary interface between host and plug-in: the order of declarations, above all
// of virtual functions, stays as it is.

namespace [[gnu::visibility("default")]] NHALDEN20 {

class ICIMClass;
class ICIMNamespace;

/// What every plug-in implements: who it is, and the steps of its life.
class IPluginCallbacks {
public:
    virtual ~IPluginCallbacks();
    virtual int GetType() = 0;
    virtual std::string GetName() = 0;
    virtual std::string GetVersion() = 0;
    virtual std::string GetInterfaceVersion() = 0;
    /// Destroys the object: the last call on it.
    virtual void PrepareForUnload() = 0;
    /// Called once after loading, before the first query.
    virtual void Init() = 0;
    virtual void DeInit() = 0;

    IPluginCallbacks() = default;
    IPluginCallbacks(const IPluginCallbacks&) = delete;
    IPluginCallbacks& operator=(const IPluginCallbacks&) = delete;
};

/// What a plug-in that collects data implements besides.
class IPluginBasicQueryCallbacks {
public:
    virtual ~IPluginBasicQueryCallbacks();
    /// Fills `ns` with instances of the `requested` classes.
    virtual void GetData(boost::shared_ptr<ICIMNamespace> ns, std::vector<boost::shared_ptr<ICIMClass>>& requested) = 0;

    IPluginBasicQueryCallbacks() = default;
    IPluginBasicQueryCallbacks(const IPluginBasicQueryCallbacks&) = delete;
    IPluginBasicQueryCallbacks& operator=(const IPluginBasicQueryCallbacks&) = delete;
};

} // namespace NHALDEN20
