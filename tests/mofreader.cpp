#include "tests/mofreader.h"

#include <boost/fusion/include/adapt_struct.hpp>
#include <boost/fusion/include/std_pair.hpp>
#include <boost/fusion/include/std_tuple.hpp>
#include <boost/spirit/home/x3.hpp>
#include <boost/spirit/home/x3/support/utility/utf8.hpp>

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

namespace x3 = boost::spirit::x3;
using nlohmann::json;

namespace mof::ast {

struct property {
    bool isKey;
    std::string description, type; ///< of a reference the class
    bool isReference;
    std::string name;
    bool isArray;
    std::string jsonType; ///< what its values are in JSON
};

struct classDeclaration {
    bool isAbstract;
    std::string description, name, base; ///< no base: ""
    std::vector<property> own;
    std::map<std::string, property> properties; ///< its own and those of its bases, by name
    std::set<std::string> kinds;                ///< its name and those of its bases
};

/// Its class, its alias and its properties; a reference by an alias is {"alias": NAME}.
using instance = std::tuple<std::string, std::string, std::vector<std::pair<std::string, json>>>;

} // namespace mof::ast

BOOST_FUSION_ADAPT_STRUCT(mof::ast::property, isKey, description, type, isReference, name, isArray)
BOOST_FUSION_ADAPT_STRUCT(mof::ast::classDeclaration, isAbstract, description, name, base, own)

namespace mof::grammar {

const auto assign = [](auto& context) {
    x3::_val(context) = x3::_attr(context);
};
const auto append = [](auto& context) {
    x3::_val(context) += x3::_attr(context);
};
const auto appendByte = [](auto& context) {
    const unsigned byte = x3::_attr(context);
    x3::_pass(context) = byte < ' ' || byte > '~'; // the others stand for themselves
    x3::_val(context) += x3::to_utf8(byte);
};

const auto printable = x3::char_(' ', '~');
const auto ignored = x3::char_(" \n") | "//" >> *printable >> '\n';

const auto escape = x3::char_("\"\\")[append] | "x00" >> x3::uint_parser<unsigned, 16, 2, 2>()[appendByte];
const auto text = x3::rule<struct textId, std::string>() =
    +x3::lexeme['"' >> *('\\' >> escape | (printable - x3::char_("\"\\"))[append]) >> '"'];

const auto nameCharacter = x3::alnum | x3::char_('_');
const auto name = x3::rule<struct nameId, std::string>() = x3::lexeme[(x3::alpha | x3::char_('_')) >> *nameCharacter];
const auto word = [](const char* content) {
    return x3::lexeme[x3::lit(content) >> !nameCharacter];
};

const auto qualifier = word("Qualifier") >> x3::omit[+(printable - ';')] >> ';';
const auto description = word("Description") >> '(' >> text >> ')' >> ']';
const auto texts = '{' >> x3::omit[+(printable - '}')] >> '}';
const auto meanings = word("ValueMap") >> texts >> ',' >> word("Values") >> texts >> ',';
const auto version = word("Version") >> '(' >> x3::omit['"' >> +x3::char_("0-9.") >> '"'] >> ')' >> ',';
const auto property = x3::rule<struct propertyId, ast::property>() =
    '[' >> x3::matches[word("Key") >> ','] >> -meanings >> description >> name >> x3::matches[word("REF")] >> name >>
    x3::matches["[]"] >> ';';
const auto classDeclaration = x3::rule<struct classId, ast::classDeclaration>() =
    '[' >> x3::matches[word("Abstract") >> ','] >> -(word("Association") >> ',') >> version >> description >>
    word("class") >> name >> (':' >> name | x3::attr(std::string())) >> '{' >> *property >> '}' >> ';';

const auto list = x3::rule<struct listId, std::vector<std::string>>() = '{' >> -(text % ',') >> '}';
const auto alias = x3::rule<struct aliasId, std::string>() = x3::lexeme['$' >> +nameCharacter];
const auto assignAlias = [](auto& context) {
    x3::_val(context) = {{"alias", x3::_attr(context)}};
};
const auto value = x3::rule<struct valueId, json>() =
    text[assign] | x3::uint16[assign] | x3::bool_[assign] | list[assign] | alias[assignAlias];
const auto instance = x3::rule<struct instanceId, ast::instance>() = word("instance") >> word("of") >> name >>
                                                                     word("as") >> alias >> '{' >>
                                                                     *(name >> '=' >> value >> ';') >> '}' >> ';';

} // namespace mof::grammar

