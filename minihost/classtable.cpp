#include "minihost/classtable.h"

#include "plugin/cimnames.h"

namespace minihost {

namespace {

constexpr bool key = true, plain = false;

// The descriptions are printed with the declarations: whoever reads the output learns from them where on the wire a
// value comes from (INQUIRY: SPC-4, 6.4.2 and 7.8.19; IDENTIFY DEVICE: ACS-3, 7.12, its texts with the bytes of each
// word exchanged). Properties stand in the order in which they are set.
constexpr propertyDeclaration busDeviceProperties[] = {
    {"CreationClassName", cimType::string, key, "Name of the class of the instance."},
    {"SystemCreationClassName", cimType::string, key,
     "Always KORVA_ComputerSystem, the class of the system that holds the device."},
    {"SystemName", cimType::string, key, "Name of the machine: its host name."},
    {"Caption", cimType::string, plain,
     "VendorID, a blank and ProductID; in KORVA_SCSITapeDrive, INQUIRY bytes 8 to 35 (vendor, product and "
     "revision) up to the first zero byte, padding included."},
    {"Name", cimType::string, plain, "Path of the device node that was asked; the same text as DeviceID."},
    {"DeviceID", cimType::string, key, "Path of the device node that was asked, such as /dev/sg0 or /dev/hda."},
    {"ElementName", cimType::string, plain, "VendorID, a blank and ProductID."},
    {"ProductID", cimType::string, plain,
     "INQUIRY bytes 16 to 31 up to the first zero byte, without outer blanks and tabs, or VendorID where they "
     "are empty; replaced by the second word of the model in IDENTIFY DEVICE words 27 to 46 where there is "
     "one."},
    {"VendorID", cimType::string, plain,
     "INQUIRY bytes 8 to 15 up to the first zero byte, without outer blanks and tabs; replaced by the first "
     "word of the model in IDENTIFY DEVICE words 27 to 46 where there is one."},
    {"Revision", cimType::string, plain,
     "INQUIRY bytes 32 to 35, or IDENTIFY DEVICE words 23 to 26 where that was answered, up to the first zero "
     "byte, padding included."},
    {"HostAdapterID", cimType::uint16, plain,
     "host_no of the SG_GET_SCSI_ID request, its low 16 bits; 0 where the request fails or is not made."},
    {"TargetID", cimType::uint16, plain,
     "scsi_id of the SG_GET_SCSI_ID request, its low 16 bits; 0 where the request fails or is not made."},
    {"Bus", cimType::uint16, plain,
     "channel of the SG_GET_SCSI_ID request, its low 16 bits; 0 where the request fails or is not made."},
    {"Lun", cimType::uint16, plain,
     "lun of the SG_GET_SCSI_ID request, its low 16 bits; 0 where the request fails or is not made."},
    {"DeviceType", cimType::string, plain,
     "Name of the peripheral device type in the low four bits of INQUIRY byte 0, such as \"Direct Access "
     "Device\" for 0; empty at a /dev/hd node and where INQUIRY fails."},
    {"serialNum", cimType::string, plain,
     "Of devices with INQUIRY byte 0 equal to 0 or 1, the unit serial number page (0x80) from byte 4, as long "
     "as byte 3 says and empty if that is more than 32; replaced by IDENTIFY DEVICE words 10 to 19; both up "
     "to the first zero byte, padding included."},
    {"Model", cimType::string, plain,
     "First 23 characters of the model in IDENTIFY DEVICE words 27 to 46; empty where that was not answered."},
    {"OtherIdentifyingInfo", cimType::stringArray, plain,
     "One text: Port:HOST|Target:TARGET|Bus:CHANNEL|Lun:LUN in decimal from the SG_GET_SCSI_ID request, or the "
     "path of the device node where the request fails or is not made."},
};

constexpr propertyDeclaration opticalDriveProperties[] = {
    {"CreationClassName", cimType::string, key, "Always KORVA_CDVDDevice."},
    {"Name", cimType::string, plain,
     "Column of the line drive name: of /proc/sys/dev/cdrom/info, behind its last slash, such as sr0."},
    {"DeviceID", cimType::string, key, "/dev/ and Name."},
    {"ElementName", cimType::string, plain, "/dev/ and Name."},
    {"ProductID", cimType::string, plain, "/dev/ and Name."},
    {"DvdRRead", cimType::uint16, plain, "Column of the line Can read DVD: of /proc/sys/dev/cdrom/info."},
    {"DvdRomRead", cimType::uint16, plain, "Column of the line Can read DVD: of /proc/sys/dev/cdrom/info."},
    {"DvdRamRead", cimType::uint16, plain, "Column of the line Can read DVD: of /proc/sys/dev/cdrom/info."},
    {"CdRwRead", cimType::uint16, plain, "Always 1: the table has no line for reading CDs."},
    {"CdRRead", cimType::uint16, plain, "Always 1: the table has no line for reading CDs."},
    {"DvdRamWrite", cimType::uint16, plain, "Column of the line Can write DVD-RAM: of /proc/sys/dev/cdrom/info."},
    {"DvdRWrite", cimType::uint16, plain, "Column of the line Can write DVD-R: of /proc/sys/dev/cdrom/info."},
    {"CdRWrite", cimType::uint16, plain, "Column of the line Can write CD-R: of /proc/sys/dev/cdrom/info."},
    {"CdRwWrite", cimType::uint16, plain, "Column of the line Can write CD-RW: of /proc/sys/dev/cdrom/info."},
    {"SystemCreationClassName", cimType::string, key,
     "Always KORVA_ComputerSystem, the class of the system that holds the drive."},
    {"SystemName", cimType::string, key, "Name of the machine: its host name."},
    {"Caption", cimType::string, plain, "Always Optical Drive."},
};

// Named as the hosts of these classes name them; CIM's own list has Windows 2000 at 58 and Windows XP at 67.
constexpr valueMeaning operatingSystems[] = {{"58", "Windows XP"}};
constexpr valueMeaning elementStates[] = {{"2", "Executable"}};
constexpr valueMeaning purposes[] = {{"6", "Firmware/BIOS"}};

constexpr propertyDeclaration firmwareElementProperties[] = {
    {"Version", cimType::string, key,
     "Revision of the device: INQUIRY bytes 32 to 35, or IDENTIFY DEVICE words 23 to 26 where that was "
     "answered."},
    {"Manufacturer", cimType::string, plain,
     "VendorID of the device: INQUIRY bytes 8 to 15, or the first word of the model in IDENTIFY DEVICE words 27 "
     "to 46."},
    {"TargetOperatingSystem", cimType::uint16, key, "Always 58, whatever the machine runs.", "", operatingSystems},
    {"SoftwareElementState", cimType::uint16, key, "Always 2.", "", elementStates},
    {"SoftwareElementId", cimType::string, key,
     "What the device has in OtherIdentifyingInfo: its address from the SG_GET_SCSI_ID request or the path of "
     "its node."},
    {"Name", cimType::string, key,
     "SCSI Device for a device at a /dev/sg node, ATA Device for one at a /dev/hd node, otherwise Unknown."},
};

constexpr propertyDeclaration firmwareProperties[] = {
    {"Dependent", cimType::reference, key,
     "The device: the first instance whose OtherIdentifyingInfo is part of the address or path of the device "
     "found.",
     busDeviceClass},
    {"Antecedent", cimType::reference, key,
     "The firmware: the first instance whose SoftwareElementId is part of the address or path of the device "
     "found.",
     firmwareElementClass},
    {"Purpose", cimType::uint16, plain, "Always 6.", "", purposes},
    {"LoadedOnDevice", cimType::boolean, plain, "Always true."},
    {"UpgradeableOnDevice", cimType::boolean, plain, "Always true."},
};

constexpr classDeclaration table[] = {
    {busDeviceClass, "", classKind::abstract,
     "A device on a SCSI or ATA bus. INQUIRY asks the /dev/sg nodes; IDENTIFY DEVICE asks the /dev/hd nodes, the "
     "/dev/sg nodes whose INQUIRY gives no vendor and, at the /dev/sd node of the same index, those whose vendor "
     "has ATA in it.",
     busDeviceProperties},
    {scsiDeviceClass,
     busDeviceClass,
     classKind::concrete,
     "A device at a /dev/sg node; cartridge drives, with GoVault or RDX in their product, are left out where this "
     "class is requested first.",
     {}},
    {tapeDriveClass,
     busDeviceClass,
     classKind::concrete,
     "A device at a /dev/sg node; where this class is requested first, a tape drive (INQUIRY device type 1) or a "
     "cartridge drive, with GoVault or RDX in its product.",
     {}},
    {ataDeviceClass, busDeviceClass, classKind::concrete, "A device at a /dev/hd node.", {}},
    {opticalDriveClass, "", classKind::concrete,
     "An optical drive: a column of the table /proc/sys/dev/cdrom/info. A capability is the number in the drive's "
     "column of a line, and 0 where that is no number.",
     opticalDriveProperties},
    {firmwareElementClass, "", classKind::concrete, "The firmware of one device of KORVA_SysBusDevice.",
     firmwareElementProperties},
    {firmwareClass, "", classKind::association,
     "Ties a device to its firmware, for each device that is found and has instances of both from earlier "
     "requests.",
     firmwareProperties},
};

} // namespace

constantList<classDeclaration> classTable() { return table; }

const classDeclaration* findClass(std::string_view name) {
    for (const auto& declaration : table) {
        if (declaration.name == name)
            return &declaration;
    }
    return nullptr;
}

bool isKindOf(const classDeclaration& declaration, std::string_view base) {
    const classDeclaration* ancestor = &declaration;
    while (ancestor != nullptr && ancestor->name != base)
        ancestor = findClass(ancestor->base);
    return ancestor != nullptr;
}

const propertyDeclaration* findProperty(const classDeclaration& declaration, std::string_view name) {
    for (const auto* owner = &declaration; owner != nullptr; owner = findClass(owner->base)) {
        for (const auto& property : owner->properties) {
            if (property.name == name)
                return &property;
        }
    }
    return nullptr;
}

std::vector<const propertyDeclaration*> propertiesOf(const classDeclaration& declaration) {
    const classDeclaration* base = findClass(declaration.base);
    std::vector<const propertyDeclaration*> properties;
    if (base != nullptr)
        properties = propertiesOf(*base);
    for (const auto& property : declaration.properties)
        properties.push_back(&property);
    return properties;
}

} // namespace minihost
