#pragma once

#include "plugin/host/cimreference.h"
#include "plugin/host/context.h"

#include <boost/shared_ptr.hpp>

#include <string>

namespace [[gnu::visibility("default")]] NHALDEN20 {

class ICIMClass;

/// One property of an instance, for reading.
class ICIMPropertyHandle {
public:
    /// The property's value; an empty value when the property was never set.
    virtual TCIMValue GetValue() = 0;

    ICIMPropertyHandle() = default;
    ICIMPropertyHandle(const ICIMPropertyHandle&) = delete;
    ICIMPropertyHandle& operator=(const ICIMPropertyHandle&) = delete;
    virtual ~ICIMPropertyHandle();
};

/// One instance of a class: private to its maker until AddToClass commits it.
class ICIMInstance {
public:
    /// The instance's object path.
    virtual TCIMReference GetReference(const TContext& context) = 0;

    virtual boost::shared_ptr<ICIMClass> GetInstanceClass(const TContext& context) = 0;

    /// A handle for the property `name`; may be null when it was never set.
    virtual boost::shared_ptr<ICIMPropertyHandle> GetPropertyHandle(const std::string& name,
                                                                    const TContext& context) = 0;

    virtual void SetProperty(const std::string& name, const TCIMValue& value, const TContext& context) = 0;

    /// Commits the filled instance into its class in the namespace.
    void AddToClass(TContext context) { CommitToClass(context); }

    ICIMInstance() = default;
    ICIMInstance(const ICIMInstance&) = delete;
    ICIMInstance& operator=(const ICIMInstance&) = delete;
    virtual ~ICIMInstance();

private:
    virtual void CommitToClass(const TContext& context) = 0;
};

} // namespace NHALDEN20
