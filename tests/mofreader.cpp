#include "tests/mofreader.h"

#include "tests/mofscanner.h"

#include <algorithm>
#include <cctype>
#include <utility>
#include <vector>

using nlohmann::json;

namespace mof {

namespace {

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text)
        result.append(c == '"' || c == '\\' ? "\\" : "").append(1, c);
    return result + '"';
}

class reader {
public:
    explicit reader(const std::string& text) : tokens_(text) {}

    document read() {
        while (tokens_.next().kind != token::end) {
            if (accepts("instance"))
                readInstance();
            else if (!read_.instances.empty())
                fail("a declaration behind an instance");
            else if (accepts("Qualifier"))
                readQualifier();
            else
                readClass();
        }
        return std::move(read_);
    }

private:
    struct qualifier {
        std::string type;
        std::set<std::string> scopes;
    };
    using qualifierList = std::vector<std::pair<std::string, json>>;

    [[noreturn]] void fail(const std::string& what) const { tokens_.fail(what); }
    [[noreturn]] void fail(const std::string& name, const std::string& what) const { fail(name + ": " + what); }

    bool accepts(const std::string& content) {
        const bool found = tokens_.next().kind != token::text && tokens_.next().content == content;
        if (found)
            tokens_.advance();
        return found;
    }
    void expect(const std::string& content) {
        if (!accepts(content))
            fail("expected " + content + ", found '" + tokens_.next().content + "'");
    }
    std::string takeName() {
        std::string name = tokens_.next().content;
        if (tokens_.next().kind != token::word || std::isdigit(static_cast<unsigned char>(name.front())) != 0)
            fail("expected a name, found '" + name + "'");
        tokens_.advance();
        return name;
    }
    /// NAME(NAME, ...)
    std::set<std::string> takeNames(const std::string& title) {
        expect(title);
        expect("(");
        std::set<std::string> names;
        do
            names.insert(takeName());
        while (accepts(","));
        expect(")");
        return names;
    }
    const declaredClass& classCalled(const std::string& name) const {
        const auto found = read_.classes.find(name);
        if (found == read_.classes.end())
            fail("the class " + name + " is not declared");
        return found->second;
    }
    bool isKindOf(std::string name, const std::string& base) const {
        while (!name.empty() && name != base)
            name = classCalled(name).base;
        return name == base;
    }

    json takeValue();
    void check(const json& value, const std::string& type) const;
    void readQualifier();
    qualifierList takeQualifiers();
    void checkScopes(const qualifierList& list, const std::string& scope) const;
    void readClass();
    void readProperty(declaredClass& owner);
    void readInstance();
    void checkReference(const json& value, const std::string& className) const;
    std::string pathOf(const std::string& className, const json& properties) const;

    scanner tokens_;
    document read_;
    std::map<std::string, qualifier> qualifiers_;
    std::map<std::string, std::string> paths_; ///< of the instances, each with its class
};

json reader::takeValue() {
    if (accepts("true"))
        return true;
    if (accepts("false"))
        return false;
    if (accepts("{")) {
        json list = json::array();
        if (accepts("}"))
            return list;
        do
            list.push_back(takeValue());
        while (accepts(","));
        expect("}");
        return list;
    }
    std::string content = tokens_.next().content;
    if (tokens_.next().kind == token::text) {
        for (tokens_.advance(); tokens_.next().kind == token::text; tokens_.advance())
            content += tokens_.next().content; // literals in a row are one string
        return content;
    }
    if (content.empty() || content.find_first_not_of("0123456789") != std::string::npos)
        fail("expected a value, found '" + content + "'");
    tokens_.advance();
    return std::stoul(content);
}

void reader::check(const json& value, const std::string& type) const {
    const bool suits = type == "string"    ? value.is_string()
                       : type == "boolean" ? value.is_boolean()
                       : type == "uint16"  ? value.is_number() && value <= 0xFFFF
                                           : value.is_array();
    if (!suits)
        fail("expected a value of type " + type);
    if (value.is_array()) {
        for (const auto& element : value)
            check(element, type.substr(0, type.find('[')));
    }
}

void reader::readQualifier() {
    const std::string name = takeName();
    expect(":");
    qualifier& declared = qualifiers_[name];
    if (!declared.type.empty())
        fail("the qualifier " + name + " is declared twice");
    declared.type = takeName();
    expect("=");
    if (!accepts("null"))
        check(takeValue(), declared.type);
    expect(",");
    declared.scopes = takeNames("Scope");
    expect(",");
    takeNames("Flavor");
    expect(";");
}

