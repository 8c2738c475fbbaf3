# A model of the collector: what it asks of the nodes that the tools have described, in the words of syscalls.py, what
# it logs of failures and exclusions, and what it stores.

from types import SimpleNamespace

from answers import text

nodesLookedAt = 32
mostTries = 5
inquiry = r"\x12\x00\x00\x00\x24\x00"
serialPage = r"\x12\x01\x80\x00\xff\x00"
identifyFailed = "ATA 0command returned fail: "


# Puts what IDENTIFY data say into a record.
def fillIn(record, data):
    record.model, record.revision, record.serial = text(data, 54, 23), text(data, 46, 8), text(data, 20, 20)
    # A model of one word leaves the product as it was.
    record.vendor, record.product, *_ = text(data, 54, 40).split() + [record.product]


# A node's name by letter as strace shows it: after z come the signs that follow it, the last ones escaped.
def lettered(base, index):
    code = ord("a") + index
    return base + (chr(code) if code < 0x7F else f"\\{code:o}")


# An ATA disk is asked through the disk node whose letter has the sg node's number, whichever disk that is.
def diskAskedFor(node):
    return lettered("/dev/sd", node.index)


class Collector:
    def __init__(self, answers, virtualNodes, virtualDrives):
        self.answers = answers
        self.virtualNodes = virtualNodes
        self.virtualDrives = virtualDrives
        self.plans = {node.path: iter(node.plan) for node in answers.nodes}
        self.calls = []
        self.log = []

    # One pass over the nodes; returns the records stored.
    def lookAtNodes(self):
        records = [self.lookAt(node) for node in self.answers.nodes[:nodesLookedAt]]
        for index in range(len(records), nodesLookedAt):
            self.ask(f"/dev/sg{index}", "failed open")
            self.ask(lettered("/dev/sg", index), "failed open")
        records += [self.lookAtIde(index) for index in range(nodesLookedAt)]
        return [record for record in records if record]

    def ask(self, path, *requests):
        self.calls += [f"{request} {path}" for request in requests]

    def lookAt(self, node):
        self.ask(node.path, "open", "SG_GET_VERSION_NUM")
        if not self.succeeds(node, inquiry):
            # What does not answer is asked for IDENTIFY data too, which no sg node gives.
            self.ask(node.path, "CDROM_GET_CAPABILITY", "HDIO_DRIVE_CMD", "close")
            self.log.append(identifyFailed)
            return None
        self.ask(node.path, "SG_GET_SCSI_ID")
        serial = self.serialNumber(node) if node.kind in (0, 1) else ""
        record = SimpleNamespace(
            path=node.path, bus="SCSI", kind=node.kind, inquiryText=text(node.inquiry, 8, 28), address=node.address,
            identity="Port:{}|Target:{}|Bus:{}|Lun:{}".format(*node.address),
            vendor=node.vendor, product=node.product, revision=text(node.inquiry, 32, 4), model="", serial=serial,
            kernel=node.kernel)
        self.ask(node.path, "close")
        excluded = self.isExcluded(node)
        # An ATA disk is stored for its IDENTIFY data even when a list excluded it before.
        identified = node.vendor == "ATA" and self.identify(record, node)
        return record if identified or not excluded else None

    # Sends a command, again after a failure that may pass; says whether it succeeds in the end.
    def succeeds(self, node, command):
        for _ in range(mostTries):
            self.ask(node.path, f"SG_IO {command}")
            outcome = next(self.plans[node.path], "good")
            if outcome == "good":
                return True
            key, code, qualifier = (int(part, 16) for part in outcome.split("/"))
            retried = key == 6 or (code, qualifier) in ((0x04, 0x01), (0x28, 0x00))
            if retried:
                self.log.append("Retry condition...")
            self.log += [f"SCSI sense data: 700{key:x}0000a0000{code:x}{qualifier:x}0000",
                         "SG SCSI status=\\x02", "SG Driver status=8"]
            if not retried:
                return False
            self.calls.append("sleep 5 s")
        return False

    # On a host that emulates SCSI (libata, USB) only standard INQUIRY is sent.
    def serialNumber(self, node):
        self.ask(node.path, "SG_GET_VERSION_NUM", "SG_EMULATED_HOST")
        if node.emulated or not self.succeeds(node, serialPage):
            return ""
        if node.serial is None:
            self.log.append(f"SG Host status={node.serialHostStatus}")
        return node.serial or ""

    def isExcluded(self, node):
        if node.kind in (0, 1, 5) and f'"{node.product}"' in self.answers.usbListing:
            self.log.append(f'FindUSBDevice Remove Virtual: "{node.product}"\\n')
            return True
        if node.kind in (0, 1) and any(node.path in entry for entry in self.virtualNodes):
            self.log.append(f"TScsidevPluginCallbacks::collectData : Ignoring Virtual Device {node.path}")
            return True
        return False

    def lookAtIde(self, index):
        path = lettered("/dev/hd", index)
        self.ask(f"/dev/hd{index}", "failed open")
        # What INQUIRY brings of an optical drive is not looked at.
        if path in self.answers.ideOptical:
            self.ask(path, "open", "SG_GET_VERSION_NUM", f"SG_IO {inquiry}", "CDROM_GET_CAPABILITY", "close")
            self.log.append("Aborting inquiry to cdrom...")
            return None
        if path not in self.answers.ideDisks:
            self.ask(path, "failed open")
            return None
        # The driver passes no SCSI request on to a disk: it is opened anew for a second try.
        self.ask(path, "open", "SG_GET_VERSION_NUM", "close", "open", "SG_GET_VERSION_NUM", "CDROM_GET_CAPABILITY",
                 "HDIO_DRIVE_CMD", "close")
        self.log += ["Device does not support SGIO, try again!", "Device does not support SGIO"]
        record = SimpleNamespace(path=path, bus="ATA", kind=None, address=(0, 0, 0, 0), identity=path, product="",
                                 kernel={})
        fillIn(record, self.answers.identify[path])
        return record

    # Fills in what the disk asked says of itself; says whether it is an ATA disk.
    def identify(self, record, node):
        disk = diskAskedFor(node)
        self.ask(f"/dev/sd{node.index}", "failed open")
        if disk in (node.block for node in self.answers.nodes):
            self.ask(disk, "open", "CDROM_GET_CAPABILITY", "HDIO_DRIVE_CMD", "close")
        else:
            self.ask(disk, "failed open")
            self.ask("-1", "CDROM_GET_CAPABILITY", "HDIO_DRIVE_CMD")
        data = self.answers.identify.get(disk)
        if data:
            fillIn(record, data)
        else:
            self.log.append(identifyFailed)
        return data is not None
