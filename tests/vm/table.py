#!/usr/bin/env python3
# Prints, as a Markdown table, what each tool and the collector said of the nodes of one boot.
#
#   table.py RESULTS        RESULTS is the directory that the boot sent back

import json
import sys
from pathlib import Path

from answers import readAnswers, text
from collector import diskAskedFor, nodesLookedAt


deviceClasses = ("KORVA_SCSIDevice", "KORVA_SCSITapeDrive", "KORVA_ATADevice")


def serialPageSays(node):
    failure = f"host status {node.serialHostStatus}" if node.serialHostStatus else "refused"
    return failure if node.serial is None else node.serial.strip()


def hdparmSays(disk, answers):
    if disk not in answers.identify:
        return ""
    texts = (text(answers.identify[disk], *field).strip() for field in ((54, 40), (46, 8), (20, 20)))
    return f"{disk.removeprefix('/dev/')}: " + " / ".join(texts)


def collectorSays(node, answers, devices):
    if node.index >= nodesLookedAt:
        return "(not looked at)"
    if node.path not in devices:
        return f"(left out{': hwinfo lists it as usb 0x4012' if node.product in answers.usbListing else ''})"
    return wordsOf(devices[node.path])


def wordsOf(said):
    words = (said[name].strip() for name in ("VendorID", "ProductID", "Revision", "serialNum"))
    tape = " (tape class)" if said["CreationClassName"] == "KORVA_SCSITapeDrive" else ""
    return f"{said['DeviceType'] or 'ATA'}: " + " / ".join(words) + tape


def main(results):
    answers = readAnswers(results)
    queries = json.loads((results / "program/traced.json").read_text())["queries"]
    devices = {instance["properties"]["DeviceID"]: instance["properties"] for query in queries
               for instance in query["instances"] if instance["class"] in deviceClasses}
    print("| Node | Host:channel:target:lun | lsscsi | sg_raw, page 0x80 | hdparm, the disk asked | collector |")
    print("|---|---|---|---|---|---|")
    for node in answers.nodes:
        address = f"{node.port}:{node.bus}:{node.target}:{node.lun}" + (", emulated" if node.emulated else "")
        lsscsi = f"{node.type}: {node.vendor} / {node.product} / {node.revision}"
        block = f", {node.block}" if node.block != "-" else ""
        identified = hdparmSays(diskAskedFor(node), answers) if node.vendor == "ATA" else ""
        print(f"| {node.path} | {address} | {lsscsi}{block} | {serialPageSays(node)} | {identified} "
              f"| {collectorSays(node, answers, devices)} |")
    for path in answers.ideDisks + answers.ideOptical:
        said = wordsOf(devices[path]) if path in devices else "(in the optical table)"
        print(f"| {path} |  |  |  | {hdparmSays(path, answers)} | {said} |")


main(Path(sys.argv[1]))
