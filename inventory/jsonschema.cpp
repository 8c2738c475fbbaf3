#include "inventory/jsonschema.h"

#include "minihost/classtable.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>

namespace inventory {

using json = nlohmann::ordered_json;
using minihost::cimType;
using minihost::classDeclaration;
using minihost::propertyDeclaration;

namespace {

// All but the classes, which writeJsonSchema() adds from the class table.
constexpr const char* framework = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "title": "The document that scsidev-inventory --format json prints",
  "type": "object",
  "required": ["formatVersion", "program", "machine", "simulated", "complete", "exitStatus", "nodes", "messages",
    "queries"],
  "properties": {
    "formatVersion": {"const": 1},
    "program": {
      "description": "The program that printed the document.",
      "type": "object",
      "required": ["name", "version"],
      "properties": {"name": {"const": "scsidev-inventory"}, "version": {"type": "string"}}
    },
    "machine": {"description": "The machine's host name; empty where the run failed before it was read.",
      "$ref": "#/$defs/text"},
    "simulated": {"description": "Were the answers those of a machine file?", "type": "boolean"},
    "complete": {"description": "Was all seen that is there? The remarks among the messages say what was not.",
      "type": "boolean"},
    "exitStatus": {"description": "0: complete; 1: the run failed; 3: not complete.", "enum": [0, 1, 3]},
    "error": {"description": "Why the run failed.", "$ref": "#/$defs/text"},
    "nodes": {
      "type": "object",
      "required": ["present", "refused", "silent"],
      "properties": {
        "present": {"description": "How many device nodes opened or refused to.", "$ref": "#/$defs/count"},
        "refused": {
          "description": "Nodes that are there and did not open, with the name of the error.",
          "type": "array",
          "items": {
            "type": "object",
            "required": ["node", "error"],
            "properties": {"node": {"$ref": "#/$defs/path"}, "error": {"type": "string"}}
          }
        },
        "silent": {"description": "Nodes that opened and did not identify themselves.", "type": "array",
          "items": {"$ref": "#/$defs/path"}}
      }
    },
    "messages": {
      "description": "Messages of the plug-in's log, levels 0 and 1, and remarks of the program.",
      "type": "array",
      "items": {"$ref": "#/$defs/message"}
    },
    "queries": {"description": "In the order in which they ran, up to the first that failed.", "type": "array",
      "items": {"$ref": "#/$defs/query"}}
  },
  "allOf": [
    {"if": {"properties": {"exitStatus": {"const": 0}}},
      "then": {"properties": {"complete": {"const": true}}}, "else": {"properties": {"complete": {"const": false}}}},
    {"if": {"properties": {"exitStatus": {"const": 1}}},
      "then": {"required": ["error"]}, "else": {"not": {"required": ["error"]}}}
  ],
  "$defs": {
    "text": {"description": "Each byte is the code point of the same number.", "type": "string",
      "pattern": "^[\\u0000-\\u00ff]*$"},
    "path": {"$ref": "#/$defs/text", "pattern": "^/dev/"},
    "count": {"type": "integer", "minimum": 0},
    "uint16": {"type": "integer", "minimum": 0, "maximum": 65535},
    "message": {
      "type": "object",
      "required": ["from", "text"],
      "properties": {
        "from": {"enum": ["plug-in", "program"]},
        "level": {"description": "0: a step failed; 1: malformed input was skipped.", "enum": [0, 1]},
        "text": {"$ref": "#/$defs/text"},
        "count": {"description": "How often it was logged.", "type": "integer", "minimum": 1}
      },
      "if": {"properties": {"from": {"const": "plug-in"}}},
      "then": {"required": ["level", "count"]}
    },
    "query": {
      "type": "object",
      "required": ["classes", "instances"],
      "properties": {
        "classes": {"description": "What was asked for, in this order.", "type": "array", "minItems": 1,
          "items": {"$ref": "#/$defs/className"}},
        "instances": {"description": "What was committed, in this order.", "type": "array",
          "items": {"$ref": "#/$defs/instance"}},
        "error": {"description": "Why the query failed.", "$ref": "#/$defs/text"}
      }
    },
    "instance": {
      "type": "object",
      "required": ["class", "properties"],
      "properties": {
        "class": {"$ref": "#/$defs/className"},
        "kernel": {
          "description": "What the kernel calls the device at an sg node, where it tells.",
          "type": "object",
          "required": ["names"],
          "properties": {
            "names": {"description": "Its other nodes, such as sda, st0, sr0 or sch0.", "type": "array",
              "items": {"$ref": "#/$defs/text"}},
            "wwid": {"description": "Its world-wide identifier.", "$ref": "#/$defs/text"}
          }
        },
        "properties": {"description": "What the plug-in set, in the order in which it first did.", "type": "object"}
      }
    }
  }
})json";

json typeOf(const propertyDeclaration& property) {
    json text = {{"$ref", "#/$defs/text"}};
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
    case cimType::reference: // an object path
        break;
    }
    return text;
}

/// What the properties of an instance have to be. The plug-in sets all that the class declares.
json propertiesOfClass(const classDeclaration& declaration) {
    json result = {{"description", declaration.description}};
    if (!declaration.base.empty())
        result["$ref"] = "#/$defs/" + std::string(declaration.base);
    for (const auto& property : declaration.properties) {
        const std::string name(property.name);
        result["required"].push_back(name);
        result["properties"][name] = {{"description", property.description}};
        result["properties"][name].update(typeOf(property));
    }
    return result;
}

/// A rule that instances of this class have these properties.
json ruleFor(const std::string& className) {
    return {{"if", {{"properties", {{"class", {{"const", className}}}}}}},
            {"then", {{"properties", {{"properties", {{"$ref", "#/$defs/" + className}}}}}}}};
}

} // namespace

void writeJsonSchema(std::ostream& output) {
    json schema = json::parse(framework);
    json& definitions = schema["$defs"];
    json rules = json::array(), names = json::array();
    for (const auto& declaration : minihost::classTable()) {
        const std::string name(declaration.name);
        names.push_back(name);
        rules.push_back(ruleFor(name));
        definitions[name] = propertiesOfClass(declaration);
    }
    definitions["className"]["enum"] = std::move(names);
    definitions["instance"]["allOf"] = std::move(rules);
    output << schema.dump(2) << '\n';
}

} // namespace inventory
