// The remarks of an inventory that is not complete.

#include "tests/program.h"

#include <unistd.h>

using Remarks = Program;

TEST_F(Remarks, SaysWhatItCouldNotSee) {
    const bool root = ::geteuid() == 0;
    const std::string unprivileged = root ? "" : "not running as root: ", advice = root ? "\n" : "; try sudo\n";
    const struct {
        std::string query, machine;
        int status;
        std::string remarks;
    } cases[] = {
        {"", "{}", 0, "no devices found on the simulated machine\n"},
        {"KORVA_ATADevice --log-level 0", R"({"modprobe": 1, "nodes": {"/dev/sg0": {}, "/dev/hda": {}}})", 3,
         "[0] sg module is not loaded correctly\n" + unprivileged +
             "the sg driver could not be loaded, SCSI devices are not shown" + advice +
             "1 of 1 device node did not identify itself: /dev/hda (IDENTIFY DEVICE: ENOTTY)\n"},
        {"", R"({"nodes": {"/dev/sg0": {"open": "EACCES"}, "/dev/sg1": {}, "/dev/sg2": {"open": "ENXIO"},
                           "/dev/sg3": {"open": "EMFILE"}, "/dev/hda": {"open": "EPERM"}, "/dev/sr0": {"open": "EACCES"},
                           "/dev/sgxx": {}}})",
         3,
         unprivileged + "2 of 4 device nodes could not be opened: /dev/sg0 (EACCES), /dev/hda (EPERM)" + advice +
             "1 of 4 device nodes could not be opened: /dev/sg3 (EMFILE)\n1 of 4 device nodes did not identify itself: "
             "/dev/sg1 (SG_GET_VERSION_NUM: ENOTTY)\n"},
        {"", R"({"nodes": {
            "/dev/sg0": {"sgVersion": 30536, "inquiry": "EIO"},
            "/dev/sg1": {"sgVersion": 30536, "inquiry": {"data": "", "sense": "73 05 24 01", "info": 1}},
            "/dev/sg2": {"sgVersion": 30536, "inquiry": {"data": "", "hostStatus": 3}},
            "/dev/sg3": {"sgVersion": 30536, "inquiry": {"data": "", "status": 48}},
            "/dev/sg4": {"sgVersion": 30536, "inquiry": {"data": "", "driverStatus": 6}},
            "/dev/sg5": {"sgVersion": 2, "open": [true, "ENOENT", true]},
            "/dev/hda": {"opticalCapability": 0}, "/dev/hdb": {"identify": {"data": "00"}}}})",
         3,
         "6 of 8 device nodes did not identify themselves: /dev/sg0 (INQUIRY: EIO), /dev/sg1 (INQUIRY: Illegal "
         "Request, "
         "CDB decryption error (5/24/01)), /dev/sg2 (INQUIRY: timed out (host status 0x03)), /dev/sg3 (INQUIRY: ACA "
         "Active (status 0x30)), /dev/sg4 (INQUIRY: driver status 0x06), /dev/sg5 (its driver is too old: 2)\n"},
        {"KORVA_SCSIDevice", R"({"nodes": {
            "/dev/sg0": {"sgVersion": 30536, "kernel": {"names": ["sdb"]}, "inquiry": {"data": [
                         {"text": "", "size": 8}, {"text": "ADATA", "size": 8}, {"text": "DISK", "size": 20}]}},
            "/dev/sda": {"identify": {"data": [{"text": "BYTES", "size": 512}]}},
            "/dev/sg1": {"sgVersion": 30536, "inquiry": {"data": [
                         {"text": "", "size": 8}, {"text": "ATA", "size": 8}, {"text": "DISK", "size": 20}]}},
            "/dev/sg2": {"sgVersion": 30536, "kernel": {"names": []}, "inquiry": {"data": [
                         {"text": "", "size": 8}, {"text": "DATARAID", "size": 8}, {"text": "BOX", "size": 20}]}},
            "/dev/sdc": {"identify": {"data": [{"text": "BYTES", "size": 512}]}},
            "/dev/sg3": {"sgVersion": 30536, "kernel": {"serial": "1"}, "inquiry": {"data": [
                         {"text": "", "size": 8}, {"text": "ATA", "size": 8}, {"text": "DISK", "size": 20}]}},
            "/dev/sdd": {"identify": {"data": [{"text": "BYTES", "size": 512}]}}}})",
         3,
         "the words of other disks: /dev/sg0 is sdb, but /dev/sda was asked, /dev/sg2 has no other node, but /dev/sdc "
         "was asked; their own serial numbers: lsblk -o "
         "NAME,SERIAL; a host of the plug-in gets these words too\n"
         "ATA disks whose own words could not be asked for, shown with those of INQUIRY: 1\n"},
        {"scsi optical --virtual-device 1=sr7", R"({"nodes": {
            "/dev/sg0": {"sgVersion": 30536, "inquiry": {"data": ["0000050200000000", {"text": "GOOD DISK", "size": 28}]}},
            "/dev/sg1": {"sgVersion": 30536, "inquiry": {"data": ["0000050200000000", {"text": "V", "size": 8},
                                                                  {"text": "", "size": 20}]}},
            "/dev/sg2": {"open": "EACCES"}, "/dev/sg3": {"open": "ENXIO"}, "/dev/hda": {}}})",
         3,
         "[0] basic_string::substr: __pos (which is 18446744073709551615) > this->size() (which is 16)\n"
         "the walk ended at /dev/sg1: its product is blank, which ends the walk; lost with it: /dev/sg0, /dev/sg1; not "
         "asked: /dev/sg2, /dev/hda; the optical-drive table was not read either\n"},
        {"scsi", R"({"nodes": {
            "/dev/sg0": {"sgVersion": 30536, "inquiry": {"data": ["0000050200000000", {"zeros": 28}]}},
            "/dev/sg1": {"sgVersion": 30536, "inquiry": {"data": ["0d00050200000000", {"text": "", "size": 8},
                                                                  {"text": "BOX", "size": 20}]}}}})",
         3, "1 of 2 device nodes did not identify itself: /dev/sg0 (INQUIRY: no vendor)\n"},
        {"scsi optical --virtual-device 0=a/dev/sg12 --virtual-device 1=sr7 --virtual-device 0=x", R"({"nodes": {
            "/dev/sg1": {"sgVersion": 30536, "inquiry": {"data": ["0000050200000000", {"text": "GOOD DISK", "size": 28}]}}}})",
         0,
         "left out as virtual media: /dev/sg1 (named by --virtual-device)\n"
         "--virtual-device 0=x names nothing that is there\n--virtual-device 1=sr7 names nothing that is there\n"},
        {"optical,tape,optical", R"({"nodes": {
            "/dev/sg1": {"sgVersion": 30536, "inquiry": {"data": ["0000050200000000", {"text": "GOOD DISK", "size": 28}]}}}})",
         0,
         "a query follows the rules of its first class, KORVA_CDVDDevice; ask in queries of their own for "
         "KORVA_SCSITapeDrive\n"},
        {"--virtual-device 0=/dev/sg0", R"({"modprobe": 1, "scsiDevices": false})", 0,
         "[0] sg module is not loaded correctly\nno devices found on the simulated machine\n"},
        {"--ask-again scsi firmware associations", R"({"nodes": {
            "/dev/sg0": {"sgVersion": 30536, "inquiry": {"data": ["0d00050200000000", {"text": "BOX", "size": 28}]}},
            "/dev/sg1": {"sgVersion": 30536, "inquiry": [{"data": ["0d00050200000000", {"text": "BOX", "size": 28}]},
                                                         "EIO"]}}})",
         3,
         "1 of 2 device nodes did not identify itself: /dev/sg1 (INQUIRY: EIO)\n"
         "1 of 2 devices have no firmware tied to them, or another's: the plug-in takes the first identity that theirs "
         "contains\n"},
        {"KORVA_SCSIDevice KORVA_SysBusDeviceFirmware", "{}", 0,
         "no devices found on the simulated machine\nKORVA_SysBusDeviceFirmware ties together what earlier queries of "
         "the run have collected: ask for devices and KORVA_SysBusDeviceFirmwareElement before it\n"},
    };
    for (const auto& c : cases) {
        // The plug-in keeps the records of a walk that ended.
        const auto document =
            jsonOf("ASAN_OPTIONS=detect_leaks=0 % " + c.query + " --machine " + fileWith(c.machine), c.status);
        EXPECT_EQ(errors, c.remarks);
        EXPECT_EQ(document["complete"], c.status == 0);
        EXPECT_EQ(document["exitStatus"], c.status);
    }
}

TEST_F(Remarks, MarksADeviceForEachReason) {
    const std::string ataDisk =
        R"({"sgVersion": 30536, "inquiry": {"data": ["0000050200000000", {"text": "ATA     DISK", "size": 28}]},
        "address": {"host": 0, "channel": 0, "target": 0, "lun": )";
    run("% --machine " +
        fileWith(R"({"nodes": {"/dev/sg1": )" + ataDisk + R"(1}}, "/dev/sg2": )" + ataDisk + "10}}}}"));
    EXPECT_THAT(output, HasSubstr("0:0:0:10  * INQUIRY's words; no firmware is tied to it\n\n2 devices"));
}
