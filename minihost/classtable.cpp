#include "minihost/classtable.h"

#include <algorithm>

namespace minihost {

const std::vector<classDeclaration>& classTable() {
    static const std::vector<const char*> deviceKeys{"CreationClassName", "DeviceID", "SystemCreationClassName",
                                                     "SystemName"};
    static const std::vector<classDeclaration> table{
        {"KORVA_SysBusDevice", "", deviceKeys},
        {"KORVA_SCSIDevice", "KORVA_SysBusDevice", deviceKeys},
        {"KORVA_SCSITapeDrive", "KORVA_SysBusDevice", deviceKeys},
        {"KORVA_ATADevice", "KORVA_SysBusDevice", deviceKeys},
        {"KORVA_CDVDDevice", "", deviceKeys},
        {"KORVA_SysBusDeviceFirmwareElement",
         "",
         {"Name", "SoftwareElementId", "SoftwareElementState", "TargetOperatingSystem", "Version"}},
        {"KORVA_SysBusDeviceFirmware", "", {"Antecedent", "Dependent"}},
    };
    return table;
}

const classDeclaration* findClass(const std::string& name) {
    const auto found = std::find_if(classTable().begin(), classTable().end(),
                                    [&name](const auto& declaration) { return declaration.name == name; });
    return found == classTable().end() ? nullptr : &*found;
}

bool isKindOf(const classDeclaration& declaration, const std::string& base) {
    const classDeclaration* ancestor = &declaration;
    while (ancestor != nullptr && ancestor->name != base)
        ancestor = findClass(ancestor->base);
    return ancestor != nullptr;
}

} // namespace minihost
