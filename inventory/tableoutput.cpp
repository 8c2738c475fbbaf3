#include "inventory/output.h"

#include "inventory/columns.h"
#include "inventory/devicetypes.h"
#include "inventory/instancetext.h"
#include "minihost/cimcontent.h"
#include "plugin/cimnames.h"
#include "text/forms.h"

#include <boost/algorithm/string.hpp>

#include <functional>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace inventory {

using text::escaped;

using minihost::memoryInstance;

namespace {

/// Makes the text of a column for an instance.
using cellText = std::function<std::string(const memoryInstance&)>;

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
    return [name](const memoryInstance& instance) {
        return propertyOf(instance, name);
    };
}

cellText node(std::string_view name) {
    return [name](const memoryInstance& instance) {
        return withoutDirectory(propertyOf(instance, name));
    };
}

std::string typeOf(const memoryInstance& device) { return shortTypeName(propertyOf(device, "DeviceType")); }

/// The words for those of the 16-bit properties that are not 0.
cellText abilityWords(std::vector<std::pair<const char*, const char*>> wordOfProperty) {
    return [wordOfProperty](const memoryInstance& drive) {
        std::string words;
        for (const auto& [name, word] : wordOfProperty) {
            if (propertyOf(drive, name) != "0")
                words += (words.empty() ? "" : " ") + std::string(word);
        }
        return words;
    };
}

std::string deviceNode(const memoryInstance& association) {
    return withoutDirectory(keyAt(association, "Dependent", "DeviceID"));
}

cellText keyOf(std::string_view endName, const char* name) {
    return [endName, name](const memoryInstance& association) {
        return keyAt(association, endName, name);
    };
}

using sectionTable = std::map<std::string_view, section>;

/// The sections of all classes. `kernelName` and `deviceName` need to know more than an instance.
sectionTable sections(const cellText& kernelName, const cellText& deviceName) {
    const std::vector<column> ideColumns{
        {"Node", node("Name")},        {"Vendor", property("VendorID")},  {"Product", property("ProductID")},
        {"Rev", property("Revision")}, {"Serial", property("serialNum")}, {"Type", typeOf},
        {"H:C:T:L", addressOf}};
    // The name of an IDE node is the kernel's own.
    std::vector<column> deviceColumns = ideColumns;
    deviceColumns.insert(deviceColumns.begin() + 1, {"Kernel", kernelName});
    return {
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
}

/// The columns of a class: those of its section, or else of the nearest superclass that has one, or else a column for
/// each property.
std::vector<column> columnsOf(const minihost::classDeclaration& declaration, const sectionTable& table) {
    for (const auto* owner = &declaration; owner != nullptr; owner = minihost::findClass(owner->base)) {
        const auto own = table.find(owner->name);
        if (own != table.end())
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
void writeRows(const instanceList& instances, const std::vector<column>& shown, const tableStyle& style,
               std::ostream& output) {
    std::vector<std::string> headings;
    for (const auto& each : shown)
        headings.push_back(each.heading);
    columns rows(headings);
    for (const auto* instance : instances) {
        std::vector<std::string> row;
        for (const auto& each : shown)
            row.push_back(each.text(*instance));
        rows.add(std::move(row));
    }
    rows.write(output, style.width);
    if (!style.allProperties)
        return;
    for (const auto* instance : instances) {
        output << "\n  " << escaped(shown.front().text(*instance)) << '\n';
        writeProperties(*instance, output);
    }
}

void writeSection(const std::string& className, const queryResult& query, const sectionTable& table,
                  const tableStyle& style, std::ostream& output) {
    instanceList instances;
    for (const auto& instance : query.instances) {
        if (instance->declaration().name == className)
            instances.push_back(instance.get());
    }
    const std::string count = instances.empty() ? "none" : std::to_string(instances.size());
    const auto own = table.find(className);
    output << (own == table.end() ? className : own->second.title + " (" + className + ')') << ": " << count << '\n';
    if (instances.empty())
        return;
    const std::vector<column> shown = columnsOf(instances.front()->declaration(), table);
    if (!shown.empty())
        writeRows(instances, shown, style, output);
}

} // namespace

void writeOpticalDrives(const runResult& result, const tableStyle& style, std::ostream& output) {
    queryResult drives;
    for (const auto& query : result.queries) {
        if (query.classes.front() == opticalDriveClass)
            drives = query;
    }
    if (drives.instances.empty() && result.seen.drivesLeftOut.empty())
        return;
    output << (result.devices.empty() ? "" : "\n");
    const cellText unknown = [](const memoryInstance& /*any*/) {
        return "";
    };
    if (!drives.instances.empty())
        writeSection(opticalDriveClass, drives, sections(unknown, unknown), style, output);
    for (const auto& name : result.seen.drivesLeftOut)
        output << "  " << escaped(name) << "  excluded: named by --virtual-device\n";
}

void writeTable(const runResult& result, const tableStyle& style, std::ostream& output) {
    std::map<std::string, std::string> deviceNames; // by DeviceID: the node is the device
    const cellText kernelName = [&result](const memoryInstance& device) {
        const auto* const known = result.deviceAt(nodeOf(device));
        return known == nullptr ? "" : boost::join(known->kernel.names, " ");
    };
    const cellText deviceName = [&deviceNames](const memoryInstance& association) {
        const auto found = deviceNames.find(keyAt(association, "Dependent", "DeviceID"));
        return found == deviceNames.end() ? "" : found->second;
    };
    const sectionTable table = sections(kernelName, deviceName);
    const char* gap = "";
    for (const auto& query : result.queries) {
        for (const auto& instance : query.instances) {
            if (isKindOf(instance->declaration(), busDeviceClass))
                deviceNames[propertyOf(*instance, "DeviceID")] = propertyOf(*instance, "ElementName");
        }
        std::set<std::string> shown;
        for (const auto& className : query.classes) {
            if (!shown.insert(className).second)
                continue;
            output << gap;
            gap = "\n";
            writeSection(className, query, table, style, output);
        }
    }
}

} // namespace inventory
