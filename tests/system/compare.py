# Compares what the program says of a booted machine with what others say: compare.py exporter METRICS; compare.py tools
# DOCUMENT; compare.py wwids DOCUMENT DOCUMENT. Prints the differences; the exit status is 1 where there is one.

import json
import re
import subprocess
import sys
import urllib.request


def output(*command):
    return subprocess.run(command, capture_output=True, text=True).stdout


def devices(path):
    with open(path) as file:
        return json.load(file)["devices"]


# The exporter writes labels in another order.
def series(text):
    return {(re.match(r"\w+", line)[0], frozenset(re.findall(r'(\w+)="((?:[^"\\]|\\.)*)"', line)))
            for line in text.splitlines() if line.startswith("scsidev_")}


def exporter(metrics):
    with open(metrics) as file:
        wanted = series(file.read())
    with urllib.request.urlopen("http://127.0.0.1:9100/metrics") as answer:
        served = series(answer.read().decode())
    return list(wanted ^ served) + ([] if wanted else ["no series"])


# Node, address and the kernel's name of each device.
def fromLsscsi():
    lines = [line.split() for line in output("lsscsi", "-g").splitlines()]
    return {(line[-1], line[0].strip("[]"), line[-2].removeprefix("/dev/")) for line in lines}


def tools(document):
    found = devices(document)
    ours = {(d["node"], d["address"], (d["kernel"]["names"] or ["-"])[0]) for d in found if "address" in d}
    left = {d["node"] for d in found if d["state"] == "excluded"}
    differences = list(ours ^ {line for line in fromLsscsi() if line[0] not in left})
    if len(left) != 2:
        differences.append(("left out", left))
    blocks = {b["name"]: b for b in json.loads(output("lsblk", "-bdJO"))["blockdevices"]}
    for d in found:
        if d["state"] != "identified" or d["vendor"] == "ATA":
            continue
        inquiry = output("sg_inq", d["node"]) + output("sg_inq", "--page=sn", d["node"])
        for word in (d["vendor"], d["product"], d["revision"], d.get("serial", "")):
            if word not in inquiry:
                differences.append((d["node"], word, inquiry))
        block = blocks.get((d["kernel"]["names"] or [""])[0], {})
        for ours, theirs in (("size", "size"), ("wwid", "wwn")):
            said, other = d["kernel"].get(ours), block.get(theirs)
            if said and other and str(other).removeprefix("0x") not in str(said):
                differences.append((d["node"], said, other))
    return differences


def wwids(before, after):
    def words(path):
        return {d["kernel"]["wwid"]: d.get("product") for d in devices(path)
                if d["kernel"].get("wwid", "").startswith("naa.5000c5")}
    first, second = words(before), words(after)
    return [] if first == second and len(first) >= 4 else [first, second]


differences = globals()[sys.argv[1]](*sys.argv[2:])
for difference in differences:
    print(difference)
sys.exit(1 if differences else 0)
