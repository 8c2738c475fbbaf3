# A boot's recording, replayed outside the test machine, against what was seen inside. The functions yield comparisons:
# of what, the lines seen inside, the lines seen outside.

import os
import re
import subprocess

from answers import inventoryLines, linesOf
from collector import diskAskedFor, nodesLookedAt


# The plug-in's own lines: the program's remarks on recording and replaying differ by nature.
def logLines(lines):
    return [line for line in lines if re.match(r"\[\d+\] ", line)]


def outputOf(command, **environment):
    return subprocess.run(command, env={**os.environ, **environment}, capture_output=True, check=False,
                          encoding="ascii", errors="backslashreplace")


# The run NAME again, with the recording in the place of the test machine.
def compareReplay(programs, runs, name, *queries):
    replayed = outputOf([programs / "scsidev-inventory", "--machine", runs / "machine.json", "--format", "json",
                         "--log-level", "3", *queries])
    (runs / "replayed.json").write_text(replayed.stdout)
    yield "replayed: exit status", linesOf(runs / f"{name}.status"), [str(replayed.returncode)]
    yield "replayed: document", inventoryLines(runs / f"{name}.json"), inventoryLines(runs / "replayed.json")
    yield "replayed: log", logLines(linesOf(runs / f"{name}.log")), logLines(replayed.stderr.splitlines())


# The tools print of the recording what they printed of the devices, as far as the program asked the same.
def compareTools(programs, results, answers):
    nodes = answers.nodes[:nodesLookedAt]
    disks = [diskAskedFor(node) for node in nodes if node.vendor == "ATA"] + answers.ideDisks
    commands = {f"sg{node.index}.sg_inq": ["sg_inq", "--len=36", node.path] for node in nodes}
    commands |= {f"{disk.removeprefix('/dev/')}.hdparm": ["hdparm", "-I", disk]
                 for disk in disks if disk in answers.identify}
    for inside, command in commands.items():
        outside = outputOf(command, LD_PRELOAD=str(programs / "libscsidev-simulator.so"),
                           SCSIDEV_MACHINE=str(results / "program/machine.json"))
        yield (f"under the preload library: {' '.join(command)}", linesOf(results / "tools" / inside),
               outside.stdout.splitlines())
