#include "device/scsidevice_linux.h"
#include "device/scsipassthrough_linux.h"
#include "tests/simulatedmachine.h"

#include <cerrno>
#include <cstring>
#include <functional>

using simulator::node;
using simulator::numberAnswer;
using simulator::scsiAnswer;

namespace {

const unsigned char otherCommand[commandStorage] = {0x4D, 0, 0x6E, 0, 0, 0, 0, 2, 0, 0}; // LOG SENSE

class PassThrough : public SimulatedMachine {
protected:
    /// Opens /dev/sg0 and sends one command.
    int send(const unsigned char* command, int length, const std::string& product = "null") {
        scsiDevice device;
        device.GetDevice("/dev/sg", 0);
        device.product = product;
        std::memcpy(cdb_, command, sizeof cdb_);
        return passThrough_.execSCSICommand(&device, cdb_, length);
    }

    /// The requests on the node, without opening and closing.
    strings requests() const {
        strings result;
        for (const auto& call : calls()) {
            if (call.rfind("ioctl /dev/sg0 ", 0) == 0)
                result.push_back(call.substr(15));
        }
        return result;
    }

    unsigned char cdb_[commandStorage] = {};
    scsiPassThrough passThrough_{};
};

scsiAnswer withoutSense(unsigned short hostStatus, unsigned short driverStatus) {
    scsiAnswer answer;
    answer.hostStatus = hostStatus;
    answer.driverStatus = driverStatus;
    answer.info = 1;
    return answer;
}

scsiAnswer failing(int error) {
    scsiAnswer answer;
    answer.error = error;
    return answer;
}

} // namespace

TEST_F(PassThrough, AsksNoMoreThanACommandNeeds) {
    sgNode("/dev/sg0", inquiry(0, "ACME", "ROADRUNNER")).serialPage = serialPage("S1");
    const std::string version = "SG_GET_VERSION_NUM";

    EXPECT_EQ(send(inquiry_cmd, 6), 0);
    EXPECT_EQ(requests(), (strings{version, "SG_IO 12 00 00 00 24 00 length 36"}));
    EXPECT_EQ(std::memcmp(passThrough_.getRawBuffer() + 8, "ACME    ROADRUNNER", 18), 0);

    EXPECT_EQ(send(serialinquiry_cmd, 6), 0);
    EXPECT_EQ(requests().size(), 5U);
    EXPECT_EQ(requests()[3], "SG_EMULATED_HOST");
    EXPECT_EQ(requests()[4], "SG_IO 12 01 80 00 ff 00 length 36");

    EXPECT_EQ(send(otherCommand, 10), -1) << "the simulated device refuses it";
    EXPECT_EQ(requests().back(), "SG_IO 4d 00 6e 00 00 00 00 02 00 00 length 65535");
}

