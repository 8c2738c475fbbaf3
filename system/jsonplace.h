#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <functional>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace sys {

/// A machine file that cannot be used. The text names the file, the place in it and what was expected there.
class machineFileError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A JSON document, and the name of its file for errors.
struct jsonDocument {
    std::string file;
    nlohmann::json value;
};

/// Reads a document. Throws machineFileError for what is no JSON, for an object with two members of the same name, and
/// for more values than a machine file can need.
jsonDocument parseJson(const std::string& text, const std::string& file);

/// A value in a JSON document together with where it stands, for errors that name the place.
///
/// Cheap to make: only an error puts the place into words. Points to the document and to the place that it was found
/// in, which both have to outlive it. Every failure is a machineFileError of a bounded length.
class jsonPlace {
public:
    /// The whole document.
    explicit jsonPlace(const jsonDocument& document) : document_(document), value_(document.value) {}

    bool isText() const { return value_.is_string(); }
    bool isList() const { return value_.is_array(); }
    bool isObject() const { return value_.is_object(); }
    bool isWholeNumber() const { return value_.is_number_integer(); }
    bool isTrue() const { return value_.is_boolean() && value_.get<bool>(); }
    bool isFalse() const { return value_.is_boolean() && !value_.get<bool>(); }

    /// A text whose code points up to 255 become the bytes of the same number.
    std::string text() const;
    /// The name of this member in its object, read like a text.
    std::string name() const;
    long long number(long long least, long long largest) const;
    /// Any number that the type can hold.
    template <typename Number>
    Number number() const {
        return static_cast<Number>(number(std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max()));
    }

    /// The member called `name`. Fails where there is none.
    jsonPlace member(const char* name) const;
    /// The same, but returns none where there is none.
    std::optional<jsonPlace> find(const char* name) const;
    /// Fails for an object with other members than these. `expected` is for the error where there is no object.
    void allowMembers(const std::vector<const char*>& names, const std::string& expected = "an object") const;

    void forEachElement(const std::string& expected, const std::function<void(const jsonPlace&)>& use) const;
    void forEachMember(const std::string& expected, const std::function<void(const jsonPlace&)>& use) const;

    /// Throws: "FILE: PLACE: expected EXPECTED, found ...".
    [[noreturn]] void fail(const std::string& expected) const;

private:
    jsonPlace(const jsonPlace& parent, const nlohmann::json& value, const std::string* name, std::size_t index = 0)
        : document_(parent.document_), value_(value), parent_(&parent), name_(name), index_(index) {}
    std::string bytesOf(const std::string& utf8) const;
    [[noreturn]] void failWith(const std::string& message) const;

    const jsonDocument& document_;
    const nlohmann::json& value_;
    const jsonPlace* parent_ = nullptr; // null: the whole document
    const std::string* name_ = nullptr; // of this member of the parent; null: an element
    std::size_t index_ = 0;             // of this element
};

} // namespace sys
