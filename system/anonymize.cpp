#include "system/anonymize.h"

#include "system/anonymoustexts.h"
#include "system/pseudonyms.h"
#include "system/requests.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <utility>
#include <vector>

namespace sys {

namespace {

struct range {
    std::size_t begin, end; ///< of bytes, from `begin` to before `end`
};

// INQUIRY (SPC-4, 6.4.2), its unit serial number page (7.8.19) and sense data of fixed format (4.5.3).
constexpr range inquiryData{0, 36};
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
/// names and EUI-64 the maker's number in 6 digits, after T10 eight characters.
std::string anonymousWwid(const std::string& wwid, const pseudonyms& names) {
    const struct {
        std::string format;
        std::size_t kept;
    } formats[] = {{"naa.5", 11}, {"naa.6", 11}, {"naa.", 5}, {"eui.", 10}, {"t10.", 12}, {"", 0}};
    const auto& found = *std::find_if(std::begin(formats), std::end(formats), [&wwid](const auto& candidate) {
        return wwid.compare(0, candidate.format.size(), candidate.format) == 0;
    });
    const std::size_t kept = std::min(found.kept, wwid.size());
    const std::string rest = wwid.substr(kept);
    const bool isText = found.format == "t10." || found.format.empty();
    return wwid.substr(0, kept) + (isText ? names.of(rest) : names.ofHexadecimal(rest));
}

/// Makes a list of the same answers, each changed by `change`.
template <typename Answer, typename Change>
void changeEach(answerList<Answer>& answers, Change change) {
    std::vector<Answer> list = answers.all();
    std::for_each(list.begin(), list.end(), change);
    answers = list;
}

void anonymizeNode(node& target, const pseudonyms& names) {
    target.knownAs.wwid = anonymousWwid(target.knownAs.wwid, names);
    changeEach(target.inquiry, [](scsiAnswer& answer) {
        keepOnly(answer.data, {inquiryData});
        keepOnly(answer.sense, {fixedSense});
    });
    changeEach(target.serialPage, [&names](scsiAnswer& answer) {
        anonymizeSerialPage(answer.data, names);
        keepOnly(answer.sense, {fixedSense});
    });
    changeEach(target.identify, [&names](driveAnswer& answer) { anonymizeIdentify(answer.data, names); });
    changeEach(target.task, [](driveAnswer& answer) { keepOnly(answer.data, {{0, taskBytes}}); });
}

} // namespace

machineAnswers anonymize(machineAnswers machine, const std::string& key) {
    const pseudonyms names(key);
    anonymizeTexts(machine);
    machine.name = names.of(machine.name);
    for (auto& [path, node] : machine.nodes)
        anonymizeNode(node, names);
    return machine;
}

} // namespace sys
