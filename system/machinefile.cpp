#include "system/machinefile.h"

#include "system/boundary.h"
#include "system/jsonplace.h"
#include "system/requests.h"
#include "system/utctime.h"
#include "text/forms.h"
#include "text/hex.h"

#include <scsi/sg.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <map>
#include <stdexcept>
#include <utility>

namespace sys {

namespace {

constexpr std::size_t largestFile = std::size_t{16} << 20; // bytes
constexpr std::size_t largestPart = 512;                   // bytes; few characters of the file describe them all
constexpr int largestStatus = 0xFF;                        // of a command that exits

constexpr unsigned char statusMask = 0x1F; // of the status byte shifted right, as the sg driver masks it

/// The number of the error called `name` ("EIO"); 0 when there is none of that name.
int errnoOf(const std::string& name) {
    constexpr int lastErrno = 133; // EHWPOISON, asm-generic/errno.h
    for (int number = 1; number <= lastErrno; ++number) {
        if (text::errorName(number) == name)
            return number;
    }
    return 0;
}

template <typename Number>
Number numberAt(const jsonPlace& place) {
    return static_cast<Number>(place.number(std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max()));
}

template <auto largest>
auto upTo(const jsonPlace& place) {
    return static_cast<decltype(largest)>(place.number(0, static_cast<long long>(largest)));
}

/// Reads the members of an object, each into its target. Names are noted on the way, for the error.
class memberReader {
public:
    explicit memberReader(const jsonPlace& place, const std::string& expected = "an object")
        : left_(place.members(expected)) {
        left_.erase("comment"); // is for whoever reads the file
    }

    /// Changes nothing and returns false where there is no member of that name.
    template <typename Value, typename Read>
    bool operator()(const std::string& name, Value& target, Read read) {
        names_ += (names_.empty() ? "" : ", ") + name;
        const auto found = left_.extract(name);
        if (found)
            target = read(found.mapped());
        return !found.empty();
    }

    template <typename Number>
    bool operator()(const std::string& name, Number& target) {
        return (*this)(name, target, numberAt<Number>);
    }

