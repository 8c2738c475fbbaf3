#include "inventory/output.h"

#include "inventory/instancetext.h"
#include "minihost/cimcontent.h"
#include "text/forms.h"

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

json kernelNamesToJson(const sys::kernelWords& known) {
    json result;
    result["names"] = json::array();
    for (const auto& name : known.names)
        result["names"].push_back(bytesAsCodePoints(name));
    if (!known.wwid.empty())
        result["wwid"] = bytesAsCodePoints(known.wwid);
    return result;
}

json instanceToJson(const minihost::memoryInstance& instance, const sys::kernelWordMap& kernelNames) {
    json properties = json::object();
    for (const auto& [name, value] : instance.properties())
        properties[bytesAsCodePoints(name)] = std::visit(valueToJson(), value.Content().value);
    json result;
    result["class"] = instance.declaration().name;
    if (const auto* const known = findKernelNames(kernelNames, instance))
        result["kernel"] = kernelNamesToJson(*known);
    result["properties"] = std::move(properties);
    return result;
}

json queryToJson(const queryResult& query, const sys::kernelWordMap& kernelNames) {
    json instances = json::array();
    for (const auto& instance : query.instances)
        instances.push_back(instanceToJson(*instance, kernelNames));
    json result;
    result["classes"] = query.classes;
    result["instances"] = std::move(instances);
    if (query.error)
        result["error"] = bytesAsCodePoints(*query.error);
    return result;
}

json nodesToJson(const coverage& seen) {
    json refused = json::array(), silent = json::array();
    for (const auto& node : seen.nodes.refused)
        refused.push_back({{"node", bytesAsCodePoints(node.path)}, {"error", node.why}});
    for (const auto& node : seen.nodes.silent)
        silent.push_back(bytesAsCodePoints(node.path));
    return {{"present", seen.nodes.present}, {"refused", std::move(refused)}, {"silent", std::move(silent)}};
}

/// The remarks, and of the log what tells of failures.
json messagesToJson(const messageList& messages) {
    constexpr int lastLevel = 1; // above it the log is a trace
    json list = json::array();
    for (const auto& each : messages.all()) {
        const json text = bytesAsCodePoints(each.text);
        if (each.from == message::program)
            list.push_back({{"from", "program"}, {"text", text}});
        else if (each.level <= lastLevel)
            list.push_back({{"from", "plug-in"}, {"level", each.level}, {"text", text}, {"count", each.count}});
    }
    return list;
}

} // namespace

void writeJson(const runResult& result, std::ostream& output) {
    json queries = json::array();
    for (const auto& query : result.queries)
        queries.push_back(queryToJson(query, result.kernelNames));
    json document;
    document["formatVersion"] = 1;
    document["program"] = {{"name", "scsidev-inventory"}, {"version", SCSIDEV_VERSION}};
    document["machine"] = bytesAsCodePoints(result.machineName);
    document["simulated"] = result.simulated;
    document["complete"] = result.isComplete();
    document["exitStatus"] = result.status();
    if (result.error)
        document["error"] = bytesAsCodePoints(*result.error);
    document["nodes"] = nodesToJson(result.seen);
    document["messages"] = messagesToJson(result.messages);
    document["queries"] = std::move(queries);
    constexpr bool onlyAscii = true; // C1 control characters could drive a terminal
    output << document.dump(2, ' ', onlyAscii) << '\n';
}

} // namespace inventory
