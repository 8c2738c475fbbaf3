#include "system/jsonplace.h"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>
#include <set>

namespace sys {

using nlohmann::json;

namespace {

constexpr std::size_t mostValues = 65536; // recorded files have hundreds; a value takes far more memory than text

constexpr std::size_t longestExcerpt = 40; // characters of the file that an error shows
constexpr std::size_t longestPlace = 60;
constexpr std::size_t longestReason = 150;

std::string shortened(const std::string& text, std::size_t longest) {
    return text.size() <= longest ? text : text.substr(0, longest) + "...";
}

std::string quoted(const std::string& text) {
    constexpr std::size_t longestCharacter = 4; // bytes; a character that is cut in two here is dropped below
    const json start = text.substr(0, longestExcerpt + longestCharacter);
    return shortened(start.dump(-1, ' ', true, json::error_handler_t::replace), longestExcerpt);
}

std::string excerpt(const json& value) {
    if (value.is_structured())
        return value.is_array() ? "a list" : "an object";
    return value.is_string() ? quoted(value.get_ref<const std::string&>()) : value.dump();
}

/// The step to a member, in the words of an error: .inquiry, ["/dev/sg0"].
std::string stepText(const std::string& name) {
    const auto isLetter = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    };
    const bool isPlain = name.size() <= longestExcerpt && std::all_of(name.begin(), name.end(), isLetter);
    return isPlain ? '.' + name : '[' + quoted(name) + ']';
}

/// Where a value stands in the document: nodes["/dev/sg0"].inquiry[1]. The middle of a long text is left out.
std::string placeText(const std::string& steps) {
    if (steps.empty())
        return "the document";
    std::string text = steps.substr(steps[0] == '.' ? 1 : 0);
    if (text.size() <= longestPlace)
        return text;
    return text.substr(0, longestPlace / 2) + "..." + text.substr(text.size() - longestPlace / 2);
}

/// Refuses what json::parse() would take: more values than a machine file can need, and two members of the same name,
/// of which it would keep the last. Its own callbacks could tell both, but they search all members of an object when
/// one of them ends: 30000 nodes took 5 seconds and more.
class documentCheck : public nlohmann::json_sax<json> {
public:
    explicit documentCheck(const std::string& file) : file_(file) {}

    bool null() override { return count(); }
    bool boolean(bool /*value*/) override { return count(); }
    bool number_integer(json::number_integer_t /*value*/) override { return count(); }
    bool number_unsigned(json::number_unsigned_t /*value*/) override { return count(); }
    bool number_float(json::number_float_t /*value*/, const std::string& /*text*/) override { return count(); }
    bool string(std::string& /*value*/) override { return count(); }
    bool binary(json::binary_t& /*value*/) override { return count(); }
    bool start_array(std::size_t /*size*/) override { return count(); }
    bool end_array() override { return true; }
    bool start_object(std::size_t /*size*/) override {
        open_.emplace_back();
        return count();
    }
    bool end_object() override {
        open_.pop_back();
        return true;
    }
    bool key(std::string& name) override {
        const auto [member, isNew] = open_.back().names.insert(name);
        if (!isNew)
            fail(placeText(openSteps()) + ": the member " + quoted(*member) + " stands twice");
        open_.back().last = &*member;
        return true;
    }
    bool parse_error(std::size_t /*position*/, const std::string& /*lastRead*/, const json::exception& error) override {
        const std::string message = error.what(); // begins with the parser's name for the error, in brackets
        fail("not a JSON document: " + shortened(message.substr(message.find("] ") + 2), longestReason));
    }

private:
    /// An object whose end is not read yet.
    struct object {
        std::set<std::string> names;       // of its members
        const std::string* last = nullptr; // the name of the member that is being read
    };

    bool count() {
        if (++values_ > mostValues)
            fail("too many values, expected at most " + std::to_string(mostValues));
        return true;
    }
    /// The steps to the object that is being read, without the elements of lists.
    std::string openSteps() const {
        std::string steps;
        for (std::size_t i = 0; i + 1 < open_.size(); ++i)
            steps += stepText(*open_[i].last);
        return steps;
    }
    [[noreturn]] void fail(const std::string& message) const { throw machineFileError(file_ + ": " + message); }

    const std::string& file_;
    std::vector<object> open_;
    std::size_t values_ = 0;
};

} // namespace

jsonDocument parseJson(const std::string& text, const std::string& file) {
    documentCheck check(file);
    json::sax_parse(text, &check);
    return {file, json::parse(text)};
}

void jsonPlace::failWith(const std::string& message) const {
    std::string steps;
    for (const jsonPlace* place = this; place->parent_ != nullptr; place = place->parent_)
        steps.insert(0, place->name_ == nullptr ? '[' + std::to_string(place->index_) + ']' : stepText(*place->name_));
    throw machineFileError(document_.file + ": " + placeText(steps) + ": " + message);
}

void jsonPlace::fail(const std::string& expected) const {
    failWith("expected " + expected + ", found " + excerpt(value_));
}

std::string jsonPlace::text() const {
    if (!isText())
        fail("a text");
    return bytesOf(value_.get_ref<const std::string&>());
}

std::string jsonPlace::name() const { return bytesOf(*name_); }

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
    const bool fits = isWholeNumber() && (!value_.is_number_unsigned() || value_.get<long long>() >= 0);
    const long long number = fits ? value_.get<long long>() : 0;
    if (!fits || number < least || number > largest)
        fail("a whole number from " + std::to_string(least) + " to " + std::to_string(largest));
    return number;
}

std::optional<jsonPlace> jsonPlace::find(const char* name) const {
    const auto found = value_.find(name);
    if (found == value_.end())
        return std::nullopt;
    return jsonPlace(*this, *found, &found.key());
}

jsonPlace jsonPlace::member(const char* name) const {
    const auto found = find(name);
    if (!found)
        fail(std::string("a member \"") + name + '"');
    return *found;
}

void jsonPlace::allowMembers(const std::vector<const char*>& names, const std::string& expected) const {
    forEachMember(expected, [&names, this](const jsonPlace& member) {
        if (std::find(names.begin(), names.end(), *member.name_) == names.end())
            failWith("unknown member " + quoted(*member.name_) + ", expected " + (names.size() == 1 ? "" : "one of ") +
                     boost::join(std::vector<std::string>(names.begin(), names.end()), ", "));
    });
}

void jsonPlace::forEachElement(const std::string& expected, const std::function<void(const jsonPlace&)>& use) const {
    if (!isList())
        fail(expected);
    for (std::size_t i = 0; i < value_.size(); ++i)
        use(jsonPlace(*this, value_[i], nullptr, i));
}

void jsonPlace::forEachMember(const std::string& expected, const std::function<void(const jsonPlace&)>& use) const {
    if (!isObject())
        fail(expected);
    for (const auto& [name, value] : value_.get_ref<const json::object_t&>())
        use(jsonPlace(*this, value, &name));
}

} // namespace sys
