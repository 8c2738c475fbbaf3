#include "simulator/machinefile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <string>

using simulator::bytes;
using simulator::parseMachine;

namespace {

std::string refusal(const std::string& text) {
    try {
        parseMachine(text, "file.json");
    } catch (const simulator::machineFileError& failure) {
        return failure.what();
    }
    return "accepted";
}

/// A machine with /dev/sg0 whose INQUIRY is answered so.
std::string withInquiry(const std::string& answer) { return R"({"nodes": {"/dev/sg0": {"inquiry": )" + answer + "}}}"; }

} // namespace

TEST(MachineFile, HoldsAnswersAsTheKernelGivesThem) {
    const auto machine = parseMachine(R"({
        "name": "caf\u00e9", "modprobe": 1, "usb": ["one", "two"], "opticalTable": "raw\n",
        "virtualDevices": {"1": ["sr0"]},
        "nodes": {"/dev/sg0": {
            "open": ["EACCES", true],
            "sgVersion": 30536,
            "emulated": "ENOTTY",
            "address": {"host": -1, "channel": 0, "target": 70000, "lun": 3},
            "inquiry": [{"data": ["00 ff", {"text": "AB", "size": 4}, {"zeros": 2}]}, {"sense": "70 00"}, "EIO",
                        {"hostStatus": 7}, {"status": 4, "maskedStatus": 9, "info": 0}],
            "identify": {"data": [{"swapped": "ABCD", "size": 6}]}}}})",
                                      "file.json");
    EXPECT_EQ(machine.name, "caf\xe9");
    EXPECT_EQ(machine.usbListing, "one\ntwo\n");
    EXPECT_EQ(machine.opticalTable, "raw\n");
    EXPECT_EQ(machine.virtualDevices[1], std::vector<std::string>{"sr0"});
    const auto& node = machine.nodes.at("/dev/sg0");
    EXPECT_EQ(node.open.all()[0].error, EACCES);
    EXPECT_EQ(node.open.all()[1].error, 0);
    EXPECT_EQ(node.emulated.all()[0].error, ENOTTY);
    EXPECT_EQ(node.address.all()[0].target, 70000);
    const auto& inquiry = node.inquiry.all();
    EXPECT_EQ(inquiry[0].data, (bytes{0, 0xFF, 'A', 'B', ' ', ' ', 0, 0}));
    EXPECT_EQ(inquiry[0].info, 0U);
    EXPECT_EQ(inquiry[1].status, 2) << "sense comes with a check condition";
    EXPECT_EQ(inquiry[1].maskedStatus, 1);
    EXPECT_EQ(inquiry[1].driverStatus, 8);
    EXPECT_EQ(inquiry[1].info, 1U);
    EXPECT_EQ(inquiry[2].error, EIO);
    EXPECT_EQ(inquiry[3].info, 1U);
    EXPECT_EQ(inquiry[3].status, 0);
    EXPECT_EQ(inquiry[4].maskedStatus, 9);
    EXPECT_EQ(inquiry[4].info, 0U) << "what is said counts";
    EXPECT_EQ(node.identify.all()[0].data, (bytes{'B', 'A', 'D', 'C', ' ', ' '}));
}

TEST(MachineFile, IsRefusedWithThePlaceAndWhatWasExpected) {
    const std::string inquiryPlace = "file.json: nodes[\"/dev/sg0\"].inquiry";
    const struct {
        std::string text, message;
    } cases[] = {
        {"{\"name\": ", "file.json: not a JSON document: parse error at line 1, column 10"},
        {"[]", "file.json: the document: expected an object, found a list"},
        {R"({"nam": "x"})", "file.json: the document: unknown member \"nam\", expected one of name, modprobe,"},
        {R"({"name": "a", "name": "b"})", "file.json: the member \"name\" stands twice in one object"},
        {R"({"name": "\u0100"})", "file.json: name: expected characters up to U+00FF, found \"\\u0100\""},
        {R"({"modprobe": 256})", "file.json: modprobe: expected a whole number from 0 to 255, found 256"},
        {R"({"modprobe": 1.5})", "file.json: modprobe: expected a whole number from 0 to 255, found 1.5"},
        {R"({"modprobe": 18446744073709551615})", "expected a whole number from 0 to 255"},
        {R"({"virtualDevices": {"0": "sr0"}})", "file.json: virtualDevices[0]: expected a list of texts"},
        {withInquiry(R"({"data": [{"zeros": 40000}, {"zeros": 40000}]})"),
         ".data[1]: expected at most 65536 bytes in all"},
        {R"({"nodes": {"sg0": {}}})", "file.json: nodes[\"sg0\"]: expected a node of /dev/sg, "},
        {withInquiry(R"({"data": [{"zeros": 2, "text": "A"}]})"), "unknown member \"text\", expected one of zeros"},
        {R"({"nodes": {"/dev/sg0": 1}})", "file.json: nodes[\"/dev/sg0\"]: expected an object, found 1"},
        {R"({"nodes": {"/dev/sg0": {"open": false}}})", "open: expected true, or the name of an error, found false"},
        {R"({"nodes": {"/dev/sg0": {"address": {"host": 1}}}})", "address: expected a member \"channel\""},
        {withInquiry(R"("EWHAT")"), inquiryPlace + ": expected the name of an error, such as \"EIO\", found \"EWHAT\""},
        {withInquiry("[]"), inquiryPlace + ": expected at least one answer"},
        {withInquiry(R"([{"data": "00"}, {"data": "000"}])"),
         inquiryPlace + "[1].data: expected pairs of hex digits, found \"000\""},
        {withInquiry(R"({"data": ["00", {"text": "ABC", "size": 2}]})"),
         inquiryPlace + ".data[1].size: expected room for the text, found 2"},
        {withInquiry(R"({"data": [{"swapped": "A", "size": 3}]})"),
         ".size: expected room for the text, an even number"},
        {withInquiry(R"({"data": {"zeros": 1}})"), ".data: expected pairs of hex digits, or a list of parts"},
        {std::string(1000000, '['), "file.json: not a JSON document: "},
        {std::string(1000000, '[') + std::string(1000000, ']'), "the document: expected an object, found a list"},
    };
    for (const auto& c : cases)
        EXPECT_THAT(refusal(c.text), testing::HasSubstr(c.message));
    EXPECT_EQ(refusal("{}"), "accepted");
}
