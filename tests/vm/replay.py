"""A boot's recording, replayed outside the test machine, against what was seen inside."""

import os
import re
import subprocess

from expected import diskAskedFor, nodesLookedAt


def logLines(log):
    """The plug-in's own lines; the program's remarks on recording and replaying differ by nature."""
    return [line for line in log.splitlines() if re.match(rb"\[\d+\] ", line)]


def shown(lines):
    return [line.decode("ascii", "backslashreplace") for line in lines]


def sameLines(comparison, what, inside, outside):
    comparison.same(what, shown(inside), shown(outside))


def compareRecording(comparison, runs):
    """Recording changes nothing of what a run prints."""
    for ending, lines in (("json", bytes.splitlines), ("log", logLines)):
        sameLines(comparison, f"recorded: {ending} as without recording",
                  lines((runs / f"inventory.{ending}").read_bytes()), lines((runs / f"recorded.{ending}").read_bytes()))


def replayProgram(comparison, program, runs, name, queries=()):
    """The run NAME again, with the recording in the place of the test machine."""
    command = [program / "scsidev-inventory", "--machine", runs / "machine.json",
               "--format", "json", "--log-level", "3", *queries]
    replayed = subprocess.run(command, capture_output=True, check=False)
    comparison.same("replayed: exit status", ["0"], [str(replayed.returncode)])
    sameLines(comparison, "replayed: document", (runs / f"{name}.json").read_bytes().splitlines(),
              replayed.stdout.splitlines())
    sameLines(comparison, "replayed: log", logLines((runs / f"{name}.log").read_bytes()), logLines(replayed.stderr))


def replayTool(comparison, program, runs, inside, command):
    environment = {**os.environ, "LD_PRELOAD": str(program / "libscsidev-simulator.so"),
                   "SCSIDEV_MACHINE": str(runs / "machine.json")}
    outside = subprocess.run(command, env=environment, capture_output=True, check=False)
    sameLines(comparison, f"under the preload library: {' '.join(command)}", inside.read_bytes().splitlines(),
              outside.stdout.splitlines())


def replayTools(comparison, program, runs, tools, answers):
    """The tools print of the recording what they printed of the devices, as far as the program asked the same."""
    for node in answers.nodes[:nodesLookedAt]:
        replayTool(comparison, program, runs, tools / f"sg{node.index}.sg_inq", ["sg_inq", "--len=36", node.path])
        disk = diskAskedFor(node)
        if node.lsscsi["vendor"] == "ATA" and disk in answers.identify:
            replayTool(comparison, program, runs, tools / f"{disk}.hdparm", ["hdparm", "-I", f"/dev/{disk}"])
