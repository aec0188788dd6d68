#!/usr/bin/env python3
"""Holds every #include below a folder to the arrows between the project's rooms.

    check_includes.py [FOLDER]

Prints FILE:LINE for each include that points the wrong way, that is not named from the project's
root, or that brings a library into the plug-in. Exit status 1 if there is one."""
import pathlib
import re
import sys

PLUGIN = ["Classes", "platform"]
BASE = [*PLUGIN, "host/base"]
# The vocabulary of advertisements, for rooms that know nothing of recordings.
ADVERTISEMENT = ["host/air/Advertisement.hpp", "host/air/AdvertisingData.hpp"]
MIDDLE = [*BASE, "host/phone", "host/engine", "host/air"]

# What each room may include besides itself: rooms, and single files.
ALLOWED = {
    "platform": [],
    "Classes": ["platform"],
    "ios": PLUGIN,
    "host/base": PLUGIN,
    "host/engine": BASE,
    "host/air": BASE,
    "host/phone": [*BASE, *ADVERTISEMENT],
    "host/bluez": MIDDLE,
    "host/scenario": MIDDLE,
    "host/findings": MIDDLE,
    "host/terminal": MIDDLE,
    "host/cli": [*MIDDLE, "host/bluez", "host/scenario", "host/findings", "host/terminal"],
}
# The plug-in's object is for those who register it. All others use its values and functions.
REGISTRANTS = {"Classes", "ios", "host/scenario", "host/cli"}
# The plug-in uses the standard library alone, whose headers have no suffix and no folder.
STANDARD_ONLY = {"Classes", "platform"}

INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*(?:"([^"]+)"|<([^>]+)>)')


def room_of(path):
    """The room of a file that is named from the project's root; None for files outside of all."""
    parts = path.split("/")
    for room in (parts[0], "/".join(parts[:2])):
        if room in ALLOWED and path != room:
            return room
    return None


def fault(room, quoted, system):
    """What is wrong with an include in `room`, or None."""
    if system is not None:
        if room in STANDARD_ONLY and not re.fullmatch(r"[a-z_]+", system):
            return f"{room} uses the standard library alone, not <{system}>"
        return None
    target = room_of(quoted)
    if target is None:
        # The binding's files stand in one folder of a package and name each other without it.
        if room == "ios" and not quoted.startswith(("host/", "tests/", "..")):
            return None
        return f'{room} must not include "{quoted}"; files are named from the project\'s root'
    if quoted == "Classes/NimbrelPlugin.hpp" and room not in REGISTRANTS:
        return f"{room} must not include the plug-in's object"
    if target != room and target not in ALLOWED[room] and quoted not in ALLOWED[room]:
        return f"{room} must not include from {target}"
    return None


def check(folder):
    faults = []
    for path in sorted(folder.rglob("*")):
        name = path.relative_to(folder).as_posix()
        room = room_of(name)
        if room is None or path.suffix not in (".hpp", ".cpp", ".h", ".mm", ".inc"):
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            include = INCLUDE.match(line)
            problem = include and fault(room, *include.groups())
            if problem:
                faults.append(f"{name}:{number}: {problem}")
    return faults


if __name__ == "__main__":
    found = check(pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "."))
    print("\n".join(found), end="\n" if found else "")
    sys.exit(bool(found))
