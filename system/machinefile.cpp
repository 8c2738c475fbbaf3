#include "system/machinefile.h"

#include "system/boundary.h"
#include "system/jsonplace.h"
#include "text/hex.h"

#include <scsi/sg.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>

namespace sys {

namespace {

constexpr std::size_t largestFile = std::size_t{16} << 20; // bytes
constexpr std::size_t largestAnswer = 65536;               // bytes; more than any request asks for
constexpr std::size_t largestPart = 512;                   // bytes; few characters of the file describe them all
constexpr int largestStatus = 0xFF;                        // of a command that exits

constexpr unsigned char checkCondition = 2;
constexpr unsigned short driverSense = 8;
constexpr unsigned char statusMask = 0x1F; // of the status byte shifted right, as the sg driver masks it

/// The number of the error called `name` ("EIO"); 0 when there is none of that name.
int errnoOf(const std::string& name) {
    constexpr int lastErrno = 133; // EHWPOISON, asm-generic/errno.h
    for (int number = 1; number <= lastErrno; ++number) {
        const char* known = ::strerrorname_np(number);
        if (known != nullptr && name == known)
            return number;
    }
    return 0;
}

/// Bytes as pairs of hex digits; blanks between the pairs are allowed.
bytes hexBytes(const jsonPlace& place) {
    std::string digits = place.text();
    digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
    const auto result = text::bytesOfHex(digits);
    if (!result)
        place.fail("pairs of hex digits");
    return *result;
}

/// {"text": T, "size": N}: T padded with blanks to N bytes. {"swapped": T, "size": N}: the same with the two bytes
/// of every word exchanged, as ATA devices send texts. {"zeros": N}: N zero bytes.
bytes describedBytes(const jsonPlace& place) {
    place.allowMembers({"text", "swapped", "zeros", "size"});
    const auto plain = place.find("text"), swapped = place.find("swapped"), zeros = place.find("zeros");
    if (plain.has_value() + swapped.has_value() + zeros.has_value() != 1)
        place.fail("one of text, swapped and zeros");
    if (zeros) {
        place.allowMembers({"zeros"});
        bytes result(static_cast<std::size_t>(zeros->number(0, largestPart)), 0);
        return result;
    }
    place.allowMembers({swapped ? "swapped" : "text", "size"});
    std::string text = (swapped ? swapped : plain)->text();
    const jsonPlace sizePlace = place.member("size");
    const auto size = static_cast<std::size_t>(sizePlace.number(0, largestPart));
    if (text.size() > size || (swapped && size % 2 != 0))
        sizePlace.fail("room for the text" + std::string(swapped ? ", an even number" : ""));
    text.resize(size, ' ');
    for (std::size_t i = 0; swapped && i < size; i += 2)
        std::swap(text[i], text[i + 1]);
    return {text.begin(), text.end()};
}

bytes partAt(const jsonPlace& place) {
    if (place.isText())
        return hexBytes(place);
    if (!place.isObject())
        place.fail("pairs of hex digits, or an object with one of text, swapped and zeros");
    return describedBytes(place);
}

bytes bytesAt(const jsonPlace& place) {
    bytes result;
    const auto append = [&result](const jsonPlace& part) {
        const bytes more = partAt(part);
        result.insert(result.end(), more.begin(), more.end());
        if (result.size() > largestAnswer)
            part.fail("at most " + std::to_string(largestAnswer) + " bytes in all");
    };
    if (place.isText())
        append(place);
    else
        place.forEachElement("pairs of hex digits, or a list of parts", append);
    return result;
}

/// A text, or a list of lines.
std::string linesAt(const jsonPlace& place) {
    if (place.isText())
        return place.text();
    std::string result;
    place.forEachElement("a text, or a list of lines",
                         [&result](const jsonPlace& line) { result += line.text() + '\n'; });
    return result;
}

std::vector<std::string> textsAt(const jsonPlace& place) {
    std::vector<std::string> texts;
    place.forEachElement("a list of texts", [&texts](const jsonPlace& text) { texts.push_back(text.text()); });
    return texts;
}

// How the file spells the answers to requests that succeed. Each reads one and returns null, or else what it expected.

const char* readSuccess(const jsonPlace& place, openAnswer& /*answer*/) { return place.isTrue() ? nullptr : "true"; }

const char* readSuccess(const jsonPlace& place, numberAnswer& answer) {
    if (!place.isWholeNumber())
        return "a whole number";
    answer.value = place.number<int>();
    return nullptr;
}

const char* readSuccess(const jsonPlace& place, addressAnswer& answer) {
    if (!place.isObject())
        return "an object";
    place.allowMembers({"host", "channel", "target", "lun", "type"});
    answer.host = place.member("host").number<int>();
    answer.channel = place.member("channel").number<int>();
    answer.target = place.member("target").number<int>();
    answer.lun = place.member("lun").number<int>();
    if (const auto type = place.find("type"))
        answer.type = type->number<int>();
    return nullptr;
}

/// Gives the statuses that the file leaves out the values that the kernel reports with the others.
void completeStatuses(const jsonPlace& place, scsiAnswer& answer) {
    const bool sensed = !answer.sense.empty();
    if (!place.find("status"))
        answer.status = sensed ? checkCondition : 0;
    if (!place.find("maskedStatus"))
        answer.maskedStatus = answer.status >> 1 & statusMask;
    if (!place.find("driverStatus"))
        answer.driverStatus = sensed ? driverSense : 0;
    const bool check = answer.maskedStatus != 0 || answer.hostStatus != 0 || answer.driverStatus != 0;
    if (!place.find("info"))
        answer.info = check ? SG_INFO_CHECK : SG_INFO_OK;
}

const char* readSuccess(const jsonPlace& place, scsiAnswer& answer) {
    if (!place.isObject())
        return "an object";
    std::vector<const char*> names{"data", "sense"};
    eachStatus(answer, [&names](const char* name, auto /*number*/) { names.push_back(name); });
    names.push_back("residual");
    place.allowMembers(names);
    if (const auto data = place.find("data"))
        answer.data = bytesAt(*data);
    if (const auto sense = place.find("sense"))
        answer.sense = bytesAt(*sense);
    eachStatus(answer, [&place](const char* name, auto& number) {
        if (const auto found = place.find(name))
            number = found->number<std::decay_t<decltype(number)>>();
    });
    completeStatuses(place, answer);
    if (const auto residual = place.find("residual"))
        answer.residual = residual->number<int>();
    return nullptr;
}

const char* readSuccess(const jsonPlace& place, driveAnswer& answer) {
    if (!place.isObject())
        return "an object";
    place.allowMembers({"data"});
    answer.data = bytesAt(place.member("data"));
    return nullptr;
}

template <typename Answer>
Answer answerAt(const jsonPlace& place, const char* otherwise) {
    Answer answer;
    if (const char* const expected = readSuccess(place, answer)) {
        answer.error = place.isText() ? errnoOf(place.text()) : 0;
        if (answer.error == 0)
            place.fail(expected + std::string(otherwise));
    }
    return answer;
}

/// One answer, or a list of answers to be used in turn.
template <typename Answer>
void readAnswers(const jsonPlace& place, answerList<Answer>& target) {
    if (!place.isList()) {
        target.add(answerAt<Answer>(place, ", the name of an error such as \"EIO\", or a list of answers"));
        return;
    }
    place.forEachElement("a list of answers", [&target](const jsonPlace& element) {
        target.add(answerAt<Answer>(element, ", or the name of an error such as \"EIO\""));
    });
    if (target.empty())
        place.fail("at least one answer");
}

void readStatuses(const jsonPlace& place, answerList<int>& target) {
    const auto add = [&target](const jsonPlace& status) {
        target.add(static_cast<int>(status.number(0, largestStatus)));
    };
    if (place.isWholeNumber())
        add(place);
    else
        place.forEachElement("a whole number from 0 to 255, or a list of these", add);
    if (target.empty())
        place.fail("at least one exit status");
}

/// These names, and those of all answers that a node can have.
std::vector<const char*> answerNames(std::vector<const char*> names) {
    const node any;
    eachAnswer(any, [&names](const char* name, const auto& /*answers*/) { names.push_back(name); });
    return names;
}

/// A text that is not empty, of at most `longest` bytes.
std::string wordAt(const jsonPlace& place, std::size_t longest) {
    std::string word = place.text();
    if (word.empty() || word.size() > longest)
        place.fail("a text of 1 to " + std::to_string(longest) + " bytes");
    return word;
}

kernelNames kernelNamesAt(const jsonPlace& place) {
    place.allowMembers({"names", "wwid"});
    kernelNames result;
    if (const auto names = place.find("names")) {
        names->forEachElement("a list of texts", [&result](const jsonPlace& name) {
            result.names.push_back(wordAt(name, kernelNames::longestName));
        });
    }
    if (const auto wwid = place.find("wwid"))
        result.wwid = wordAt(*wwid, kernelNames::longestWwid);
    return result;
}

node nodeAt(const jsonPlace& place) {
    static const std::vector<const char*> names = answerNames({}), ofSgNodes = answerNames({"kernel"});
    place.allowMembers(isSgNodePath(place.name()) ? ofSgNodes : names);
    node result;
    if (const auto knownAs = place.find("kernel"))
        result.knownAs = kernelNamesAt(*knownAs);
    eachAnswer(result, [&place](const char* name, auto& answers) {
        if (const auto found = place.find(name))
            readAnswers(*found, answers);
    });
    return result;
}

machineAnswers machineAt(const jsonPlace& place) {
    place.allowMembers({"name", "modprobe", "usb", "opticalTable", "virtualDevices", "nodes"});
    machineAnswers result;
    if (const auto name = place.find("name"))
        result.name = name->text();
    if (const auto modprobe = place.find("modprobe"))
        readStatuses(*modprobe, result.modprobe);
    if (const auto usb = place.find("usb"))
        result.usbListing = linesAt(*usb);
    if (const auto table = place.find("opticalTable"))
        result.opticalTable = linesAt(*table);
    if (const auto lists = place.find("virtualDevices")) {
        lists->allowMembers({"0", "1"});
        for (const auto kind : virtualDeviceKinds) {
            if (const auto list = lists->find(std::to_string(kind).c_str()))
                result.virtualDevices[kind] = textsAt(*list);
        }
    }
    if (const auto nodes = place.find("nodes")) {
        nodes->forEachMember("an object of nodes by path", [&result](const jsonPlace& node) {
            const std::string path = node.name();
            if (!isNodePath(path))
                node.fail("a node of /dev/sg, /dev/sd, /dev/hd or /dev/sr");
            result.nodes[path] = nodeAt(node);
        });
    }
    return result;
}

} // namespace

machineAnswers parseMachine(const std::string& text, const std::string& name) {
    const jsonDocument document = parseJson(text, name);
    return machineAt(jsonPlace(document));
}

machineAnswers readMachineFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text;
    char block[65536];
    while (text.size() <= largestFile && (file.read(block, sizeof block) || file.gcount() > 0))
        text.append(block, static_cast<std::size_t>(file.gcount()));
    if (!file.is_open() || file.bad())
        throw machineFileError(path + ": cannot be read: " + std::strerror(errno));
    if (text.size() > largestFile)
        throw machineFileError(path + ": larger than the " + std::to_string(largestFile >> 20) +
                               " MiB that a machine file may have");
    return parseMachine(text, path);
}

} // namespace sys
