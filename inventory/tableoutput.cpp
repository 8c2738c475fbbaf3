#include "inventory/output.h"

#include "device/peripheraltypes.h"
#include "inventory/columns.h"
#include "inventory/instancetext.h"
#include "minihost/cimcontent.h"
#include "plugin/cimnames.h"
#include "text/escape.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace inventory {

using text::escaped;

using minihost::memoryInstance;

namespace {

/// What a cell can need to know beside its own instance.
struct knownDevices {
    std::map<std::string, const memoryInstance*> byId; ///< by their DeviceID: the node is the device
    const sys::kernelNameMap& kernelNames;
};

/// Makes the text of a column for an instance.
using cellText = std::function<std::string(const memoryInstance&, const knownDevices&)>;

struct column {
    std::string heading;
    cellText text;
};

/// How the instances of a class are shown.
struct section {
    std::string title;
    std::vector<column> columns;
};

cellText property(std::string_view name) {
    return [name](const memoryInstance& instance, const knownDevices& /*devices*/) {
        return propertyOf(instance, name);
    };
}

/// The text without the /dev/ that device nodes begin with: people tell them apart by the rest.
std::string withoutDirectory(std::string path) {
    constexpr std::string_view directory = "/dev/";
    if (path.size() > directory.size() && path.compare(0, directory.size(), directory) == 0)
        path.erase(0, directory.size());
    return path;
}

cellText node(std::string_view name) {
    return [name](const memoryInstance& instance, const knownDevices& /*devices*/) {
        return withoutDirectory(propertyOf(instance, name));
    };
}

/// What the kernel calls the device that it also offers as an sg node.
std::string kernelName(const memoryInstance& device, const knownDevices& devices) {
    return kernelNameText(devices.kernelNames, device);
}

/// lsscsi's words for the peripheral device types by their numbers. It has none but their numbers for 10 and 11.
constexpr const char* typeWords[] = {"disk",    "tape",    "printer", "process", "worm",    "cd/dvd",
                                     "scanner", "optical", "mediumx", "comms",   "graphic", "graphic",
                                     "storage", "enclosu", "sim dsk", "opti rd", "",        "osd"};
static_assert(std::size(typeWords) == std::size(peripheralTypes), "each type has a word");

/// The word for a device's type, or the type's own name if it is not in the table.
std::string shortTypeName(const memoryInstance& device, const knownDevices& /*devices*/) {
    const std::string name = propertyOf(device, "DeviceType");
    const auto* const type = std::find(std::begin(peripheralTypes), std::end(peripheralTypes), name);
    return type == std::end(peripheralTypes) ? name : typeWords[type - std::begin(peripheralTypes)];
}

std::string address(const memoryInstance& device, const knownDevices& /*devices*/) { return addressOf(device); }

/// The words for those of the 16-bit properties that are not 0.
cellText abilityWords(std::vector<std::pair<const char*, const char*>> wordOfProperty) {
    return [wordOfProperty](const memoryInstance& drive, const knownDevices& /*devices*/) {
        std::string words;
        for (const auto& [name, word] : wordOfProperty) {
            if (propertyOf(drive, name) != "0")
                words += (words.empty() ? "" : " ") + std::string(word);
        }
        return words;
    };
}

std::string deviceNode(const memoryInstance& association, const knownDevices& /*devices*/) {
    return withoutDirectory(keyAt(association, "Dependent", "DeviceID"));
}

cellText keyOf(std::string_view endName, const char* name) {
    return [endName, name](const memoryInstance& association, const knownDevices& /*devices*/) {
        return keyAt(association, endName, name);
    };
}

std::string deviceName(const memoryInstance& association, const knownDevices& devices) {
    const auto found = devices.byId.find(keyAt(association, "Dependent", "DeviceID"));
    return found == devices.byId.end() ? "" : propertyOf(*found->second, "ElementName");
}

const std::map<std::string_view, section>& sections() {
    static const std::vector<column> deviceColumns{{"Node", node("Name")},           {"Kernel", kernelName},
                                                   {"Vendor", property("VendorID")}, {"Product", property("ProductID")},
                                                   {"Rev", property("Revision")},    {"Serial", property("serialNum")},
                                                   {"Type", shortTypeName},          {"H:C:T:L", address}};
    // The name of an IDE node is the kernel's own.
    static const std::vector<column> ideColumns = [] {
        auto columns = deviceColumns;
        columns.erase(columns.begin() + 1);
        return columns;
    }();
    static const std::map<std::string_view, section> table{
        {busDeviceClass, {"Bus devices", deviceColumns}},
        {scsiDeviceClass, {"SCSI devices", deviceColumns}},
        {tapeDriveClass, {"SCSI tape drives", deviceColumns}},
        {ataDeviceClass, {"ATA devices", ideColumns}},
        {opticalDriveClass,
         {"Optical drives",
          {{"Drive", node("DeviceID")},
           {"Reads", abilityWords({{"CdRRead", "CD-R"}, {"CdRwRead", "CD-RW"}, {"DvdRomRead", "DVD"}})},
           {"Writes",
            abilityWords(
                {{"CdRWrite", "CD-R"}, {"CdRwWrite", "CD-RW"}, {"DvdRWrite", "DVD-R"}, {"DvdRamWrite", "DVD-RAM"}})}}}},
        {firmwareElementClass,
         {"Firmware elements",
          {{"Device identity", property("SoftwareElementId")},
           {"Kind", property("Name")},
           {"Vendor", property("Manufacturer")},
           {"Version", property("Version")}}}},
        {firmwareClass,
         {"Firmware of devices",
          {{"Device", deviceNode},
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
void writeRows(const instanceList& instances, const std::vector<column>& shown, const knownDevices& devices,
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

void writeSection(const std::string& className, const queryResult& query, const knownDevices& devices,
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
    knownDevices devices{{}, result.kernelNames};
    bool first = true;
    for (const auto& query : result.queries) {
        for (const auto& instance : query.instances) {
            if (isKindOf(instance->declaration(), busDeviceClass))
                devices.byId[propertyOf(*instance, "DeviceID")] = instance.get();
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
