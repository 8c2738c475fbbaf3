#include "inventory/tableoutput.h"

#include "inventory/columns.h"
#include "inventory/escape.h"
#include "inventory/propertylist.h"
#include "minihost/cimcontent.h"

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <variant>

namespace inventory {

using minihost::memoryInstance;

namespace {

/// The outer blanks of a text are padding here.
std::string withoutPadding(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string property(const memoryInstance& instance, const char* name) {
    const auto* value = instance.find(name);
    return value == nullptr ? "" : withoutPadding(minihost::valueText(*value));
}

/// HOST:CHANNEL:TARGET:LUN; nothing where the device's node is all that identifies it.
std::string address(const memoryInstance& device) {
    if (property(device, "OtherIdentifyingInfo") == property(device, "DeviceID"))
        return "";
    return property(device, "HostAdapterID") + ':' + property(device, "Bus") + ':' + property(device, "TargetID") +
           ':' + property(device, "Lun");
}

/// The peripheral device type in a word or two.
std::string typeName(const memoryInstance& device) {
    static const std::map<std::string, std::string> words{
        {"Direct Access Device", "disk"},
        {"Sequential Access Device", "tape"},
        {"Write-Once Device", "worm"},
        {"CD-ROM Device", "optical"},
        {"Optical Memory Device", "optical mem"},
        {"Medium Changer Device", "changer"},
        {"Storage Array Controller", "array"},
        {"Simple Direct Access Device", "disk"},
        {"Optical Card Reader Device", "card"},
    };
    const std::string name = property(device, "DeviceType");
    const auto word = words.find(name);
    return word != words.end() ? word->second : name.substr(0, name.rfind(" Device"));
}

/// The words for those of the 16-bit `properties` that are not 0.
std::string abilities(const memoryInstance& drive,
                      std::initializer_list<std::pair<const char*, const char*>> properties) {
    std::string words;
    for (const auto& [name, word] : properties) {
        if (property(drive, name) != "0")
            words += (words.empty() ? "" : " ") + std::string(word);
    }
    return words;
}

const NHALDEN20::TCIMReference* end(const memoryInstance& association, const char* name) {
    const auto* value = association.find(name);
    return value == nullptr ? nullptr : std::get_if<NHALDEN20::TCIMReference>(&value->Content().value);
}

/// A key of one end of an association.
std::string key(const memoryInstance& association, const char* endName, const char* name) {
    const auto* reference = end(association, endName);
    if (reference == nullptr)
        return "";
    const auto found = reference->Content().keys.find(name);
    return found == reference->Content().keys.end() ? "" : withoutPadding(minihost::valueText(found->second));
}

/// The devices of a run by their object paths.
using deviceMap = std::map<std::string, const memoryInstance*>;

std::string deviceName(const memoryInstance& association, const deviceMap& devices) {
    const auto* reference = end(association, "Dependent");
    const auto found = reference == nullptr ? devices.end() : devices.find(minihost::objectPath(*reference));
    return found == devices.end() ? "" : property(*found->second, "ElementName");
}

using rowMaker = std::vector<std::string> (*)(const memoryInstance&, const deviceMap&);

/// How the instances of a class are shown.
struct section {
    std::string title;
    std::vector<std::string> headings;
    rowMaker row;
};

std::vector<std::string> deviceRow(const memoryInstance& device, const deviceMap& /*devices*/) {
    return {property(device, "Name"),
            property(device, "VendorID"),
            property(device, "ProductID"),
            property(device, "Revision"),
            property(device, "serialNum"),
            typeName(device),
            address(device)};
}

std::vector<std::string> opticalRow(const memoryInstance& drive, const deviceMap& /*devices*/) {
    return {
        property(drive, "DeviceID"),
        abilities(drive, {{"CdRRead", "CD-R"}, {"CdRwRead", "CD-RW"}, {"DvdRomRead", "DVD"}}),
        abilities(drive,
                  {{"CdRWrite", "CD-R"}, {"CdRwWrite", "CD-RW"}, {"DvdRWrite", "DVD-R"}, {"DvdRamWrite", "DVD-RAM"}})};
}

std::vector<std::string> firmwareElementRow(const memoryInstance& element, const deviceMap& /*devices*/) {
    return {property(element, "SoftwareElementId"), property(element, "Name"), property(element, "Manufacturer"),
            property(element, "Version")};
}

std::vector<std::string> firmwareRow(const memoryInstance& association, const deviceMap& devices) {
    return {key(association, "Dependent", "DeviceID"), deviceName(association, devices),
            key(association, "Antecedent", "Version"), key(association, "Antecedent", "SoftwareElementId")};
}

const std::map<std::string, section>& sections() {
    static const std::vector<std::string> deviceHeadings{"Node",   "Vendor", "Product", "Rev",
                                                         "Serial", "Type",   "H:C:T:L"};
    static const std::map<std::string, section> table{
        {"KORVA_SysBusDevice", {"Bus devices", deviceHeadings, deviceRow}},
        {"KORVA_SCSIDevice", {"SCSI devices", deviceHeadings, deviceRow}},
        {"KORVA_SCSITapeDrive", {"SCSI tape drives", deviceHeadings, deviceRow}},
        {"KORVA_ATADevice", {"ATA devices", deviceHeadings, deviceRow}},
        {"KORVA_CDVDDevice", {"Optical drives", {"Drive", "Reads", "Writes"}, opticalRow}},
        {"KORVA_SysBusDeviceFirmwareElement",
         {"Firmware elements", {"Device identity", "Kind", "Vendor", "Version"}, firmwareElementRow}},
        {"KORVA_SysBusDeviceFirmware",
         {"Firmware of devices", {"Device", "Name", "Firmware", "Device identity"}, firmwareRow}},
    };
    return table;
}

void writeSection(const std::string& className, const queryResult& query, const deviceMap& devices,
                  const tableStyle& style, std::ostream& output) {
    const section& how = sections().at(className);
    columns rows(how.headings);
    std::ostringstream lists;
    std::size_t count = 0;
    for (const auto& instance : query.instances) {
        if (instance->declaration().name != className)
            continue;
        const std::vector<std::string> row = how.row(*instance, devices);
        rows.add(row);
        lists << "\n  " << escaped(row.front()) << '\n';
        writeProperties(*instance, lists);
        ++count;
    }
    output << how.title << " (" << className << "): " << (count == 0 ? "none" : std::to_string(count)) << '\n';
    if (count > 0)
        rows.write(output, style.width);
    if (style.allProperties)
        output << lists.str();
}

} // namespace

void writeTable(const runResult& result, const tableStyle& style, std::ostream& output) {
    deviceMap devices;
    bool first = true;
    for (const auto& query : result.queries) {
        for (const auto& instance : query.instances)
            devices[minihost::objectPath(instance->GetReference({}))] = instance.get();
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
