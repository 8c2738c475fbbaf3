#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <set>
#include <string>
#include <utility>

namespace mof {

struct declaredProperty {
    std::string type; ///< "string", "uint16" or "boolean", with "[]" behind it for an array; of a reference the class
    bool isReference = false;
    bool isKey = false;
    std::string description;
};

struct declaredClass {
    std::string base;
    bool isAbstract = false;
    bool isAssociation = false;
    std::string description;
    std::map<std::string, declaredProperty> properties; ///< those of the base included
};

struct document {
    std::map<std::string, declaredClass> classes;
    nlohmann::json instances = nlohmann::json::array(); ///< as in the JSON of the same run: class and properties
};

/// Reads a MOF document (DSP0004) of the kind that the program writes, and no other: names stand alone in
/// their case, no aliases, no pragmas, only those escapes in strings that are needed.
///
/// Refuses what a compiler refuses, and what some let pass: an instance that lacks a key or belongs to an
/// abstract class, a value of another type, a reference to nothing that stands before it, a second instance
/// with the same path. Throws std::runtime_error with the number of the line.
document read(const std::string& text);

/// The instances of a JSON document of the program, as document::instances has those of its MOF.
nlohmann::json instancesOf(const nlohmann::json& jsonDocument);

} // namespace mof
