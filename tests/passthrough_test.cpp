#include "device/scsidevice_linux.h"
#include "device/scsipassthrough_linux.h"
#include "tests/simulatedmachine.h"

#include <scsi/sg.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

class PassThrough : public SimulatedMachine {
protected:
    /// Opens /dev/sg0, which answers INQUIRY with `answer`.
    void open(const sys::scsiAnswer& answer = inquiry(0, "ACME", "ROADRUNNER")) {
        sys::node& node = sgNode("/dev/sg0", answer);
        node.emulated = sys::numberAnswer{1, 0};
        node.serialPage = serialPage("S1");
        device_.GetDevice("/dev/sg", 0);
    }

    int send(const unsigned char* command, int length) {
        std::memcpy(cdb_, command, sizeof cdb_);
        return passThrough_.execSCSICommand(&device_, cdb_, length);
    }

    scsiDevice device_;
    unsigned char cdb_[commandStorage] = {};
    scsiPassThrough passThrough_{};
};

} // namespace

TEST_F(PassThrough, RefusesEmulatedHostsButForTapesAndCartridges) {
    open();
    for (const std::string product : {"null", "rdx", "ROADRUNNER"}) {
        device_.product = product;
        EXPECT_EQ(send(serialinquiry_cmd, 6), -1) << product;
        EXPECT_EQ(calls().back(), "ioctl /dev/sg0 SG_EMULATED_HOST");
        EXPECT_EQ(takeLog(), strings{"3 Device is emulated scsi"});
    }
    for (const std::string product : {"MY DAT160 DRIVE", "GoVault", "RDX", "LTO-4", "DDS"}) {
        device_.product = product;
        EXPECT_EQ(send(serialinquiry_cmd, 6), 0) << product;
        EXPECT_EQ(calls().back(), "ioctl /dev/sg0 SG_IO 12018000ff00 length 255");
        EXPECT_EQ(takeLog(), (strings{"3 Device is emulated scsi", "3 " + product + " Found!\n"}));
    }
    send(tapeAlert_cmd, 10);
    EXPECT_EQ(calls().back(), "ioctl /dev/sg0 SG_IO 4d006e0000000000ff00 length 255");
    EXPECT_EQ(cdb_[8], 0xFF) << "the caller's command is changed";
}

TEST_F(PassThrough, LogsTheSenseThatItHasRoomFor) {
    sys::scsiAnswer answer = check(5, 0, 0);
    answer.info |= SG_INFO_DIRECT_IO;
    for (const std::size_t size : {1U, 33U}) {
        answer.sense = sys::bytes(size, 0x70);
        open(answer);
        EXPECT_EQ(send(inquiry_cmd, 6), -1);
        std::string sense;
        for (std::size_t i = 0; i < std::min<std::size_t>(size, 32); ++i)
            sense += "70";
        EXPECT_EQ(takeLog(), (strings{"3 SCSI sense data: " + sense, "3 SG SCSI status=\x02", "3 SG Driver status=8"}));
    }
}

TEST_F(PassThrough, GivesUpAfterFiveAttempts) {
    open(check(0x86, 0x29, 0));
    EXPECT_EQ(send(inquiry_cmd, 6), -1);
    EXPECT_EQ(secondsSlept(), 25U) << "the fifth attempt is followed by a sleep as well";
    EXPECT_EQ(passThrough_.getSensekey(), 0x86) << "the sense key is not masked";
    EXPECT_EQ(passThrough_.getASC(), 0x29);
}

TEST_F(PassThrough, TellsARequestThatFailsFromADeviceThatRefuses) {
    sys::scsiAnswer failing;
    failing.error = EIO;
    open(failing);
    EXPECT_EQ(send(inquiry_cmd, 6), 1);
    EXPECT_EQ(secondsSlept(), 0U);
    EXPECT_EQ(send(inquiry_cmd, 5), 1) << "no command is so short";
    EXPECT_EQ(errno, EMSGSIZE);
}
