// In which class a stored record appears, and whether it does at all.

#include "tests/simulatedmachine.h"

namespace {

class Records : public Plugin {
protected:
    void store(unsigned short busType, const std::string& product, const std::string& type, const std::string& path) {
        busDevice record;
        record.initialize();
        record.devicePath = path;
        record.product = product;
        record.deviceType = type;
        record.busType = busType;
        plugin_->StoreBusDevice(&record);
    }

    /// The instances that the stored records come to.
    std::vector<properties> written(const strings& classNames) {
        auto requested = classes(classNames);
        const std::size_t before = committed();
        plugin_->GetBusDevice(requested, ns());
        return committedAfter(before);
    }
};

} // namespace

TEST_F(Records, AppearByBusRequestAndModel) {
    const std::string direct = "Direct Access Device", sequential = "Sequential Access Device";
    const struct {
        const char* why;
        unsigned short busType;
        const char* product;
        std::string type;
        strings requested;
        std::string writtenAs;
    } cases[] = {
        {"disk as SCSI device", 0, "DISK", direct, {scsi}, scsi},
        {"disk as tape", 0, "DISK", direct, {tape}, ""},
        {"tape as tape", 0, "LTO", sequential, {tape}, tape},
        {"tape, both requested", 0, "LTO", sequential, {tape, scsi}, scsi},
        {"cartridge drive as SCSI device", 0, "MY RDX 3", direct, {scsi}, ""},
        {"cartridge drive as tape", 0, "GoVault", direct, {tape}, tape},
        {"cartridge drive, tape first, SCSI listed", 0, "RDX", direct, {tape, scsi}, scsi},
        {"cartridge drive behind another class", 0, "RDX", direct, {ata, scsi}, scsi},
        {"sequential cartridge drive, SCSI first", 0, "RDX", sequential, {scsi, tape}, ""},
        {"disk, tape first, SCSI listed", 0, "DISK", direct, {tape, scsi}, ""},
        {"SCSI disk as ATA device", 0, "DISK", direct, {ata}, ""},
        {"ATA disk as ATA device", 1, "DISK", "", {optical, ata}, ata},
        {"ATA disk under a tape request", 1, "DISK", "", {tape, ata}, ""},
        {"ATA disk as SCSI device", 1, "DISK", "", {scsi}, ""},
        {"neither bus", 2, "DISK", direct, {scsi, ata}, ""},
        {"element first, a device class that fits wins", 1, "DISK", "", {element, ata}, ata},
        {"element not first", 0, "DISK", direct, {ata, element}, ""},
        {"nothing requested", 0, "DISK", direct, {}, ""},
        {"association beats all", 0, "DISK", direct, {scsi, firmware}, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        store(c.busType, c.product, c.type, "/dev/sg0");
        const auto instances = written(c.requested);
        EXPECT_EQ(instances.empty() ? "" : instances[0].at("class"), c.writtenAs);
    }
}

TEST_F(Records, OfAnUnknownBusHaveAFirmwareElementToo) {
    store(7, "X", "", "/dev/x");
    const auto elements = written({element});
    EXPECT_EQ(takeLog(), (strings{"3 FirmwareElement", "3 Unknown Apapter type for FirmwareElement: 7"}));
    EXPECT_EQ(each(elements, "Name"), strings{"Unknown"});
}

TEST_F(Records, AreKeptOnceForANodeAndConsumed) {
    std::string product;
    for (const char* path : {"/dev/sg1", "/dev/sg10", "/dev/sg2", "/dev/sg1"})
        store(0, product += '+', "", path);
    const auto kept = written({scsi});
    EXPECT_EQ(each(kept, "DeviceID"), (strings{"/dev/sg10", "/dev/sg2", "/dev/sg1"}));
    EXPECT_EQ(each(kept, "ProductID"), (strings{"++", "+++", "++++"}));
    EXPECT_TRUE(written({scsi}).empty());
}
