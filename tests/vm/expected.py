"""What the collector must report of a machine that the independent tools have described."""

nodesLookedAt = 32
mostTries = 5
machineSystemClass = "KORVA_ComputerSystem"
deviceTypes = (
    "Direct Access Device", "Sequential Access Device", "Printer Device", "Processor Device", "Write-Once Device",
    "CD-ROM Device", "Scanner Device", "Optical Memory Device", "Medium Changer Device", "Communications Device",
    "Graphic Arts Device", "Graphic Arts Device", "Storage Array Controller", "Enclosure Device",
    "Simple Direct Access Device", "Optical Card Reader Device")


def text(data, first, size):
    return data[first:first + size].split(b"\0")[0].decode("latin-1")


def trimmed(value):
    return value.strip(" \t") or value


class Log(list):
    """The log lines that tell of failures and exclusions, in order."""

    def failedTry(self, outcome):
        key, code, qualifier = (int(part, 16) for part in outcome.split("/"))
        sense = bytes([0x70, 0, key, 0, 0, 0, 0, 10, 0, 0, 0, 0, code, qualifier, 0, 0, 0, 0])
        if retried(outcome):
            self.append("Retry condition...")
        self.append("SCSI sense data: " + "".join(f"{byte:x}" for byte in sense))
        self.append("SG SCSI status=\\x02")
        self.append("SG Driver status=8")

    def usb(self, product):
        self.append(f'FindUSBDevice Remove Virtual: "{product}"\\n')

    def listedNode(self, path):
        self.append(f"TScsidevPluginCallbacks::collectData : Ignoring Virtual Device {path}")

    def listedDrive(self, name):
        self.append(f"TScsidevPluginCallbacks::IterateCDromdrives : Ignoring Virtual Device {name}")


def retried(outcome):
    key, *codes = outcome.split("/")
    return key == "6" or codes in (["04", "01"], ["28", "00"])


def triesOf(plan):
    """Takes one command's outcomes from the plan: those of its failed tries, and whether it succeeds in the end."""
    failed = []
    while plan:
        outcome = plan.pop(0)
        if outcome == "good":
            break
        failed.append(outcome)
        if not retried(outcome) or len(failed) == mostTries:
            return failed, False
    return failed, True


def succeeds(plan, log):
    failed, good = triesOf(plan)
    for outcome in failed:
        log.failedTry(outcome)
    return good


def serialNumber(node, plan, log):
    # On a host that emulates SCSI (libata, USB) only standard INQUIRY is sent.
    if node.peripheralByte not in (0, 1) or node.emulated or not succeeds(plan, log):
        return ""
    if node.serialPage is None:
        log.append(f"SG Host status={node.serialHostStatus}")
        return ""
    return text(node.serialPage, 4, node.serialPage[3]) if node.serialPage[3] <= 32 else ""


def scsiRecord(node, log):
    plan = list(node.plan)
    if not succeeds(plan, log):
        return None
    vendor = trimmed(text(node.inquiry, 8, 8))
    identity = "Port:{port}|Target:{target}|Bus:{bus}|Lun:{lun}".format(**node.address)
    return {"path": node.path, "vendor": vendor, "product": trimmed(text(node.inquiry, 16, 16) or vendor),
            "revision": text(node.inquiry, 32, 4), "type": deviceTypes[node.peripheralByte & 0x0F],
            "serial": serialNumber(node, plan, log), "model": "", "inquiry": text(node.inquiry, 8, 28),
            "identity": identity, **node.address}


def diskAskedFor(node):
    """An ATA disk is asked through the disk node whose letter has the sg node's number, whichever disk that is."""
    return f"sd{chr(ord('a') + node.index)}" if node.index < 26 else None


def excluded(node, record, answers, virtualNodes, log):
    if node.peripheralByte not in (0, 1, 5):
        return False
    if f'"{record["product"]}"' in answers.usbListing:
        log.usb(record["product"])
        if node.peripheralByte != 1:
            return True
    if node.peripheralByte != 5 and any(node.path in entry for entry in virtualNodes):
        log.listedNode(node.path)
        return True
    return False


def withIdentity(record, identify):
    words = identify[54:94].decode("latin-1").split()
    named = dict(zip(("vendor", "product"), words))
    return {**record, **named, "model": text(identify, 54, 23), "revision": text(identify, 46, 8),
            "serial": text(identify, 20, 20)}


def records(answers, virtualNodes, log):
    stored = []
    for node in answers.nodes[:nodesLookedAt]:
        record = scsiRecord(node, log)
        if not record:  # what does not answer is asked for IDENTIFY data too, which no sg node gives
            continue
        keep = not excluded(node, record, answers, virtualNodes, log)
        identify = answers.identify.get(diskAskedFor(node)) if "ATA" in record["vendor"] else None
        if identify:  # an ATA disk is stored for its IDENTIFY data even when a list excluded it before
            stored.append(withIdentity(record, identify))
        elif keep:
            stored.append(record)
    return stored


