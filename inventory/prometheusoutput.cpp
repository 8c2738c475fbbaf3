#include "inventory/output.h"

#include "text/forms.h"

#include <boost/algorithm/string.hpp>

#include <string>
#include <utility>

namespace inventory {

namespace {

/// NAME="VALUE". What is not printable is escaped as in tables: the format has no escape for control characters, which
/// end lines for some readers and drive the terminals of others.
std::string label(const std::string& name, const std::string& value) {
    std::string shown = text::escaped(value);
    boost::replace_all(shown, "\\", "\\\\");
    boost::replace_all(shown, "\"", "\\\"");
    return name + "=\"" + shown + '"';
}

/// Of a mistaken device the words are the kernel's: the plug-in's are another's.
std::string labelsOf(const device& each) {
    const bool mistaken = each.state == deviceState::mistaken;
    const auto word = [mistaken](const std::string& plugIns, const std::string& kernels) {
        return mistaken || plugIns.empty() ? kernels : plugIns;
    };
    const std::pair<const char*, std::string> values[] = {
        {"device", each.node},
        {"kernel", boost::join(each.kernel.names, " ")},
        {"wwid", each.kernel.wwid},
        {"vendor", word(each.vendor, each.kernel.vendor)},
        {"product", word(each.product, each.kernel.model)},
        {"revision", word(each.revision, each.kernel.revision)},
        {"serial", word(each.serial, each.kernel.serial)},
        {"address", word(each.address, each.kernel.address)},
    };
    std::string labels;
    for (const auto& [name, value] : values)
        labels += (labels.empty() ? "" : ",") + label(name, value);
    return labels;
}

void writeHead(const std::string& name, const char* help, std::ostream& output) {
    output << "# HELP " << name << ' ' << help << "\n# TYPE " << name << " gauge\n";
}

void writeDevices(const runResult& result, std::ostream& output) {
    const std::string info = "scsidev_device_info", state = "scsidev_device_state";
    writeHead(info, "A device node that is there, named by its labels; always 1.", output);
    for (const auto& each : result.devices)
        output << info << '{' << labelsOf(each) << "} 1\n";
    writeHead(state, "A device that was not identified, with its state; always 1.", output);
    for (const auto& each : result.devices) {
        if (each.state != deviceState::identified)
            output << state << '{' << label("device", each.node) << ',' << label("wwid", each.kernel.wwid) << ','
                   << label("state", nameOf(each.state)) << "} 1\n";
    }
}

} // namespace

void writePrometheus(const runResult& result, std::ostream& output) {
    writeDevices(result, output);
    const auto write = [&output](const std::string& name, const char* help, auto number) {
        writeHead(name, help, output);
        output << name << ' ' << std::to_string(number) << '\n'; // digits only, whatever the locale
    };
    const auto nodes = [&](const std::string& name, const char* help, deviceState state) {
        write(name, help, countOf(result.devices, {state}));
    };
    write("scsidev_collection_complete", "Whether the inventory is complete: 1, or 0 where something stayed unseen.",
          result.isComplete() ? 1 : 0);
    write("scsidev_run_complete", "The same, whatever the devices that are listed answered.",
          result.sawAllBesideDevices() ? 1 : 0);
    write("scsidev_nodes_present", "Device nodes that are there.", result.devices.size());
    nodes("scsidev_nodes_refused", "Device nodes that did not open.", deviceState::refused);
    nodes("scsidev_nodes_silent", "Device nodes that opened and did not identify themselves.", deviceState::silent);
    nodes("scsidev_nodes_mistaken", "Disks that the plug-in gave the words of others.", deviceState::mistaken);
}

} // namespace inventory