TEST_F(PassThrough, ReopensANodeWhoseDriverIsTooOldOnce) {
    const std::string tryAgain = "3 Device does not support SGIO, try again!";
    const std::string unsupported = "3 Device does not support SGIO";
    const numberAnswer old{20000, 0}, last{29999, 0}, good{30000, 0}, refused{0, ENOTTY}, opens{};
    using outcomes = std::vector<numberAnswer>;
    const struct {
        const char* why;
        outcomes versions, opens;
        int result;
        strings log;
    } cases[] = {
        {"the oldest version that will do", {good}, {opens}, 0, {}},
        {"too old for good", {last}, {opens}, -1, {tryAgain, unsupported}},
        {"no such request", {refused}, {opens}, -1, {tryAgain, unsupported}},
        {"better after the second open", {old, good}, {opens}, 0, {tryAgain}},
        {"does not open again", {old, good}, {opens, {0, EBUSY}}, -1, {tryAgain}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        node& device = sgNode("/dev/sg0", inquiry(0, "ACME", "ROADRUNNER"));
        device.sgVersion = c.versions;
        device.open = c.opens;
        EXPECT_EQ(send(inquiry_cmd, 6), c.result);
        EXPECT_EQ(takeLog(), c.log);
    }
}

TEST_F(PassThrough, RefusesEmulatedHostsButForTapesAndCartridges) {
    const std::string emulated = "3 Device is emulated scsi";
    const struct {
        const char* why;
        numberAnswer answer;
        const char* product;
        int result;
        strings log;
        std::string lastRequest;
    } cases[] = {
        {"a handle that never learned its product", {1, 0}, "null", -1, {emulated}, "SG_EMULATED_HOST"},
        {"a question that fails counts as yes", {0, ENOTTY}, "null", -1, {emulated}, "SG_EMULATED_HOST"},
        {"only 1 means emulated", {2, 0}, "null", 0, {}, "SG_IO 12 01 80 00 ff 00 length 36"},
        {"the name may stand anywhere",
         {1, 0},
         "MY DAT160 DRIVE",
         0,
         {emulated, "3 MY DAT160 DRIVE Found!\n"},
         "SG_IO 12 01 80 00 ff 00 length 255"},
        {"case counts", {1, 0}, "rdx", -1, {emulated}, "SG_EMULATED_HOST"},
        {"RDX", {1, 0}, "RDX", 0, {emulated, "3 RDX Found!\n"}, "SG_IO 12 01 80 00 ff 00 length 255"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        node& device = sgNode("/dev/sg0", inquiry(0, "ACME", "ROADRUNNER"));
        device.serialPage = serialPage("S1");
        device.emulated = c.answer;
        EXPECT_EQ(send(serialinquiry_cmd, 6, c.product), c.result);
        EXPECT_EQ(takeLog(), c.log);
        EXPECT_EQ(requests().back(), c.lastRequest);
    }

    for (const char* known : {"GoVault", "LTO-4", "DDS"}) {
        node& device = sgNode("/dev/sg0", inquiry(0, "ACME", "ROADRUNNER"));
        device.emulated = numberAnswer{1, 0};
        send(otherCommand, 10, known);
        EXPECT_EQ(requests().back(), "SG_IO 4d 00 6e 00 00 00 00 00 ff 00 length 255") << known;
        EXPECT_EQ(cdb_[8], 0xFF) << "the caller's command is changed";
    }
}

TEST_F(PassThrough, RetriesWhatPassesAndReportsWhatDoesNot) {
    const scsiAnswer good = inquiry(0, "ACME", "ROADRUNNER");
    const scsiAnswer attention = check(6, 0x29, 0), markedAttention = check(0x86, 0x29, 0);
    const scsiAnswer becomingReady = check(2, 4, 1), notReady = check(2, 4, 2), noMedium = check(2, 0x3A, 0);
    const scsiAnswer changed = check(0, 0x28, 0), changedElsewhere = check(0, 0x28, 1);
    const std::string retry = "3 Retry condition...", status = "3 SG SCSI status=\x02", driver = "3 SG Driver status=8";
    const auto sense = [](const std::string& key, const std::string& codes) {
        return "3 SCSI sense data: 700" + key + "0000a0000" + codes + "0000";
    };
    const struct {
        const char* why;
        std::vector<scsiAnswer> answers;
        int result;
        unsigned slept;
        strings log;
    } cases[] = {
        {"unit attention, then good", {attention, good}, 0, 5, {retry, sense("6", "290"), status, driver}},
        {"key 6 below the filemark bit", {markedAttention, good}, 0, 5, {retry, sense("86", "290"), status, driver}},
        {"becoming ready", {becomingReady, good}, 0, 5, {retry, sense("2", "41"), status, driver}},
        {"medium may have changed", {changed, good}, 0, 5, {retry, sense("0", "280"), status, driver}},
        {"not ready for another reason", {notReady, good}, -1, 0, {sense("2", "42"), status, driver}},
        {"another qualifier", {changedElsewhere, good}, -1, 0, {sense("0", "281"), status, driver}},
        {"no medium", {noMedium, good}, -1, 0, {sense("2", "3a0"), status, driver}},
        {"without sense the numbers are decimal",
         {withoutSense(16, 17)},
         -1,
         0,
         {"3 SG Host status=16", "3 SG Driver status=17"}},
        {"the request fails", {failing(EIO)}, 1, 0, {"3 SG IOCTL error"}},
        {"an interrupted request fails too", {failing(EINTR), good}, 1, 0, {"3 SG IOCTL error"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        sgNode("/dev/sg0", good).inquiry = c.answers;
        passThrough_ = scsiPassThrough{};
        const unsigned before = secondsSlept();
        EXPECT_EQ(send(inquiry_cmd, 6), c.result);
        EXPECT_EQ(secondsSlept() - before, c.slept);
        EXPECT_EQ(takeLog(), c.log);
    }
    EXPECT_EQ(passThrough_.getSensekey(), 0);
}

TEST_F(PassThrough, GivesUpAfterFiveAttempts) {
    sgNode("/dev/sg0", check(0x86, 0x29, 0));
    EXPECT_EQ(send(inquiry_cmd, 6), -1);
    EXPECT_EQ(secondsSlept(), 25U) << "the fifth attempt is followed by a sleep as well";
    EXPECT_EQ(requests().size(), 6U);
    EXPECT_EQ(passThrough_.getSensekey(), 0x86) << "the sense key is not masked";
    EXPECT_EQ(passThrough_.getASC(), 0x29);
}

TEST_F(PassThrough, JudgesByTheSenseThatIsInTheBuffer) {
    scsiAnswer sensed = check(6, 0x29, 0);
    sensed.hostStatus = 16;
    const scsiAnswer good = inquiry(0, "ACME", "ROADRUNNER");

    sgNode("/dev/sg0", good).inquiry = std::vector<scsiAnswer>{withoutSense(7, 0)};
    EXPECT_EQ(send(inquiry_cmd, 6), -1);
    EXPECT_EQ(secondsSlept(), 0U) << "bytes that nobody wrote do not ask for a retry";
    takeLog();

    sgNode("/dev/sg0", good).inquiry = std::vector<scsiAnswer>{sensed, withoutSense(16, 0), good};
    EXPECT_EQ(send(inquiry_cmd, 6), 0) << "an answer without sense is judged by the sense before it";
    EXPECT_EQ(secondsSlept(), 10U);
    const strings log = takeLog();
    EXPECT_THAT(log, testing::Contains("3 SG Host status=10")) << "hexadecimal behind a sense line";
    EXPECT_THAT(log, testing::Contains("3 SG Host status=16")) << "decimal again in the next attempt";
}
