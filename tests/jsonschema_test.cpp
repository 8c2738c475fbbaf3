// The schema of JSON documents, which is written by hand, against the classes that the host declares.

#include "minihost/classtable.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <fstream>
#include <string>

using minihost::cimType;
using nlohmann::json;

namespace {

json typeOf(const minihost::propertyDeclaration& property) {
    json text{{"$ref", "#/$defs/text"}};
    json codes = json::array();
    switch (property.type) {
    case cimType::uint16:
        for (const auto& code : property.values)
            codes.push_back({{"const", std::stoi(code.value)}, {"title", code.meaning}});
        return codes.empty() ? json{{"$ref", "#/$defs/uint16"}} : json{{"oneOf", codes}};
    case cimType::boolean:
        return {{"type", "boolean"}};
    case cimType::stringArray:
        return {{"type", "array"}, {"items", text}};
    case cimType::string:
    case cimType::reference:
        break;
    }
    return text;
}

} // namespace

TEST(JsonSchema, DeclaresTheClassesAndPropertiesThatTheHostDeclares) {
    json classes = json::object(), names = json::array(), rules = json::array();
    for (const auto& declaration : minihost::classTable()) {
        const std::string name(declaration.name), place = "#/$defs/" + name;
        json& wanted = classes[name] = {{"description", declaration.description}};
        if (!declaration.base.empty())
            wanted["$ref"] = "#/$defs/" + std::string(declaration.base);
        for (const auto& property : declaration.properties) {
            json& described = wanted["properties"][std::string(property.name)] = typeOf(property);
            described["description"] = property.description;
            wanted["required"].push_back(property.name);
        }
        names.push_back(name);
        rules.push_back({{"if", {{"properties", {{"class", {{"const", name}}}}}}},
                         {"then", {{"properties", {{"properties", {{"$ref", place}}}}}}}});
    }
    std::ifstream file(SOURCE_DIRECTORY "/schema/inventory.schema.json");
    const json definitions = json::parse(file)["$defs"];
    EXPECT_EQ(definitions["className"]["enum"], names);
    EXPECT_EQ(definitions["instance"]["allOf"], rules);
    json described = json::object();
    for (const auto& [name, definition] : definitions.items()) {
        if (name.rfind("KORVA_", 0) == 0)
            described[name] = definition;
    }
    EXPECT_TRUE(described == classes) << json::diff(described, classes).dump(2);
}