def deviceInstance(className, record, machine):
    name = f'{record["vendor"]} {record["product"]}'
    return {"class": className, "properties": {
        "CreationClassName": className, "SystemCreationClassName": machineSystemClass, "SystemName": machine,
        "Caption": record["inquiry"] if className == "KORVA_SCSITapeDrive" else name,
        "Name": record["path"], "DeviceID": record["path"], "ElementName": name,
        "ProductID": record["product"], "VendorID": record["vendor"], "Revision": record["revision"],
        "HostAdapterID": record["port"], "TargetID": record["target"], "Bus": record["bus"], "Lun": record["lun"],
        "DeviceType": record["type"], "serialNum": record["serial"], "Model": record["model"],
        "OtherIdentifyingInfo": [record["identity"]]}}


def firmwareElement(record):
    return {"class": "KORVA_SysBusDeviceFirmwareElement", "properties": {
        "Version": record["revision"], "Manufacturer": record["vendor"], "TargetOperatingSystem": 58,
        "SoftwareElementState": 2, "SoftwareElementId": record["identity"], "Name": "SCSI Device"}}


def opticalColumns(answers, key):
    line = next(line for line in answers.opticalTable if key in line)
    return line.split(":", 1)[1].split()


def opticalInstances(answers, machine, virtualDrives, log):
    drives = []
    columns = {key: opticalColumns(answers, key)
               for key in ("read DVD", "write DVD-RAM", "write DVD-R:", "write CD-R:", "write CD-RW")}
    for column, drive in enumerate(opticalColumns(answers, "drive name:")):
        if any(drive in entry for entry in virtualDrives):
            log.listedDrive(drive)
            continue
        can = {key: int(values[column]) for key, values in columns.items()}
        path = f"/dev/{drive}"
        drives.append({"class": "KORVA_CDVDDevice", "properties": {
            "CreationClassName": "KORVA_CDVDDevice", "Name": drive, "DeviceID": path, "ElementName": path,
            "ProductID": path, "DvdRRead": can["read DVD"], "DvdRomRead": can["read DVD"],
            "DvdRamRead": can["read DVD"], "CdRwRead": 1, "CdRRead": 1, "DvdRamWrite": can["write DVD-RAM"],
            "DvdRWrite": can["write DVD-R:"], "CdRWrite": can["write CD-R:"], "CdRwWrite": can["write CD-RW"],
            "SystemCreationClassName": machineSystemClass, "SystemName": machine, "Caption": "Optical Drive"}})
    return drives


keys = {
    "KORVA_SysBusDeviceFirmwareElement":
        ("Name", "SoftwareElementId", "SoftwareElementState", "TargetOperatingSystem", "Version")}
deviceKeys = ("CreationClassName", "DeviceID", "SystemCreationClassName", "SystemName")


def reference(instance):
    values = instance["properties"]
    shown = (f"{key}={values[key]}" if isinstance(values[key], int) else
             '{}="{}"'.format(key, values[key].replace("\\", "\\\\").replace('"', '\\"'))
             for key in keys.get(instance["class"], deviceKeys))
    return f'{instance["class"]}.{",".join(shown)}'


def associations(stored, devices, elements):
    """The first device and the first element whose stored identity is part of the record's own."""
    made = []
    for record in stored:
        device = next((d for d in devices if d["properties"]["OtherIdentifyingInfo"][0] in record["identity"]), None)
        element = next((e for e in elements if e["properties"]["SoftwareElementId"] in record["identity"]), None)
        if device and element:
            made.append({"class": "KORVA_SysBusDeviceFirmware", "properties": {
                "Dependent": reference(device), "Antecedent": reference(element), "Purpose": 6,
                "LoadedOnDevice": True, "UpgradeableOnDevice": True}})
    return made


def isCartridge(record):
    return "RDX" in record["product"] or "GoVault" in record["product"]


def document(answers, machine, queries, virtualNodes=(), virtualDrives=()):
    """The JSON document of a run with these queries, one class each; what its log tells of failures and exclusions."""
    log = Log()
    queried, devices, elements = [], [], []
    for query in queries:
        if query == "KORVA_SysBusDeviceFirmware" and not (devices and elements):
            queried.append({"classes": [query], "instances": []})
            continue
        stored = records(answers, virtualNodes, log)
        if query == "KORVA_CDVDDevice":
            made = opticalInstances(answers, machine, virtualDrives, log)
        elif query == "KORVA_SCSIDevice":
            made = [deviceInstance(query, record, machine) for record in stored if not isCartridge(record)]
        elif query == "KORVA_SCSITapeDrive":
            made = [deviceInstance(query, record, machine) for record in stored
                    if "Sequential Access" in record["type"] or isCartridge(record)]
        elif query == "KORVA_SysBusDeviceFirmwareElement":
            made = [firmwareElement(record) for record in stored]
        elif query == "KORVA_SysBusDeviceFirmware":
            made = associations(stored, devices, elements)
        else:
            made = []  # sg nodes count as SCSI, and this kernel has no /dev/hd nodes
        queried.append({"classes": [query], "instances": made})
        devices += made if query in ("KORVA_SCSIDevice", "KORVA_SCSITapeDrive") else []
        elements += made if query == "KORVA_SysBusDeviceFirmwareElement" else []
    return {"machine": machine, "queries": queried}, log
