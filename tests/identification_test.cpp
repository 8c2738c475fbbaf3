#include "device/scsidevice_linux.h"
#include "tests/simulatedmachine.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <limits>

using sys::addressAnswer;

class DeviceHandle : public SimulatedMachine {
protected:
    scsiDevice device_;
};

TEST_F(DeviceHandle, TriesTheNumberedNodeBeforeTheLetteredOne) {
    at("/dev/sg0");
    at("/dev/sdc");
    EXPECT_EQ(device_.GetDevice("/dev/sg", 65536), 1) << "the number is taken as 16 bits";
    EXPECT_EQ(device_.GetDevice("/dev/sd", 2), 1);
    EXPECT_EQ(device_.devicePath, "/dev/sdc");
    EXPECT_EQ(device_.GetDevice("/dev/hd", 154), -1);
    EXPECT_EQ(device_.fd, -1);
    EXPECT_EQ(device_.devicePath, "/dev/hd\xfb") << "the last name tried stays; letters run past z";
    EXPECT_EQ(calls(), (strings{"open /dev/sg0", "close /dev/sg0", "open /dev/sd2", "open /dev/sdc", "close /dev/sdc",
                                "open /dev/hd154", "open /dev/hd\xfb"}));
}

TEST_F(DeviceHandle, OpensWithoutWaitingAndTakesDescriptor0) {
    const int standardInput = ::dup(STDIN_FILENO);
    ::close(STDIN_FILENO);
    for (const char* file : {"node0", "nodea"}) { // of the real kernel, which sees the flags
        std::ofstream(file).close();
        EXPECT_EQ(device_.GetDevice("node", 0), 1);
        EXPECT_EQ(device_.GetDevice(), 1);
        EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFL) & (O_ACCMODE | O_NONBLOCK), O_RDONLY | O_NONBLOCK);
        device_.CloseDevice();
        EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFL), -1) << "closed";
        std::filesystem::remove(file);
    }
    ::dup2(standardInput, STDIN_FILENO);
    ::close(standardInput);
}

TEST_F(DeviceHandle, IdentifiesAnAtaDeviceFirst) {
    at("/dev/sda").identify = identify("ACME DISK");
    device_.target = std::numeric_limits<int>::min(); // what a target was before is no reason to overflow
    EXPECT_EQ(device_.initialize("/dev/sd", 0), 1);
    EXPECT_EQ(device_.vendor, "null") << "the identity stays as it was";
    EXPECT_EQ(takeLog(), (strings{"3 Trying device: ", "3 /dev/sda", "3 ACME DISK" + std::string(31, ' ')}));
    EXPECT_EQ(device_.getBusType(), 3);
}

TEST_F(DeviceHandle, IdentifiesScsiDisksAndTapes) {
    const struct {
        const char* why;
        sys::scsiAnswer answer;
        int result, type;
    } cases[] = {
        {"tape", inquiry(1, "ACME", "COYOTE"), 1, 1},
        {"cartridge drive", inquiry(0, "ACME", "MY RDX"), 1, 1},
        {"other cartridge drive", inquiry(0, "ACME", "GoVault"), 1, 1},
        {"optical drive", inquiry(5, "ACME", "ROADRUNNER"), 0, 0},
        {"not connected", inquiry(0x20, "ACME", "ROADRUNNER"), 0, 0},
        {"a product only", inquiry(0, std::string(1, '\0'), "ROADRUNNER"), 1, 0},
        {"no identity at all", inquiry(0, std::string(1, '\0'), std::string(1, '\0')), 0, 0},
        {"refused", check(5, 0x24, 0), 0, 0},
        {"disk", inquiry(0, "ACME", "ROADRUNNER"), 1, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        sgNode("/dev/sg7", c.answer).address = addressAnswer{3, 1, 4, 2, 0, 0};
        scsiDevice device;
        EXPECT_EQ(device.initialize("/dev/sg", 7), c.result);
        EXPECT_EQ(device.deviceType, c.type);
        EXPECT_EQ((std::vector{device.host, device.channel, device.target, device.lun}),
                  c.result == 1 ? (std::vector{3, 1, 4, 2}) : std::vector<int>(4));
        EXPECT_EQ(device.getBusType(), 1);
    }
    takeLog();

    at("/dev/sg7").address = {};
    device_.lun = 9;
    EXPECT_EQ(device_.initialize("/dev/sg", 7), 1);
    EXPECT_EQ(device_.lun, 9) << "an unknown address leaves what was there";
    EXPECT_EQ(device_.product, "ROADRUNNER      ");
    EXPECT_EQ(takeLog().back(), "3 Vendor: ACME    \nProduct: ROADRUNNER      \nFirmware Level: 0001\n");
}

TEST_F(DeviceHandle, SaysWhenToStopScanning) {
    EXPECT_EQ(device_.initialize("/dev/sd", 25), 0);
    EXPECT_EQ(device_.initialize("/dev/sd", 26), -1);
    EXPECT_EQ(takeLog(), (strings{"3 Trying device: ", "3 /dev/sdz", "3 Trying device: ", "3 /dev/sd{"}));
}
