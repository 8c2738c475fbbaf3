#include "system/anonymize.h"

#include "system/machinefile.h"
#include "system/pseudonyms.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::MatchesRegex;

namespace {

/// What of an answer stays, and what is replaced; all other bytes become zero.
struct layout {
    std::size_t keptEnd;
    std::size_t textBegin = 0, textEnd = 0;
    std::size_t alsoKeptBegin = 0, alsoKeptEnd = 0;
    bool isSwapped = false;
};

constexpr layout inquiryLayout{36}, senseLayout{18}, taskLayout{7}, identifyLayout{2, 20, 40, 46, 94, true};

layout pageLayout(const sys::bytes& page) { return {4, 4, page.size() > 3 ? 4U + page[3] : 4U}; }

bool isKept(char c) { return c == ' ' || c == '-' || c == '.'; }

bool isOfSameKind(char one, char other) {
    const auto kindOf = [](unsigned char c) {
        return std::isdigit(c) != 0 ? 'd' : std::isupper(c) != 0 ? 'u' : isKept(static_cast<char>(c)) ? 'k' : 'l';
    };
    return kindOf(static_cast<unsigned char>(one)) == kindOf(static_cast<unsigned char>(other));
}

/// Expects that `made` is of the same kinds of characters as `text`, up to its first zero byte, and tells nothing else.
void expectReplaced(const std::string& text, const std::string& made) {
    ASSERT_EQ(made.size(), text.size());
    const std::size_t end = std::min(text.find('\0'), text.size());
    EXPECT_EQ(made.substr(end), std::string(text.size() - end, '\0'));
    std::size_t changeable = 0, changed = 0;
    for (std::size_t i = 0; i < end; ++i) {
        EXPECT_TRUE(isOfSameKind(text[i], made[i])) << "at " << i;
        changeable += isKept(text[i]) ? 0 : 1;
        changed += text[i] == made[i] ? 0 : 1;
    }
    EXPECT_TRUE(changeable < 8 || changed > changeable / 2) << made; // one digit in ten becomes itself
}

void expectLayout(const sys::bytes& original, const sys::bytes& made, const layout& wanted) {
    ASSERT_EQ(made.size(), original.size());
    std::string text, madeText;
    for (std::size_t i = 0; i < original.size(); ++i) {
        if (i >= wanted.textBegin && i < wanted.textEnd) {
            // A text that ends within a word goes on with a zero byte.
            const std::size_t at = wanted.isSwapped ? i ^ 1U : i;
            text += at < original.size() ? static_cast<char>(original[at]) : '\0';
            madeText += at < made.size() ? static_cast<char>(made[at]) : '\0';
            continue;
        }
        const bool stays = i < wanted.keptEnd || (i >= wanted.alsoKeptBegin && i < wanted.alsoKeptEnd);
        ASSERT_EQ(made[i], stays ? original[i] : 0) << "byte " << i << " of " << original.size();
    }
    expectReplaced(text, madeText);
}

/// Compares each list of answers, and lets `change` make the bytes of the second one's answers those of the first.
template <typename Answers, typename Compare>
void eachPair(const Answers& original, Answers& made, Compare compare) {
    auto list = made.all();
    ASSERT_EQ(list.size(), original.all().size());
    for (std::size_t i = 0; i < list.size(); ++i)
        compare(original.all()[i], list[i]);
    made = list;
}

/// Compares the bytes of all answers one by one, and puts those of the original back.
void expectAnonymous(const sys::node& original, sys::node& made) {
    const auto compare = [](const sys::bytes& before, sys::bytes& after, const layout& wanted) {
        expectLayout(before, after, wanted);
        after = before;
    };
    eachPair(original.inquiry, made.inquiry, [&](const auto& before, auto& after) {
        compare(before.data, after.data, inquiryLayout);
        compare(before.sense, after.sense, senseLayout);
    });
    eachPair(original.serialPage, made.serialPage, [&](const auto& before, auto& after) {
        compare(before.data, after.data, pageLayout(before.data));
        compare(before.sense, after.sense, senseLayout);
    });
    eachPair(original.identify, made.identify,
             [&](const auto& before, auto& after) { compare(before.data, after.data, identifyLayout); });
    eachPair(original.task, made.task,
             [&](const auto& before, auto& after) { compare(before.data, after.data, taskLayout); });
    made.knownAs.wwid = original.knownAs.wwid;
}

/// Answers of random bytes, of which many are characters, and of random sizes.
class randomAnswers {
public:
    sys::node node() {
        sys::node made;
        for (int i = 0; i < 3; ++i) {
            made.inquiry.add(scsi());
            made.serialPage.add(scsi());
            made.identify.add({0, data(number(600))});
            made.task.add({0, data(number(12))});
        }
        return made;
    }

private:
    unsigned number(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

    sys::bytes data(unsigned size) {
        sys::bytes bytes(size);
        for (auto& byte : bytes)
            byte = static_cast<unsigned char>(number(2) == 0 ? '0' + number(75) : number(256));
        return bytes;
    }

    sys::scsiAnswer scsi() {
        sys::scsiAnswer answer;
        answer.data = data(number(300));
        answer.sense = data(number(40));
        answer.status = static_cast<unsigned char>(number(256));
        answer.info = number(9);
        return answer;
    }

    std::mt19937 random_{7}; // NOLINT(cert-msc32-c,cert-msc51-cpp): the same in every run
};

sys::machineAnswers anonymous(const std::string& file) {
    return sys::anonymize(sys::parseMachine(file, "file.json"), "key");
}

} // namespace

// Byte by byte: nothing survives but what is known to identify nothing.
TEST(Anonymize, LeavesNoOtherByteThanItKeeps) {
    std::vector<sys::machineAnswers> machines(1);
    randomAnswers random;
    for (int i = 0; i < 200; ++i)
        machines[0].nodes["/dev/sg" + std::to_string(i)] = random.node();
    for (const auto& entry : std::filesystem::directory_iterator(SOURCE_DIRECTORY "/machines"))
        machines.push_back(sys::readMachineFile(entry.path()));
    for (const auto& original : machines) {
        SCOPED_TRACE(original.name);
        sys::machineAnswers made = sys::anonymize(original, "key");
        ASSERT_EQ(made.nodes.size(), original.nodes.size());
        for (const auto& [path, node] : original.nodes) {
            SCOPED_TRACE(path);
            expectAnonymous(node, made.nodes[path]);
        }
        expectReplaced(original.name, made.name);
        made.name = original.name;
        made.usbListing = original.usbListing;
        made.opticalTable = original.opticalTable;
        made.virtualDevices = original.virtualDevices;
        EXPECT_EQ(sys::machineFileText(made), sys::machineFileText(original)) << "all that is no text of a device";
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
        {"t10.AB", "t10\\.AB"},
        {"SUMMIT 0123456789", "[A-Z]{6} [0-9]{10}"},
    };
    for (const auto& c : cases) {
        const std::string made =
            anonymous(R"({"nodes": {"/dev/sg0": {"kernel": {"wwid": ")" + std::string(c.wwid) + "\"}}}}")
                .nodes["/dev/sg0"]
                .knownAs.wwid;
        EXPECT_THAT(made, MatchesRegex(c.wanted));
        EXPECT_TRUE(made != c.wwid || made == "t10.AB") << made;
    }
}

TEST(Anonymize, ReplacesEqualSerialNumbersByEqualOnes) {
    auto made = anonymous(R"({"nodes": {
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
