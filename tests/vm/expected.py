# The document that the program must print of a machine that the tools have described.

from collector import Collector

defaultQueries = (
    "KORVA_SCSIDevice", "KORVA_SCSITapeDrive", "KORVA_ATADevice", "KORVA_CDVDDevice",
    "KORVA_SysBusDeviceFirmwareElement", "KORVA_SysBusDeviceFirmware")
systemClass = "KORVA_ComputerSystem"
deviceTypes = {  # those that the boots bring up
    0: "Direct Access Device", 1: "Sequential Access Device", 3: "Processor Device", 5: "CD-ROM Device",
    8: "Medium Changer Device", 13: "Enclosure Device",
    None: ""}  # an IDE disk's
deviceKeys = ("CreationClassName", "DeviceID", "SystemCreationClassName", "SystemName")
elementKeys = ("Name", "SoftwareElementId", "SoftwareElementState", "TargetOperatingSystem", "Version")


def deviceInstance(className, machine, record):
    port, target, bus, lun = record.address
    name = f"{record.vendor} {record.product}"
    kernel = {"kernel": record.kernel} if any(record.kernel.values()) else {}
    return {"class": className} | kernel | {"properties": {
        "CreationClassName": className, "SystemCreationClassName": systemClass, "SystemName": machine,
        "Caption": record.inquiryText if className == "KORVA_SCSITapeDrive" else name,
        "Name": record.path, "DeviceID": record.path, "ElementName": name,
        "ProductID": record.product, "VendorID": record.vendor, "Revision": record.revision,
        "HostAdapterID": port, "TargetID": target, "Bus": bus, "Lun": lun, "DeviceType": deviceTypes[record.kind],
        "serialNum": record.serial, "Model": record.model, "OtherIdentifyingInfo": [record.identity]}}


def firmwareElement(record):
    return {"class": "KORVA_SysBusDeviceFirmwareElement", "properties": {
        "Version": record.revision, "Manufacturer": record.vendor, "TargetOperatingSystem": 58,
        "SoftwareElementState": 2, "SoftwareElementId": record.identity, "Name": f"{record.bus} Device"}}


def opticalInstance(machine, drive):
    name = drive["drive name"]
    path = f"/dev/{name}"
    readsDvd = int(drive["Can read DVD"])
    return {"class": "KORVA_CDVDDevice", "properties": {
        "CreationClassName": "KORVA_CDVDDevice", "Name": name, "DeviceID": path, "ElementName": path,
        "ProductID": path, "DvdRRead": readsDvd, "DvdRomRead": readsDvd, "DvdRamRead": readsDvd, "CdRwRead": 1,
        "CdRRead": 1, "DvdRamWrite": int(drive["Can write DVD-RAM"]), "DvdRWrite": int(drive["Can write DVD-R"]),
        "CdRWrite": int(drive["Can write CD-R"]), "CdRwWrite": int(drive["Can write CD-RW"]),
        "SystemCreationClassName": systemClass, "SystemName": machine, "Caption": "Optical Drive"}}


def opticalInstances(collector):
    made = []
    for drive in collector.answers.drives:
        name = drive["drive name"]
        if any(name in entry for entry in collector.virtualDrives):
            collector.log.append(f"TScsidevPluginCallbacks::IterateCDromdrives : Ignoring Virtual Device {name}")
        else:
            made.append(opticalInstance(collector.answers.machine, drive))
    return made


def reference(instance, keys):
    values = instance["properties"]
    shown = (f"{key}={values[key]}" if isinstance(values[key], int) else f'{key}="{values[key]}"' for key in keys)
    return f'{instance["class"]}.{",".join(shown)}'


# Joins the first device and the first element whose stored identity is part of the record's own.
def association(record, devices, elements):
    device = next(d for d in devices if d["properties"]["OtherIdentifyingInfo"][0] in record.identity)
    element = next(e for e in elements if e["properties"]["SoftwareElementId"] in record.identity)
    return {"class": "KORVA_SysBusDeviceFirmware", "properties": {
        "Dependent": reference(device, deviceKeys), "Antecedent": reference(element, elementKeys), "Purpose": 6,
        "LoadedOnDevice": True, "UpgradeableOnDevice": True}}


# The instances of one class; `made` holds those of the queries before.
def instances(className, collector, records, made):
    machine = collector.answers.machine
    scsiRecords = [record for record in records if record.bus == "SCSI"]
    if className == "KORVA_SCSIDevice":
        return [deviceInstance(className, machine, record) for record in scsiRecords if "RDX" not in record.product]
    if className == "KORVA_SCSITapeDrive":
        return [deviceInstance(className, machine, record) for record in scsiRecords
                if record.kind == 1 or "RDX" in record.product]
    if className == "KORVA_ATADevice":
        return [deviceInstance(className, machine, record) for record in records if record.bus == "ATA"]
    if className == "KORVA_CDVDDevice":
        return opticalInstances(collector)
    if className == "KORVA_SysBusDeviceFirmwareElement":
        return [firmwareElement(record) for record in records]
    devices = made["KORVA_SCSIDevice"] + made["KORVA_SCSITapeDrive"] + made["KORVA_ATADevice"]
    return [association(record, devices, made["KORVA_SysBusDeviceFirmwareElement"]) for record in records]


# What a run with these queries, one class each, must yield: its document, its telling log lines, its system calls. Only
# the first query asks the devices; the others get the same answers.
def run(answers, queries, virtualNodes=(), virtualDrives=()):
    collector = Collector(answers, virtualNodes, virtualDrives)
    made = {}
    callsOfQueries = []
    for query in queries:
        made[query] = instances(query, collector, collector.lookAtNodes(), made)
        callsOfQueries.append(collector.calls)
        collector.calls = []
    queried = [{"classes": [query], "instances": found} for query, found in made.items()]
    return {"machine": answers.machine, "queries": queried}, collector.log, callsOfQueries[0]
