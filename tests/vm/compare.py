#!/usr/bin/env python3
# Compares what the program reported in a test machine with what other tools said there, and with what the tests outside
# expect of the machine file that is a recording of this boot.
#
#   compare.py BOOT RESULTS PROGRAMS
#
# RESULTS is the directory that the boot sent back. PROGRAMS, the directory of the built program, serves to replay its
# recording.
# Exit status: 0 no difference; 1 differences (shown as diffs, expected against found).

import difflib
import json
import os
import re
import subprocess
import sys
from pathlib import Path

import tools
from syscalls import seenCalls

root = Path(__file__).parent.parent.parent


# Lines of a text that may have any byte: what is not ASCII is shown escaped.
def linesOf(path):
    return path.read_text("ascii", "backslashreplace").splitlines()


def outputOf(command, **environment):
    return subprocess.run(command, env={**os.environ, **environment}, capture_output=True, check=False,
                          encoding="ascii", errors="backslashreplace")


def asLines(value):
    return json.dumps(value, indent=2).splitlines()


# What devices answer, whatever kernel asks. What the kernel says of them is compared with the tools.
def answers(path):
    machine = json.loads(path.read_text("ascii"))
    del machine["collected"]
    for node in machine["nodes"].values():
        node.pop("kernel", None)
    return asLines(machine)


# What does not differ by nature in a simulated run.
def inventory(text):
    members = "complete", "exitStatus", "machine", "nodes", "devices", "queries"
    return asLines({member: json.loads(text)[member] for member in members})


# The plug-in's own lines.
def logLines(lines):
    return [line for line in lines if re.match(r"\[\d+\] ", line)]


# This and the following functions yield comparisons: of what, the lines expected, the lines found.
def compareRecording(boot, runs):
    yield "recording", answers(root / f"machines/vm-{boot}.json"), answers(runs / "machine.json")
    calls = seenCalls(linesOf(runs / "trace"))
    (runs / "calls").write_text("\n".join(calls) + "\n")
    yield "system calls on device nodes", linesOf(root / f"tests/expected/vm-{boot}.calls"), calls


# Each run again outside, with the recording in the place of the test machine.
def compareReplays(runs, programs):
    for arguments in sorted(runs.glob("*.arguments")):
        run = arguments.with_suffix("")
        replayed = outputOf([programs / "scsidev-inventory", "--machine", runs / "machine.json", "--format", "json",
                             "--log-level", "3", *arguments.read_text().split()])
        yield f"{run.name}: document", inventory(run.with_suffix(".json").read_text()), inventory(replayed.stdout)
        yield (f"{run.name}: log", logLines(linesOf(run.with_suffix(".log"))), logLines(replayed.stderr.splitlines()))


# The tools print of the recording what they printed of the devices, as far as the program asked the same.
def compareTools(results, programs):
    recording = results / "program/machine.json"
    nodes = json.loads(recording.read_text())["nodes"]
    asked = [path for path, node in nodes.items() if node.keys() & {"inquiry", "identify"}]
    for inside in sorted((results / "tools").glob("*.command")):
        command = inside.read_text().split()
        if command[-1] in asked:
            outside = outputOf(command, LD_PRELOAD=str(programs / "libscsidev-simulator.so"), SCSIDEV_MACHINE=str(recording))
            yield " ".join(command), linesOf(inside.with_suffix("")), outside.stdout.splitlines()


def compareDevices(results):
    said = {path.name: path.read_text("ascii", "backslashreplace") for path in (results / "tools").glob("*")}
    disks = "".join(text for name, text in said.items() if name.endswith(".hdparm"))
    devices = json.loads((results / "program/settled.json").read_text())["devices"]
    differences = list(tools.compareKernelWords(devices, said["lsscsi"], said["lsblk"]))
    for device in devices:
        node = device["node"].removeprefix("/dev/")
        differences += tools.compareWords(device, said.get(node + ".sg_inq", "") + said.get(node + ".serial", "") + disks)
    yield "devices", [], [str(difference) for difference in differences]


def compare(boot, results, programs):
    yield from compareRecording(boot, results / "program")
    yield from compareReplays(results / "program", programs)
    if not (results / "plans").exists():  # after which the devices answer the tools as they did not answer the program
        yield from compareTools(results, programs)
        yield from compareDevices(results)


def main(boot, results, programs):
    differences = 0
    for count, (what, wanted, found) in enumerate(compare(boot, Path(results), Path(programs)), 1):
        if wanted != found:
            differences += 1
            print(f"--- {what}: {len(wanted)} lines expected, {len(found)} found")
            diff = list(difflib.unified_diff(wanted, found, "expected", "found", lineterm=""))
            print(*diff[:60], sep="\n")
    print(f"{count} comparisons, {differences} of them with differences")
    return 1 if differences else 0


sys.exit(main(*sys.argv[1:]))