    /// Refuses an object that has other members.
    void end() const {
        if (!left_.empty())
            left_.begin()->second.refuse("unknown member, expected one of " + names_);
    }

private:
    std::map<std::string, jsonPlace> left_;
    std::string names_;
};

/// Bytes as pairs of hex digits; blanks between the pairs are allowed.
bytes hexBytesAt(const jsonPlace& place) {
    std::string digits = place.text();
    digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
    const auto result = text::bytesOfHex(digits);
    if (!result)
        place.fail("pairs of hex digits");
    return *result;
}

bytes textBytesAt(const jsonPlace& place) {
    const std::string text = place.text();
    return {text.begin(), text.end()};
}

bytes zerosAt(const jsonPlace& place) { return bytes(upTo<largestPart>(place)); }

/// A text is pairs of hex digits. {"words": W}: words of 16 bits as tools print them, "0040 3fff", whose low byte a
/// drive sends first. {"zeros": N}: N zero bytes. {"text": T, "size": N}: T padded with blanks to N bytes.
/// {"swapped": T, "size": N}: the same with the two bytes of every word exchanged, as ATA devices send texts.
bytes partAt(const jsonPlace& place) {
    if (place.value().is_string())
        return hexBytesAt(place);
    std::optional<bytes> text, swapped, words, zeros;
    std::optional<std::size_t> size;
    memberReader members(place, "pairs of hex digits, or an object with one of text, swapped, words and zeros");
    members("text", text, textBytesAt);
    members("swapped", swapped, textBytesAt);
    members("words", words, hexBytesAt);
    members("zeros", zeros, zerosAt);
    members("size", size, upTo<largestPart>);
    members.end();
    if (text.has_value() + swapped.has_value() + words.has_value() + zeros.has_value() != 1)
        place.fail("one of text, swapped, words and zeros");
    if ((text || swapped) != size.has_value())
        place.fail("a size, of text and swapped only");
    bytes result = *(text ? text : swapped ? swapped : words ? words : zeros);
    if (size && result.size() > *size)
        place.fail("a size with room for the text");
    result.resize(size.value_or(result.size()), ' ');
    if ((swapped || words) && result.size() % 2 != 0)
        place.fail("an even number of bytes");
    for (std::size_t i = 0; (swapped || words) && i < result.size(); i += 2)
        std::swap(result[i], result[i + 1]);
    return result;
}

bytes bytesAt(const jsonPlace& place) {
    bytes result;
    for (const auto& element : place.elements()) {
        const bytes part = partAt(element);
        result.insert(result.end(), part.begin(), part.end());
    }
    return result;
}

std::string textAt(const jsonPlace& place) { return place.text(); }

std::vector<std::string> textsAt(const jsonPlace& place) {
    std::vector<std::string> texts;
    for (const auto& element : place.elements())
        texts.push_back(element.text());
    return texts;
}

/// A text, or a list of lines.
std::string linesAt(const jsonPlace& place) {
    if (!place.value().is_array())
        return place.text();
    std::string lines;
    for (const auto& line : textsAt(place))
        lines += line + '\n';
    return lines;
}

bool truthAt(const jsonPlace& place) {
    if (!place.value().is_boolean())
        place.fail("true or false");
    return place.value().get<bool>();
}

std::string momentAt(const jsonPlace& place) {
    if (!isUtcText(place.text()))
        place.fail("a time such as 2026-11-23T17:01:02Z");
    return place.text();
}

// How the file spells the answers to requests that succeed.

void readSuccess(const jsonPlace& place, openAnswer& /*answer*/) {
    if (!truthAt(place))
        place.fail("true");
}

void readSuccess(const jsonPlace& place, numberAnswer& answer) { answer.value = numberAt<int>(place); }

void readSuccess(const jsonPlace& place, addressAnswer& answer) {
    memberReader members(place);
    bool isWhole = true;
    for (const auto& [name, number] : {std::pair("host", &answer.host), std::pair("channel", &answer.channel),
                                       std::pair("target", &answer.target), std::pair("lun", &answer.lun)})
        isWhole = members(name, *number) && isWhole;
    members("type", answer.type);
    members.end();
    if (!isWhole)
        place.fail("the members host, channel, target and lun");
}

/// A status that the file leaves out has the value that the kernel reports with those before it.
void readSuccess(const jsonPlace& place, scsiAnswer& answer) {
    memberReader members(place);
    members("data", answer.data, bytesAt);
    members("sense", answer.sense, bytesAt);
    const bool sensed = !answer.sense.empty();
    answer.status = sensed ? checkCondition : 0;
    members("status", answer.status);
    answer.maskedStatus = answer.status >> 1 & statusMask;
    members("maskedStatus", answer.maskedStatus);
    members("hostStatus", answer.hostStatus);
    answer.driverStatus = sensed ? driverSense : 0;
    members("driverStatus", answer.driverStatus);
    const bool failed = answer.maskedStatus != 0 || answer.hostStatus != 0 || answer.driverStatus != 0;
    answer.info = failed ? SG_INFO_CHECK : SG_INFO_OK;
    members("info", answer.info);
    members("residual", answer.residual, numberAt<int>);
    members.end();
}

void readSuccess(const jsonPlace& place, driveAnswer& answer) {
    memberReader members(place);
    const bool isWhole = members("data", answer.data, bytesAt);
    members.end();
    if (!isWhole)
        place.fail("the member data");
}

/// A success, or the name of an error.
template <typename Answer>
Answer answerAt(const jsonPlace& place) {
    Answer answer;
    if (!place.value().is_string())
        readSuccess(place, answer);
    else if (answer.error = errnoOf(place.text()); answer.error == 0)
        place.fail("an answer, or the name of an error such as \"EIO\"");
    return answer;
}

int statusAt(const jsonPlace& place) { return upTo<largestStatus>(place); }

/// One answer, or a list of answers to be used in turn, each by `read`.
template <auto read>
auto answersAt(const jsonPlace& place) {
    answerList<decltype(read(place))> answers;
    for (const auto& element : place.elements())
        answers.add(read(element));
    if (answers.empty())
        place.fail("at least one answer");
    return answers;
}

kernelWords kernelWordsAt(const jsonPlace& place) {
    kernelWords known;
    memberReader members(place);
    known.knowsNames = members("names", known.names, textsAt);
    eachKernelText(known, [&members](const char* name, std::string& text) { members(name, text, textAt); });
    members("size", known.size, upTo<kernelWords::largestSize>);
    members("type", known.type, upTo<kernelWords::largestType>);
    members.end();
    return known;
}

node nodeAt(const jsonPlace& place, const std::string& path) {
    node result;
    memberReader members(place);
    if (isWalkedNode(path))
        members("kernel", result.knownAs, kernelWordsAt);
    eachAnswer(result, [&members](const char* name, auto& answers) {
        members(name, answers, answersAt<answerAt<std::decay_t<decltype(answers.next())>>>);
    });
    members.end();
    return result;
}

std::map<std::string, node> nodesAt(const jsonPlace& place) {
    std::map<std::string, node> nodes;
    for (const auto& [path, member] : place.members("an object of nodes by path")) {
        if (!isNodePath(path))
            member.fail("a node of /dev/sg, /dev/sd, /dev/hd or /dev/sr");
        nodes[path] = nodeAt(member, path);
    }
    return nodes;
}

virtualDeviceLists virtualDevicesAt(const jsonPlace& place) {
    virtualDeviceLists lists;
    memberReader members(place);
    for (const auto kind : virtualDeviceKinds)
        members(std::to_string(kind), lists[kind], textsAt);
    members.end();
    return lists;
}

machineAnswers machineAt(const jsonPlace& place) {
    machineAnswers result;
    memberReader members(place);
    members("name", result.name, textAt);
    members("collected", result.collected, momentAt);
    members("scsiDevices", result.hasScsiDevices, truthAt);
    members("modprobe", result.modprobe, answersAt<statusAt>);
    members("usb", result.usbListing, linesAt);
    members("opticalTable", result.opticalTable, linesAt);
    members("virtualDevices", result.virtualDevices, virtualDevicesAt);
    members("nodes", result.nodes, nodesAt);
    members.end();
    return result;
}

} // namespace

machineAnswers parseMachine(const std::string& text, const std::string& name) {
    try {
        const jsonTree document = parseJson(text);
        return machineAt(jsonPlace(document));
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(name + ": " + error.what());
    }
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

std::string contentUpTo(const std::string& path, std::size_t most) {
    std::ifstream file(path, std::ios::binary);
    std::string content;
    char block[4096]; // small: a stack can be, too
    while (content.size() <= most && (file.read(block, sizeof block) || file.gcount() > 0))
        content.append(block, static_cast<std::size_t>(file.gcount()));
    if (!file.is_open() || file.bad())
        throw std::runtime_error(path + ": cannot be read: " + std::strerror(errno));
    if (content.size() > most)
        throw std::runtime_error(path + ": larger than " + std::to_string(most) + " bytes");
    return content;
}

machineAnswers readMachineFile(const std::string& path) { return parseMachine(contentUpTo(path, largestFile), path); }

} // namespace sys
