#include "system/jsonplace.h"

#include <algorithm>
#include <stdexcept>

namespace sys {

namespace {

constexpr std::ptrdiff_t mostValues = 65536; // recorded files have hundreds; a value takes far more memory than text

constexpr std::size_t longestExcerpt = 40; // characters of the file that an error shows
constexpr std::size_t longestReason = 150;

std::string shortened(const std::string& text, std::size_t longest) {
    return text.size() <= longest ? text : text.substr(0, longest) + "...";
}

std::string excerpt(const jsonTree& value) {
    if (value.is_structured())
        return value.is_array() ? "a list" : "an object";
    return shortened(value.dump(-1, ' ', true), longestExcerpt);
}

} // namespace

jsonTree parseJson(const std::string& text) {
    const auto beginsValue = [](char c) {
        return c == '[' || c == '{' || c == ',';
    };
    if (std::count_if(text.begin(), text.end(), beginsValue) > mostValues)
        throw std::runtime_error("too many values, expected at most " + std::to_string(mostValues));
    try {
        return jsonTree::parse(text);
    } catch (const jsonTree::exception& error) {
        const std::string message = error.what(); // begins with the parser's name for the error, in brackets
        throw std::runtime_error("not a JSON document: " +
                                 shortened(message.substr(message.find("] ") + 2), longestReason));
    }
}

void jsonPlace::fail(const std::string& expected) const {
    refuse("expected " + expected + ", found " + excerpt(value_));
}

void jsonPlace::refuse(const std::string& why) const {
    throw std::runtime_error((place_.empty() ? "the document" : place_) + ": " + why);
}

std::string jsonPlace::text() const {
    if (!value_.is_string())
        fail("a text");
    return bytesOf(value_.get_ref<const std::string&>());
}

/// The parser lets only valid UTF-8 through, in which a first byte above 0xC3 begins a code point above U+00FF.
std::string jsonPlace::bytesOf(const std::string& utf8) const {
    std::string result;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto byte = static_cast<unsigned char>(utf8[i]);
        if (byte > 0xC3)
            fail("characters up to U+00FF");
        result += byte < 0x80 ? utf8[i] : static_cast<char>((byte & 0x03) << 6 | (utf8[++i] & 0x3F));
    }
    return result;
}

long long jsonPlace::number(long long least, long long largest) const {
    // An unsigned number that a signed one cannot hold turns negative in get(); none that large is allowed.
    const bool fits = value_.is_number_integer() && (!value_.is_number_unsigned() || value_.get<long long>() >= 0);
    const long long number = fits ? value_.get<long long>() : 0;
    if (!fits || number < least || number > largest)
        fail("a whole number from " + std::to_string(least) + " to " + std::to_string(largest));
    return number;
}

std::vector<jsonPlace> jsonPlace::elements() const {
    if (!value_.is_array())
        return {*this};
    std::vector<jsonPlace> elements;
    for (const auto& element : value_)
        elements.push_back({element, place_ + '[' + std::to_string(elements.size()) + ']'});
    return elements;
}

std::map<std::string, jsonPlace> jsonPlace::members(const std::string& expected) const {
    if (!value_.is_object())
        fail(expected);
    std::map<std::string, jsonPlace> members;
    for (const auto& [name, value] : value_.get_ref<const jsonTree::object_t&>()) {
        const bool isPlain = name.size() <= longestExcerpt && name[0] >= 'a' && name[0] <= 'z'; // else it is quoted
        const std::string step = isPlain ? (place_.empty() ? "" : ".") + name : '[' + excerpt(name) + ']';
        const jsonPlace member(value, place_ + step);
        if (!members.emplace(bytesOf(name), member).second)
            member.refuse("a second member of that name");
    }
    return members;
}

} // namespace sys
