#include "minihost/typecheck.h"

#include "minihost/cimcontent.h"

#include <algorithm>
#include <variant>

namespace minihost {

using NHALDEN20::TCIMReference;
using NHALDEN20::TCIMValue;

namespace {

struct typeOfContent {
    std::string operator()(std::monostate /*empty*/) const { return "nothing"; }
    std::string operator()(const std::string& /*text*/) const { return "string"; }
    std::string operator()(bool /*flag*/) const { return "boolean"; }
    std::string operator()(std::uint16_t /*number*/) const { return "uint16"; }
    std::string operator()(const TCIMReference& reference) const {
        return "reference to " + reference.Content().className;
    }
    std::string operator()(const std::vector<TCIMValue>& elements) const {
        const bool onlyStrings = std::all_of(elements.begin(), elements.end(), [](const TCIMValue& element) {
            return std::holds_alternative<std::string>(element.Content().value);
        });
        return onlyStrings ? "string[]" : "array of other than strings";
    }
};

std::string typeOf(const TCIMValue& value) { return std::visit(typeOfContent(), value.Content().value); }

std::string typeOf(const propertyDeclaration& property) {
    switch (property.type) {
    case cimType::string:
        return "string";
    case cimType::uint16:
        return "uint16";
    case cimType::boolean:
        return "boolean";
    case cimType::stringArray:
        return "string[]";
    case cimType::reference:
        break;
    }
    return std::string("reference to ") + property.referenced;
}

bool suits(const TCIMValue& value, const propertyDeclaration& property) {
    const auto& content = value.Content().value;
    const auto* reference = std::get_if<TCIMReference>(&content);
    const classDeclaration* target = reference == nullptr ? nullptr : findClass(reference->Content().className);
    if (target != nullptr && property.type == cimType::reference)
        return isKindOf(*target, property.referenced);
    return std::holds_alternative<std::monostate>(content) || typeOf(value) == typeOf(property);
}

} // namespace

std::string mismatch(const classDeclaration& declaration, const std::string& name, const TCIMValue& value) {
    const auto properties = propertiesOf(declaration);
    const auto property =
        std::find_if(properties.begin(), properties.end(),
                     [&name](const propertyDeclaration* candidate) { return candidate->name == name; });
    if (property == properties.end())
        return std::string(declaration.name) + " declares no property " + name;
    if (suits(value, **property))
        return "";
    return std::string(declaration.name) + " declares " + name + " as " + typeOf(**property) + ", it is set as " +
           typeOf(value);
}

} // namespace minihost
