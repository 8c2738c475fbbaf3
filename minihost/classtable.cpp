#include "minihost/classtable.h"

#include "plugin/cimnames.h"

namespace minihost {

namespace {

constexpr bool key = true;

// The lists of schema/korva.mof, which says what each property is. Properties stand in the order in which they are set.
const std::initializer_list<propertyDeclaration> busDeviceProperties = {
    {"CreationClassName", cimType::string, key},
    {"SystemCreationClassName", cimType::string, key},
    {"SystemName", cimType::string, key},
    {"Caption", cimType::string},
    {"Name", cimType::string},
    {"DeviceID", cimType::string, key},
    {"ElementName", cimType::string},
    {"ProductID", cimType::string},
    {"VendorID", cimType::string},
    {"Revision", cimType::string},
    {"HostAdapterID", cimType::uint16},
    {"TargetID", cimType::uint16},
    {"Bus", cimType::uint16},
    {"Lun", cimType::uint16},
    {"DeviceType", cimType::string},
    {"serialNum", cimType::string},
    {"Model", cimType::string},
    {"OtherIdentifyingInfo", cimType::stringArray},
};

const std::initializer_list<propertyDeclaration> opticalDriveProperties = {
    {"CreationClassName", cimType::string, key},
    {"Name", cimType::string},
    {"DeviceID", cimType::string, key},
    {"ElementName", cimType::string},
    {"ProductID", cimType::string},
    {"DvdRRead", cimType::uint16},
    {"DvdRomRead", cimType::uint16},
    {"DvdRamRead", cimType::uint16},
    {"CdRwRead", cimType::uint16},
    {"CdRRead", cimType::uint16},
    {"DvdRamWrite", cimType::uint16},
    {"DvdRWrite", cimType::uint16},
    {"CdRWrite", cimType::uint16},
    {"CdRwWrite", cimType::uint16},
    {"SystemCreationClassName", cimType::string, key},
    {"SystemName", cimType::string, key},
    {"Caption", cimType::string},
};

const std::initializer_list<propertyDeclaration> firmwareElementProperties = {
    {"Version", cimType::string, key},
    {"Manufacturer", cimType::string},
    {"TargetOperatingSystem", cimType::uint16, key},
    {"SoftwareElementState", cimType::uint16, key},
    {"SoftwareElementId", cimType::string, key},
    {"Name", cimType::string, key},
};

const std::initializer_list<propertyDeclaration> firmwareProperties = {
    {"Dependent", cimType::reference, key, busDeviceClass},
    {"Antecedent", cimType::reference, key, firmwareElementClass},
    {"Purpose", cimType::uint16},
    {"LoadedOnDevice", cimType::boolean},
    {"UpgradeableOnDevice", cimType::boolean},
};

constexpr bool abstract = true, concrete = false;

const std::initializer_list<classDeclaration> table = {
    {busDeviceClass, "", abstract, busDeviceProperties},
    {scsiDeviceClass, busDeviceClass, concrete, {}},
    {tapeDriveClass, busDeviceClass, concrete, {}},
    {ataDeviceClass, busDeviceClass, concrete, {}},
    {opticalDriveClass, "", concrete, opticalDriveProperties},
    {firmwareElementClass, "", concrete, firmwareElementProperties},
    {firmwareClass, "", concrete, firmwareProperties},
};

} // namespace

std::initializer_list<classDeclaration> classTable() { return table; }

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
