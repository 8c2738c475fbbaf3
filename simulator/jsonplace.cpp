#include "simulator/jsonplace.h"

#include "simulator/machinefile.h"

#include <algorithm>
#include <set>
#include <vector>

namespace simulator {

using nlohmann::json;

namespace {

constexpr int deepestNesting = 16;        // levels; machine files have 7
constexpr std::size_t mostValues = 65536; // recorded files have hundreds; the parser slows with the square of them

/// Refuses what would cost far more memory than the text, and a member that an object has twice: the parser alone would
/// drop the first.
class documentCheck {
public:
    bool operator()(int depth, json::parse_event_t event, const json& parsed) {
        const bool opens = event == json::parse_event_t::object_start || event == json::parse_event_t::array_start;
        if (opens && depth >= deepestNesting)
            throw std::invalid_argument("nested too deep, expected at most " + std::to_string(deepestNesting) +
                                        " levels");
        if ((opens || event == json::parse_event_t::value) && ++values_ > mostValues)
            throw std::invalid_argument("too many values, expected at most " + std::to_string(mostValues));
        if (event == json::parse_event_t::object_start) {
            open_.emplace_back();
        } else if (event == json::parse_event_t::object_end) {
            open_.pop_back();
        } else if (event == json::parse_event_t::key && !open_.back().insert(parsed.get<std::string>()).second) {
            throw std::invalid_argument("the member " + parsed.dump() + " stands twice in one object");
        }
        return true;
    }

private:
    std::vector<std::set<std::string>> open_;
    std::size_t values_ = 0;
};

/// What the parser says of an error, without its own name in brackets.
std::string withoutTag(const std::string& message) {
    const std::size_t tag = message.find("] ");
    return tag == std::string::npos ? message : message.substr(tag + 2);
}

std::string excerpt(const json& value) {
    constexpr std::size_t longest = 40;
    if (value.is_structured())
        return value.is_array() ? "a list" : "an object";
    const std::string text = value.dump(-1, ' ', true, json::error_handler_t::replace);
    return text.size() <= longest ? text : text.substr(0, longest) + "...";
}

} // namespace

jsonPlace jsonPlace::parse(const std::string& text, const std::string& file) {
    try {
        const auto whole = std::make_shared<const json>(json::parse(text, documentCheck()));
        return {whole, whole.get(), file, ""};
    } catch (const json::exception& failure) {
        throw machineFileError(file + ": not a JSON document: " + withoutTag(failure.what()));
    } catch (const std::invalid_argument& failure) {
        throw machineFileError(file + ": " + failure.what());
    }
}

void jsonPlace::fail(const std::string& expected) const {
    throw machineFileError(file_ + ": " + (place_.empty() ? "the document" : place_) + ": expected " + expected +
                           ", found " + excerpt(*value_));
}

jsonPlace jsonPlace::at(const json& value, const std::string& step) const {
    jsonPlace place = *this;
    place.value_ = &value;
    place.place_ += step;
    return place;
}

std::string jsonPlace::text() const {
    if (!isText())
        fail("a text");
    // The parser has checked the UTF-8: a byte of a longer sequence than two stands for a larger code point.
    const auto& utf8 = value_->get_ref<const std::string&>();
    std::string result;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto byte = static_cast<unsigned char>(utf8[i]);
        if (byte > 0xC3)
            fail("characters up to U+00FF");
        result += byte < 0x80 ? utf8[i] : static_cast<char>((byte & 0x03) << 6 | (utf8[++i] & 0x3F));
    }
    return result;
}

int jsonPlace::number(long long least, long long largest) const {
    const std::string expected = "a whole number from " + std::to_string(least) + " to " + std::to_string(largest);
    if (!value_->is_number_integer())
        fail(expected);
    if (value_->is_number_unsigned() && value_->get<unsigned long long>() > static_cast<unsigned long long>(largest))
        fail(expected);
    const auto number = value_->get<long long>();
    if (number < least || number > largest)
        fail(expected);
    return static_cast<int>(number);
}

std::optional<jsonPlace> jsonPlace::find(const char* name) const {
    if (!value_->is_object())
        fail("an object");
    const auto found = value_->find(name);
    if (found == value_->end())
        return std::nullopt;
    const bool plain = std::string(name).find_first_not_of("0123456789") != std::string::npos;
    return at(*found, plain ? (place_.empty() ? name : std::string(".") + name) : '[' + std::string(name) + ']');
}

jsonPlace jsonPlace::member(const char* name) const {
    const auto found = find(name);
    if (!found)
        fail(std::string("a member \"") + name + '"');
    return *found;
}

void jsonPlace::allowMembers(const std::vector<const char*>& names) const {
    if (!value_->is_object())
        fail("an object");
    for (const auto& [name, value] : value_->items()) {
        const std::string& given = name;
        if (std::any_of(names.begin(), names.end(), [&given](const char* known) { return given == known; }))
            continue;
        std::string known;
        for (const char* candidate : names)
            known += (known.empty() ? "" : ", ") + std::string(candidate);
        throw machineFileError(file_ + ": " + (place_.empty() ? "the document" : place_) + ": unknown member " +
                               json(name).dump(-1, ' ', true) + ", expected one of " + known);
    }
}

void jsonPlace::forEachElement(const char* expected, const std::function<void(const jsonPlace&)>& use) const {
    if (!isList())
        fail(expected);
    for (std::size_t i = 0; i < value_->size(); ++i)
        use(at((*value_)[i], '[' + std::to_string(i) + ']'));
}

void jsonPlace::forEachMember(const char* expected,
                              const std::function<void(const std::string&, const jsonPlace&)>& use) const {
    if (!value_->is_object())
        fail(expected);
    for (const auto& [name, value] : value_->items())
        use(name, at(value, '[' + json(name).dump(-1, ' ', true) + ']'));
}

} // namespace simulator
