#pragma once

#include "minihost/classtable.h"
#include "plugin/host/cimclass.h"
#include "plugin/host/ciminstance.h"
#include "plugin/host/cimnamespace.h"

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace minihost {

class memoryNamespace;

/// Does the class declare a property `name` with the type of `value`? The empty value is of every type.
bool declares(const classDeclaration& declaration, std::string_view name, const NHALDEN20::TCIMValue& value);

/// An instance: its properties in the order in which they were first set.
class memoryInstance : public NHALDEN20::ICIMInstance, public boost::enable_shared_from_this<memoryInstance> {
public:
    /// A deque, because handles refer to its elements while properties are added.
    using propertyList = std::deque<std::pair<std::string, NHALDEN20::TCIMValue>>;

    memoryInstance(memoryNamespace& ns, const classDeclaration& declaration);

    /// Keys that were not set, or not with the type that the class declares, are left out.
    NHALDEN20::TCIMReference GetReference(const NHALDEN20::TContext& context) override;
    boost::shared_ptr<NHALDEN20::ICIMClass> GetInstanceClass(const NHALDEN20::TContext& context) override;
    boost::shared_ptr<NHALDEN20::ICIMPropertyHandle> GetPropertyHandle(const std::string& name,
                                                                       const NHALDEN20::TContext& context) override;
    void SetProperty(const std::string& name, const NHALDEN20::TCIMValue& value,
                     const NHALDEN20::TContext& context) override;

    const classDeclaration& declaration() const { return declaration_; }
    const propertyList& properties() const { return properties_; }
    /// The value of a property, or null when it was never set.
    const NHALDEN20::TCIMValue* find(std::string_view name) const;
    /// The value of a property that the class declares, or null when it was never set, is empty or has another type.
    const NHALDEN20::TCIMValue* findSuitable(const propertyDeclaration& property) const;

private:
    void CommitToClass(const NHALDEN20::TContext& context) override;

    memoryNamespace& namespace_;
    const classDeclaration& declaration_;
    propertyList properties_;
};

/// A CIM namespace in memory with the classes of the class table.
///
/// Its classes and instances refer to it: it has to outlive every handle of them.
class memoryNamespace : public NHALDEN20::ICIMNamespace {
public:
    memoryNamespace();

    /// Throws std::invalid_argument for a class that the class table does not have.
    boost::shared_ptr<NHALDEN20::ICIMClass> GetClass(std::string name, NHALDEN20::TContext context) override;

    /// A handle for a plug-in, which does not own the namespace.
    boost::shared_ptr<NHALDEN20::ICIMNamespace> handle();

    /// The committed instances of all classes, in commit order.
    const std::vector<boost::shared_ptr<memoryInstance>>& instances() const { return instances_; }

    /// Adds `instance` as the last one; called through ICIMInstance::AddToClass.
    void commit(boost::shared_ptr<memoryInstance> instance);

private:
    std::map<std::string, boost::shared_ptr<NHALDEN20::ICIMClass>> classes_;
    std::vector<boost::shared_ptr<memoryInstance>> instances_;
};

} // namespace minihost
