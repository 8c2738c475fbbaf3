// The simulated machine, and the layers that are put around a machine.

#include "system/machinefile.h"
#include "system/recordedmachine.h"
#include "system/simulatedmachine.h"
#include "system/watchedmachine.h"

#include <linux/cdrom.h>
#include <linux/hdreg.h>

#include <gtest/gtest.h>

#include <cerrno>

using strings = std::vector<std::string>;

namespace {

constexpr const char* loadDriver = "modprobe sg >/dev/null 2>&1";

/// Opens a node and asks it for its capabilities as an optical drive. The errno of what failed, or 0.
int ask(sys::machine& machine, const char* path) {
    errno = 0;
    const int fd = machine.open(path, 0, 0);
    if (fd < 0)
        return errno;
    const int error = machine.ioctl(fd, CDROM_GET_CAPABILITY, nullptr) == -1 ? errno : 0;
    machine.close(fd);
    return error;
}

} // namespace

TEST(SimulatedMachine, KnowsNoOtherCommands) {
    sys::simulatedMachine machine({});
    for (const char* command : {"echo > file", "hwinfo --usb", "modprobes", "rm file"})
        EXPECT_EQ(machine.system(command), 127 << 8) << command;
    EXPECT_NE(machine.spawn({"cat", "/proc/sys/dev/cdrom/info"}, {}).failure, "");
    EXPECT_EQ(machine.open("/dev/null/x", 0, 0), -1) << "other files are the system's";
    EXPECT_EQ(errno, ENOTDIR);
}

TEST(SimulatedMachine, ReturnsAnyCapabilityButMinusOneAsItIs) {
    sys::simulatedMachine machine(sys::parseMachine(R"({"nodes": {"/dev/hdc": {"opticalCapability": [-5, -1]}}})", ""));
    const int fd = machine.open("/dev/hdc", 0, 0);
    EXPECT_EQ(machine.ioctl(fd, CDROM_GET_CAPABILITY, nullptr), -5);
    EXPECT_EQ(machine.ioctl(fd, CDROM_GET_CAPABILITY, nullptr), -1);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(machine.ioctl(fd, HDIO_GETGEO, nullptr), -1) << "which no node here knows";
    EXPECT_EQ(errno, ENOTTY);
    machine.close(fd);
}

TEST(RecordedMachine, WritesDownWhatARunSeldomMeets) {
    const char* const rare = R"({"modprobe": 1, "nodes": {"/dev/hdc": {"open": ["ENOENT", true],
        "identify": "EIO", "task": [{"data": "50004fc2000050"}, "EIO"], "opticalCapability": "EPERM"}}})";
    sys::simulatedMachine machine(sys::parseMachine(R"({"modprobe": 1, "nodes": {"/dev/hdc": {
        "open": ["ENOENT", true], "identify": {"data": "00"}, "task": [{"data": "50004fc2000050"}, "EIO"],
        "opticalCapability": -1}}})",
                                                    ""));
    sys::recordedMachine recorded(machine);
    EXPECT_EQ(recorded.open("/dev/hdc", 0, 0), -1); // plugged in later
    const int fd = recorded.open("/dev/hdc", 0, 0);
    for (const int request : {HDIO_DRIVE_CMD, HDIO_DRIVE_TASK, HDIO_DRIVE_TASK, CDROM_GET_CAPABILITY}) {
        unsigned char registers[7] = {0xA1, 0, 0, 1}; // IDENTIFY PACKET DEVICE, which this drive does not know
        recorded.ioctl(fd, static_cast<unsigned long>(request), registers);
    }
    recorded.close(fd);
    recorded.system(loadDriver);
    EXPECT_EQ(sys::machineFileText(recorded.answers()), sys::machineFileText(sys::parseMachine(rare, "")));
}

TEST(WatchedMachine, TellsEachStepAndWhatAWalkCameTo) {
    sys::simulatedMachine machine(sys::parseMachine(R"({"modprobe": [3, 0], "nodes": {
        "/dev/hda": {"opticalCapability": ["EIO", 0]}, "/dev/sda": {"opticalCapability": 0}}})",
                                                    ""));
    sys::watchedMachine watched(machine);
    strings steps;
    watched.onStep([&steps](const std::string& step) { steps.push_back(step); });
    for (int walk = 0; walk < 2; ++walk) {
        watched.system(loadDriver);
        ask(watched, "/dev/hda");
        watched.sleep(5);
        ask(watched, "/dev/sda");
    }
    EXPECT_EQ(strings(steps.begin(), steps.begin() + 3),
              (strings{"loading the sg driver", "/dev/hda", "/dev/hda: becoming ready, waiting 5 s"}));
    EXPECT_EQ(steps.size(), 6U) << "no more";
    EXPECT_EQ(watched.driverStatus(), 3 << 8) << "the first that failed";
    ASSERT_EQ(watched.nodes().size(), 1U) << "a /dev/sd node is none of its own";
    EXPECT_FALSE(watched.nodes().front().identified) << "not in the first walk";
    EXPECT_EQ(watched.nodes().front().askedInVain, "/dev/sda is an optical drive");
}
