#include "inventory/output.h"

#include "minihost/cimcontent.h"
#include "text/forms.h"

#include <cstddef>
#include <map>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace inventory {

using text::escaped;
using text::mofQuoted;

using minihost::classDeclaration;
using minihost::memoryInstance;
using minihost::propertyDeclaration;
using NHALDEN20::TCIMReference;
using NHALDEN20::TCIMValue;

namespace {

/// Why a CIM compiler would refuse the instance; "" when it would take it.
std::string refusal(const memoryInstance& instance) {
    if (instance.declaration().isAbstract)
        return "the class is abstract";
    for (const propertyDeclaration* property : propertiesOf(instance.declaration())) {
        if (property->isKey && instance.findSuitable(*property) == nullptr)
            return "it lacks the key " + std::string(property->name);
    }
    return "";
}

/// Writes instances one after the other, each with an alias that the references of later ones use. A CIM server takes
/// an alias for an instance of its own; an object path in a text lacks the namespace to look in.
class instanceWriter {
public:
    explicit instanceWriter(std::ostream& output) : output_(output) {}

    void write(const std::string& path, const memoryInstance& instance) {
        const classDeclaration& declaration = instance.declaration();
        const std::string refused = refusal(instance);
        if (!refused.empty()) {
            output_ << "\n// An instance of " << declaration.name << " is left out: " << refused << '\n';
            return;
        }
        const std::string alias = newAlias(declaration.name);
        output_ << "\ninstance of " << declaration.name << " as " << alias << "\n{\n";
        for (const auto& [name, value] : instance.properties()) {
            if (!minihost::declares(declaration, name, value))
                output_ << "    // Left out: " << escaped(name)
                        << ", which the class does not declare with this type\n";
            else if (!value.Content().isEmpty())
                output_ << "    " << name << " = " << valueToMof(value) << ";\n";
        }
        output_ << "};\n";
        aliases_.emplace(path, alias);
    }

private:
    /// The class name without its schema, and a number: $SCSIDevice1 for the first KORVA_SCSIDevice.
    std::string newAlias(std::string_view className) {
        const std::string_view name = className.substr(className.find('_') + 1);
        return '$' + std::string(name) + std::to_string(++counts_[className]);
    }

    std::string valueToMof(const TCIMValue& value) const {
        if (const auto* reference = std::get_if<TCIMReference>(&value.Content().value)) {
            const auto named = aliases_.find(minihost::objectPath(*reference));
            if (named != aliases_.end())
                return named->second;
        }
        const std::string text = minihost::valueText(value, mofQuoted);
        return value.Content().isArray() ? '{' + text + '}' : text;
    }

    std::ostream& output_;
    std::map<std::string, std::string> aliases_;  ///< of the instances written so far, by object path
    std::map<std::string_view, unsigned> counts_; ///< how many instances of each class have one
};

/// Each object path with its latest instance, at the place of the path's first one: an association still comes after
/// the instances that it names.
std::vector<std::pair<std::string, const memoryInstance*>> latestOfEachPath(const runResult& result) {
    std::vector<std::pair<std::string, const memoryInstance*>> latest;
    std::map<std::string, std::size_t> places;
    for (const auto& query : result.queries) {
        for (const auto& instance : query.instances) {
            const std::string path = minihost::objectPath(instance->GetReference({}));
            const auto [place, isNew] = places.emplace(path, latest.size());
            if (isNew)
                latest.emplace_back(path, instance.get());
            else
                latest[place->second].second = instance.get();
        }
    }
    return latest;
}

} // namespace

void writeMof(const runResult& result, std::ostream& output) {
    writeMofSchema(output);
    instanceWriter writer(output);
    for (const auto& [path, instance] : latestOfEachPath(result))
        writer.write(path, *instance);
    if (result.error)
        output << "\n// The run failed: " << escaped(*result.error) << '\n';
}

} // namespace inventory
