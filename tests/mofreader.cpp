#include "tests/mofreader.h"

#include <algorithm>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

using nlohmann::json;

namespace mof {

namespace {

void require(bool holds, const std::string& otherwise) {
    if (!holds)
        throw std::runtime_error(otherwise);
}

bool startsWith(const std::string& line, const char* beginning) { return line.rfind(beginning, 0) == 0; }

std::vector<std::string> wordsOf(const std::string& line) {
    std::istringstream words(line);
    return {std::istream_iterator<std::string>(words), {}};
}

/// Reads a document line by line.
class reader {
public:
    explicit reader(const std::string& text) : lines_(text) {
        require(std::all_of(text.begin(), text.end(), [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }),
                "a character that is not printed");
    }

    document read() {
        for (std::string line; std::getline(lines_, line);) {
            const auto words = wordsOf(line); // instance of CLASS as ALIAS
            if (words.size() == 5 && words[0] == "instance")
                readInstance(words[2], words[4]);
            else if (read_.instances.empty())
                readDeclaration(line);
            else
                require(line.empty() || startsWith(line, "//"), "cannot read " + line);
        }
        return read_;
    }

private:
    void readDeclaration(const std::string& line) {
        const auto words = wordsOf(line);
        if (startsWith(line, "class ")) {
            declared_ = words.at(1);
            if (words.size() == 4) { // class NAME : BASE
                read_.classes[declared_] = read_.classes.at(words[3]);
                keys_[declared_] = keys_.at(words[3]);
            }
        } else if (startsWith(line, "    [")) {
            isKey_ = startsWith(line, "    [Key, ");
        } else if (startsWith(line, "    ") && line.back() == ';') {
            const std::string name = words.back().substr(0, words.back().find_first_of("[;"));
            read_.classes[declared_].insert(name);
            if (isKey_)
                keys_[declared_].insert(name);
        }
    }

    void readInstance(const std::string& className, const std::string& alias) {
        const auto& declared = read_.classes.at(className);
        json properties = json::object();
        std::string line;
        std::getline(lines_, line);
        require(line == "{", "expected {, found " + line);
        while (std::getline(lines_, line) && line != "};") {
            if (startsWith(line, "    //"))
                continue;
            const std::size_t equals = line.find(" = ");
            require(startsWith(line, "    ") && equals != std::string::npos && line.back() == ';',
                    "not whole: " + line);
            const std::string name = line.substr(4, equals - 4);
            require(declared.count(name) != 0, "there is no property " + name);
            const json value = valueOf(line.substr(equals + 3, line.size() - equals - 4));
            require(properties.emplace(name, value).second, name + " is set twice");
        }
        require(line == "};", "the document ends in an instance");
        const std::string path = objectPath(className, properties);
        require(paths_.insert(path).second, "a second instance with the path " + path);
        require(aliases_.emplace(alias, path).second, "a second instance with the alias " + alias);
        read_.instances.push_back({{"class", className}, {"properties", properties}});
    }

    /// A value in JSON; of an alias the path of its instance.
    json valueOf(std::string text) const {
        if (startsWith(text, "$"))
            return aliases_.at(text);
        if (startsWith(text, "{"))
            text = '[' + text.substr(1, text.size() - 2) + ']';
        for (std::size_t at = text.find('\\'); at != std::string::npos; at = text.find('\\', at + 2)) {
            require(text.find_first_of("\"\\x", at + 1) == at + 1, "no escape of MOF: " + text.substr(at));
            if (text[at + 1] == 'x')
                text[at + 1] = 'u'; // with four digits of the character's code behind it in both
        }
        json value = json::parse(text);
        require(!value.is_string() || paths_.count(value) == 0, "names an instance without its alias: " + text);
        return value;
    }

    /// CLASS.KEY=VALUE,... with the keys in alphabetical order.
    std::string objectPath(const std::string& className, const json& properties) const {
        std::ostringstream path;
        path << className;
        char separator = '.';
        for (const std::string& key : keys_.at(className)) {
            path << std::exchange(separator, ',') << key << '=';
            const json& value = properties.at(key);
            value.is_string() ? path << std::quoted(value.get<std::string>()) : path << value;
        }
        return path.str();
    }

    std::istringstream lines_;
    document read_;
    std::string declared_;                              ///< the class whose properties are read
    bool isKey_ = false;                                ///< is the next property one?
    std::map<std::string, std::set<std::string>> keys_; ///< of each class
    std::map<std::string, std::string> aliases_;        ///< of the instances, with the path of each
    std::set<std::string> paths_;                       ///< of the instances
};

} // namespace

document read(const std::string& text) { return reader(text).read(); }

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
