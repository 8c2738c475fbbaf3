# The system calls on device nodes that strace saw, a line each: what is asked, with the bytes that matter, of which
# node. Shown are also the sleeps between tries and the requests made of no node, whose descriptor is -1. A call in any
# other form than these is shown as strace has it, which is a difference.

import re

watched = re.compile(r'\w+\((?:AT_FDCWD<[^>]*>, )?(?:"|\d+<)/dev/(?:s[dgrt]|hd)|ioctl\(-1,|.*\{tv_sec=5, tv_nsec=0\}')
opening = r'openat\(AT_FDCWD<[^>]*>, "([^"]*)", O_RDONLY\|O_NONBLOCK(?:\|O_CLOEXEC)?\) += '
passThrough = (r"ioctl\(\d+<([^>]*)>, SG_IO, \{interface_id='S', dxfer_direction=SG_DXFER_FROM_DEV, cmd_len=6, "
               r'cmdp="([^"]*)", mx_sb_len=32, iovec_count=0, dxfer_len=36, timeout=20000, flags=0, .*')
known = (
    (opening + r"\d+<.*", r"open \1"),
    (opening + r"-1 .*", r"failed open \1"),
    (passThrough, r"SG_IO \2 \1"),
    (r"ioctl\((?:\d+<)?(-1|/dev/[^>]*)>?, (?!SG_IO)(\w+), .*", r"\2 \1"),
    (r"close\(\d+<([^>]*)>\) += 0", r"close \1"),
    (r"clock_nanosleep\(.*", "sleep 5 s"))


def shown(line):
    matches = ((re.fullmatch(form, line), words) for form, words in known)
    return next((match.expand(words) for match, words in matches if match), f"unlike any other: {line}")


def seenCalls(lines):
    return [shown(line) for line in lines if watched.match(line)]
