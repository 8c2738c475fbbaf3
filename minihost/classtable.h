#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace minihost {

enum class cimType { string, uint16, boolean, stringArray, reference };

/// A constant array, as a range.
template <typename Element>
class constantList {
public:
    constexpr constantList() = default;
    template <std::size_t count>
    constexpr constantList(const Element (&elements)[count]) : elements_(elements), count_(count) {}

    constexpr const Element* begin() const { return elements_; }
    constexpr const Element* end() const { return elements_ + count_; }
    constexpr std::size_t size() const { return count_; }
    constexpr const Element& operator[](std::size_t position) const { return elements_[position]; }

private:
    const Element* elements_ = nullptr;
    std::size_t count_ = 0;
};

/// What one value of a property means.
struct valueMeaning {
    const char* value; ///< as text
    const char* meaning;
};

/// One property that a class declares.
struct propertyDeclaration {
    std::string_view name;
    cimType type;
    bool isKey;
    const char* description;                ///< one sentence: where the value comes from
    std::string_view referenced = {};       ///< of a reference: the class of the instances that it may name
    constantList<valueMeaning> values = {}; ///< all that it is ever set to, where they are codes; empty: any
};

enum class classKind { concrete, abstract, association };

/// One class that the namespace knows.
struct classDeclaration {
    std::string_view name;
    std::string_view base; ///< name of the superclass; empty for none
    classKind kind;
    const char* description;
    constantList<propertyDeclaration> properties; ///< without those of the superclass
};

/// Version of the classes (DSP0004, Version qualifier): the second number grows with what is added to them.
constexpr const char* classVersion = "1.0.0";

/// All classes: superclasses before their subclasses, and referenced classes before their associations.
constantList<classDeclaration> classTable();

/// The class called `name`, or null.
const classDeclaration* findClass(std::string_view name);

/// Is `declaration` the class `base` or one that derives from it?
bool isKindOf(const classDeclaration& declaration, std::string_view base);

/// The property called `name` that a class of the table or a superclass of it declares, or null.
const propertyDeclaration* findProperty(const classDeclaration& declaration, std::string_view name);

/// All properties of a class, those of its superclasses first.
std::vector<const propertyDeclaration*> propertiesOf(const classDeclaration& declaration);

} // namespace minihost
