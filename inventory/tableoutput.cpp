#include "inventory/tableoutput.h"

#include "device/peripheraltypes.h"
#include "inventory/columns.h"
#include "inventory/escape.h"
#include "minihost/cimcontent.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <utility>
#include <variant>

namespace inventory {

using minihost::memoryInstance;

namespace {

/// The devices of a run by their DeviceID: the node is the device.
using deviceMap = std::map<std::string, const memoryInstance*>;

/// Makes the text of a column for an instance.
using cellText = std::function<std::string(const memoryInstance&, const deviceMap&)>;

struct column {
    std::string heading;
    cellText text;
};

/// How the instances of a class are shown.
struct section {
    std::string title;
    std::vector<column> columns;
};

/// The text without its outer blanks, with which devices pad it.
std::string withoutPadding(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    text.erase(0, text.find_first_not_of(' '));
    return text;
}

std::string propertyOf(const memoryInstance& instance, std::string_view name) {
    const auto* value = instance.find(name);
    return value == nullptr ? "" : withoutPadding(minihost::valueText(*value));
}

cellText property(std::string_view name) {
    return [name](const memoryInstance& instance, const deviceMap& /*devices*/) {
        return propertyOf(instance, name);
    };
}

/// lsscsi's word for a peripheral device type, or the type's own name if it is not in the table.
std::string shortTypeName(const memoryInstance& device, const deviceMap& /*devices*/) {
    const std::string name = propertyOf(device, "DeviceType");
    const auto* const type = std::find_if(std::begin(peripheralTypes), std::end(peripheralTypes),
                                          [&name](const peripheralType& known) { return known.name == name; });
    return type == std::end(peripheralTypes) ? name : type->shortName;
}

/// HOST:CHANNEL:TARGET:LUN; "" where the kernel did not tell the address, so that the node identifies the device.
std::string address(const memoryInstance& device, const deviceMap& /*devices*/) {
    if (propertyOf(device, "OtherIdentifyingInfo").rfind("Port:", 0) != 0)
        return "";
    return propertyOf(device, "HostAdapterID") + ':' + propertyOf(device, "Bus") + ':' +
           propertyOf(device, "TargetID") + ':' + propertyOf(device, "Lun");
}

/// The words for those of the 16-bit properties that are not 0.
cellText abilityWords(std::vector<std::pair<const char*, const char*>> wordOfProperty) {
    return [wordOfProperty](const memoryInstance& drive, const deviceMap& /*devices*/) {
        std::string words;
        for (const auto& [name, word] : wordOfProperty) {
            if (propertyOf(drive, name) != "0")
                words += (words.empty() ? "" : " ") + std::string(word);
        }
        return words;
    };
}

const NHALDEN20::TCIMReference* referenceAt(const memoryInstance& association, std::string_view name) {
    const auto* value = association.find(name);
    return value == nullptr ? nullptr : std::get_if<NHALDEN20::TCIMReference>(&value->Content().value);
}

/// The key `name` of the instance at the end `endName` of an association.
std::string keyAt(const memoryInstance& association, std::string_view endName, const char* name) {
    const auto* reference = referenceAt(association, endName);
    if (reference == nullptr)
        return "";
    const auto& keys = *reference->Content().keys;
    const auto found = keys.find(name);
    return found == keys.end() ? "" : withoutPadding(minihost::valueText(found->second));
}

cellText keyOf(std::string_view endName, const char* name) {
    return [endName, name](const memoryInstance& association, const deviceMap& /*devices*/) {
        return keyAt(association, endName, name);
    };
}

std::string deviceName(const memoryInstance& association, const deviceMap& devices) {
    const auto found = devices.find(keyAt(association, "Dependent", "DeviceID"));
    return found == devices.end() ? "" : propertyOf(*found->second, "ElementName");
}

const std::map<std::string_view, section>& sections() {
    static const std::vector<column> deviceColumns{
        {"Node", property("Name")},    {"Vendor", property("VendorID")},  {"Product", property("ProductID")},
        {"Rev", property("Revision")}, {"Serial", property("serialNum")}, {"Type", shortTypeName},
        {"H:C:T:L", address}};
    static const std::map<std::string_view, section> table{
        {"KORVA_SysBusDevice", {"Bus devices", deviceColumns}},
        {"KORVA_SCSIDevice", {"SCSI devices", deviceColumns}},
        {"KORVA_SCSITapeDrive", {"SCSI tape drives", deviceColumns}},
        {"KORVA_ATADevice", {"ATA devices", deviceColumns}},
        {"KORVA_CDVDDevice",
         {"Optical drives",
          {{"Drive", property("DeviceID")},
           {"Reads", abilityWords({{"CdRRead", "CD-R"}, {"CdRwRead", "CD-RW"}, {"DvdRomRead", "DVD"}})},
           {"Writes",
            abilityWords(
                {{"CdRWrite", "CD-R"}, {"CdRwWrite", "CD-RW"}, {"DvdRWrite", "DVD-R"}, {"DvdRamWrite", "DVD-RAM"}})}}}},
        {"KORVA_SysBusDeviceFirmwareElement",
         {"Firmware elements",
          {{"Device identity", property("SoftwareElementId")},
           {"Kind", property("Name")},
           {"Vendor", property("Manufacturer")},
           {"Version", property("Version")}}}},
        {"KORVA_SysBusDeviceFirmware",
         {"Firmware of devices",
          {{"Device", keyOf("Dependent", "DeviceID")},
           {"Name", deviceName},
           {"Firmware", keyOf("Antecedent", "Version")},
           {"Device identity", keyOf("Antecedent", "SoftwareElementId")}}}},
    };
    return table;
}

/// The columns of a class: those of its section, or else of the nearest superclass that has one, or else a column for
/// each property.
std::vector<column> columnsOf(const minihost::classDeclaration& declaration) {
    for (const auto* owner = &declaration; owner != nullptr; owner = minihost::findClass(owner->base)) {
        const auto own = sections().find(owner->name);
        if (own != sections().end())
            return own->second.columns;
    }
    std::vector<column> plain;
    for (const auto* declared : propertiesOf(declaration))
        plain.push_back({std::string(declared->name), property(declared->name)});
    return plain;
}

/// Writes every property that was set, in the order first set, as an indented line "NAME = VALUE": texts whole,
/// padding included, with what is not printable escaped.
void writeProperties(const memoryInstance& instance, std::ostream& output) {
    for (const auto& [name, value] : instance.properties()) {
        const std::string text = minihost::valueText(value, escaped);
        output << "    " << escaped(name) << " =" << (text.empty() ? "" : " " + text) << '\n';
    }
}

using instanceList = std::vector<const memoryInstance*>;

/// Writes a row for each instance and, if the style wants them, the properties of each below the table.
void writeRows(const instanceList& instances, const std::vector<column>& shown, const deviceMap& devices,
               const tableStyle& style, std::ostream& output) {
    std::vector<std::string> headings;
    for (const auto& each : shown)
        headings.push_back(each.heading);
    columns rows(headings);
    for (const auto* instance : instances) {
        std::vector<std::string> row;
        row.reserve(shown.size());
        for (const auto& each : shown)
            row.push_back(each.text(*instance, devices));
        rows.add(std::move(row));
    }
    rows.write(output, style.width);
    if (!style.allProperties)
        return;
    for (const auto* instance : instances) {
        output << "\n  " << escaped(shown.front().text(*instance, devices)) << '\n';
        writeProperties(*instance, output);
    }
}

void writeSection(const std::string& className, const queryResult& query, const deviceMap& devices,
                  const tableStyle& style, std::ostream& output) {
    instanceList instances;
    for (const auto& instance : query.instances) {
        if (instance->declaration().name == className)
            instances.push_back(instance.get());
    }
    const std::string count = instances.empty() ? "none" : std::to_string(instances.size());
    const auto own = sections().find(className);
    output << (own == sections().end() ? className : own->second.title + " (" + className + ')') << ": " << count
           << '\n';
    if (instances.empty())
        return;
    const std::vector<column> shown = columnsOf(instances.front()->declaration());
    if (!shown.empty())
        writeRows(instances, shown, devices, style, output);
}

} // namespace

void writeTable(const runResult& result, const tableStyle& style, std::ostream& output) {
    deviceMap devices;
    bool first = true;
    for (const auto& query : result.queries) {
        for (const auto& instance : query.instances) {
            if (isKindOf(instance->declaration(), "KORVA_SysBusDevice"))
                devices[propertyOf(*instance, "DeviceID")] = instance.get();
        }
        std::set<std::string> shown;
        for (const auto& className : query.classes) {
            if (!shown.insert(className).second)
                continue;
            output << (first ? "" : "\n");
            first = false;
            writeSection(className, query, devices, style, output);
        }
    }
}

} // namespace inventory
