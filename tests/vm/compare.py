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


# What is the same in every recording of a boot: not all kernels know the same wwids, which lsscsi judges.
def answers(path):
    machine = json.loads(path.read_text("ascii"))
    del machine["collected"]
    for node in machine["nodes"].values():
        node.get("kernel", {}).pop("wwid", None)
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
    calls = seenCalls(linesOf(runs / "trace"))
    (runs / "calls").write_text("\n".join(calls) + "\n")
    yield "system calls on device nodes", linesOf(root / f"tests/expected/vm-{boot}.calls"), calls
    yield "recording", answers(root / f"machines/vm-{boot}.json"), answers(runs / "machine.json")


# A run again outside, with the recording in the place of the test machine.
def compareReplay(run, programs):
    replayed = outputOf([programs / "scsidev-inventory", "--machine", run.parent / "machine.json", "--format", "json",
                         "--log-level", "3", *run.with_suffix(".arguments").read_text().split()])
    yield f"{run.name}: exit status", linesOf(run.with_suffix(".status")), [str(replayed.returncode)]
    yield f"{run.name}: document", inventory(run.with_suffix(".json").read_text()), inventory(replayed.stdout)
    yield f"{run.name}: log", logLines(linesOf(run.with_suffix(".log"))), logLines(replayed.stderr.splitlines())


# The tools print of the recording what they printed of the devices, as far as the program asked the same.
def compareTools(said, recording, programs):
    for path, node in json.loads(recording.read_text())["nodes"].items():
        if "inquiry" in node and path.startswith("/dev/sg"):
            command = ["sg_inq", "--len=36", path]
        elif "data" in node.get("identify", {}):
            command = ["hdparm", "-I", path]
        else:
            continue
        outside = outputOf(command, LD_PRELOAD=str(programs / "libscsidev-simulator.so"), SCSIDEV_MACHINE=str(recording))
        inside = said[f"{Path(path).name}.{command[0]}"]
        yield f"under the preload library: {' '.join(command)}", inside.splitlines(), outside.stdout.splitlines()


# The run that came when udev had asked the devices, as lsblk did.
def compareDevices(said, document):
    asked = {mistaken["node"]: mistaken["asked"] for mistaken in document["nodes"]["mistaken"]}
    differences = list(tools.compareKernelWords(document["devices"], said["lsscsi"], said["lsscsi-wwid"], said["lsblk"]))
    for device in document["devices"]:
        node = device["node"].removeprefix("/dev/")
        disk = asked.get(device["node"]) or (device["kernel"]["names"] or [node])[0]
        files = f"{node}.sg_inq", f"{node}.serial", disk.removeprefix("/dev/") + ".hdparm"
        differences += tools.compareWords(device, "".join(said.get(file, "") for file in files))
    yield "devices", [], [str(difference) for difference in differences]


def compare(boot, results, programs):
    runs = results / "program"
    planned = (results / "plans").exists()  # faults, after which the tools would not meet what the program met
    yield from compareRecording(boot, runs)
    for run in ("traced",) if planned else ("traced", "inventory", "virtual"):
        yield from compareReplay(runs / run, programs)
    if not planned:
        said = {path.name: "\n".join(linesOf(path)) for path in (results / "tools").iterdir()}
        yield from compareTools(said, runs / "machine.json", programs)
        yield from compareDevices(said, json.loads((runs / "settled.json").read_text()))


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
