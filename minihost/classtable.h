#pragma once

#include <initializer_list>
#include <string_view>
#include <vector>

namespace minihost {

/// The types of values, in the order of the alternatives of a value's content (minihost/cimcontent.h).
enum class cimType { nothing, string, boolean, uint16, reference, stringArray };

/// One property that a class declares.
struct propertyDeclaration {
    std::string_view name;
    cimType type;
    bool isKey = false;
    std::string_view referenced = {}; ///< of a reference: the class of the instances that it may name
};

/// One class that the namespace knows.
struct classDeclaration {
    std::string_view name;
    std::string_view base; ///< name of the superclass; empty for none
    bool isAbstract;
    std::initializer_list<propertyDeclaration> properties; ///< without those of the superclass
};

/// All classes: superclasses before their subclasses, and referenced classes before their associations.
std::initializer_list<classDeclaration> classTable();

/// The class called `name`, or null.
const classDeclaration* findClass(std::string_view name);

/// Is `declaration` the class `base` or one that derives from it?
bool isKindOf(const classDeclaration& declaration, std::string_view base);

/// The property called `name` that a class of the table or a superclass of it declares, or null.
const propertyDeclaration* findProperty(const classDeclaration& declaration, std::string_view name);

/// All properties of a class, those of its superclasses first.
std::vector<const propertyDeclaration*> propertiesOf(const classDeclaration& declaration);

} // namespace minihost