namespace mof {

namespace {

void require(bool holds, const std::string& otherwise) {
    if (!holds)
        throw std::runtime_error(otherwise);
}

template <typename Value>
const Value& found(const std::map<std::string, Value>& in, const std::string& name, const char* what) {
    require(in.count(name) != 0, std::string("there is no ") + what + ' ' + name);
    return in.at(name);
}

/// CLASS.KEY=VALUE,... with the keys in alphabetical order.
std::string objectPath(const std::string& className, const ast::classDeclaration& declaration, const json& properties) {
    std::ostringstream path;
    path << className;
    char separator = '.';
    for (const auto& [name, property] : declaration.properties) {
        if (!property.isKey)
            continue;
        path << std::exchange(separator, ',') << name << '=';
        const json& value = properties.at(name);
        value.is_string() ? path << std::quoted(value.get<std::string>()) : path << value;
    }
    return path.str();
}

/// Checks one declaration and one instance after the other.
class checker {
public:
    explicit checker(const std::set<std::string>& absent) : absent_(absent) {}

    void add(const ast::classDeclaration& declaration) {
        static const std::map<std::string, std::string> jsonTypes{
            {"string", "string"}, {"uint16", "number"}, {"boolean", "boolean"}, {"string[]", "array"}};
        auto whole = declaration.base.empty() ? ast::classDeclaration() : found(classes_, declaration.base, "class");
        whole.isAbstract = declaration.isAbstract;
        whole.kinds.insert(declaration.name);
        for (auto property : declaration.own) {
            if (property.isReference)
                found(classes_, property.type, "class");
            const std::string type = property.isReference ? "string" : property.type + (property.isArray ? "[]" : "");
            property.jsonType = found(jsonTypes, type, "type");
            whole.properties[property.name] = property;
        }
        for (const auto& [name, property] : whole.properties)
            checked.classes[declaration.name].insert(name);
        classes_[declaration.name] = whole;
    }

    void add(const ast::instance& instance) {
        const auto& [className, alias, values] = instance;
        const auto& declaration = found(classes_, className, "class");
        require(!declaration.isAbstract, "an instance of the abstract class " + className);
        json properties = json::object();
        for (auto [name, value] : values) {
            const auto& property = found(declaration.properties, name, "property");
            if (value.is_object()) {
                value = found(aliases_, value["alias"], "alias");
                require(paths_.at(value).count(property.type) != 0,
                        name + " refers to an instance that is no " + property.type);
            } else if (property.isReference) {
                require(absent_.count(value) != 0, name + " names an instance without its alias");
            }
            require(value.type_name() == property.jsonType, name + " has a value of another type");
            require(properties.emplace(name, value).second, name + " is set twice");
        }
        const std::string path = objectPath(className, declaration, properties);
        require(paths_.emplace(path, declaration.kinds).second, "a second instance with the path " + path);
        require(aliases_.emplace(alias, path).second, "a second instance with the alias " + alias);
        checked.instances.push_back({{"class", className}, {"properties", properties}});
    }

    document checked;

private:
    const std::set<std::string>& absent_;
    std::map<std::string, ast::classDeclaration> classes_;
    std::map<std::string, std::string> aliases_;         ///< of the instances, with the path of each
    std::map<std::string, std::set<std::string>> paths_; ///< of the instances, with what kinds each is of
};

} // namespace

document read(const std::string& text, const std::set<std::string>& absent) {
    checker checker(absent);
    const auto add = [&checker](auto& context) {
        checker.add(x3::_attr(context));
    };
    const auto document = *grammar::qualifier >> *grammar::classDeclaration[add] >> *grammar::instance[add];
    auto at = text.begin();
    x3::phrase_parse(at, text.end(), document, grammar::ignored);
    require(at == text.end(), "cannot read on at " + std::string(at, text.end()));
    return checker.checked;
}

json instancesOf(const json& jsonDocument) {
    json instances = json::array();
    for (const auto& query : jsonDocument["queries"])
        for (auto instance : query["instances"]) {
            instance.erase("kernel"); // which is the program's own: MOF has what the plug-in set
            // One association may be found for several devices: they share its path, and MOF has it once.
            if (std::find(instances.begin(), instances.end(), instance) == instances.end())
                instances.push_back(instance);
        }
    return instances;
}

} // namespace mof
