#include "inventory/output.h"

#include "inventory/instancetext.h"
#include "minihost/cimcontent.h"
#include "system/boundary.h"
#include "system/jsonforms.h"
#include "text/forms.h"

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

/// Adds a text that is known.
void addText(json& target, const char* name, const std::string& text) {
    if (!text.empty())
        target[name] = bytesAsCodePoints(text);
}

json instanceToJson(const minihost::memoryInstance& instance, const runResult& result) {
    json properties = json::object();
    for (const auto& [name, value] : instance.properties())
        properties[bytesAsCodePoints(name)] = std::visit(valueToJson(), value.Content().value);
    json members;
    members["class"] = instance.declaration().name;
    const std::string node = nodeOf(instance); // the path of an IDE node has the kernel's name already
    const device* const owner = sys::sgNodeNumber(node) ? deviceAt(result.devices, node) : nullptr;
    if (owner != nullptr && !(owner->kernel.names.empty() && owner->kernel.wwid.empty())) {
        members["kernel"]["names"] = sys::toJson(owner->kernel.names);
        addText(members["kernel"], "wwid", owner->kernel.wwid);
    }
    members["properties"] = std::move(properties);
    return members;
}

json queryToJson(const queryResult& query, const runResult& run) {
    json instances = json::array();
    for (const auto& instance : query.instances)
        instances.push_back(instanceToJson(*instance, run));
    json result;
    result["classes"] = query.classes;
    result["instances"] = std::move(instances);
    if (query.error)
        result["error"] = bytesAsCodePoints(*query.error);
    return result;
}

json deviceToJson(const device& each) {
    json members{{"node", bytesAsCodePoints(each.node)}, {"state", nameOf(each.state)}};
    addText(members, "why", each.why);
    if (!each.kernel.empty())
        members["kernel"] = sys::toJson(each.kernel);
    addText(members, "address", each.address);
    addText(members, "type", each.type);
    addText(members, "vendor", each.vendor);
    addText(members, "product", each.product);
    addText(members, "model", each.model);
    addText(members, "revision", each.revision);
    addText(members, "serial", each.serial);
    if (!each.classes.empty())
        members["classes"] = each.classes;
    if (each.firmware != firmwareTie::notAskedFor)
        members["firmware"] = each.firmware == firmwareTie::tied       ? "tied"
                              : each.firmware == firmwareTie::anothers ? "another's"
                                                                       : "none";
    return members;
}

json nodesToJson(const std::vector<device>& devices) {
    json refused = json::array(), silent = json::array(), mistaken = json::array();
    for (const auto& each : devices) {
        const json node = bytesAsCodePoints(each.node);
        if (each.state == deviceState::refused)
            refused.push_back({{"node", node}, {"error", each.error}});
        else if (each.state == deviceState::silent)
            silent.push_back(node);
        else if (each.state == deviceState::mistaken)
            mistaken.push_back({{"node", node}, {"asked", bytesAsCodePoints(each.askedAt)}});
    }
    return {{"present", devices.size()},
            {"refused", std::move(refused)},
            {"silent", std::move(silent)},
            {"mistaken", std::move(mistaken)}};
}

/// The remarks, and of the log what tells of failures.
json messagesToJson(const std::vector<message>& messages) {
    constexpr int lastLevel = 1; // above it the log is a trace
    json list = json::array();
    for (const auto& each : messages) {
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
        queries.push_back(queryToJson(query, result));
    json devices = json::array();
    for (const auto& each : result.devices)
        devices.push_back(deviceToJson(each));
    json document;
    document["formatVersion"] = 1;
    document["program"] = {{"name", "scsidev-inventory"}, {"version", SCSIDEV_VERSION}};
    document["machine"] = bytesAsCodePoints(result.machineName);
    document["simulated"] = result.simulated;
    addText(document, "collected", result.seen.collected);
    document["complete"] = result.isComplete();
    document["exitStatus"] = result.status();
    if (result.error)
        document["error"] = bytesAsCodePoints(*result.error);
    document["nodes"] = nodesToJson(result.devices);
    document["devices"] = std::move(devices);
    document["messages"] = messagesToJson(result.messages);
    document["queries"] = std::move(queries);
    constexpr bool onlyAscii = true; // C1 control characters could drive a terminal
    output << document.dump(2, ' ', onlyAscii) << '\n';
}

} // namespace inventory
