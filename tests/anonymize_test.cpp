#include "system/anonymize.h"

#include "system/machinefile.h"
#include "system/pseudonyms.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::MatchesRegex;

namespace {

/// What became of bytes that were all 0xFF, such as "4 kept, 6 zero": no replacement has that byte.
std::string fateOf(const sys::bytes& data) {
    const auto fate = [](unsigned char byte) {
        return byte == 0xFF ? "kept" : byte == 0 ? "zero" : "replaced";
    };
    std::string fates;
    for (std::size_t begin = 0, end = 0; begin < data.size(); begin = end) {
        while (end < data.size() && fate(data[end]) == fate(data[begin]))
            ++end;
        fates += (fates.empty() ? "" : ", ") + std::to_string(end - begin) + ' ' + fate(data[begin]);
    }
    return fates;
}

void expectNothingBut(const std::vector<std::pair<std::size_t, std::size_t>>& kept, sys::bytes data) {
    for (const auto& [begin, end] : kept) {
        for (std::size_t i = begin; i < std::min(end, data.size()); ++i)
            data[i] = 0;
    }
    EXPECT_EQ(data, sys::bytes(data.size()));
}

sys::machineAnswers anonymous(const std::string& file) {
    return sys::anonymize(sys::parseMachine(file, "file.json"), "key");
}

} // namespace

// Nothing survives but what is known to identify nothing.
TEST(Anonymize, LeavesNoOtherByteThanItKeeps) {
    const struct {
        std::string what;
        std::size_t size;
        std::string fate;
    } cases[] = {
        {"inquiry", 600, "36 kept, 564 zero"},
        {"inquiry", 7, "7 kept"},
        {"sense", 40, "18 kept, 22 zero"},
        {"serial page", 600, "4 kept, 255 replaced, 341 zero"},
        {"serial page", 10, "4 kept, 6 replaced"},
        {"serial page", 3, "3 kept"},
        {"page sense", 40, "18 kept, 22 zero"},
        {"identify", 600, "2 kept, 18 zero, 20 replaced, 6 zero, 48 kept, 506 zero"},
        {"identify", 30, "2 kept, 18 zero, 10 replaced"},
        {"identify", 31, "2 kept, 18 zero, 10 replaced, 1 zero"},
        {"task", 9, "7 kept, 2 zero"},
    };
    for (const auto& c : cases) {
        const sys::bytes data(c.size, 0xFF);
        sys::scsiAnswer answer;
        answer.data = answer.sense = data;
        sys::machineAnswers machine;
        sys::node& node = machine.nodes["/dev/sg0"];
        node.inquiry = node.serialPage = answer;
        node.identify = node.task = sys::driveAnswer{0, data};
        sys::node made = sys::anonymize(machine, "key").nodes["/dev/sg0"];
        std::map<std::string, sys::bytes> answers{
            {"inquiry", made.inquiry.next().data},        {"sense", made.inquiry.next().sense},
            {"serial page", made.serialPage.next().data}, {"page sense", made.serialPage.next().sense},
            {"identify", made.identify.next().data},      {"task", made.task.next().data}};
        EXPECT_EQ(fateOf(answers[c.what]), c.fate) << c.size << " bytes, " << c.what;
    }
}

TEST(Anonymize, LeavesNoOtherByteOfAnyMachineFile) {
    const auto extend = [](sys::bytes& data) {
        data.insert(data.end(), 100, 0xFF);
    };
    for (const auto& file : std::filesystem::directory_iterator(SOURCE_DIRECTORY "/machines")) {
        SCOPED_TRACE(file.path());
        sys::machineAnswers machine = sys::readMachineFile(file.path());
        for (auto& [path, node] : machine.nodes) {
            for (auto* const answers : {&node.inquiry, &node.serialPage}) {
                for (auto& answer : answers->all()) {
                    extend(answer.data);
                    extend(answer.sense);
                }
            }
            for (auto& answer : node.identify.all())
                extend(answer.data);
        }
        machine = sys::anonymize(machine, "key");
        for (auto& [path, node] : machine.nodes) {
            for (const auto& answer : node.inquiry.all()) {
                expectNothingBut({{0, 36}}, answer.data);
                expectNothingBut({{0, 18}}, answer.sense);
            }
            for (const auto& answer : node.serialPage.all()) {
                expectNothingBut({{0, 4U + answer.data.at(3)}}, answer.data);
                expectNothingBut({{0, 18}}, answer.sense);
            }
            for (const auto& answer : node.identify.all())
                expectNothingBut({{0, 2}, {20, 40}, {46, 94}}, answer.data);
        }
    }
}

