#include "device/atainterface_linux.h"
#include "device/scsidevice_linux.h"
#include "tests/simulatedmachine.h"

#include <algorithm>
#include <cerrno>

using sys::driveAnswer;
using testing::Contains;

namespace {

class AtaInterface : public SimulatedMachine {
protected:
    using operation = int (ataInterface::*)(int, unsigned char*, unsigned char*, int);

    /// Sends a command to /dev/hda. "" or the text of the exception.
    std::string send(std::vector<unsigned char> command, operation how = &ataInterface::executeCommand) {
        scsiDevice device;
        device.GetDevice("/dev/hd", 0);
        std::fill_n(out_, sizeof out_, untouched);
        try {
            (ataInterface().*how)(device.fd, command.data(), out_, sizeof out_);
            return "";
        } catch (const std::exception& failure) {
            return failure.what();
        }
    }

    static constexpr unsigned char untouched = 0x5A;
    unsigned char out_[512] = {};
};

const std::vector<unsigned char> identifyCommand{0, 1, 0, 0, 0, 0xA0, 0xEC};
const std::vector<unsigned char> identifyPacketDevice{0, 1, 0, 0, 0, 0xA0, 0xA1};
const std::vector<unsigned char> smartReturnStatus{0xDA, 0, 0, 0x4F, 0xC2, 0, 0xB0};

} // namespace

TEST_F(AtaInterface, CopiesTheDataBehindTheRegisters) {
    at("/dev/hda").identify = identify("ACME DISK");
    for (const auto how : {&ataInterface::executeCommand, &ataInterface::executePassThroughCmd}) {
        EXPECT_EQ(send(identifyCommand, how), "");
        EXPECT_TRUE(std::equal(out_, out_ + 512, identify("ACME DISK").data.begin()));
    }
    EXPECT_THAT(calls(), Contains("ioctl /dev/hda HDIO_DRIVE_CMD ec000001").Times(2));
    EXPECT_THAT(calls(), Contains("ioctl /dev/hda CDROM_GET_CAPABILITY").Times(1))
        << "the plain pass-through asks nothing";
    send({5, 1, 2, 3, 4, 0xA0, 0xA1});
    EXPECT_EQ(calls()[calls().size() - 2], "ioctl /dev/hda HDIO_DRIVE_CMD a1020501");
}

TEST_F(AtaInterface, DoesNotIdentifyAnOpticalDrive) {
    at("/dev/hda").identify = identify("ACME DISK");
    at("/dev/hda").opticalCapability = sys::numberAnswer{0x2FFFFF, 0}; // success is any answer but -1
    EXPECT_EQ(send(identifyCommand), "device is a cdrom");
    EXPECT_EQ(out_[0], untouched);
    EXPECT_EQ(send(identifyPacketDevice), "ATA 0command returned fail: ") << "only IDENTIFY DEVICE is guarded";
}

TEST_F(AtaInterface, ReturnsTheTaskRegistersOfSmartStatus) {
    at("/dev/hda").task = driveAnswer{0, {0x50, 0x01, 0x02, 0x03, 0xF4, 0x2C, 0x06}};
    EXPECT_EQ(send(smartReturnStatus), "");
    EXPECT_THAT(std::vector<int>(out_, out_ + 6), testing::ElementsAre(0x01, 0x02, 0x03, 0xF4, 0x2C, 0x06));
    EXPECT_EQ(calls()[2], "ioctl /dev/hda HDIO_DRIVE_TASK b0da00004fc200");
    at("/dev/hda").task = driveAnswer{EIO, {}};
    EXPECT_EQ(send(smartReturnStatus), "ATA dacommand returned fail: ");
    EXPECT_EQ(takeLog(), strings{"3 ATA dacommand returned fail: "});
}
