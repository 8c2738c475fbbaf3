#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace sys {

/// The members of an object with all that have the same name, of which nlohmann::json would keep the last.
template <typename Name, typename Value, typename... Rest>
struct jsonMembers : std::multimap<Name, Value, Rest...> {
    using std::multimap<Name, Value, Rest...>::multimap;
    Value& operator[](const Name& name) { return this->emplace(name, nullptr)->second; }
};

using jsonTree = nlohmann::basic_json<jsonMembers>;

/// Parses a document. Throws std::runtime_error for what is no JSON and for more values than a machine file can need.
jsonTree parseJson(const std::string& text);

/// A value in a JSON document together with where it stands. Every failure is a std::runtime_error of a bounded length
/// that names the place.
class jsonPlace {
public:
    /// The whole document, which has to outlive its places.
    explicit jsonPlace(const jsonTree& document) : value_(document) {}

    const jsonTree& value() const { return value_; }

    /// A text whose code points up to 255 become the bytes of the same number.
    std::string text() const;
    long long number(long long least, long long largest) const;

    /// The elements of a list; of another value, that alone.
    std::vector<jsonPlace> elements() const;
    /// The members of an object, by name, which is read like a text. `expected` is for the error where it is none.
    std::map<std::string, jsonPlace> members(const std::string& expected) const;

    /// Throws: "PLACE: expected EXPECTED, found ...".
    [[noreturn]] void fail(const std::string& expected) const;
    /// Throws: "PLACE: WHY".
    [[noreturn]] void refuse(const std::string& why) const;

private:
    jsonPlace(const jsonTree& value, std::string place) : value_(value), place_(std::move(place)) {}
    std::string bytesOf(const std::string& utf8) const;

    const jsonTree& value_;
    std::string place_; // nodes["/dev/sg0"].inquiry[1]; "" of the document
};

} // namespace sys
