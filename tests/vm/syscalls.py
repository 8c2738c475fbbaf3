"""System calls on device nodes: those that strace saw, and those that a pass over the nodes is made of.

A call is one line of text: what is asked, of which node, with the bytes that matter. Both sides are then compared."""

import codecs
import re

from expected import diskAskedFor, nodesLookedAt, retried, triesOf

inquiry = "12 00 00 00 24 00"
serialPage = "12 01 80 00 ff 00"

opened = re.compile(r'open(?:at)?\((?:AT_FDCWD[^,]*, )?"([^"]*)", ([A-Z_|]+)[^)]*\) += (-?\d+)')
called = re.compile(r"(\w+)\((-?\d+)(?:<([^>]*)>)?(.*)")
passThrough = re.compile(
    r"dxfer_direction=SG_DXFER_FROM_DEV, cmd_len=6, "
    r'cmdp="([^"]*)", mx_sb_len=32, iovec_count=0, dxfer_len=36, timeout=20000, flags=0,')


def isDeviceNode(path):
    return re.match(r"/dev/(sg|sd|hd|sr|st)", path) is not None


def spelled(path):
    return codecs.decode(path, "unicode_escape").encode("ascii", "backslashreplace").decode()


def seenOpen(match):
    path, flags, descriptor = match.groups()
    flags = flags.replace("|O_CLOEXEC", "").replace("|O_LARGEFILE", "")
    how = "open" if flags == "O_RDONLY|O_NONBLOCK" else f"open with {flags}"
    return f"{how} {spelled(path)}" + (" fails" if int(descriptor) < 0 else "")


def seenCall(line, name, node, rest):
    if name == "close":
        return f"close {node}"
    request = rest.split(",")[1].strip() if name == "ioctl" else ""
    if request == "SG_IO":
        match = passThrough.search(rest)
        return f"SG_IO {node} {match[1].replace(chr(92) + 'x', ' ').strip()}" if match else f"unlike any other: {line}"
    return f"{request} {node}" if request else f"unlike any other: {line}"


def seenCalls(traceText):
    """The calls on device nodes, those on a node that did not open, and the sleeps between tries, in order."""
    calls = []
    for line in traceText.splitlines():
        match = opened.match(line)
        if match:
            if isDeviceNode(match[1]):
                calls.append(seenOpen(match))
            continue
        if line.startswith("clock_nanosleep") and "{tv_sec=5, tv_nsec=0}" in line:
            calls.append("sleep 5 s")
        match = called.match(line)
        if match and match[1] == "ioctl" and match[2] == "-1":
            calls.append(seenCall(line, match[1], "without a node", match[4]))
        elif match and match[3] and isDeviceNode(match[3]):
            calls.append(seenCall(line, match[1], match[3], match[4]))
    return calls


def commandCalls(path, command, plan):
    """One command and its tries; also whether it succeeds."""
    failed, good = triesOf(plan)
    calls = [f"SG_GET_VERSION_NUM {path}"] + ([f"SG_EMULATED_HOST {path}"] if command != inquiry else [])
    for outcome in failed:
        calls += [f"SG_IO {path} {command}"] + (["sleep 5 s"] if retried(outcome) else [])
    return calls + ([f"SG_IO {path} {command}"] if good else []), good


def identifyCalls(node, answers):
    asked = diskAskedFor(node)
    letter = chr((ord("a") + node.index) & 0xFF)
    calls = [f"open /dev/sd{node.index} fails"]
    if asked and f"/dev/{asked}" in answers.disks:
        path = f"/dev/{asked}"
        return calls + [f"open {path}", f"CDROM_GET_CAPABILITY {path}", f"HDIO_DRIVE_CMD {path}", f"close {path}"]
    lettered = f"/dev/sd{letter}".encode("ascii", "backslashreplace").decode()
    return calls + [f"open {lettered} fails", "CDROM_GET_CAPABILITY without a node", "HDIO_DRIVE_CMD without a node"]


def nodeCalls(node, answers):
    path, plan = node.path, list(node.plan)
    calls, answered = commandCalls(path, inquiry, plan)
    calls.insert(0, f"open {path}")
    if not answered:
        return calls + [f"CDROM_GET_CAPABILITY {path}", f"HDIO_DRIVE_CMD {path}", f"close {path}"]
    calls.append(f"SG_GET_SCSI_ID {path}")
    if node.peripheralByte in (0, 1) and node.emulated:
        calls += [f"SG_GET_VERSION_NUM {path}", f"SG_EMULATED_HOST {path}"]
    elif node.peripheralByte in (0, 1):
        calls += commandCalls(path, serialPage, plan)[0]
    calls.append(f"close {path}")
    return calls + (identifyCalls(node, answers) if node.lsscsi["vendor"] == "ATA" else [])


def absentNode(base, index):
    letter = f"{base}{chr((ord('a') + index) & 0xFF)}".encode("ascii", "backslashreplace").decode()
    return [f"open {base}{index} fails", f"open {letter} fails"]


def expectedCalls(answers, passes):
    nodes = {node.index: node for node in answers.nodes}
    onePass = []
    for index in range(nodesLookedAt):
        onePass += nodeCalls(nodes[index], answers) if index in nodes else absentNode("/dev/sg", index)
    for index in range(nodesLookedAt):
        onePass += absentNode("/dev/hd", index)
    return onePass * passes
