#include "system/machinefile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <string>

namespace {

std::string refusal(const std::string& text) {
    try {
        sys::parseMachine(text, "file.json");
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
    return "accepted";
}

/// A machine with /dev/sg0 whose INQUIRY is answered so.
std::string withInquiry(const std::string& answer) { return R"({"nodes": {"/dev/sg0": {"inquiry": )" + answer + "}}}"; }

std::string repeated(std::size_t count, const std::string& element) {
    std::string list = element;
    while (--count > 0)
        list += ',' + element;
    return list;
}

} // namespace

TEST(MachineFile, IsRefusedWithThePlaceAndWhatWasExpected) {
    const std::string inquiryPlace = "file.json: nodes[\"/dev/sg0\"].inquiry";
    const struct {
        std::string text, message;
    } cases[] = {
        {"{\"name\": ", "file.json: not a JSON document: parse error at line 1, column 10"},
        {"[]", "file.json: the document: expected an object, found a list"},
        {R"({"nam": "x"})", "file.json: nam: unknown member, expected one of name, collected, "},
        {R"({"name": "a", "name": "b"})", "file.json: name: a second member of that name"},
        {R"({"nodes": {"/dev/sg0": {"open": true, "task": "EIO", "open": true}}})",
         "file.json: nodes[\"/dev/sg0\"].open: a second member of that name"},
        {R"({"name": "\u0100"})", "file.json: name: expected characters up to U+00FF, found \"\\u0100\""},
        {R"({"modprobe": 256})", "file.json: modprobe: expected a whole number from 0 to 255, found 256"},
        {R"({"modprobe": 1.5})", "file.json: modprobe: expected a whole number from 0 to 255, found 1.5"},
        {R"({"modprobe": 18446744073709551615})", "expected a whole number from 0 to 255"},
        {R"({"nodes": {"/dev/sg0": {"sgVersion": 2147483648}}})", " from -2147483648 to 2147483647, found 2147483648"},
        {withInquiry(R"({"hostStatus": 65536})"), ".hostStatus: expected a whole number from 0 to 65535, found 65536"},
        {R"({"virtualDevices": {"0": ["sr0", 1]}})", "file.json: virtualDevices[\"0\"][1]: expected a text, found 1"},
        {withInquiry(R"({"data": [{"zeros": 513}]})"),
         ".data[0].zeros: expected a whole number from 0 to 512, found 513"},
        {R"({"nodes": {"sg0": {}}})", "file.json: nodes.sg0: expected a node of /dev/sg, "},
        {R"({"scsiDevices": 0})", "file.json: scsiDevices: expected true or false, found 0"},
        {R"({"collected": "2026-02-29T00:00:00Z"})", "file.json: collected: expected a time such as 2026-11-23T17:0"},
        {R"({"collected": "2026-02-28 00:00:00"})", "file.json: collected: expected a time such as"},
        {withInquiry(R"({"data": [{"zeros": 2, "text": "A"}]})"),
         ".data[0]: expected one of text, swapped, words and zeros"},
        {withInquiry(R"({"data": [{"zeros": 2, "size": 2}]})"), ".data[0]: expected a size, of text and swapped only"},
        {withInquiry(R"({"data": [{"text": "A"}]})"), ".data[0]: expected a size, of text and swapped only"},
        {withInquiry(R"({"data": [{"swapped": "A", "size": 3}]})"), ".data[0]: expected an even number of bytes"},
        {withInquiry(R"({"data": [{"words": "0040 3f"}]})"), ".data[0]: expected an even number of bytes"},
        {withInquiry(R"({"data": [{"words": "0040 3ffg"}]})"),
         ".words: expected pairs of hex digits, found \"0040 3ffg\""},
        {R"({"nodes": {"/dev/sda": {"kernel": {}}}})", "[\"/dev/sda\"].kernel: unknown member, expected one of open, "},
        {R"({"nodes": {"/dev/hda": {"kernel": {"size": -1}}}})", "kernel.size: expected a whole number from 0 to 9223"},
        {R"({"nodes": {"/dev/sg0": {"kernel": {"type": 32}}}})", "kernel.type: expected a whole number from 0 to 31, "},
        {R"({"nodes": {"/dev/sg0": {"open": false}}})", ".open: expected true, found false"},
        {R"({"nodes": {"/dev/sg0": {"address": {"host": 1}}}})",
         "address: expected the members host, channel, target and lun, found an object"},
        {R"({"nodes": {"/dev/hda": {"identify": {}}}})", "identify: expected the member data, found an object"},
        {R"({"modprobe": []})", "modprobe: expected at least one answer"},
        {withInquiry("[]"), inquiryPlace + ": expected at least one answer"},
        {withInquiry(R"("EWHAT")"),
         inquiryPlace + ": expected an answer, or the name of an error such as \"EIO\", found \"EWHAT\""},
        {withInquiry("[{}, true]"), "[1]: expected an object, found true"},
        {withInquiry(R"([{"data": "00"}, {"data": "000"}])"),
         inquiryPlace + "[1].data: expected pairs of hex digits, found \"000\""},
        {withInquiry(R"({"data": ["00", {"text": "ABC", "size": 2}]})"),
         inquiryPlace + ".data[1]: expected a size with room for the text"},
        {'[' + repeated(65536, "0") + ']', "file.json: the document: expected an object, found a list"},
        {'[' + repeated(65537, "0") + ']', "file.json: too many values, expected at most 65536"},
        {std::string(65536, '[') + std::string(65536, ']'),
         "file.json: the document: expected an object, found a list"},
        {std::string(65537, '['), "file.json: too many values, expected at most 65536"},
    };
    for (const auto& c : cases)
        EXPECT_THAT(refusal(c.text), testing::HasSubstr(c.message));
    for (const auto& text : std::vector<std::string>{
             "{}", R"({"modprobe": [0, 255], "virtualDevices": {"0": "sr0"}})",
             R"({"comment": "\u2713", "scsiDevices": true, "nodes": {"/dev/sd": {"comment": ["\u2713"]}}})",
             withInquiry(R"({"data": [{"zeros": 512}, ")" + std::string(130048, '0') + "\"]}")})
        EXPECT_EQ(refusal(text), "accepted");
}

