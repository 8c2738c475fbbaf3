#!/usr/bin/env python3
"""Prints, as a Markdown table, what each tool and the collector said of the nodes of one boot.

    table.py RESULTS        RESULTS is the directory that the boot sent back
"""

import json
import sys
from pathlib import Path

import answers as toolAnswers
from expected import diskAskedFor, nodesLookedAt, text


def lsscsiSays(node):
    block = f", {node.lsscsi['block']}" if node.lsscsi["block"] != "-" else ""
    return "{type}: {vendor} / {product} / {revision}".format(**node.lsscsi) + block


def serialPageSays(node):
    if node.serialPage is None:
        return f"host status {node.serialHostStatus}" if node.serialHostStatus else "refused"
    return text(node.serialPage, 4, node.serialPage[3]).strip()


def hdparmSays(node, answers):
    disk = diskAskedFor(node)
    if node.lsscsi["vendor"] != "ATA" or disk not in answers.identify:
        return ""
    identify = answers.identify[disk]
    model, revision, serial = (text(identify, *field).strip() for field in ((54, 40), (46, 8), (20, 20)))
    return f"{disk}: {model} / {revision} / {serial}"


def collectorSays(node, answers, instances):
    if node.index >= nodesLookedAt:
        return "(not looked at)"
    said = instances.get(node.path)
    if not said and f'"{node.lsscsi["product"]}"' in answers.usbListing:
        return "(left out: hwinfo lists it as usb 0x4012)"
    if not said:
        return "(left out)"
    shown = "{DeviceType}: {VendorID} / {ProductID} / {Revision} / {serialNum}".format(
        **{name: value.strip() if isinstance(value, str) else value for name, value in said["properties"].items()})
    return shown + (" (tape class)" if said["class"] == "KORVA_SCSITapeDrive" else "")


def main(arguments):
    if len(arguments) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    results = Path(arguments[1])
    answers = toolAnswers.readAnswers(results)
    run = next(path for name in ("inventory", "traced") if (path := results / f"program/{name}.json").exists())
    queries = json.loads(run.read_text())["queries"]
    devices = {instance["properties"]["DeviceID"]: instance for query in queries for instance in query["instances"]
               if instance["class"] in ("KORVA_SCSIDevice", "KORVA_SCSITapeDrive")}
    print("| Node | Host:channel:target:lun | lsscsi | sg_raw, page 0x80 | hdparm, the disk asked | collector |")
    print("|---|---|---|---|---|---|")
    for node in answers.nodes:
        address = "{port}:{bus}:{target}:{lun}".format(**node.address) + (", emulated" if node.emulated else "")
        print(f"| {node.path} | {address} | {lsscsiSays(node)} | {serialPageSays(node)} | {hdparmSays(node, answers)} "
              f"| {collectorSays(node, answers, devices)} |")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
