#!/usr/bin/env python3
"""Compares what the program reported in a test machine with what independent tools said there.

    compare.py RESULTS PROGRAMS

RESULTS is the directory that one boot sent back. PROGRAMS, the directory of the built program, serves to replay the
boot's recording.
Exit status: 0 no difference; 1 differences (shown as diffs, expected against reported) or an answer that cannot be
read; 2 wrong usage.
"""

import difflib
import json
import re
import sys
from pathlib import Path

import answers as toolAnswers
import expected
import syscalls
from replay import compareRecording, replayProgram, replayTools

defaultQueries = (
    "KORVA_SCSIDevice", "KORVA_SCSITapeDrive", "KORVA_ATADevice", "KORVA_CDVDDevice",
    "KORVA_SysBusDeviceFirmwareElement", "KORVA_SysBusDeviceFirmware")


class Comparison:
    def __init__(self):
        self.checks = 0
        self.differences = 0

    def same(self, what, wanted, found):
        """Compares two lists of lines."""
        self.checks += 1
        if wanted == found:
            return
        self.differences += 1
        print(f"--- {what}: {len(wanted)} lines expected, {len(found)} found")
        for line in list(difflib.unified_diff(wanted, found, "expected", "found", lineterm=""))[:60]:
            print(line)


def readable(document):
    return json.dumps(document, indent=1).splitlines()


def tellingLines(log):
    """The log's lines about failed commands and about devices left out, without their level."""
    told = re.compile(r"\[3\] ((?:Retry condition|SCSI sense data|SG |FindUSBDevice Remove Virtual|"
                      r"TScsidevPluginCallbacks::.*Ignoring Virtual Device).*)")
    return [match[1] for match in map(told.fullmatch, log.splitlines()) if match]


def compareRun(comparison, program, name, wanted, log):
    comparison.same(f"{name}: exit status", ["0"], (program / f"{name}.status").read_text().split())
    told = (program / f"{name}.log").read_text()
    comparison.same(f"{name}: what the log tells", log, tellingLines(told))
    try:
        found = json.loads((program / f"{name}.json").read_text())
    except ValueError as error:
        comparison.same(f"{name}: JSON", [], [str(error), *told.splitlines()[-5:]])
        return
    comparison.same(f"{name}: document", readable(wanted), readable(found))


def compareTrace(comparison, results, answers, passes):
    # strace writes the bytes of a name as they are, so a name need not be text.
    traced = (results / "program/trace").read_text(encoding="latin-1")
    comparison.same("system calls on device nodes", syscalls.expectedCalls(answers, passes),
                    syscalls.seenCalls(traced))


def virtualEntries(results, kind):
    return re.findall(rf"^{kind}=(.*)$", (results / "virtual-devices").read_text(), re.MULTILINE)


def compareInventory(comparison, results, programs, answers, machine):
    program = results / "program"
    wanted, log = expected.document(answers, machine, defaultQueries)
    compareRun(comparison, program, "inventory", wanted, log)
    compareRun(comparison, program, "traced", wanted, log)
    compareTrace(comparison, results, answers, len(defaultQueries))
    wanted, log = expected.document(answers, machine, ("KORVA_SCSIDevice", "KORVA_CDVDDevice"),
                                    virtualEntries(results, 0), virtualEntries(results, 1))
    compareRun(comparison, program, "virtual", wanted, log)
    if (program / "recorded.status").exists():
        compareRecording(comparison, program)
        replayProgram(comparison, programs, program, "inventory")
        replayTools(comparison, programs, program, results / "tools", answers)


def compareFaults(comparison, results, programs, answers, machine):
    queries = ("KORVA_SCSIDevice",)
    wanted, log = expected.document(answers, machine, queries)
    compareRun(comparison, results / "program", "traced", wanted, log)
    compareTrace(comparison, results, answers, 1)
    slept = 5 * log.count("Retry condition...")
    took = int((results / "program/traced.seconds").read_text())
    comparison.same(f"at least {slept} s of sleep", [True], [took >= slept])
    if (results / "program/machine.json").exists():
        replayProgram(comparison, programs, results / "program", "traced", queries)


def compareBoot(comparison, results, programs):
    answers = toolAnswers.readAnswers(results)
    machine = (results / "name").read_text().strip()
    faulty = any(node.plan for node in answers.nodes)
    (compareFaults if faulty else compareInventory)(comparison, results, programs, answers, machine)


def main(arguments):
    if len(arguments) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    comparison = Comparison()
    try:
        compareBoot(comparison, Path(arguments[1]), Path(arguments[2]))
    except (toolAnswers.Unreadable, OSError) as error:
        print(f"compare.py: {error}", file=sys.stderr)
        return 1
    print(f"{comparison.checks} comparisons, {comparison.differences} of them with differences")
    return 1 if comparison.differences else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
