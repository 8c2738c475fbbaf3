#include "minihost/memorynamespace.h"

#include "minihost/cimcontent.h"
#include "minihost/minihost.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <variant>

using NHALDEN20::ICIMClass;
using NHALDEN20::ICIMInstance;
using NHALDEN20::TCIMReference;
using NHALDEN20::TCIMValue;
using NHALDEN20::TContext;

namespace minihost {

namespace {

class memoryClass : public ICIMClass {
public:
    memoryClass(memoryNamespace& ns, const classDeclaration& declaration)
        : namespace_(ns), declaration_(declaration), name_(declaration.name) {}

    const std::string& GetClassName(const TContext& /*context*/) override { return name_; }

    boost::shared_ptr<ICIMInstance> CreateInstance(const TContext& /*context*/) override {
        return boost::make_shared<memoryInstance>(namespace_, declaration_);
    }

    void EnumerateInstances(boost::function<bool(boost::shared_ptr<ICIMInstance>)> callback, bool /*flag*/,
                            const TContext& /*context*/) override {
        for (const auto& instance : namespace_.instances()) {
            if (isKindOf(instance->declaration(), name_) && !callback(instance))
                return;
        }
    }

private:
    memoryNamespace& namespace_;
    const classDeclaration& declaration_;
    std::string name_;
};

/// Refers to the value of a property; to none when the property was never set.
class memoryPropertyHandle : public NHALDEN20::ICIMPropertyHandle {
public:
    memoryPropertyHandle(boost::shared_ptr<const memoryInstance> instance, const TCIMValue* value)
        : instance_(std::move(instance)), value_(value) {}
    TCIMValue GetValue() override { return value_ == nullptr ? TCIMValue() : *value_; }

private:
    boost::shared_ptr<const memoryInstance> instance_; // whose value it is
    const TCIMValue* value_;
};

bool isString(const TCIMValue& value) { return std::holds_alternative<std::string>(value.Content().value); }

remarkSink& currentSink() {
    static remarkSink sink;
    return sink;
}

} // namespace

void setRemarkSink(remarkSink sink) { currentSink() = std::move(sink); }

bool declares(const classDeclaration& declaration, std::string_view name, const TCIMValue& value) {
    const propertyDeclaration* const property = findProperty(declaration, name);
    const auto& content = value.Content().value;
    if (property == nullptr || value.Content().isEmpty())
        return property != nullptr;
    if (content.index() != static_cast<std::size_t>(property->type))
        return false;
    if (const auto* const reference = std::get_if<TCIMReference>(&content)) {
        const classDeclaration* const named = findClass(reference->Content().className);
        return named != nullptr && isKindOf(*named, property->referenced);
    }
    const auto* const elements = std::get_if<std::vector<TCIMValue>>(&content);
    return elements == nullptr || std::all_of(elements->begin(), elements->end(), isString);
}

memoryInstance::memoryInstance(memoryNamespace& ns, const classDeclaration& declaration)
    : namespace_(ns), declaration_(declaration) {}

TCIMReference memoryInstance::GetReference(const TContext& /*context*/) {
    TContext keys;
    for (const propertyDeclaration* property : propertiesOf(declaration_)) {
        const TCIMValue* value = property->isKey ? findSuitable(*property) : nullptr;
        if (value != nullptr)
            keys.emplace(property->name, *value);
    }
    TCIMReference reference(boost::shared_ptr<NHALDEN20::ICIMNamespace>(), std::move(keys));
    reference.Content().className = declaration_.name;
    return reference;
}

boost::shared_ptr<ICIMClass> memoryInstance::GetInstanceClass(const TContext& context) {
    return namespace_.GetClass(std::string(declaration_.name), context);
}

boost::shared_ptr<NHALDEN20::ICIMPropertyHandle> memoryInstance::GetPropertyHandle(const std::string& name,
                                                                                   const TContext& /*context*/) {
    return boost::make_shared<memoryPropertyHandle>(shared_from_this(), find(name));
}

void memoryInstance::SetProperty(const std::string& name, const TCIMValue& value, const TContext& /*context*/) {
    if (currentSink() && !declares(declaration_, name, value))
        currentSink()(std::string(declaration_.name) + " does not declare " + name + " with this type");
    for (auto& [knownName, knownValue] : properties_) {
        if (knownName == name) {
            knownValue = value;
            return;
        }
    }
    properties_.emplace_back(name, value);
}

const TCIMValue* memoryInstance::find(std::string_view name) const {
    for (const auto& [knownName, value] : properties_) {
        if (knownName == name)
            return &value;
    }
    return nullptr;
}

const TCIMValue* memoryInstance::findSuitable(const propertyDeclaration& property) const {
    const TCIMValue* value = find(property.name);
    const bool isEmpty = value == nullptr || value->Content().isEmpty();
    return isEmpty || !declares(declaration_, property.name, *value) ? nullptr : value;
}

void memoryInstance::CommitToClass(const TContext& /*context*/) { namespace_.commit(shared_from_this()); }

memoryNamespace::memoryNamespace() {
    for (const auto& declaration : classTable())
        classes_[std::string(declaration.name)] = boost::make_shared<memoryClass>(*this, declaration);
}

boost::shared_ptr<ICIMClass> memoryNamespace::GetClass(std::string name, TContext /*context*/) {
    const auto found = classes_.find(name);
    if (found == classes_.end())
        throw std::invalid_argument("the namespace has no class " + name);
    return found->second;
}

boost::shared_ptr<NHALDEN20::ICIMNamespace> memoryNamespace::handle() {
    return {this, [](NHALDEN20::ICIMNamespace* /*ns*/) { // whoever made the namespace owns it
            }};
}

void memoryNamespace::commit(boost::shared_ptr<memoryInstance> instance) { instances_.push_back(instance); }

} // namespace minihost
