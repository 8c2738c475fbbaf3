#pragma once

#include "plugin/host/context.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <string>

namespace [[gnu::visibility("default")]] NHALDEN20 {

class ICIMInstance;

/// A class of a namespace.
class ICIMClass {
public:
    /// The class's name; the text lives as long as the class.
    virtual const std::string& GetClassName(const TContext& context) = 0;

    /// A new instance without properties, not yet part of the namespace.
    virtual boost::shared_ptr<ICIMInstance> CreateInstance(const TContext& context) = 0;

    /// Calls `callback` for each committed instance of the class, in commit order, until it returns
    /// false.
    virtual void EnumerateInstances(boost::function<bool(boost::shared_ptr<ICIMInstance>)> callback, bool flag,
                                    const TContext& context) = 0;

    ICIMClass() = default;
    ICIMClass(const ICIMClass&) = delete;
    ICIMClass& operator=(const ICIMClass&) = delete;
    virtual ~ICIMClass();
};

} // namespace NHALDEN20
