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


# The root is on a disk without an address.
def fromLsblk():
    disks = json.loads(output("lsblk", "-bdJ", "-o", "NAME,HCTL,SIZE,SERIAL,WWN"))["blockdevices"]
    return {tuple(disk.values()) for disk in disks if disk["hctl"]}


def tools(document):
    found = devices(document)
    kernels = [(d["node"], d["kernel"], d["kernel"]["names"][0]) for d in found]
    differences = list(fromLsscsi() ^ {(node, k["address"], name) for node, k, name in kernels})
    differences += fromLsblk() ^ {
        (name, k["address"], k["size"], k.get("serial"), k["wwid"].replace("naa.", "0x") if "wwid" in k else None)
        for _, k, name in kernels}
    left = [d["node"] for d in found if d["state"] == "excluded"]
    if len(left) != 2:
        differences.append(("left out", left))
    for d in found:
        inquiry = output("sg_inq", d["node"]) + output("sg_inq", "--page=sn", d["node"])
        for word in ("vendor", "product", "revision", "serial"):
            if d.get(word, "") not in inquiry:
                differences.append((d["node"], d[word], inquiry))
    return differences


# One disk has passed its neighbour, so the nodes are other ones whatever order the adapters are probed in.
def wwids(before, after):
    def disks(path):
        return [(d["kernel"]["wwid"], d["product"]) for d in devices(path)
                if d["kernel"].get("wwid", "").startswith("naa.5000c5")]
    first, second = disks(before), disks(after)
    return [] if first != second and sorted(first) == sorted(second) and len(first) == 6 else [first, second]


differences = globals()[sys.argv[1]](*sys.argv[2:])
for difference in differences:
    print(difference)
sys.exit(1 if differences else 0)