TEST(Anonymize, KeepsOfAWorldWideNameItsFormatAndTheMaker) {
    const struct {
        const char *wwid, *wanted;
    } cases[] = {
        {"naa.5000c500a06f17f0", "naa\\.5000c50[0-9a-f]{9}"},
        {"naa.600508b1001c7e1f0a2b3c4d5e6f7081", "naa\\.600508b[0-9a-f]{25}"},
        {"naa.3333333000005dc0", "naa\\.3[0-9a-f]{15}"},
        {"eui.0025388b710116a1", "eui\\.002538[0-9a-f]{10}"},
        {"t10.ATA     SUMMIT 100   FJ-1", "t10\\.ATA     [A-Z]{6} [0-9]{3}   [A-Z]{2}-[0-9]"},
        {"eui.a1b2c3d4e5f60718002538aabbccddee", "eui\\.[0-9a-f]{16}002538[0-9a-f]{10}"},
        {"t10.SN-12345", "t10\\.[A-Z]{2}-[0-9]{5}"},
        {"SUMMIT 0123456789", "[A-Z]{6} [0-9]{10}"},
    };
    for (const auto& c : cases) {
        const std::string made =
            anonymous(R"({"nodes": {"/dev/sg0": {"kernel": {"wwid": ")" + std::string(c.wwid) + "\"}}}}")
                .nodes["/dev/sg0"]
                .knownAs.wwid;
        EXPECT_THAT(made, MatchesRegex(c.wanted));
        EXPECT_NE(made, c.wwid);
    }
}

TEST(Anonymize, ReplacesEqualSerialNumbersByEqualOnes) {
    auto made = anonymous(R"({"nodes": {
        "/dev/hda": {"kernel": {"serial": "AB-12345Z"}},
        "/dev/sg0": {"serialPage": {"data": ["00800010", {"text": "  AB-12345Z", "size": 16}]}},
        "/dev/sg1": {"serialPage": {"data": ["0080000a", {"text": "AB-12345Z", "size": 9}, "00", {"text": "left", "size": 4}]}},
        "/dev/sda": {"identify": {"data": [{"zeros": 20}, {"swapped": "AB-12345Z", "size": 20}]}}}})");
    const auto pageOf = [&made](const char* path) {
        const sys::bytes page = made.nodes[path].serialPage.next().data;
        return std::string(page.begin() + 4, page.end());
    };
    const std::string serial = pageOf("/dev/sg0").substr(2, 9);
    EXPECT_EQ(pageOf("/dev/sg0"), "  " + serial + "     ");
    EXPECT_EQ(pageOf("/dev/sg1"), serial + std::string(5, '\0'));
    sys::bytes sector = made.nodes["/dev/sda"].identify.next().data;
    for (std::size_t i = 20; i < 40; i += 2)
        std::swap(sector[i], sector[i + 1]);
    EXPECT_EQ(std::string(sector.begin() + 20, sector.begin() + 40), serial + std::string(11, ' '));
    EXPECT_EQ(made.nodes["/dev/hda"].knownAs.serial, serial);
    EXPECT_EQ(sys::pseudonyms("key").of("AB-12345Z"), serial);
    EXPECT_NE(sys::pseudonyms("another").of("AB-12345Z"), serial);
    EXPECT_NE(sys::pseudonymKey(""), sys::pseudonymKey("")) << "a recording's own";
}

TEST(Anonymize, KeepsOfListsWhatLeavesDevicesOut) {
    auto made = anonymous(R"({"usb": ["x \"Virtual\" SN77", "\"Disk\"", "\"ACME\"", "\"virtual\""],
        "opticalTable": ["drive name:\t\tsr0\tprivate/scd1\tMINE\thdc", "host drive name:\tsr7", "Can read DVD:\t\t1\tx23\t-1"],
        "virtualDevices": {"0": ["Vault 7 of /dev/sg12", "/dev/disk/by-id/x", "/dev/sda"], "1": ["host7/sr01", "MINE", "hdc", "sr7"]},
        "nodes": {"/dev/sg1": {"inquiry": {"data": [{"zeros": 16}, {"text": " Virtual", "size": 16}]}},
                  "/dev/sg2": {"inquiry": {"data": [{"zeros": 8}, {"text": "ACME", "size": 8}, {"zeros": 16}]}},
                  "/dev/sg12": {}, "/dev/sg3": {}, "/dev/sda": {}}})");
    EXPECT_EQ(made.usbListing, "  Device: usb 0x4012 \"Virtual\"\n  Device: usb 0x4012 \"ACME\"\n");
    EXPECT_EQ(made.opticalTable, "drive name:\t\tsr0\txxxxxxx/scd1\txxxx\thdc\nxxxxxxxxxxxxxxxxxxxx\n"
                                 "Can read DVD:\t\t1\txxx\t-1\n");
    EXPECT_THAT(made.virtualDevices[0], ElementsAre("/dev/sg1", "/dev/sg12", "/dev/sda"));
    EXPECT_THAT(made.virtualDevices[1], ElementsAre("sr0", "hdc"));
}
