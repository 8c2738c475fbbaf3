// The output formats on instances of any class with any values.

#include "fuzz/input.h"
#include "inventory/escape.h"
#include "inventory/jsonoutput.h"
#include "inventory/tableoutput.h"
#include "minihost/cimcontent.h"
#include "simulator/codepoints.h"

#include <nlohmann/json.hpp>

#include <sstream>

namespace {

constexpr const char* propertyNames[] = {"CreationClassName",    "DeviceID",   "SystemName",  "Name",
                                         "SoftwareElementId",    "Version",    "ElementName", "Dependent",
                                         "OtherIdentifyingInfo", "DeviceType", "serialNum",   "DvdRomRead"};

bool isPrintable(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); });
}

enum kinds : std::uint8_t { text, number, flag, textList, empty, path };

NHALDEN20::TCIMValue valueFrom(fuzz::inputReader& input, const minihost::memoryNamespace& ns) {
    std::uint8_t kind = 0;
    std::uint16_t number = 0;
    std::string text;
    input.number(kind);
    switch (kind % 6) {
    case kinds::number:
        input.number(number);
        return number;
    case kinds::flag:
        input.number(kind);
        return kind % 2 == 0;
    case kinds::empty:
        return {};
    case kinds::path: {
        if (ns.instances().empty())
            return {};
        auto reference = ns.instances().back()->GetReference({});
        return reference;
    }
    case kinds::textList:
        input.text(text);
        return {NHALDEN20::kCIMStringArray, 0, {NHALDEN20::TCIMValue(text)}};
    default:
        input.text(text);
        return text;
    }
}

inventory::queryResult queryFrom(fuzz::inputReader& input, minihost::memoryNamespace& ns) {
    const auto& classes = minihost::classTable();
    inventory::queryResult query;
    for (const auto& declaration : classes)
        query.classes.emplace_back(declaration.name);
    std::vector<std::uint8_t> instances;
    fuzz::transferList(input, instances, [&](std::uint8_t& position) {
        input.number(position);
        const auto instance = ns.GetClass(std::string(classes[position % classes.size()].name), {})->CreateInstance({});
        std::vector<std::uint8_t> properties;
        fuzz::transferList(input, properties, [&](std::uint8_t& name) {
            input.number(name);
            instance->SetProperty(propertyNames[name % std::size(propertyNames)], valueFrom(input, ns), {});
        });
        instance->AddToClass({});
    });
    query.instances = ns.instances();
    return query;
}

void checkJson(const inventory::runResult& result) {
    std::ostringstream output;
    inventory::writeJson(result, output);
    fuzz::require(isPrintable(output.str()), "JSON drives no terminal");
    const auto document = nlohmann::json::parse(output.str());
    const auto& query = result.queries.front();
    fuzz::require(document["machine"] == simulator::bytesAsCodePoints(result.machineName), "the machine's name stays");
    for (std::size_t i = 0; i < query.instances.size(); ++i) {
        const auto& shown = document["queries"][0]["instances"][i]["properties"];
        for (const auto& [name, value] : query.instances[i]->properties()) {
            if (const auto* bytes = std::get_if<std::string>(&value.Content().value))
                fuzz::require(shown[name] == simulator::bytesAsCodePoints(*bytes), "every byte survives in JSON");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    fuzz::inputReader input(bytes, size);
    minihost::memoryNamespace ns;
    inventory::runResult result;
    input.text(result.machineName);
    result.queries.push_back(queryFrom(input, ns));

    checkJson(result);
    std::ostringstream table;
    inventory::writeTable(result, {false, 80}, table);
    fuzz::require(isPrintable(table.str()), "the table drives no terminal");
    const std::string line = inventory::escaped({bytes, bytes + size});
    fuzz::require(isPrintable(line) && line.find('\n') == std::string::npos, "a log line is one printable line");
    return 0;
}
