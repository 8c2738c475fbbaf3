#include "inventory/propertylist.h"

#include "inventory/escape.h"
#include "minihost/cimcontent.h"

#include <variant>

namespace inventory {

namespace {

struct valueToText {
    std::string operator()(std::monostate /*empty*/) const { return ""; }
    std::string operator()(const std::string& text) const { return escaped(text); }
    std::string operator()(bool flag) const { return flag ? "true" : "false"; }
    std::string operator()(std::uint16_t number) const { return std::to_string(number); }
    std::string operator()(const NHALDEN20::TCIMReference& reference) const {
        return escaped(minihost::objectPath(reference));
    }
    std::string operator()(const std::vector<NHALDEN20::TCIMValue>& elements) const {
        std::string list;
        for (const auto& element : elements)
            list += (list.empty() ? "" : ", ") + std::visit(*this, element.Content().value);
        return list;
    }
};

} // namespace

void writeProperties(const minihost::memoryInstance& instance, std::ostream& output) {
    for (const auto& [name, value] : instance.properties()) {
        const std::string text = std::visit(valueToText(), value.Content().value);
        output << "    " << escaped(name) << " =" << (text.empty() ? "" : " " + text) << '\n';
    }
}

} // namespace inventory
