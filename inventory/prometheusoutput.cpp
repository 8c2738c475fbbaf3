#include "inventory/output.h"

#include "inventory/instancetext.h"
#include "plugin/cimnames.h"
#include "text/forms.h"

#include <boost/algorithm/string.hpp>

#include <set>
#include <string>
#include <utility>

namespace inventory {

using minihost::memoryInstance;

namespace {

bool isDevice(const memoryInstance& instance) {
    return isKindOf(instance.declaration(), busDeviceClass) || instance.declaration().name == opticalDriveClass;
}

/// NAME="VALUE", with the three characters escaped that the format escapes.
std::string label(const std::string& name, const std::string& value, bool forTerminal) {
    std::string shown = forTerminal ? text::escaped(value) : text::bytesAsCodePoints(value);
    boost::replace_all(shown, "\\", "\\\\");
    boost::replace_all(shown, "\"", "\\\"");
    boost::replace_all(shown, "\n", "\\n");
    return name + "=\"" + shown + '"';
}

std::string labelsOf(const memoryInstance& device, const sys::kernelWordMap& kernelNames, bool forTerminal) {
    const std::pair<const char*, std::string> values[] = {
        {"class", std::string(device.declaration().name)}, {"device", propertyOf(device, "DeviceID")},
        {"kernel", kernelNameText(kernelNames, device)},   {"vendor", propertyOf(device, "VendorID")},
        {"product", propertyOf(device, "ProductID")},      {"revision", propertyOf(device, "Revision")},
        {"serial", propertyOf(device, "serialNum")},       {"address", addressOf(device)},
    };
    std::string labels;
    for (const auto& [name, value] : values)
        labels += (labels.empty() ? "" : ",") + label(name, value, forTerminal);
    return labels;
}

void writeHead(const std::string& name, const char* help, std::ostream& output) {
    output << "# HELP " << name << ' ' << help << "\n# TYPE " << name << " gauge\n";
}

/// A device that several queries showed alike has one series.
void writeDevices(const runResult& result, bool forTerminal, std::ostream& output) {
    const std::string name = "scsidev_device_info";
    writeHead(name, "A device, named by its labels; always 1.", output);
    std::set<std::string> written;
    for (const auto& query : result.queries) {
        for (const auto& instance : query.instances) {
            if (!isDevice(*instance))
                continue;
            const std::string labels = labelsOf(*instance, result.kernelNames, forTerminal);
            if (written.insert(labels).second)
                output << name << '{' << labels << "} 1\n";
        }
    }
}

} // namespace

void writePrometheus(const runResult& result, bool forTerminal, std::ostream& output) {
    writeDevices(result, forTerminal, output);
    const auto write = [&output](const std::string& name, const char* help, auto number) {
        writeHead(name, help, output);
        output << name << ' ' << std::to_string(number) << '\n'; // digits only, whatever the locale
    };
    write("scsidev_collection_complete", "Whether the inventory is complete: 1, or 0 where something stayed unseen.",
          result.isComplete() ? 1 : 0);
    write("scsidev_nodes_present", "Device nodes that opened or refused to.", result.seen.nodes.present);
    write("scsidev_nodes_refused", "Device nodes that did not open.", result.seen.nodes.refused.size());
    write("scsidev_nodes_silent", "Device nodes that opened and did not identify themselves.",
          result.seen.nodes.silent.size());
    write("scsidev_collection_timestamp_seconds", "When the collection ended, in seconds since 1970.", result.endedAt);
}

} // namespace inventory
