"""What independent tools said of a test machine's devices, read from the files that the guest sent back."""

import re
from dataclasses import dataclass
from pathlib import Path


class Unreadable(Exception):
    """A tool's answer is not in the form that it is known to have, or two tools contradict each other."""


@dataclass
class Node:
    """One sg node as the tools describe it."""

    index: int
    address: dict  # port, bus, target, lun
    emulated: bool
    inquiry: bytes  # the first 36 bytes
    serialPage: bytes | None  # None: the request for the unit serial number page failed
    serialHostStatus: int  # with which host adapter status it ended
    lsscsi: dict  # type, vendor, product, revision, block
    plan: list  # how the INQUIRY commands sent to it are made to end, by turns; then they succeed

    @property
    def path(self):
        return f"/dev/sg{self.index}"

    @property
    def peripheralByte(self):
        return self.inquiry[0]


@dataclass
class Answers:
    """The whole machine: nodes in index order, IDENTIFY data in reading order by disk name, the optical table."""

    nodes: list
    disks: list
    identify: dict
    opticalTable: list
    usbListing: str


addressLine = re.compile(r"/dev/sg(\d+): scsi(\d+) channel=(\d+) id=(\d+) lun=(\d+)( \[em\])?")
lsscsiLine = re.compile(r"\[(\d+):(\d+):(\d+):(\d+)\]\s+(\S+)\s+(.{8}) (.{16}) (.{4})\s+(\S+)\s+/dev/sg(\d+)")


def readLsscsi(text):
    found = {}
    for line in text.splitlines():
        match = lsscsiLine.match(line)
        if not match:
            raise Unreadable(f"lsscsi: {line}")
        host, channel, target, lun, kind, vendor, product, revision, block, index = match.groups()
        address = {"port": int(host), "bus": int(channel), "target": int(target), "lun": int(lun)}
        found[int(index)] = (address, {"type": kind, "vendor": vendor.strip(), "product": product.strip(),
                                       "revision": revision.strip(), "block": block})
    return found


def readPlans(path):
    lines = path.read_text().splitlines() if path.exists() else []
    return {words[0]: words[1:] for words in map(str.split, lines) if not words[0].startswith("#")}


def hostStatus(serialRemarks):
    match = re.search(r"Host_status=0x([0-9a-f]+)", serialRemarks.read_text())
    return int(match[1], 16) if match else 0


def readNode(tools, match, lsscsi, plans):
    index, host, channel, target, lun, emulated = match.groups()
    address = {"port": int(host), "bus": int(channel), "target": int(target), "lun": int(lun)}
    listedAddress, listed = lsscsi[int(index)]
    if listedAddress != address:
        raise Unreadable(f"/dev/sg{index}: sg_scan says {address}, lsscsi says {listedAddress}")
    inquiry = (tools / f"sg{index}.inquiry").read_bytes()
    if len(inquiry) != 36:
        raise Unreadable(f"/dev/sg{index}: sg_inq gave {len(inquiry)} bytes")
    texts = [field.decode("latin-1").strip(" \0") for field in (inquiry[8:16], inquiry[16:32], inquiry[32:36])]
    if texts != [listed["vendor"], listed["product"], listed["revision"]]:
        raise Unreadable(f"/dev/sg{index}: sg_inq says {texts}, lsscsi says {listed}")
    failed = (tools / f"sg{index}.serial.status").exists()
    # Room for 36 bytes was offered; what the device did not fill stays zero.
    serialPage = None if failed else (tools / f"sg{index}.serial").read_bytes().ljust(36, b"\0")
    return Node(int(index), address, bool(emulated), inquiry, serialPage, hostStatus(tools / f"sg{index}.serial.err"),
                listed, plans.get(f"sg{index}", []))


def readIdentify(path):
    """hdparm prints the data as words, whose hexadecimal digits stand in the order in which texts are read."""
    words = re.findall(r"\b[0-9a-f]{4}\b", "".join(path.read_text().splitlines(keepends=True)[2:]))
    data = bytes.fromhex("".join(words))
    if len(data) != 512:
        raise Unreadable(f"{path.name}: {len(data)} bytes of IDENTIFY data")
    return data


def readAnswers(results: Path):
    tools = results / "tools"
    plans = readPlans(results / "plans")
    lsscsi = readLsscsi((tools / "lsscsi").read_text())
    nodes = [readNode(tools, addressLine.match(line), lsscsi, plans)
             for line in (tools / "sg_scan").read_text().splitlines()]
    if sorted(lsscsi) != [node.index for node in nodes]:
        raise Unreadable("lsscsi and sg_scan name different nodes")
    usbLines = (line for line in (tools / "hwinfo-usb").read_text().splitlines(keepends=True) if "Device: usb" in line)
    return Answers(
        nodes=nodes,
        disks=[node.lsscsi["block"] for node in nodes if node.lsscsi["block"].startswith("/dev/sd")],
        identify={path.name.split(".")[0]: readIdentify(path) for path in tools.glob("*.identify")},
        opticalTable=(tools / "cdrom-info").read_text().splitlines(),
        usbListing="".join(line for line in usbLines if "0x4012" in line),
    )
