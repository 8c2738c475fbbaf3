#include "minihost/typecheck.h"

#include "minihost/cimcontent.h"

#include <algorithm>
#include <variant>

namespace minihost {

using NHALDEN20::TCIMReference;
using NHALDEN20::TCIMValue;

namespace {

constexpr std::string_view typeNames[] = {"nothing", "string",    "boolean",
                                          "uint16",  "reference", "string[]"}; // by cimType

std::string_view nameOf(cimType type) { return typeNames[static_cast<std::size_t>(type)]; }

std::string_view typeOf(const TCIMValue& value) {
    const auto& content = value.Content().value;
    const auto* elements = std::get_if<std::vector<TCIMValue>>(&content);
    const bool areStrings =
        elements == nullptr || std::all_of(elements->begin(), elements->end(), [](const TCIMValue& element) {
            return std::holds_alternative<std::string>(element.Content().value);
        });
    return areStrings ? typeNames[content.index()] : "array of other than strings";
}

/// The class that a reference names; "" for another value.
std::string_view referencedClass(const TCIMValue& value) {
    const auto* reference = std::get_if<TCIMReference>(&value.Content().value);
    return reference == nullptr ? std::string_view() : reference->Content().className;
}

std::string typeText(std::string_view type, std::string_view referenced) {
    return std::string(type) + (type == "reference" ? " to " : "") + std::string(referenced);
}

} // namespace

bool suits(const TCIMValue& value, const propertyDeclaration& property) {
    if (value.Content().isEmpty())
        return true;
    if (property.type != cimType::reference)
        return typeOf(value) == nameOf(property.type);
    const classDeclaration* target = findClass(referencedClass(value));
    return target != nullptr && isKindOf(*target, property.referenced);
}

std::string mismatch(const classDeclaration& declaration, std::string_view name, const TCIMValue& value) {
    const propertyDeclaration* property = findProperty(declaration, name);
    if (property == nullptr)
        return std::string(declaration.name) + " declares no property " + std::string(name);
    if (suits(value, *property))
        return "";
    return std::string(declaration.name) + " declares " + std::string(name) + " as " +
           typeText(nameOf(property->type), property->referenced) + ", it is set as " +
           typeText(typeOf(value), referencedClass(value));
}

} // namespace minihost
