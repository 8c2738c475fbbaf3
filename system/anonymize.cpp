#include "system/anonymize.h"

#include "system/pseudonyms.h"
#include "system/requests.h"

#include <boost/algorithm/string.hpp>

#include <algorithm>
#include <initializer_list>
#include <set>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace sys {

namespace {

struct range {
    std::size_t begin, end; ///< of bytes, from `begin` to before `end`
};

// INQUIRY (SPC-4, 6.4.2), its unit serial number page (7.8.19) and sense data of fixed format (4.5.3).
constexpr range inquiryData{0, 36}, inquiryVendor{8, 16}, inquiryProduct{16, 32};
constexpr std::size_t pageLength = 3, pageText = 4;
constexpr range fixedSense{0, 18};
// IDENTIFY DEVICE (ACS-3, 7.12): words 0, 10 to 19 and 23 to 46.
constexpr range configuration{0, 2}, driveSerialNumber{20, 40}, firmwareAndModel{46, 94};

/// Makes all bytes zero but these.
void keepOnly(bytes& data, std::initializer_list<range> kept) {
    bytes made(data.size());
    for (const auto [begin, end] : kept) {
        for (std::size_t i = begin; i < std::min(end, data.size()); ++i)
            made[i] = data[i];
    }
    data = made;
}

/// The bytes of a part; zero bytes stand for those that the device has not sent.
std::string textAt(const bytes& data, range part) {
    std::string text;
    for (std::size_t i = part.begin; i < part.end; ++i)
        text += i < data.size() ? static_cast<char>(data[i]) : '\0';
    return text;
}

/// Writes `text` over the bytes from `begin` on, as far as there are bytes.
void writeAt(bytes& data, std::size_t begin, const std::string& text) {
    for (std::size_t i = begin; i < std::min(begin + text.size(), data.size()); ++i)
        data[i] = static_cast<unsigned char>(text[i - begin]);
}

/// A text with the two bytes of each word exchanged, as ATA devices send it.
std::string swapped(std::string text) {
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        std::swap(text[i], text[i + 1]);
    return text;
}

void anonymizeSerialPage(bytes& page, const pseudonyms& names) {
    const std::size_t length = page.size() > pageLength ? page[pageLength] : 0;
    const range text{pageText, std::max(pageText, std::min(pageText + length, page.size()))};
    keepOnly(page, {{0, text.end}});
    writeAt(page, text.begin, names.of(textAt(page, text)));
}

void anonymizeIdentify(bytes& sector, const pseudonyms& names) {
    keepOnly(sector, {configuration, driveSerialNumber, firmwareAndModel});
    const std::string serialNumber = swapped(textAt(sector, driveSerialNumber));
    writeAt(sector, driveSerialNumber.begin, swapped(names.of(serialNumber)));
}

/// Keeps the format of a wwid and what stands for the maker (drivers/scsi/scsi_lib.c, scsi_vpd_lun_id): of registered
/// names and EUI-64 the maker's number in 6 digits, behind the 16 of an extension where there are 32 (SPC-4, 7.8.6.5);
/// after T10 eight characters, where more follow.
std::string anonymousWwid(const std::string& wwid, const pseudonyms& names) {
    const auto hidden = [&](std::size_t begin, std::size_t end) {
        return names.ofHexadecimal(wwid.substr(std::min(begin, wwid.size()), end - begin));
    };
    if (boost::starts_with(wwid, "eui.") && wwid.size() == 4 + 32)
        return wwid.substr(0, 4) + hidden(4, 20) + wwid.substr(20, 6) + hidden(26, wwid.size());
    const std::pair<std::string, std::size_t> kept[] = {{"naa.5", 11}, {"naa.6", 11}, {"naa.", 5}, {"eui.", 10}};
    for (const auto& [format, size] : kept) {
        if (boost::starts_with(wwid, format))
            return wwid.substr(0, size) + hidden(size, wwid.size());
    }
    const std::size_t size = !boost::starts_with(wwid, "t10.") ? 0 : wwid.size() > 12 ? 12 : 4;
    return wwid.substr(0, size) + names.of(wwid.substr(size));
}

void anonymizeNode(node& target, const pseudonyms& names) {
    target.knownAs.wwid = anonymousWwid(target.knownAs.wwid, names);
    target.knownAs.serial = names.of(target.knownAs.serial);
    for (auto& answer : target.inquiry.all()) {
        keepOnly(answer.data, {inquiryData});
        keepOnly(answer.sense, {fixedSense});
    }
    for (auto& answer : target.serialPage.all()) {
        anonymizeSerialPage(answer.data, names);
        keepOnly(answer.sense, {fixedSense});
    }
    for (auto& answer : target.identify.all())
        anonymizeIdentify(answer.data, names);
    for (auto& answer : target.task.all())
        keepOnly(answer.data, {{0, taskBytes}});
}

using nameSet = std::set<std::string>;

/// Those of `names` that stand somewhere in one of the texts, in the order in which they are found. Names by the
/// thousand take no more time than one.
std::vector<std::string> namesIn(const std::vector<std::string>& texts, const nameSet& names) {
    std::unordered_set<std::string_view> missing(names.begin(), names.end());
    std::set<std::size_t> lengths;
    for (const auto& name : names)
        lengths.insert(name.size());
    std::vector<std::string> found;
    for (const std::string_view text : texts) {
        for (std::size_t at = 0; at < text.size(); ++at) {
            for (const std::size_t length : lengths) {
                if (const auto candidate = text.substr(at, length); missing.erase(candidate) != 0)
                    found.emplace_back(candidate);
            }
        }
    }
    return found;
}

/// The product that an INQUIRY answer names, or else the vendor, in quotes as the USB listing has it.
std::string quotedProduct(const bytes& inquiry) {
    std::string named;
    for (const range field : {inquiryVendor, inquiryProduct}) {
        const std::string text = textAt(inquiry, field);
        if (text[0] != '\0')
            named = text.substr(0, text.find('\0'));
    }
    return '"' + boost::trim_copy_if(named, [](char c) { return c == ' ' || c == '\t'; }) + '"';
}

/// Leaves a line for each product in quotes that a device of the machine has.
void anonymizeUsbListing(machineAnswers& machine) {
    nameSet products;
    for (const auto& [path, node] : machine.nodes) {
        for (const auto& answer : node.inquiry.all())
            products.insert(quotedProduct(answer.data));
    }
    const auto listed = namesIn({machine.usbListing}, products);
    machine.usbListing.clear();
    for (const auto& product : listed) // the lines are so long that no product stands in the quotes of two
        machine.usbListing += "  Device: usb 0x4012 " + product + '\n';
}

// What the kernel writes before the columns (drivers/cdrom/cdrom.c, cdrom_sysctl_info).
constexpr std::string_view tableHeading = "CD-ROM information, Id: cdrom.c 3.20 2003/12/17";
constexpr std::string_view tableLabels[] = {tableHeading,       "drive name:",
                                            "drive speed:",     "drive # of slots:",
                                            "Can close tray:",  "Can open tray:",
                                            "Can lock tray:",   "Can change speed:",
                                            "Can select disk:", "Can read multisession:",
                                            "Can read MCN:",    "Reports media changed:",
                                            "Can play audio:",  "Can write CD-R:",
                                            "Can write CD-RW:", "Can read DVD:",
                                            "Can write DVD-R:", "Can write DVD-RAM:",
                                            "Can read MRW:",    "Can write MRW:",
                                            "Can write RAM:"};

bool consistsOf(std::string_view characters, std::string_view word) {
    constexpr std::size_t most = 5; // longer ones could be serial numbers
    return word.size() <= most && word.find_first_not_of(characters) == std::string_view::npos;
}

/// Is it a name that the kernel gives drives, such as sr0 or hdc?
bool isDriveName(std::string_view word) {
    const std::size_t stem = std::min(word.find_first_of("0123456789"), word.size());
    const std::string_view driver = word.substr(0, stem), number = word.substr(stem);
    if (driver == "sr" || driver == "scd" || driver == "pcd")
        return !number.empty() && consistsOf("0123456789", number);
    return word.size() == 3 && boost::starts_with(word, "hd") && word[2] >= 'a' && word[2] <= 'z';
}

/// Writes x over what no kernel writes in a line of the table, so that lines and columns stay where they are. Adds the
/// names of drives to `drives`.
void hideForeignWords(std::string& line, nameSet& drives) {
    const auto* const label = std::find_if(std::begin(tableLabels), std::end(tableLabels),
                                           [&line](std::string_view known) { return boost::starts_with(line, known); });
    if (label == std::end(tableLabels)) {
        line.assign(line.size(), 'x');
        return;
    }
    for (std::size_t begin = label->size(), end = 0; begin < line.size(); begin = end + 1) {
        end = std::min(line.find_first_of("\t/", begin), line.size()); // the plug-in takes what follows the last slash
        const std::string word = line.substr(begin, end - begin);
        if (isDriveName(word))
            drives.insert(word);
        else if (!consistsOf("-0123456789", word))
            line.replace(begin, word.size(), word.size(), 'x');
    }
}

/// Returns the names of the drives.
nameSet anonymizeOpticalTable(std::string& table) {
    nameSet drives;
    std::vector<std::string> lines;
    boost::split(lines, table, [](char c) { return c == '\n'; });
    for (auto& line : lines)
        hideForeignWords(line, drives);
    table = boost::join(lines, "\n");
    return drives;
}

/// Leaves of the other texts than those of devices what the plug-in needs to leave out the same devices.
void anonymizeLists(machineAnswers& machine) {
    anonymizeUsbListing(machine);
    const nameSet drives = machine.opticalTable ? anonymizeOpticalTable(*machine.opticalTable) : nameSet();
    nameSet paths;
    for (const auto& [path, node] : machine.nodes)
        paths.insert(path);
    auto& [disks, opticalDrives] = machine.virtualDevices;
    disks = namesIn(disks, paths);
    opticalDrives = namesIn(opticalDrives, drives);
}

} // namespace

machineAnswers anonymize(machineAnswers machine, const std::string& key) {
    const pseudonyms names(key);
    anonymizeLists(machine);
    machine.name = names.of(machine.name);
    for (auto& [path, node] : machine.nodes)
        anonymizeNode(node, names);
    return machine;
}

} // namespace sys
