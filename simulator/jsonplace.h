#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace simulator {

/// A value in a JSON document together with where it stands, for errors that name the place.
///
/// Cheap to copy; the document lives as long as any of its places. Every failure is a machineFileError.
class jsonPlace {
public:
    /// The whole document; `file` names it in errors.
    static jsonPlace parse(const std::string& text, const std::string& file);

    bool isText() const { return value_->is_string(); }
    bool isList() const { return value_->is_array(); }
    bool isObject() const { return value_->is_object(); }
    bool isWholeNumber() const { return value_->is_number_integer(); }
    bool isTrue() const { return value_->is_boolean() && value_->get<bool>(); }

    /// A text whose code points up to 255 become the bytes of the same number.
    std::string text() const;
    int number(long long least, long long largest) const;

    /// A member of an object; the object and the member must be there.
    jsonPlace member(const char* name) const;
    /// A member of an object, if it has it.
    std::optional<jsonPlace> find(const char* name) const;
    /// Refuses an object that has other members than these, and what is no object.
    void allowMembers(const std::vector<const char*>& names) const;

    void forEachElement(const char* expected, const std::function<void(const jsonPlace&)>& use) const;
    void forEachMember(const char* expected,
                       const std::function<void(const std::string& name, const jsonPlace&)>& use) const;

    /// Adds to the one total that all places of a document share, 0 at first, and returns it.
    std::size_t addToTotal(std::size_t amount) const { return *total_ += amount; }

    /// Throws: "FILE: PLACE: expected EXPECTED, found ...".
    [[noreturn]] void fail(const std::string& expected) const;

private:
    using document = std::shared_ptr<const nlohmann::json>;
    jsonPlace(document whole, const nlohmann::json* value, std::string file, std::string place)
        : whole_(std::move(whole)), value_(value), file_(std::move(file)), place_(std::move(place)) {}
    jsonPlace at(const nlohmann::json& value, const std::string& step) const;

    document whole_;
    std::shared_ptr<std::size_t> total_ = std::make_shared<std::size_t>(0);
    const nlohmann::json* value_;
    std::string file_;
    std::string place_;
};

} // namespace simulator
