// The output formats on instances of any class with any values.

#include "fuzz/input.h"
#include "inventory/escape.h"
#include "inventory/jsonoutput.h"
#include "inventory/mofoutput.h"
#include "inventory/tableoutput.h"
#include "minihost/cimcontent.h"
#include "tests/mofreader.h"
#include "text/codepoints.h"

#include <sstream>

using minihost::cimType;
using NHALDEN20::TCIMValue;
using nlohmann::json;
using text::bytesAsCodePoints;

namespace {

/// A value of the type; of references mostly one that suits the property, or an empty one where there is no instance.
TCIMValue valueFrom(fuzz::archive& input, cimType type, std::string_view referenced,
                    const minihost::memoryNamespace& ns) {
    std::uint16_t number = 0;
    std::string text;
    input.numbers(number);
    if (type == cimType::uint16)
        return number;
    if (type == cimType::boolean)
        return number % 2 == 0;
    if (type == cimType::reference) {
        std::vector<NHALDEN20::TCIMReference> targets;
        for (const auto& instance : ns.instances())
            if (number % 8 == 7 || isKindOf(instance->declaration(), referenced))
                targets.push_back(instance->GetReference({}));
        return targets.empty() ? TCIMValue() : targets[number % targets.size()];
    }
    input.text(text);
    if (type == cimType::string)
        return text;
    return {NHALDEN20::kCIMStringArray, 0, std::vector<TCIMValue>(number % 4, text)};
}

/// Commits an instance whose properties are as its class declares them where the input does not say otherwise.
void commitFrom(fuzz::archive& input, const minihost::classDeclaration& declaration, minihost::memoryNamespace& ns) {
    const auto instance = ns.GetClass(std::string(declaration.name), {})->CreateInstance({});
    for (const auto* property : propertiesOf(declaration)) {
        enum : std::uint8_t { empty = 1, renamed, retyped, declared = retyped + 5 }; // below and above: as declared
        std::uint8_t change = 0;
        input.numbers(change);
        const bool isRetyped = change >= retyped && change < declared;
        const auto type = isRetyped ? static_cast<cimType>(change - retyped) : property->type;
        instance->SetProperty(change == renamed ? "Odd\xff" : std::string(property->name),
                              change == empty ? TCIMValue() : valueFrom(input, type, property->referenced, ns), {});
    }
    instance->AddToClass({});
}

struct valueShown {
    json operator()(std::monostate /*empty*/) const { return nullptr; }
    json operator()(const std::string& text) const { return bytesAsCodePoints(text); }
    json operator()(bool flag) const { return flag; }
    json operator()(std::uint16_t number) const { return number; }
    json operator()(const NHALDEN20::TCIMReference& reference) const {
        return bytesAsCodePoints(minihost::objectPath(reference));
    }
    json operator()(const std::vector<TCIMValue>& elements) const {
        json list = json::array();
        for (const auto& element : elements)
            list.push_back(std::visit(*this, element.Content().value));
        return list;
    }
};

/// Requires that JSON shows all of every instance, suitable or not, and that MOF has the latest one of each object
/// path, with what its class declares, and none that lacks a key.
void checkInstances(const minihost::memoryNamespace& ns, const json& shown, const std::string& asMof) {
    std::map<std::string, std::size_t> places;
    std::set<std::string> absent;
    json all = json::array(), wanted = json::array();
    for (const auto& pointer : ns.instances()) {
        auto& instance = *pointer;
        json whole{{"class", instance.declaration().name}, {"properties", json::object()}}, declared = whole;
        for (const auto& [name, value] : instance.properties()) {
            auto& shownValue = whole["properties"][bytesAsCodePoints(name)];
            shownValue = std::visit(valueShown(), value.Content().value);
            if (instance.findSuitable(name) != nullptr)
                declared["properties"][name] = shownValue;
        }
        all.push_back(whole);
        bool isWhole = instance.declaration().kind != minihost::classKind::abstract;
        for (const auto* property : propertiesOf(instance.declaration()))
            isWhole = isWhole && (!property->isKey || instance.findSuitable(property->name) != nullptr);
        const std::string path = bytesAsCodePoints(minihost::objectPath(instance.GetReference({})));
        if (isWhole)
            wanted[places.emplace(path, places.size()).first->second] = declared;
        else
            absent.insert(path);
    }
    fuzz::require(shown == all, "JSON shows every property as it is");
    fuzz::require(mof::read(asMof, absent).instances == wanted, "MOF reads back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    fuzz::archive input(bytes, size);
    minihost::memoryNamespace ns;
    std::string machine, error;
    std::vector<std::uint8_t> positions;
    input.list(positions, [&](std::uint8_t& position) { input.numbers(position); });
    constexpr std::size_t mostInstances = 16; // more of them cost time and show nothing new
    positions.resize(std::min(positions.size(), mostInstances));
    input.text(machine);
    input.text(error);
    for (const std::uint8_t position : positions)
        commitFrom(input, minihost::classTable()[position % minihost::classTable().size()], ns);
    inventory::queryResult query{{}, ns.instances(), error.empty() ? std::nullopt : std::optional(error)};
    for (const auto& declaration : minihost::classTable())
        query.classes.emplace_back(declaration.name);
    const inventory::runResult result{machine, {query}};

    std::ostringstream asJson, asMof, asTable;
    inventory::writeJson(result, asJson);
    inventory::writeMof(result, asMof);
    inventory::writeTable(result, {true, 80}, asTable);
    const std::string line = inventory::escaped({bytes, bytes + size});
    fuzz::require(line.find('\n') == std::string::npos, "what is escaped is one line");
    const std::string all = asJson.str() + asMof.str() + asTable.str() + line;
    fuzz::require(std::all_of(all.begin(), all.end(), [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }),
                  "no output drives a terminal");
    const json shown = json::parse(asJson.str());
    fuzz::require(shown["machine"] == bytesAsCodePoints(machine), "JSON has the machine's name");
    fuzz::require(shown["queries"][0].value("error", "") == bytesAsCodePoints(error), "JSON has the query's error");
    checkInstances(ns, shown["queries"][0]["instances"], asMof.str());
    return 0;
}
