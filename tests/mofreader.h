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

/// Reads a MOF document (DSP0004) as the program lays it out: declarations before instances, each property in a line of
/// its own. Takes only the names from the declarations, whose text stands in schema/korva.mof.
///
/// Throws an exception for what a CIM compiler refuses, and what some let pass: characters and escapes that are not
/// MOF's, a class or property that is not declared, an instance that lacks a key, a second instance with the same
/// object path or alias, an alias that no instance before it has, and the object path of an instance that has an alias.
document read(const std::string& text);

/// The instances of a JSON document of the program, as document::instances has those of its MOF.
nlohmann::json instancesOf(const nlohmann::json& jsonDocument);

} // namespace mof
