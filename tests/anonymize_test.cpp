#include "system/anonymize.h"

#include "system/machinefile.h"
#include "system/replacements.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <numeric>
#include <set>
#include <string>

using sys::swappedPairs;
using sys::upperCase;
using testing::AllOf;
using testing::ElementsAre;
using testing::MatchesRegex;
using testing::Ne;

namespace {

sys::anonymousMachine anonymous(const std::string& file) {
    std::mt19937 random(7); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same in every run
    return sys::anonymize(sys::parseMachine(file, "file.json"), random);
}

std::string asText(const sys::bytes& data) { return {data.begin(), data.end()}; }

std::string upperHexOf(const std::string& text) {
    char digits[3];
    std::string hex;
    for (const char byte : text) {
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        hex += digits;
    }
    return hex;
}

std::string inLowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

} // namespace

// One serial number and one world wide name, in every way in which they are written.
TEST(Anonymize, FindsATextHoweverItIsWritten) {
    auto made = anonymous(R"({"name": "host7.example.net", "usb": [
        "sn AB-12345Z, ab-12345z, 41422D31323334355A, 41422d31323334355a, naa.5000c500a1b2c3d4, on HOST7, example.net",
        "\"Disk AB-12345Z\" \"Other AB-12345Z\""], "opticalTable": ["drive name:\tsr0", "host7 reads DVD:\t1"],
      "nodes": {
        "/dev/sg0": {
          "kernel": {"names": ["sda"], "wwid": "t10.ATA     Model of forty characters: 4567890123456AB-12345Z"},
          "inquiry": {"data": ["000005021f000000", {"text": "ACME", "size": 8}, {"text": "Disk AB-12345Z", "size": 16},
                               {"text": "0001", "size": 4}, {"text": "AB-12345Z 7q", "size": 24}]},
          "serialPage": {"data": ["00800011", {"text": "  AB-12345Z  9z", "size": 17}, {"text": "AB-12 left", "size": 15}]}},
        "/dev/sg1": {"kernel": {"wwid": "naa.5000C500A1B2C3D4"}},
        "/dev/sg2": {"kernel": {"wwid": "iqn.2026-11.host7 tape AB-12345Z"}},
        "/dev/sg3": {"kernel": {"wwid": "t10.ACME    Disk AB-12345Z"}},
        "/dev/sg4": {
          "inquiry": {"data": ["000005021f000000", {"text": "ACME", "size": 8}, {"text": "Other Disk", "size": 16}]},
          "serialPage": {"residual": 32, "data": ["00800020 1f000000", {"text": "ACME", "size": 8},
                                                  {"text": "Other Disk", "size": 16}]}},
        "/dev/sda": {
          "identify": {"data": [{"zeros": 20}, {"swapped": "AB-12345Z", "size": 20}, {"zeros": 6},
            {"swapped": "FW AB-1", "size": 8}, {"swapped": "MODEL", "size": 40}, {"zeros": 122}, "0050 00c5 b2a1 d4c3",
            {"zeros": 34}, {"text": "unknown", "size": 62}, {"zeros": 100}, {"text": "xAB-12345Z", "size": 11},
            {"swapped": "AB-12345Z", "size": 24}, {"text": " ", "size": 1},
            {"swapped": "xAB-12345Z", "size": 54}, "a5c9"]}},
        "/dev/sdb": {"identify": {"data": [{"zeros": 510}, "a501"]}}}})");
    sys::machineAnswers& machine = made.result;
    const std::string inquiry = asText(machine.nodes["/dev/sg0"].inquiry.next().data);
    const std::string page = asText(machine.nodes["/dev/sg0"].serialPage.next().data);
    const std::string identify = asText(machine.nodes["/dev/sda"].identify.next().data);

    const std::string serial = swappedPairs(identify).substr(20, 9);
    EXPECT_THAT(serial, AllOf(MatchesRegex("[A-Z][A-Z]-[0-9]{5}[A-Z]"), Ne("AB-12345Z")));
    EXPECT_EQ(inquiry.substr(16, 29), "Disk AB-12345Z  0001" + serial);
    EXPECT_THAT(inquiry.substr(45), AllOf(MatchesRegex(" [0-9][a-z] {12}"), Ne(" 7q            ")));
    EXPECT_EQ(page.substr(4, 13), "  " + serial + "  ");
    EXPECT_EQ(page.substr(21), std::string(15, '\0')) << "left from another answer";
    const std::string unsent = asText(machine.nodes["/dev/sg4"].serialPage.next().data);
    EXPECT_EQ(unsent.substr(8), "ACME    Other Disk      ") << "of which nothing came";
    EXPECT_EQ(machine.opticalTable, "drive name:\tsr0\nhost7 reads DVD:\t1\n") << "whose keys the plug-in reads";

    EXPECT_EQ(swappedPairs(identify.substr(46, 48)), "FW AB-1 MODEL" + std::string(35, ' '));
    EXPECT_EQ(identify.substr(258, 62), std::string(62, '\0')) << "vendor specific words";
    EXPECT_EQ(identify.substr(420, 11), "x" + serial + " ");
    EXPECT_EQ(swappedPairs(identify.substr(431)).substr(0, 10), serial + " ");
    EXPECT_EQ(swappedPairs(identify.substr(456)).substr(0, 11), "x" + serial + " ");
    EXPECT_EQ(static_cast<char>(std::accumulate(identify.begin(), identify.end(), 0)), 0) << "the checksum";
    EXPECT_EQ(machine.nodes["/dev/sdb"].identify.next().data.back(), 1) << "one that was wrong stays so";
    const std::string name = inLowerCase(upperHexOf(swappedPairs(identify.substr(216, 8))));
    EXPECT_THAT(name, AllOf(MatchesRegex("5000c50[1-9a-f][0-9a-f]{8}"), Ne("5000c500a1b2c3d4")));

    const std::string host = machine.name;
    EXPECT_THAT(host, AllOf(MatchesRegex("[a-z]{4}[0-9]\\.[a-z]{7}\\.[a-z]{3}"), Ne("host7.example.net")));
    EXPECT_EQ(machine.usbListing, "sn " + serial + ", " + inLowerCase(serial) + ", " + upperHexOf(serial) + ", " +
                                      inLowerCase(upperHexOf(serial)) + ", naa." + name + ", on " +
                                      upperCase(host.substr(0, 5)) + ", " + host.substr(6) +
                                      "\n\"Disk AB-12345Z\" \"Other " + serial + "\"\n")
        << "by the product of a device the plug-in knows virtual media";
    EXPECT_EQ(machine.nodes["/dev/sg0"].knownAs.wwid, "t10.ATA     Model of forty characters: 4567890123456" + serial);
    EXPECT_EQ(machine.nodes["/dev/sg1"].knownAs.wwid, "naa." + upperCase(name));
    EXPECT_THAT(machine.nodes["/dev/sg2"].knownAs.wwid,
                AllOf(MatchesRegex("[a-z]{3}\\.[0-9]{4}-[0-9]{2}\\." + host.substr(0, 5) + " [a-z]{4} " + serial),
                      Ne("iqn.2026-11.host7 tape AB-12345Z")));
    EXPECT_THAT(machine.nodes["/dev/sg3"].knownAs.wwid, MatchesRegex("t10.ACME    [A-Z][a-z]{3} " + serial));
    EXPECT_THAT(made.keptAt, ElementsAre("/dev/sg0", "the USB listing", "the optical-drive table"));
    EXPECT_EQ(made.serialNumbers, 5U) << "of which four have something around them";
    EXPECT_EQ(made.worldWideNames, 1U);
}