TEST(MachineFile, IsRefusedInOneShortLineHoweverLongItsTextsAre) {
    const std::string longText(1 << 20, 'k');
    for (const std::string& text : {
             R"({")" + longText + R"(": 1})",
             R"({"nodes": {")" + longText + R"(": {}}})",
             R"({"nodes": {"/dev/sg)" + longText + R"(": {"odd": 1}}})",
             R"({"nodes": {"/dev/sg)" + longText + R"(": {"open": 1, "open": 1}}})",
             withInquiry('"' + longText + '"'),
             R"({"modprobe": )" + std::string(1 << 20, '9') + '}',
             R"({"name": ")" + longText,
         }) {
        const std::string message = refusal(text);
        EXPECT_LE(message.size(), 250U) << message.substr(0, 1000);
        EXPECT_THAT(message, testing::MatchesRegex("file.json: .*(expected|a second member|not a JSON document).*"));
    }
}

TEST(MachineFile, IsReadInATimeThatGrowsWithItsLength) {
    const std::string longName(1 << 20, 'A'), address = R"({"host": 0, "channel": 0, "target": 0, "lun": 0})";
    std::string nodes = R"("/dev/sg": {})";
    for (int i = 0; i < 32000; ++i)
        nodes += R"(, "/dev/sg)" + std::to_string(i) + R"(": {})";
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(refusal(R"({"nodes": {"/dev/sg)" + longName + R"(": {"address": [)" + repeated(6000, address) + "]}}}"),
              "accepted");
    EXPECT_EQ(refusal(R"({"nodes": {)" + nodes + "}}"), "accepted");
    // A hundredth of this as it is, minutes when the time grows with the square; the sanitizers and valgrind are slow.
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
}

TEST(MachineFile, IsWrittenSoThatItReadsBackTheSame) {
    constexpr int least = std::numeric_limits<int>::min(), largest = std::numeric_limits<int>::max();
    constexpr auto largestSize = std::numeric_limits<std::int64_t>::max();
    sys::machineAnswers machine;
    for (int byte = 0; byte < 256; ++byte)
        machine.name += static_cast<char>(byte);
    machine.usbListing = "no end";
    machine.opticalTable = "two\n\nlines\n";
    auto& node = machine.nodes["/dev/sg\xff"];
    node.sgVersion = std::vector<sys::numberAnswer>{{least, 0}, {largest, 0}, {0, EHWPOISON}};
    node.address = std::vector<sys::addressAnswer>{{least, least, least, least, least, 0},
                                                   {largest, largest, largest, largest, largest, 0}};
    node.inquiry = std::vector<sys::scsiAnswer>{{0, {}, {1}, 0, 0, 0, 0, 0, {}},
                                                {0, {1}, {}, 0xFF, 0xFE, 0xFFFD, 0xFFFC, 0xFFFFFFFB, least},
                                                {0, {}, {}, 2, 0, 0, 0, 0, largest}};

    machine.collected = "2024-02-29T23:59:59Z";
    machine.hasScsiDevices = false;
    sys::kernelWords& known = machine.nodes["/dev/hdz"].knownAs;
    known.knowsNames = true;
    known.names = {"hdz", "\xff"};
    sys::eachKernelText(known, [](const std::string& name, std::string& text) { text = "\xff " + name; });
    known.size = largestSize;
    known.type = 31;

    const std::string written = sys::machineFileText(machine);
    const sys::machineAnswers read = sys::parseMachine(written, "file.json");
    EXPECT_EQ(sys::machineFileText(read), written);
    EXPECT_EQ(read.name, machine.name);
    EXPECT_EQ(read.nodes.at("/dev/hdz").knownAs, known);
}

TEST(MachineFile, TakesIdentifyDataAsToolsPrintItAndDoubtsExchangedBytes) {
    const std::string zeros = R"({"zeros": 252}, {"zeros": 252}, )";
    const struct {
        std::string data;
        std::vector<std::string> doubts;
    } cases[] = {
        {R"({"words": "0040 3FFF"}, )" + zeros + R"({"words": " 0000  7aa5 "})", {}},
        {R"("4000 ff3f", )" + zeros + R"("0000 a57a")", {}},
        {R"("4000 ff3f", )" + zeros + R"("0000 a5a5")", {}},
        {R"("4000 ff3f", )" + zeros + R"("0000 00")", {}},
        {R"("4000 ff3f", )" + zeros + R"("0000 7aa5")",
         {"/dev/sda: the bytes of IDENTIFY data seem to be exchanged in each word: the signature a5 of its checksum is "
          "in "
          "byte 511, expected in byte 510"}},
    };
    for (const auto& c : cases) {
        const auto machine =
            sys::parseMachine(R"({"nodes": {"/dev/sda": {"identify": ["EIO", {"data": [)" + c.data + "]}]}}}", "");
        EXPECT_EQ(sys::doubtsAbout(machine), c.doubts) << c.data;
        const sys::bytes& data = machine.nodes.at("/dev/sda").identify.all()[1].data;
        EXPECT_EQ(sys::bytes(data.begin(), data.begin() + 4), (sys::bytes{0x40, 0, 0xFF, 0x3F}));
    }
}
