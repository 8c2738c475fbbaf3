#pragma once

#include "plugin/host/context.h"

#include <boost/shared_ptr.hpp>

#include <string>

namespace [[gnu::visibility("default")]] NHALDEN20 {

class ICIMClass;

/// A CIM namespace of the host.
class ICIMNamespace {
public:
    /// The class called `name`, never null: a host that has no such class throws.
    virtual boost::shared_ptr<ICIMClass> GetClass(std::string name, TContext context) = 0;

    ICIMNamespace() = default;
    ICIMNamespace(const ICIMNamespace&) = delete;
    ICIMNamespace& operator=(const ICIMNamespace&) = delete;
    virtual ~ICIMNamespace();
};

} // namespace NHALDEN20
