#include "inventory/jsonoutput.h"

#include "minihost/cimcontent.h"
#include "text/codepoints.h"

#include <nlohmann/json.hpp>

#include <utility>
#include <variant>

namespace inventory {

using json = nlohmann::ordered_json;
using text::bytesAsCodePoints;

namespace {

struct valueToJson {
    json operator()(std::monostate /*empty*/) const { return nullptr; }
    json operator()(const std::string& text) const { return bytesAsCodePoints(text); }
    json operator()(bool flag) const { return flag; }
    json operator()(std::uint16_t number) const { return number; }
    json operator()(const NHALDEN20::TCIMReference& reference) const {
        return bytesAsCodePoints(minihost::objectPath(reference));
    }
    json operator()(const std::vector<NHALDEN20::TCIMValue>& elements) const {
        json list = json::array();
        for (const auto& element : elements)
            list.push_back(std::visit(*this, element.Content().value));
        return list;
    }
};

json instanceToJson(const minihost::memoryInstance& instance) {
    json properties = json::object();
    for (const auto& [name, value] : instance.properties())
        properties[bytesAsCodePoints(name)] = std::visit(valueToJson(), value.Content().value);
    json result;
    result["class"] = instance.declaration().name;
    result["properties"] = std::move(properties);
    return result;
}

json queryToJson(const queryResult& query) {
    json instances = json::array();
    for (const auto& instance : query.instances)
        instances.push_back(instanceToJson(*instance));
    json result;
    result["classes"] = query.classes;
    result["instances"] = std::move(instances);
    if (query.error)
        result["error"] = bytesAsCodePoints(*query.error);
    return result;
}

} // namespace

void writeJson(const runResult& result, std::ostream& output) {
    json queries = json::array();
    for (const auto& query : result.queries)
        queries.push_back(queryToJson(query));
    json document;
    document["machine"] = bytesAsCodePoints(result.machineName);
    document["queries"] = std::move(queries);
    constexpr bool onlyAscii = true; // C1 control characters could drive a terminal
    output << document.dump(2, ' ', onlyAscii) << '\n';
}

} // namespace inventory
