# Compares what the program says of a booted machine with what others say: compare.py exporter METRICS; compare.py tools
# DOCUMENT; compare.py wwids DOCUMENT DOCUMENT. Prints the differences; the exit status is 1 where there is one.

import json
import re
import subprocess
import sys
import urllib.request

from tools import compareKernelWords, compareWords


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


def tools(document):
    found = devices(document)
    lsblk = output("lsblk", "-bdJ", "-o", "NAME,HCTL,SIZE,SERIAL,WWN")
    differences = list(compareKernelWords(found, output("lsscsi", "-g"), output("lsscsi", "-UU"), lsblk))
    left = [device["node"] for device in found if device["state"] == "excluded"]
    if len(left) != 2:
        differences.append(("left out", left))
    for device in found:
        node = device["node"]
        differences += compareWords(device, output("sg_inq", node) + output("sg_inq", "--page=sn", node))
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
