#include "minihost/cimcontent.h"

#include <boost/make_shared.hpp>

#include <stdexcept>
#include <utility>

namespace NHALDEN20 {

TCIMReference::TCIMReference(boost::shared_ptr<ICIMNamespace> ns, TContext keys)
    : content_(new TContent{std::move(ns), boost::make_shared<TContext>(std::move(keys)), ""}) {}
TCIMReference::TCIMReference(const TCIMReference& other) : content_(new TContent(*other.content_)) {}
TCIMReference& TCIMReference::operator=(const TCIMReference& other) {
    *content_ = *other.content_;
    return *this;
}
TCIMReference::~TCIMReference() = default;

// Copy on write: most values are made, copied into an instance and destroyed, so a copy shares the content of its
// original. Only a content whose array was handed out by reference is copied itself, because its holder can change it
// at any time.
TCIMValue::TCIMValue() : content_(new TContent) {}
TCIMValue::TCIMValue(const std::string& text) : content_(new TContent(text)) {}
TCIMValue::TCIMValue(const char* text) : content_(new TContent(std::string(text))) {}
TCIMValue::TCIMValue(bool flag) : content_(new TContent(flag)) {}
TCIMValue::TCIMValue(unsigned short number) : content_(new TContent(number)) {}
TCIMValue::TCIMValue(TCIMReference& reference) : content_(new TContent(reference)) {}
TCIMValue::TCIMValue(TCIMType /*type*/, unsigned int /*count*/, const std::vector<TCIMValue>& elements)
    : content_(new TContent(elements)) {}
TCIMValue::TCIMValue(const TCIMValue& other)
    : content_(other.content_->isHandedOut ? new TContent(other.content_->value) : other.content_) {}
TCIMValue& TCIMValue::operator=(const TCIMValue& other) {
    TCIMValue copy(other);
    content_.swap(copy.content_);
    return *this;
}
TCIMValue::~TCIMValue() = default;

TCIMValue::operator std::string() const {
    if (const auto* text = std::get_if<std::string>(&content_->value))
        return *text;
    throw std::runtime_error("a CIM value that is no string was read as one");
}

// The caller may change the array through the reference, so the content becomes this value's own first.
TCIMValue::operator std::vector<TCIMValue>&() {
    if (!content_->isArray())
        content_ = new TContent(std::vector<TCIMValue>());
    else if (content_->use_count() > 1)
        content_ = new TContent(content_->value);
    content_->isHandedOut = true;
    return std::get<std::vector<TCIMValue>>(content_->value);
}

} // namespace NHALDEN20

namespace minihost {

namespace {

std::string quoted(const std::string& text) {
    std::string result = "\"";
    result.reserve(text.size() + 2);
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
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
    for (const auto& [name, value] : *reference.Content().keys) {
        path.append(1, separator).append(name).append(1, '=').append(valueText(value, quoted));
        separator = ',';
    }
    return path;
}

std::string valueText(const NHALDEN20::TCIMValue& value, textForm form) {
    return std::visit(contentText{form}, value.Content().value);
}

} // namespace minihost
