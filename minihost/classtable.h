#pragma once

#include <string>
#include <vector>

namespace minihost {

/// One class that the namespace knows.
struct classDeclaration {
    const char* name;
    const char* base;              ///< name of the superclass; empty for none
    std::vector<const char*> keys; ///< key properties, those of the superclass included
};

/// All classes, superclasses before their subclasses.
const std::vector<classDeclaration>& classTable();

/// The class called `name`, or null.
const classDeclaration* findClass(const std::string& name);

/// Is `name` the class `base` or one that derives from it?
bool isKindOf(const classDeclaration& declaration, const std::string& base);

} // namespace minihost
