#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <set>
#include <string>

namespace mof {

struct document {
    std::map<std::string, std::set<std::string>> classes; ///< the properties of each, those of its base included
    nlohmann::json instances = nlohmann::json::array();   ///< as in the JSON of the same run: class and properties
};

/// Reads a MOF document (DSP0004) of the kind that the program writes, and no other: declarations before instances,
/// names in their case, no pragmas, in strings only the escapes that are needed.
///
/// Refuses what a compiler refuses, and what some let pass: an instance that lacks a key or belongs to an abstract
/// class, a value of another type, a second instance with the same object path or alias, an alias that no instance
/// before it has, and a reference by an object path that is not among `absent`. Throws std::runtime_error.
document read(const std::string& text, const std::set<std::string>& absent = {});

/// The instances of a JSON document of the program, as document::instances has those of its MOF.
nlohmann::json instancesOf(const nlohmann::json& jsonDocument);

} // namespace mof