TEST(Anonymize, LeavesTheSameVirtualDevicesOut) {
    const std::string table = R"("opticalTable": ["drive name:\t\tsr0\tdirectory/scd1", "Can read DVD:\t\t1\t1"])";
    const struct {
        const char *kind, *text, *wanted;
    } cases[] = {
        {"0", "/dev/sg1", "/dev/sg1"},
        {"0", "/dev/sg10", "/dev/sg10"},
        {"0", "Vault 7 of /dev/sg1", "[A-Z][a-z]{4} [0-9] [a-z]{2} /dev/sg1"},
        {"0", "/dev/disk/by-id/x", "/[a-z]{3}/[a-z]{4}/[a-z]{2}-[a-z]{2}/[a-z]"},
        {"1", "/dev/sr0", "/dev/sr0"},
        {"1", "the drive sr01, scd1", "[a-z]{3} [a-z]{5} sr01, scd1"},
        {"1", "/dev/sg1", "/[a-z]{3}/[a-z]{2}[0-9]"},
    };
    for (const auto& c : cases) {
        auto made = anonymous(R"({"nodes": {"/dev/sg1": {}, "/dev/sg12": {}}, )" + table + R"(, "virtualDevices": {")" +
                              c.kind + "\": [\"" + c.text + "\"]}}");
        const std::string replaced = made.result.virtualDevices[c.kind[0] - '0'][0];
        EXPECT_THAT(replaced, MatchesRegex(c.wanted));
        EXPECT_EQ(made.keptVirtualDevices, replaced == c.text ? 1U : 0U) << c.text;
        EXPECT_EQ(made.keptVirtualDevices + made.virtualDevices, 1U);
    }
}

TEST(Anonymize, TakesNoTextForANumber) {
    auto made = anonymous(R"({"usb": ["P", "QRSTUV"], "opticalTable": ["P", "QRSTUV"],
        "nodes": {"/dev/sda": {"identify": {"data": [{"zeros": 216}, {"swapped": "P\nQRSTUV", "size": 8}]}}}})");
    EXPECT_EQ(made.worldWideNames, 1U);
    EXPECT_EQ(made.result.usbListing, "P\nQRSTUV\n") << "as long as the name of a disk, and the same bytes";
    EXPECT_EQ(*made.result.opticalTable, "P\nQRSTUV\n");
}

TEST(Anonymize, KeepsDifferentTextsDifferent) {
    std::string nodes;
    for (char digit = '0'; digit < '9'; ++digit)
        nodes += std::string(nodes.empty() ? "" : ", ") + "\"/dev/sg" + digit +
                 R"(": {"serialPage": {"data": ["00800001", {"text": ")" + digit + R"(", "size": 1}]}})";
    std::set<std::string> pages;
    for (auto& [path, node] : anonymous(R"({"nodes": {)" + nodes + "}}").result.nodes)
        pages.insert(asText(node.serialPage.next().data));
    EXPECT_EQ(pages.size(), 9U) << "of ten digits";
}