reader::qualifierList reader::takeQualifiers() {
    qualifierList list;
    expect("[");
    do {
        const std::string name = takeName();
        const auto declared = qualifiers_.find(name);
        if (declared == qualifiers_.end())
            fail("the qualifier " + name + " is not declared");
        json value = true;
        if (accepts("(")) {
            value = takeValue();
            expect(")");
        }
        check(value, declared->second.type);
        if (std::any_of(list.begin(), list.end(), [&name](const auto& earlier) { return earlier.first == name; }))
            fail("the qualifier " + name + " stands twice");
        list.emplace_back(name, value);
    } while (accepts(","));
    expect("]");
    return list;
}

void reader::checkScopes(const qualifierList& list, const std::string& scope) const {
    for (const auto& [name, value] : list) {
        const auto& scopes = qualifiers_.at(name).scopes;
        if (scopes.count("any") + scopes.count(scope) == 0)
            fail(name, "no qualifier of a " + scope);
    }
}

void reader::readClass() {
    declaredClass declared;
    const qualifierList list = takeQualifiers();
    for (const auto& [name, value] : list) {
        declared.isAbstract |= name == "Abstract";
        declared.isAssociation |= name == "Association";
        if (name == "Description")
            declared.description = value;
    }
    if (declared.isAssociation && list.front().first != "Association")
        fail("Association is not the first qualifier");
    checkScopes(list, declared.isAssociation ? "association" : "class");
    expect("class");
    const std::string name = takeName();
    if (accepts(":")) {
        declared.base = takeName();
        declared.properties = classCalled(declared.base).properties;
    }
    expect("{");
    while (!accepts("}"))
        readProperty(declared);
    expect(";");
    if (!read_.classes.emplace(name, declared).second)
        fail("the class " + name + " is declared twice");
}

void reader::readProperty(declaredClass& owner) {
    declaredProperty declared;
    const qualifierList list = takeQualifiers();
    for (const auto& [name, value] : list) {
        declared.isKey |= name == "Key";
        if (name == "Description")
            declared.description = value;
    }
    declared.type = takeName();
    declared.isReference = accepts("REF");
    checkScopes(list, declared.isReference ? "reference" : "property");
    if (declared.isReference && !owner.isAssociation)
        fail("a reference in a class that is no association");
    if (declared.isReference)
        classCalled(declared.type);
    else if (declared.type != "string" && declared.type != "uint16" && declared.type != "boolean")
        fail("the type " + declared.type + " is unknown");
    const std::string name = takeName();
    if (accepts("[")) {
        expect("]");
        declared.type += "[]";
    }
    expect(";");
    if (!owner.properties.emplace(name, declared).second)
        fail("the property " + name + " is declared twice");
}

void reader::readInstance() {
    expect("of");
    const std::string className = takeName();
    const declaredClass& declared = classCalled(className);
    if (declared.isAbstract)
        fail("an instance of the abstract class " + className);
    json properties = json::object();
    expect("{");
    while (!accepts("}")) {
        const std::string name = takeName();
        const auto property = declared.properties.find(name);
        if (property == declared.properties.end())
            fail(name, "no property of " + className);
        expect("=");
        const json value = takeValue();
        check(value, property->second.isReference ? "string" : property->second.type);
        if (property->second.isReference)
            checkReference(value, property->second.type);
        if (!properties.emplace(name, value).second)
            fail("the property " + name + " is set twice");
        expect(";");
    }
    expect(";");
    if (!paths_.emplace(pathOf(className, properties), className).second)
        fail("a second instance with the path " + pathOf(className, properties));
    read_.instances.push_back({{"class", className}, {"properties", properties}});
}

void reader::checkReference(const json& value, const std::string& className) const {
    const auto target = paths_.find(value);
    if (target == paths_.end())
        fail("a reference to nothing: " + value.get<std::string>());
    if (!isKindOf(target->second, className))
        fail("a reference to an instance of " + target->second + ", expected " + className);
}

/// CLASS.KEY=VALUE,... with the keys in alphabetical order.
std::string reader::pathOf(const std::string& className, const json& properties) const {
    std::string path = className;
    char separator = '.';
    for (const auto& [name, property] : classCalled(className).properties) {
        if (!property.isKey)
            continue;
        if (!properties.contains(name))
            fail(name, "missing key of an instance of " + className);
        const json& value = properties[name];
        path += separator + name + '=' + (value.is_string() ? quoted(value) : value.dump());
        separator = ',';
    }
    return path;
}

} // namespace

document read(const std::string& text) { return reader(text).read(); }

json instancesOf(const json& jsonDocument) {
    json instances = json::array();
    for (const auto& query : jsonDocument["queries"]) {
        for (const auto& instance : query["instances"]) {
            // One association may be found for several devices: they share its path, and MOF has it once.
            if (std::find(instances.begin(), instances.end(), instance) == instances.end())
                instances.push_back(instance);
        }
    }
    return instances;
}

} // namespace mof
