# Holds the program's list of devices against what other tools say. The functions yield the differences.

import json
import re

nodesLookedAt = 32


# The node, the address and the kernel's name of each device in the text of `lsscsi -g`.
def listed(lsscsi):
    lines = (line.split() for line in lsscsi.splitlines())
    return {(line[-1], line[0].strip("[]"), line[-2].removeprefix("/dev/")) for line in lines
            if int(line[-1].removeprefix("/dev/sg")) < nodesLookedAt}


# The wwid of each device by address, in the text of `lsscsi -UU`.
def wwids(lsscsi):
    lines = (re.fullmatch(r"\[(\S+)\] +\S+ +(\S.*?) +\S+ *", line).groups() for line in lsscsi.splitlines())
    return {address: "" if wwid == "none" else wwid for address, wwid in lines}


# The texts are those of `lsscsi -g`, `lsscsi -UU` and `lsblk -bdJ -o NAME,HCTL,SIZE,SERIAL,WWN`, which has no serial number
# and no WWN where udev has noted none.
def compareKernelWords(devices, lsscsi, lsscsiWwids, lsblk):
    kernels = [(device["node"], device["kernel"]) for device in devices if "address" in device.get("kernel", {})]
    names = {node: (kernel["names"] or ["-"])[0] for node, kernel in kernels}
    yield from listed(lsscsi) ^ {(node, kernel["address"], names[node]) for node, kernel in kernels}
    told = wwids(lsscsiWwids)
    yield from ((node, told[kernel["address"]], kernel) for node, kernel in kernels
                if kernel.get("wwid", "") != told[kernel["address"]])
    disks = {disk["hctl"]: disk for disk in json.loads(lsblk)["blockdevices"]}
    for node, kernel in kernels:
        disk = disks.get(kernel["address"], {})
        if disk or "size" in kernel:
            shown = {"name": names[node], "size": kernel.get("size"), "serial": kernel.get("serial"),
                     "wwn": kernel.get("wwid", "").replace("naa.", "0x")}
            yield from ((node, word, disk.get(word), text) for word, text in shown.items()
                        if text != disk.get(word) and (disk.get(word) or word in ("name", "size")))


# What the device told a tool has each word that the plug-in has of it.
def compareWords(device, told):
    for word in ("vendor", "product", "model", "revision", "serial"):
        if device.get(word, "") not in told:
            yield device["node"], word, device[word], told
