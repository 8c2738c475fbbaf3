#include "minihost/typecheck.h"

#include "minihost/cimcontent.h"

#include <algorithm>
#include <variant>

namespace minihost {

using NHALDEN20::TCIMReference;
using NHALDEN20::TCIMValue;

namespace {

bool areStrings(const std::vector<TCIMValue>& elements) {
    return std::all_of(elements.begin(), elements.end(), [](const TCIMValue& element) {
        return std::holds_alternative<std::string>(element.Content().value);
    });
}

struct typeOfContent {
    std::string operator()(std::monostate /*empty*/) const { return "nothing"; }
    std::string operator()(const std::string& /*text*/) const { return "string"; }
    std::string operator()(bool /*flag*/) const { return "boolean"; }
    std::string operator()(std::uint16_t /*number*/) const { return "uint16"; }
    std::string operator()(const TCIMReference& reference) const {
        return "reference to " + reference.Content().className;
    }
    std::string operator()(const std::vector<TCIMValue>& elements) const {
        return areStrings(elements) ? "string[]" : "array of other than strings";
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
    return "reference to " + std::string(property.referenced);
}

bool suits(const TCIMValue& value, const propertyDeclaration& property) {
    const auto& content = value.Content().value;
    if (std::holds_alternative<std::monostate>(content))
        return true;
    switch (property.type) {
    case cimType::string:
        return std::holds_alternative<std::string>(content);
    case cimType::uint16:
        return std::holds_alternative<std::uint16_t>(content);
    case cimType::boolean:
        return std::holds_alternative<bool>(content);
    case cimType::stringArray: {
        const auto* elements = std::get_if<std::vector<TCIMValue>>(&content);
        return elements != nullptr && areStrings(*elements);
    }
    case cimType::reference:
        break;
    }
    const auto* reference = std::get_if<TCIMReference>(&content);
    const classDeclaration* target = reference == nullptr ? nullptr : findClass(reference->Content().className);
    return target != nullptr && isKindOf(*target, property.referenced);
}

} // namespace

std::string mismatch(const classDeclaration& declaration, std::string_view name, const TCIMValue& value) {
    const propertyDeclaration* property = findProperty(declaration, name);
    if (property == nullptr)
        return std::string(declaration.name) + " declares no property " + std::string(name);
    if (suits(value, *property))
        return "";
    return std::string(declaration.name) + " declares " + std::string(name) + " as " + typeOf(*property) +
           ", it is set as " + typeOf(value);
}

} // namespace minihost
