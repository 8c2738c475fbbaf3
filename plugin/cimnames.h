#pragma once

// Names of the CIM classes, and of the properties that more than one source file reads or writes.

constexpr const char* scsiDeviceClass = "KORVA_SCSIDevice";
constexpr const char* tapeDriveClass = "KORVA_SCSITapeDrive";
constexpr const char* ataDeviceClass = "KORVA_ATADevice";
constexpr const char* opticalDriveClass = "KORVA_CDVDDevice";
constexpr const char* busDeviceClass = "KORVA_SysBusDevice";
constexpr const char* firmwareElementClass = "KORVA_SysBusDeviceFirmwareElement";
constexpr const char* firmwareClass = "KORVA_SysBusDeviceFirmware";
constexpr const char* computerSystemClass = "KORVA_ComputerSystem";

constexpr const char* creationClassNameProperty = "CreationClassName";
constexpr const char* identifyingInfoProperty = "OtherIdentifyingInfo";
constexpr const char* softwareElementIdProperty = "SoftwareElementId";
