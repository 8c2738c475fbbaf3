// The output formats on instances of any class with any values.

#include "fuzz/input.h"
#include "inventory/output.h"
#include "minihost/cimcontent.h"
#include "tests/mofreader.h"
#include "text/codepoints.h"
#include "text/escape.h"

#include <sstream>

using minihost::cimType;
using NHALDEN20::TCIMValue;
using nlohmann::json;
using text::bytesAsCodePoints;

namespace {

struct madeValue {
    TCIMValue value;
    json shown; ///< as JSON has to show it
};

/// A value of the type; of references mostly one that suits the property, or an empty one where there is no instance.
madeValue valueFrom(fuzz::archive& input, cimType type, std::string_view referenced,
                    const minihost::memoryNamespace& ns) {
    std::uint16_t number = 0;
    std::string text;
    input.numbers(number);
    if (type == cimType::uint16)
        return {number, number};
    if (type == cimType::boolean)
        return {number % 2 == 0, number % 2 == 0};
    if (type == cimType::reference) {
        std::vector<NHALDEN20::TCIMReference> targets;
        for (const auto& instance : ns.instances())
            if (number % 8 == 7 || isKindOf(instance->declaration(), referenced))
                targets.push_back(instance->GetReference({}));
        if (targets.empty())
            return {};
        auto& target = targets[number % targets.size()];
        return {target, bytesAsCodePoints(minihost::objectPath(target))};
    }
    input.text(text);
    if (type == cimType::string)
        return {text, bytesAsCodePoints(text)};
    const std::size_t count = number % 4;
    return {{NHALDEN20::kCIMStringArray, 0, std::vector<TCIMValue>(count, text)}, json(count, bytesAsCodePoints(text))};
}

/// Commits an instance whose properties are as its class declares them where the input does not say otherwise, and
/// returns what JSON has to show of it.
json commitFrom(fuzz::archive& input, const minihost::classDeclaration& declaration, minihost::memoryNamespace& ns) {
    const auto instance = ns.GetClass(std::string(declaration.name), {})->CreateInstance({});
    json shown{{"class", declaration.name}, {"properties", json::object()}};
    for (const auto* property : propertiesOf(declaration)) {
        enum : std::uint8_t { empty = 1, renamed, retyped, declared = retyped + 5 }; // below and above: as declared
        std::uint8_t change = 0;
        input.numbers(change);
        const bool isRetyped = change >= retyped && change < declared;
        const auto type = isRetyped ? static_cast<cimType>(change - retyped) : property->type;
        const std::string name = change == renamed ? "Odd\xff" : std::string(property->name);
        const auto made = change == empty ? madeValue() : valueFrom(input, type, property->referenced, ns);
        instance->SetProperty(name, made.value, {});
        shown["properties"][bytesAsCodePoints(name)] = made.shown;
    }
    instance->AddToClass({});
    return shown;
}

/// Requires that MOF has the latest instance of each object path, with what its class declares of what was put in, and
/// none that lacks a key.
void checkMof(const std::string& asMof, const minihost::memoryNamespace& ns, const json& all) {
    std::map<std::string, std::size_t> places;
    std::set<std::string> absent;
    json wanted = json::array();
    for (std::size_t i = 0; i < all.size(); ++i) {
        auto& instance = *ns.instances()[i];
        json declared{{"class", instance.declaration().name}, {"properties", json::object()}};
        bool isWhole = instance.declaration().kind != minihost::classKind::abstract;
        for (const auto* property : propertiesOf(instance.declaration())) {
            if (instance.findSuitable(*property) != nullptr)
                declared["properties"][property->name] = all[i]["properties"][property->name];
            else
                isWhole = isWhole && !property->isKey;
        }
        const std::string path = bytesAsCodePoints(minihost::objectPath(instance.GetReference({})));
        if (isWhole)
            wanted[places.emplace(path, places.size()).first->second] = declared;
        else
            absent.insert(path);
    }
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
    json all = json::array();
    for (const std::uint8_t position : positions)
        all.push_back(commitFrom(input, minihost::classTable()[position % minihost::classTable().size()], ns));
    inventory::queryResult query{{}, ns.instances(), error.empty() ? std::nullopt : std::optional(error)};
    for (const auto& declaration : minihost::classTable())
        query.classes.emplace_back(declaration.name);
    inventory::runResult result;
    result.machineName = machine;
    result.queries = {query};
    result.error = query.error;

    std::ostringstream asJson, asMof, asTable;
    inventory::writeJson(result, asJson);
    inventory::writeMof(result, asMof);
    inventory::writeTable(result, {true, 80}, asTable);
    const std::string line = text::escaped({bytes, bytes + size});
    fuzz::require(line.find('\n') == std::string::npos, "what is escaped is one line");
    const std::string written = asJson.str() + asMof.str() + asTable.str() + line;
    fuzz::require(
        std::all_of(written.begin(), written.end(), [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }),
        "no output drives a terminal");
    const json shown = json::parse(asJson.str());
    fuzz::require(shown["machine"] == bytesAsCodePoints(machine), "JSON has the machine's name");
    fuzz::require(shown["queries"][0].value("error", "") == bytesAsCodePoints(error), "JSON has the query's error");
    fuzz::require(shown["queries"][0]["instances"] == all, "JSON shows every property as it was put in");
    checkMof(asMof.str(), ns, all);
    return 0;
}
