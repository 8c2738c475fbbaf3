# What independent tools said of a test machine's devices, read from the files that the guest sent back.

import json
import re
from types import SimpleNamespace

listedNode = re.compile(
    r"\[(?P<port>\d+):(?P<bus>\d+):(?P<target>\d+):(?P<lun>\d+)\] +(?P<type>\S+) +(?P<vendor>.{8}) (?P<product>.{16}) "
    r"(?P<revision>.{4}) +(?P<block>\S+) +(?P<path>/dev/sg(?P<index>\d+)) *")


# Lines of a file that may hold any byte: what is not ASCII is shown escaped.
def linesOf(path):
    return path.read_text("ascii", "backslashreplace").splitlines()


# The machine and its instances in a document of the program, as lines: what the run was like is left out.
def inventoryLines(path):
    document = json.loads(path.read_text("ascii"))
    return json.dumps({member: document[member] for member in ("machine", "queries")}, indent=2).splitlines()


# Text of a device, which a zero byte may end before its field ends.
def text(data, first, size):
    return data[first:first + size].split(b"\0")[0].decode("latin-1")


# One sg node: what lsscsi shows of it, as text, and
#   emulated          whether its host says that it emulates SCSI
#   inquiry           the 36 bytes of its standard INQUIRY answer; `kind` is the first of them
#   serial            what its unit serial number page says, None when the request failed
#   serialHostStatus  the host adapter status with which that request ended
#   kernel            what lsscsi calls the device: the names of its nodes, and its wwid, read from page 0x83
#   plan              how the INQUIRY commands sent to it are made to end, by turns; then they succeed
def readNode(tools, listed, scanned, plans, kernelNames):
    node = SimpleNamespace(**{name: value.strip() for name, value in listed.groupdict().items()})
    node.index = int(node.index)
    node.emulated = scanned.endswith(" [em]")
    node.inquiry = (tools / f"sg{node.index}.inquiry").read_bytes()
    address = f"{node.path}: scsi{node.port} channel={node.bus} id={node.target} lun={node.lun}"
    texts = "".join(listed.group("vendor", "product", "revision")).encode()
    if scanned.removesuffix(" [em]") != address or node.inquiry[8:].replace(b"\0", b" ") != texts:
        raise ValueError(f"lsscsi says {listed[0]}, sg_scan {scanned}, sg_inq {node.inquiry}")
    node.kind = node.inquiry[0]
    node.address = tuple(int(listed[part]) for part in ("port", "target", "bus", "lun"))
    serialPage = (tools / f"sg{node.index}.serial").read_bytes()
    node.serial = text(serialPage, 4, serialPage[3]) if serialPage else None
    hostStatus = re.search(r"Host_status=0x([0-9a-f]+)", (tools / f"sg{node.index}.serial.err").read_text())
    node.serialHostStatus = int(hostStatus[1], 16) if hostStatus else 0
    names, wwid = kernelNames["{port}:{bus}:{target}:{lun}".format(**vars(node))]
    node.kernel = {"names": names} | ({"wwid": wwid} if wwid else {})
    node.plan = plans.get(f"sg{node.index}", [])
    return node


# What lsblk says of block devices, by address: name, WWN, such as "0x3000000000000000", serial number and size.
def readBlocks(tools):
    form = re.compile(r'NAME="(.*)" HCTL="(.*)" WWN="(.*)" SERIAL="(.*)" SIZE="(.*)"')
    lines = [form.fullmatch(line).groups() for line in linesOf(tools / "lsblk")]
    return {address: (name, *told) for name, address, *told in lines if address}


# By address, the names of a device's nodes and its wwid, "" where it has none. Of block devices lsblk has to agree.
def readKernelNames(tools):
    blocks = readBlocks(tools)
    names = {}
    for line in linesOf(tools / "lsscsi-wwid"):
        address, wwid, path = re.fullmatch(r"\[(\S+)\] +\S+ +(\S.*?) +(\S+) *", line).groups()
        name = path.removeprefix("/dev/")
        block, wwn, *_ = blocks.get(address, (name, ""))
        if block != name or (address in blocks) != name.startswith(("sd", "sr")) or (
                wwn and wwid != "naa." + wwn.removeprefix("0x")):
            raise ValueError(f"lsscsi says {line}, lsblk {blocks.get(address)}")
        names[address] = [] if name == "-" else [name], "" if wwid == "none" else wwid
    return names


# hdparm prints the data as words, whose hexadecimal digits stand in the order in which texts are read.
def readIdentify(path):
    disk, words = path.read_text().split(":")
    return disk.strip(), bytes.fromhex(words)


# The kernel's table of optical drives has a line for each capability and a column for each drive.
def readDrives(table):
    names, rows = zip(*(line.split(":") for line in linesOf(table) if ":\t" in line))
    return [dict(zip(names, column)) for column in zip(*map(str.split, rows))]


# The whole machine: its nodes in index order, IDENTIFY data by disk node, the optical drives, the IDE driver's nodes of
# both kinds, the virtual USB media.
def readAnswers(results):
    tools = results / "tools"
    planned = map(str.split, linesOf(results / "plans") if (results / "plans").exists() else [])
    plans = {node: outcomes for node, *outcomes in planned}
    listed = sorted(map(listedNode.fullmatch, linesOf(tools / "lsscsi")), key=lambda match: int(match["index"]))
    # Strictly in pairs: both name the same nodes.
    pairs = zip(listed, linesOf(tools / "sg_scan"), strict=True)
    usb = [line for line in linesOf(tools / "hwinfo-usb") if "Device: usb" in line and "0x4012" in line]
    identify = dict(map(readIdentify, sorted(tools.glob("*.identify"))))
    kernelNames = readKernelNames(tools)
    drives = readDrives(tools / "cdrom-info")
    return SimpleNamespace(
        machine=(results / "name").read_text().strip(),
        nodes=[readNode(tools, match, scanned, plans, kernelNames) for match, scanned in pairs],
        identify=identify,
        drives=drives,
        ideDisks=[path for path in identify if path.startswith("/dev/hd")],
        ideOptical=[f"/dev/{drive['drive name']}" for drive in drives if drive["drive name"].startswith("hd")],
        usbListing="".join(usb))
