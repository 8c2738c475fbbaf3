#include "inventory/output.h"

#include "inventory/columns.h"
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
    const char* heading;
    cellText text;
};

/// How the instances of a class are shown.
struct section {
    const char* title;
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

cellText antecedent(const char* key) {
    return [key](const memoryInstance& association) {
        return keyAt(association, "Antecedent", key);
    };
}

std::string deviceNode(const memoryInstance& association) { return keyAt(association, "Dependent", "DeviceID"); }

/// The section of each class.
std::map<std::string_view, section> sectionsFor(const runResult& result) {
    const cellText kernelNames = [&result](const memoryInstance& instance) {
        const auto* const known = deviceAt(result.devices, nodeOf(instance));
        return known == nullptr ? "" : boost::join(known->kernel.names, " ");
    };
    const cellText deviceName = [&result](const memoryInstance& association) {
        const auto* const known = deviceAt(result.devices, deviceNode(association));
        const bool hasBoth = known != nullptr && !known->vendor.empty() && !known->product.empty();
        return known == nullptr ? "" : known->vendor + (hasBoth ? " " : "") + known->product;
    };
    const std::vector<column> ideColumns{
        {"Node", node("Name")},        {"Vendor", property("VendorID")},  {"Product", property("ProductID")},
        {"Rev", property("Revision")}, {"Serial", property("serialNum")}, {"Type", typeOf},
        {"H:C:T:L", addressOf}};
    // The name of an IDE node is the kernel's own.
    std::vector<column> deviceColumns = ideColumns;
    deviceColumns.insert(deviceColumns.begin() + 1, {"Kernel", kernelNames});
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
          {{"Device",
            [](const auto& association) {
                return withoutDirectory(deviceNode(association));
            }},
           {"Name", deviceName},
           {"Firmware", antecedent("Version")},
           {"Device identity", antecedent("SoftwareElementId")}}}},
    };
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
        headings.emplace_back(each.heading);
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

void writeSection(std::string_view className, const section& shown, const queryResult& query, const tableStyle& style,
                  std::ostream& output) {
    instanceList instances;
    for (const auto& instance : query.instances) {
        if (instance->declaration().name == className)
            instances.push_back(instance.get());
    }
    output << shown.title << " (" << className << "): ";
    if (instances.empty()) {
        output << "none\n";
    } else {
        output << instances.size() << '\n';
        writeRows(instances, shown.columns, style, output);
    }
}

} // namespace

void writeOpticalDrives(const runResult& result, const tableStyle& style, std::ostream& output) {
    queryResult drives;
    for (const auto& query : result.queries) {
        if (query.classes.front() == opticalDriveClass)
            drives = query;
    }
    if (drives.instances.empty() && result.seen.log.excludedDrives.empty())
        return;
    output << (result.devices.empty() ? "" : "\n");
    if (!drives.instances.empty())
        writeSection(opticalDriveClass, sectionsFor(result).at(opticalDriveClass), drives, style, output);
    for (const auto& name : result.seen.log.excludedDrives)
        output << "  " << escaped(name) << "  excluded: named by --virtual-device\n";
}

void writeTable(const runResult& result, const tableStyle& style, std::ostream& output) {
    const auto sections = sectionsFor(result);
    const char* gap = "";
    for (const auto& query : result.queries) {
        std::set<std::string> shown;
        for (const auto& className : query.classes) {
            if (!shown.insert(className).second)
                continue;
            output << gap;
            gap = "\n";
            writeSection(className, sections.at(className), query, style, output);
        }
    }
}

} // namespace inventory
