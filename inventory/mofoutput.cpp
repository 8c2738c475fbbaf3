#include "inventory/mofoutput.h"

#include "inventory/escape.h"
#include "minihost/cimcontent.h"
#include "minihost/typecheck.h"

#include <cstddef>
#include <map>

namespace inventory {

using minihost::cimType;
using minihost::classDeclaration;
using minihost::classKind;
using minihost::memoryInstance;
using minihost::propertyDeclaration;
using NHALDEN20::TCIMValue;

namespace {

// As the CIM schema declares them.
constexpr const char* qualifierDeclarations =
    "// The classes and their properties, as scsidev-inventory --schema prints them.\n"
    "\n"
    "Qualifier Abstract : boolean = false, Scope(class, association, indication), Flavor(EnableOverride, Restricted);\n"
    "Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride);\n"
    "Qualifier Description : string = null, Scope(any), Flavor(Translatable);\n"
    "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);\n";

/// The qualifier with a description. A long text becomes several string literals, one to a line, which a CIM compiler
/// joins. No word is longer than a line.
std::string descriptionOf(const std::string& text, const std::string& indentation) {
    constexpr std::size_t width = 96;
    if (text.size() <= width)
        return "Description(" + mofQuoted(text) + ')';
    const std::string newLine = '\n' + indentation + "    ";
    std::string literals;
    std::size_t begin = 0;
    while (text.size() - begin > width) {
        const std::size_t end = text.rfind(' ', begin + width) + 1;
        literals += newLine + mofQuoted(text.substr(begin, end - begin));
        begin = end;
    }
    return "Description(" + literals + newLine + mofQuoted(text.substr(begin)) + ')';
}

std::string declarationOf(const propertyDeclaration& property) {
    const std::string name(property.name);
    switch (property.type) {
    case cimType::string:
        return "string " + name;
    case cimType::uint16:
        return "uint16 " + name;
    case cimType::boolean:
        return "boolean " + name;
    case cimType::stringArray:
        return "string " + name + "[]";
    case cimType::reference:
        break;
    }
    return std::string(property.referenced) + " REF " + name;
}

/// The qualifier that comes before all others.
const char* qualifierOf(classKind kind) {
    switch (kind) {
    case classKind::abstract:
        return "Abstract, ";
    case classKind::association:
        return "Association, ";
    case classKind::concrete:
        break;
    }
    return "";
}

void writeClass(const classDeclaration& declaration, std::ostream& output) {
    output << "\n[" << qualifierOf(declaration.kind) << descriptionOf(declaration.description, "") << "]\n"
           << "class " << declaration.name << (declaration.base.empty() ? "" : " : ") << declaration.base << "\n{\n";
    for (const auto& property : declaration.properties)
        output << "    [" << (property.isKey ? "Key, " : "") << descriptionOf(property.description, "    ") << "]\n"
               << "    " << declarationOf(property) << ";\n";
    output << "};\n";
}

std::string valueToMof(const TCIMValue& value) {
    const std::string text = minihost::valueText(value, mofQuoted);
    return value.Content().isArray() ? '{' + text + '}' : text;
}

/// Why a CIM compiler would refuse the instance; "" when it would take it.
std::string refusal(const memoryInstance& instance) {
    if (instance.declaration().kind == classKind::abstract)
        return "the class is abstract";
    for (const propertyDeclaration* property : propertiesOf(instance.declaration())) {
        if (property->isKey && instance.findSuitable(property->name) == nullptr)
            return "it lacks the key " + std::string(property->name);
    }
    return "";
}

void writeInstance(const memoryInstance& instance, std::ostream& output) {
    const classDeclaration& declaration = instance.declaration();
    const std::string refused = refusal(instance);
    if (!refused.empty()) {
        output << "\n// An instance of " << declaration.name << " is left out: " << refused << '\n';
        return;
    }
    output << "\ninstance of " << declaration.name << "\n{\n";
    for (const auto& [name, value] : instance.properties()) {
        const std::string wrong = mismatch(declaration, name, value);
        if (!wrong.empty())
            output << "    // Left out: " << escaped(wrong) << '\n';
        else if (!value.Content().isEmpty())
            output << "    " << name << " = " << valueToMof(value) << ";\n";
    }
    output << "};\n";
}

/// The latest instance of each object path, at the place of the path's first one: an association still comes after the
/// instances that it names.
std::vector<const memoryInstance*> latestOfEachPath(const runResult& result) {
    std::vector<const memoryInstance*> latest;
    std::map<std::string, std::size_t> places;
    for (const auto& query : result.queries) {
        for (const auto& instance : query.instances) {
            const std::string path = minihost::objectPath(instance->GetReference({}));
            const auto [place, isNew] = places.emplace(path, latest.size());
            if (isNew)
                latest.push_back(instance.get());
            else
                latest[place->second] = instance.get();
        }
    }
    return latest;
}

} // namespace

void writeMofSchema(std::ostream& output) {
    output << qualifierDeclarations;
    for (const auto& declaration : minihost::classTable())
        writeClass(declaration, output);
}

void writeMof(const runResult& result, std::ostream& output) {
    writeMofSchema(output);
    for (const memoryInstance* instance : latestOfEachPath(result))
        writeInstance(*instance, output);
    if (result.failed())
        output << "\n// The last query failed: " << escaped(*result.queries.back().error) << '\n';
}

} // namespace inventory
