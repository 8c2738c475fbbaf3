#include "minihost/cimcontent.h"

#include <boost/algorithm/string/replace.hpp>

#include <stdexcept>
#include <utility>

namespace NHALDEN20 {

TCIMReference::TCIMReference(boost::shared_ptr<ICIMNamespace> /*ns*/, TContext keys)
    : content_(new TContent{std::move(keys), ""}) {}
TCIMReference::TCIMReference(const TCIMReference& other) : content_(new TContent(*other.content_)) {}
TCIMReference& TCIMReference::operator=(const TCIMReference& other) {
    content_ = std::make_unique<TContent>(*other.content_);
    return *this;
}
TCIMReference::~TCIMReference() = default;

TCIMValue::TCIMValue() : content_(new TContent) {}
TCIMValue::TCIMValue(const std::string& text) : content_(new TContent{text}) {}
TCIMValue::TCIMValue(const char* text) : content_(new TContent{std::string(text)}) {}
TCIMValue::TCIMValue(bool flag) : content_(new TContent{flag}) {}
TCIMValue::TCIMValue(unsigned short number) : content_(new TContent{number}) {}
TCIMValue::TCIMValue(TCIMReference& reference) : content_(new TContent{reference}) {}
TCIMValue::TCIMValue(TCIMType /*type*/, unsigned int /*count*/, const std::vector<TCIMValue>& elements)
    : content_(new TContent{elements}) {}
TCIMValue::TCIMValue(const TCIMValue& other) : content_(new TContent(*other.content_)) {}
TCIMValue& TCIMValue::operator=(const TCIMValue& other) {
    content_ = std::make_unique<TContent>(*other.content_); // copied first: it can be an element of this array
    return *this;
}
TCIMValue::~TCIMValue() = default;

TCIMValue::operator std::string() const {
    if (const auto* text = std::get_if<std::string>(&content_->value))
        return *text;
    throw std::runtime_error("a CIM value that is no string was read as one");
}

TCIMValue::operator std::vector<TCIMValue>&() {
    if (!content_->isArray())
        content_->value = std::vector<TCIMValue>();
    return std::get<std::vector<TCIMValue>>(content_->value);
}

} // namespace NHALDEN20

namespace minihost {

namespace {

std::string quoted(const std::string& text) {
    return '"' + boost::replace_all_copy(boost::replace_all_copy(text, "\\", "\\\\"), "\"", "\\\"") + '"';
}

struct contentText {
    std::string operator()(std::monostate /*empty*/) const { return ""; }
    std::string operator()(const std::string& text) const { return form(text); }
    std::string operator()(bool flag) const { return flag ? "true" : "false"; }
    std::string operator()(std::uint16_t number) const { return std::to_string(number); }
    std::string operator()(const NHALDEN20::TCIMReference& reference) const { return form(objectPath(reference)); }
    std::string operator()(const std::vector<NHALDEN20::TCIMValue>& elements) const {
        std::string list;
        for (const auto& element : elements)
            list += (list.empty() ? "" : ", ") + valueText(element, form);
        return list;
    }

    textForm form;
};

} // namespace

std::string objectPath(const NHALDEN20::TCIMReference& reference) {
    std::string path = reference.Content().className;
    char separator = '.';
    for (const auto& [name, value] : reference.Content().keys) {
        path.append(1, separator).append(name).append(1, '=').append(valueText(value, quoted));
        separator = ',';
    }
    return path;
}

std::string valueText(const NHALDEN20::TCIMValue& value, textForm form) {
    return std::visit(contentText{form}, value.Content().value);
}

} // namespace minihost
