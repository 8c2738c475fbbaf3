#pragma once

#include "plugin/host/context.h"

#include <boost/shared_ptr.hpp>

#include <memory>

namespace [[gnu::visibility("default")]] NHALDEN20 {

class ICIMNamespace;

/// An object path: the namespace of an instance and its key properties. Value semantics.
class TCIMReference {
public:
    TCIMReference(boost::shared_ptr<ICIMNamespace> ns, TContext keys);
    TCIMReference(const TCIMReference& other);
    TCIMReference& operator=(const TCIMReference& other);
    ~TCIMReference();

    struct TContent; ///< defined by the host alone
    const TContent& Content() const { return *content_; }
    TContent& Content() { return *content_; }

private:
    std::unique_ptr<TContent> content_;
};

} // namespace NHALDEN20
