#include "system/machinefile.h"

#include "system/jsonforms.h"
#include "text/forms.h"
#include "text/hex.h"

#include <boost/algorithm/string.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace sys {

using json = nlohmann::ordered_json;
using text::bytesAsCodePoints;

json toJson(const std::vector<std::string>& texts) {
    json list = json::array();
    for (const auto& text : texts)
        list.push_back(bytesAsCodePoints(text));
    return list;
}

json toJson(const kernelWords& known) {
    json members{{"names", toJson(known.names)}};
    eachKernelText(known, [&members](const char* name, const std::string& text) {
        if (!text.empty())
            members[name] = bytesAsCodePoints(text);
    });
    if (known.size)
        members["size"] = *known.size;
    if (known.type)
        members["type"] = *known.type;
    return members;
}

namespace {

/// An unknown errno is written as one that is known, so that the file can be read.
json errorToJson(int error) { return ::strerrorname_np(error) == nullptr ? "EIO" : text::errorName(error); }

/// A text of whole lines as a list of them.
json linesToJson(std::string text) {
    if (text.empty() || text.back() != '\n')
        return bytesAsCodePoints(text);
    text.pop_back();
    std::vector<std::string> lines;
    return toJson(boost::split(lines, text, [](char c) { return c == '\n'; }));
}

json successToJson(const openAnswer& /*answer*/) { return true; }

json successToJson(const numberAnswer& answer) { return answer.value; }

json successToJson(const addressAnswer& answer) {
    return {{"host", answer.host},
            {"channel", answer.channel},
            {"target", answer.target},
            {"lun", answer.lun},
            {"type", answer.type}};
}

json successToJson(const scsiAnswer& answer) {
    json members{{"data", text::hexDigits(answer.data)}};
    bool isPlain = answer.sense.empty();
    eachStatus(answer, [&isPlain](const char* /*name*/, auto number) { isPlain = isPlain && number == 0; });
    if (!answer.sense.empty())
        members["sense"] = text::hexDigits(answer.sense);
    if (!isPlain)
        eachStatus(answer, [&members](const char* name, auto number) { members[name] = number; });
    if (answer.residual.value_or(0) != 0)
        members["residual"] = *answer.residual;
    return members;
}

json successToJson(const driveAnswer& answer) { return {{"data", text::hexDigits(answer.data)}}; }

/// A list of answers, or the only answer; null for none. Leaves out answers at the end that repeat the one before.
json withoutRepeatedEnd(json list) {
    while (list.size() > 1 && list.back() == list[list.size() - 2])
        list.erase(list.end() - 1);
    return list.size() > 1 ? list : list.empty() ? json() : list.front();
}

template <typename Answer>
json toJson(const answerList<Answer>& answers) {
    json list = json::array();
    for (const auto& answer : answers.all())
        list.push_back(answer.error == 0 ? successToJson(answer) : errorToJson(answer.error));
    return withoutRepeatedEnd(std::move(list));
}

void addUnlessNull(json& target, const char* name, json value) {
    if (!value.is_null())
        target[name] = std::move(value);
}

bool wasEverThere(const node& recorded) {
    const auto& opens = recorded.open.all();
    return opens.empty() ||
           std::any_of(opens.begin(), opens.end(), [](const auto& answer) { return answer.error != ENOENT; });
}

json nodeToJson(const node& recorded) {
    json members = json::object();
    if (!recorded.knownAs.empty())
        members["kernel"] = toJson(recorded.knownAs);
    if (!recorded.knownAs.empty() && !recorded.knownAs.knowsNames)
        members["kernel"].erase("names");
    eachAnswer(recorded,
               [&members](const char* name, const auto& answers) { addUnlessNull(members, name, toJson(answers)); });
    return members;
}

} // namespace

std::string machineFileText(const machineAnswers& recorded) {
    json document{{"name", bytesAsCodePoints(recorded.name)}};
    if (!recorded.collected.empty())
        document["collected"] = recorded.collected;
    if (!recorded.hasScsiDevices)
        document["scsiDevices"] = false;
    addUnlessNull(document, "modprobe", withoutRepeatedEnd(recorded.modprobe.all()));
    document["usb"] = linesToJson(recorded.usbListing);
    for (const auto kind : virtualDeviceKinds)
        document["virtualDevices"][std::to_string(kind)] = toJson(recorded.virtualDevices[kind]);
    if (recorded.opticalTable)
        document["opticalTable"] = linesToJson(*recorded.opticalTable);
    auto& nodes = (document["nodes"] = json::object()).get_ref<json::object_t&>();
    for (const auto& [path, node] : recorded.nodes) {
        if (wasEverThere(node))
            nodes.emplace_back(bytesAsCodePoints(path), nodeToJson(node)); // [] would search all nodes before it
    }
    return document.dump(2, ' ', true) + '\n';
}

} // namespace sys
