#include "system/machinefile.h"

#include "system/boundary.h"
#include "system/jsonplace.h"
#include "system/utctime.h"
#include "text/hex.h"

#include <scsi/sg.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

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

/// Words of 16 bits as tools print them, "0040 3fff": the value of each, whose low byte a drive sends first.
bytes wordsAt(const jsonPlace& place) {
    constexpr std::size_t wordSize = 2;
    bytes result;
    std::istringstream words(place.text());
    for (std::string word; words >> word;) {
        const auto value = text::bytesOfHex(word);
        if (!value || value->size() != wordSize)
            place.fail("words of four hex digits with blanks between them");
        result.insert(result.end(), value->rbegin(), value->rend());
    }
    return result;
}

/// A text is pairs of hex digits. {"words": W}: words of 16 bits. {"zeros": N}: N zero bytes. {"text": T, "size": N}: T
/// padded with blanks to N bytes. {"swapped": T, "size": N}: the same with the two bytes of every word exchanged, as
/// ATA devices send texts.
bytes partAt(const jsonPlace& place) {
    if (place.isText())
        return hexBytes(place);
    place.allowMembers({"text", "swapped", "words", "zeros", "size"},
                       "pairs of hex digits, or an object with one of text, swapped, words and zeros");
    const auto plain = place.find("text"), swapped = place.find("swapped"), words = place.find("words"),
               zeros = place.find("zeros");
    if (plain.has_value() + swapped.has_value() + words.has_value() + zeros.has_value() != 1)
        place.fail("one of text, swapped, words and zeros");
    if (words || zeros)
        place.allowMembers({words ? "words" : "zeros"});
    if (words)
        return wordsAt(*words);
    std::string text = zeros ? "" : (swapped ? swapped : plain)->text();
    const jsonPlace sizePlace = zeros ? *zeros : place.member("size");
    const auto size = static_cast<std::size_t>(sizePlace.number(0, largestPart));
    if (text.size() > size || (swapped && size % 2 != 0))
        sizePlace.fail("room for the text" + std::string(swapped ? ", an even number" : ""));
    text.resize(size, zeros ? '\0' : ' ');
    for (std::size_t i = 0; swapped && i < size; i += 2)
        std::swap(text[i], text[i + 1]);
    return {text.begin(), text.end()};
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

template <typename Number>
Number numberAt(const jsonPlace& place) {
    return place.number<Number>();
}

/// Reads the member called `name` into `target` where there is one.
template <typename Value, typename Read>
void readIfThere(const jsonPlace& place, const char* name, Value& target, Read read) {
    if (const auto found = place.find(name))
        target = read(*found);
}

std::string textAt(const jsonPlace& place) { return place.text(); }

/// A text, or a list of lines.
std::string linesAt(const jsonPlace& place) {
    if (place.isText())
        return place.text();
    std::string result;
    place.forEachElement("a text, or a list of lines",
                         [&result](const jsonPlace& line) { result += line.text() + '\n'; });
    return result;
}

/// A text or a list of lines, which nobody reads.
void checkComment(const jsonPlace& place) {
    if (const auto comment = place.find("comment"); comment && !comment->isText()) {
        comment->forEachElement("a text, or a list of lines", [](const jsonPlace& line) {
            if (!line.isText())
                line.fail("a text");
        });
    }
}

std::vector<std::string> textsAt(const jsonPlace& place) {
    std::vector<std::string> texts;
    place.forEachElement("a list of texts", [&texts](const jsonPlace& text) { texts.push_back(text.text()); });
    return texts;
}

// How the file spells the answers to requests that succeed. `instead` tells what else the place could hold.

void readSuccess(const jsonPlace& place, const std::string& instead, openAnswer& /*answer*/) {
    if (!place.isTrue())
        place.fail("true" + instead);
}

void readSuccess(const jsonPlace& place, const std::string& instead, numberAnswer& answer) {
    if (!place.isWholeNumber())
        place.fail("a whole number" + instead);
    answer.value = place.number<int>();
}

void readSuccess(const jsonPlace& place, const std::string& instead, addressAnswer& answer) {
    place.allowMembers({"host", "channel", "target", "lun", "type"}, "an object" + instead);
    answer.host = place.member("host").number<int>();
    answer.channel = place.member("channel").number<int>();
    answer.target = place.member("target").number<int>();
    answer.lun = place.member("lun").number<int>();
    readIfThere(place, "type", answer.type, numberAt<int>);
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

void readSuccess(const jsonPlace& place, const std::string& instead, scsiAnswer& answer) {
    std::vector<const char*> names{"data", "sense"};
    eachStatus(answer, [&names](const char* name, auto /*number*/) { names.push_back(name); });
    names.push_back("residual");
    place.allowMembers(names, "an object" + instead);
    readIfThere(place, "data", answer.data, bytesAt);
    readIfThere(place, "sense", answer.sense, bytesAt);
    eachStatus(answer, [&place](const char* name, auto& number) {
        readIfThere(place, name, number, numberAt<std::decay_t<decltype(number)>>);
    });
    completeStatuses(place, answer);
    readIfThere(place, "residual", answer.residual, numberAt<int>);
}

void readSuccess(const jsonPlace& place, const std::string& instead, driveAnswer& answer) {
    place.allowMembers({"data"}, "an object" + instead);
    answer.data = bytesAt(place.member("data"));
}

/// A success, or the name of an error.
template <typename Answer>
Answer answerAt(const jsonPlace& place, const char* instead) {
    Answer answer;
    if (place.isText())
        answer.error = errnoOf(place.text());
    if (answer.error == 0)
        readSuccess(place, instead, answer);
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

answerList<int> statusesAt(const jsonPlace& place) {
    answerList<int> statuses;
    const auto add = [&statuses](const jsonPlace& status) {
        statuses.add(static_cast<int>(status.number(0, largestStatus)));
    };
    if (place.isWholeNumber())
        add(place);
    else
        place.forEachElement("a whole number from 0 to 255, or a list of these", add);
    if (statuses.empty())
        place.fail("at least one exit status");
    return statuses;
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

kernelWords kernelWordsAt(const jsonPlace& place) {
    kernelWords result;
    std::vector<const char*> members{"names", "size", "type"};
    eachKernelText(result, [&members](const char* name, const auto& /*text*/) { members.push_back(name); });
    place.allowMembers(members);
    if (const auto names = place.find("names")) {
        names->forEachElement("a list of texts", [&result](const jsonPlace& name) {
            result.names.push_back(wordAt(name, kernelWords::longestName));
        });
    }
    eachKernelText(result, [&place](const char* name, std::string& text) {
        if (const auto found = place.find(name))
            text = wordAt(*found, kernelWords::longestText);
    });
    if (const auto size = place.find("size"))
        result.size = static_cast<std::uint64_t>(size->number(0, kernelWords::largestSize));
    if (const auto type = place.find("type"))
        result.type = static_cast<int>(type->number(0, kernelWords::largestType));
    return result;
}

node nodeAt(const jsonPlace& place) {
    static const std::vector<const char*> names = answerNames({"comment"}),
                                          ofWalkedNodes = answerNames({"comment", "kernel"});
    place.allowMembers(isWalkedNode(place.name()) ? ofWalkedNodes : names);
    checkComment(place);
    node result;
    readIfThere(place, "kernel", result.knownAs, kernelWordsAt);
    eachAnswer(result, [&place](const char* name, auto& answers) {
        if (const auto found = place.find(name))
            readAnswers(*found, answers);
    });
    return result;
}

bool truthAt(const jsonPlace& place) {
    if (!place.isTrue() && !place.isFalse())
        place.fail("true or false");
    return place.isTrue();
}

std::string momentAt(const jsonPlace& place) {
    if (!isUtcText(place.text()))
        place.fail("a time such as 2026-11-23T17:01:02Z");
    return place.text();
}

std::map<std::string, node> nodesAt(const jsonPlace& place) {
    std::map<std::string, node> nodes;
    place.forEachMember("an object of nodes by path", [&nodes](const jsonPlace& node) {
        const std::string path = node.name();
        if (!isNodePath(path))
            node.fail("a node of /dev/sg, /dev/sd, /dev/hd or /dev/sr");
        nodes[path] = nodeAt(node);
    });
    return nodes;
}

machineAnswers machineAt(const jsonPlace& place) {
    place.allowMembers(
        {"comment", "name", "collected", "scsiDevices", "modprobe", "usb", "opticalTable", "virtualDevices", "nodes"});
    checkComment(place);
    machineAnswers result;
    readIfThere(place, "name", result.name, textAt);
    readIfThere(place, "collected", result.collected, momentAt);
    readIfThere(place, "scsiDevices", result.hasScsiDevices, truthAt);
    readIfThere(place, "modprobe", result.modprobe, statusesAt);
    readIfThere(place, "usb", result.usbListing, linesAt);
    readIfThere(place, "opticalTable", result.opticalTable, linesAt);
    if (const auto lists = place.find("virtualDevices")) {
        lists->allowMembers({"0", "1"});
        for (const auto kind : virtualDeviceKinds)
            readIfThere(*lists, std::to_string(kind).c_str(), result.virtualDevices[kind], textsAt);
    }
    readIfThere(place, "nodes", result.nodes, nodesAt);
    return result;
}

} // namespace

machineAnswers parseMachine(const std::string& text, const std::string& name) {
    const jsonDocument document = parseJson(text, name);
    return machineAt(jsonPlace(document));
}

std::vector<std::string> doubtsAbout(const machineAnswers& machine) {
    constexpr std::size_t signaturePlace = 510; // the low byte of word 255 (ACS-3, 7.12)
    constexpr unsigned char signature = 0xA5;
    std::vector<std::string> doubts;
    for (const auto& [path, node] : machine.nodes) {
        const auto isSwapped = [](const driveAnswer& answer) {
            return answer.data.size() > signaturePlace + 1 && answer.data[signaturePlace] != signature &&
                   answer.data[signaturePlace + 1] == signature;
        };
        const auto& answers = node.identify.all();
        if (std::any_of(answers.begin(), answers.end(), isSwapped))
            doubts.push_back(path +
                             ": the bytes of IDENTIFY data seem to be exchanged in each word: the signature a5 of "
                             "its checksum is in byte 511, expected in byte 510");
    }
    return doubts;
}

std::optional<std::string> contentUpTo(const std::string& path, std::size_t most) {
    std::ifstream file(path, std::ios::binary);
    std::string content;
    char block[4096]; // small: a stack can be, too
    while (content.size() <= most && (file.read(block, sizeof block) || file.gcount() > 0))
        content.append(block, static_cast<std::size_t>(file.gcount()));
    if (!file.is_open() || file.bad())
        throw std::runtime_error(path + ": cannot be read: " + std::strerror(errno));
    return content.size() > most ? std::nullopt : std::make_optional(content);
}

machineAnswers readMachineFile(const std::string& path) {
    const auto text = contentUpTo(path, largestFile);
    if (!text)
        throw machineFileError(path + ": larger than the " + std::to_string(largestFile >> 20) +
                               " MiB that a machine file may have");
    return parseMachine(*text, path);
}

} // namespace sys
