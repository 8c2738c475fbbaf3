#!/usr/bin/env python3
# Compares what the program reported in a test machine with what independent tools said there.
#
#   compare.py RESULTS PROGRAMS
#
# RESULTS is the directory that one boot sent back. PROGRAMS, the directory of the built program, serves to replay the
# boot's recording.
# Exit status: 0 no difference; 1 differences (shown as diffs, expected against reported) or an answer that cannot be
# read.

import difflib
import json
import re
import sys
from pathlib import Path

import expected
import replay
from answers import inventoryLines, linesOf, readAnswers, readBlocks
from collector import diskAskedFor, nodesLookedAt
from syscalls import seenCalls


# The log's lines about commands that failed or were not sent and about devices left out, without their level.
def tellingLines(log):
    told = re.compile(r"\[3\] ((?:Retry condition|SCSI sense data|SG |FindUSBDevice Remove Virtual|"
                      r"TScsidevPluginCallbacks::.*Ignoring Virtual Device|Device does not support SGIO|"
                      r"Aborting inquiry|ATA ).*)")
    return [match[1] for match in map(told.fullmatch, linesOf(log)) if match]


# The ATA disks that are asked for their own words at another disk's node, and that node.
def mistakenNodes(answers):
    return [{"node": node.path, "asked": asked} for node in answers.nodes[:nodesLookedAt] if node.vendor == "ATA"
            for asked in [diskAskedFor(node)] if asked in answers.identify and asked != node.block]


def asLines(value):
    return json.dumps(value, indent=2).splitlines()


# This and the following functions yield comparisons: of what, the lines wanted, the lines found.
def compareRun(program, name, document, log, nodes, beyond=()):
    isComplete = not (nodes["silent"] or nodes["mistaken"] or beyond)
    found = json.loads((program / f"{name}.json").read_text())["nodes"]
    yield f"{name}: exit status", ["0" if isComplete else "3"], linesOf(program / f"{name}.status")
    yield f"{name}: what the log tells", log, tellingLines(program / f"{name}.log")
    yield f"{name}: nodes", asLines(nodes), asLines({kind: found[kind] for kind in nodes})
    yield f"{name}: document", asLines(document), inventoryLines(program / f"{name}.json")


def compareTraced(program, document, log, calls, nodes, beyond=()):
    yield from compareRun(program, "traced", document, log, nodes, beyond)
    yield "system calls on device nodes", calls, seenCalls(program / "trace")


def virtualEntries(results, kind):
    return re.findall(rf"^{kind}=(.*)$", (results / "virtual-devices").read_text(), re.MULTILINE)


def compareInventory(results, answers, programs):
    program = results / "program"
    document, log, calls = expected.run(answers, expected.defaultQueries)
    beyond = answers.nodes[nodesLookedAt:]
    nodes = {"silent": [], "mistaken": mistakenNodes(answers)}
    yield from compareRun(program, "inventory", document, log, nodes, beyond)
    yield from compareTraced(program, document, log, calls, nodes, beyond)
    document, log, _ = expected.run(answers, ("KORVA_SCSIDevice", "KORVA_ATADevice", "KORVA_CDVDDevice"),
                                    virtualEntries(results, 0), virtualEntries(results, 1))
    yield from compareRun(program, "virtual", document, log, nodes, beyond)
    yield from compareKernelWords(results, answers)
    yield from replay.compareReplay(programs, program, "traced")
    yield from replay.compareTools(programs, results, answers)


# The run that came when udev had asked the devices, as lsblk did.
def compareKernelWords(results, answers):
    devices = json.loads((results / "program/settled.json").read_text())["devices"]
    walked = {"{port}:{bus}:{target}:{lun}".format(**vars(node)) for node in answers.nodes[:nodesLookedAt]}
    known = [device["kernel"] for device in devices if "size" in device.get("kernel", {})]
    wanted = {address: told[2:] for address, told in readBlocks(results / "tools").items()}
    # Where udev has noted none, the kernel's own page is looked at, which lsblk does not do.
    found = {address: (words.get("serial", "") if wanted.get(address, [""])[0] else "", str(words["size"]))
             for words in known for address in [words.get("address")]}
    yield ("address, serial number and size as lsblk has them",
           *(sorted(f"{address} {told}" for address, told in side.items() if address in walked)
             for side in (wanted, found)))


def compareFaults(results, answers, programs):
    program = results / "program"
    document, log, calls = expected.run(answers, ("KORVA_SCSIDevice",))
    shown = [instance["properties"]["DeviceID"] for instance in document["queries"][0]["instances"]]
    silent = [node.path for node in answers.nodes if node.path not in shown]
    yield from compareTraced(program, document, log, calls, {"silent": silent, "mistaken": mistakenNodes(answers)})
    yield from replay.compareReplay(programs, program, "traced", "KORVA_SCSIDevice")


def main(results, programs):
    answers = readAnswers(results)
    compare = compareFaults if (results / "plans").exists() else compareInventory
    differences = 0
    for count, (what, wanted, found) in enumerate(compare(results, answers, programs), 1):
        if wanted != found:
            differences += 1
            print(f"--- {what}: {len(wanted)} lines expected, {len(found)} found")
            diff = list(difflib.unified_diff(wanted, found, "expected", "found", lineterm=""))
            print(*diff[:60], sep="\n")
    print(f"{count} comparisons, {differences} of them with differences")
    return 1 if differences else 0


sys.exit(main(*map(Path, sys.argv[1:])))
