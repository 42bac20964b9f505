#!/usr/bin/env python3
"""Holds every include against the order of the layers: knowledge points downward only.

BELOW is that order. A folder may include its own headers, those of the folders named for it, and
whatever these may include in turn. A folder of sources that is not named fails: say where it stands.
"""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LIBRARY = "hosts/multivalue"

BELOW = {
    # The component.
    "automation": [],
    "core": ["automation"],
    "registry": ["core"],
    "backend": ["automation"],
    "engine": ["backend", "registry"],
    "client": ["registry"],
    "server": ["engine", "client"],
    "packaging": [],
    # The portable library; its own folder holds what names the order of its layers.
    LIBRARY: [],
    f"{LIBRARY}/text": [LIBRARY],
    f"{LIBRARY}/number": [f"{LIBRARY}/text"],
    f"{LIBRARY}/store": [f"{LIBRARY}/text"],
    f"{LIBRARY}/conversion": [f"{LIBRARY}/number", f"{LIBRARY}/store"],
    f"{LIBRARY}/expression": [f"{LIBRARY}/conversion"],
    f"{LIBRARY}/query": [f"{LIBRARY}/expression"],
    f"{LIBRARY}/command": [f"{LIBRARY}/query"],
    "scripting": ["automation"],
    # Back-ends.
    "hosts/embedded/store": [f"{LIBRARY}/command"],
    "hosts/embedded": ["hosts/embedded/store", "scripting"],
    "examples/backend": ["automation", f"{LIBRARY}/text"],
    # Programs: clients, which know the published interfaces and nothing of what is behind them.
    "apps/binding": [],
    "apps/command_line": ["apps/binding"],
    "apps/atlas": ["apps/binding"],
    "apps/demo": ["apps/atlas", "apps/command_line"],
    "apps/kelform": ["apps/atlas", "apps/command_line"],
    "apps/kelsh/transfer": ["apps/binding", f"{LIBRARY}/text"],
    "apps/kelsh": ["apps/kelsh/transfer", "apps/command_line", "scripting"],
}

# These may include anything, and nothing may include them.
ABOVE_ALL = ("tests", "bench", "cmake", "examples")


def reachable(folder, order):
    """What `folder` may include, itself aside; None when it is below itself."""
    found, todo = set(), list(order[folder])
    while todo:
        below = todo.pop()
        if below not in found:
            found.add(below)
            todo.extend(order[below])
    return None if folder in found else found


def faults_of(folder, source, order):
    for number, line in enumerate(source.splitlines(), 1):
        match = re.match(r'\s*#\s*include\s*"([^"]+)/[^"/]+"', line)
        if not match or match[1] == folder:
            continue
        if match[1] not in reachable(folder, order):
            yield number, match[1]


def main():
    failures = []
    for folder in BELOW:
        if reachable(folder, BELOW) is None:
            failures.append(f"{folder} stands below itself")
    # The check itself: an upward, an unknown and a sideways include are told, downward ones are not.
    probe = '#include "a/x.h"\n#include "c/x.h"\n#include <d/x.h>\n#include "e/x.h"\n# include "f/x.h"\n'
    told = list(faults_of("b", probe, {"a": [], "b": ["a"], "c": ["b"], "f": ["a"]}))
    if told != [(2, "c"), (4, "e"), (5, "f")]:
        failures.append(f"the check tells {told} of its own example")
    listed = [
        path.relative_to(ROOT)
        for top in ROOT.iterdir() if top.is_dir() and top.name != "build" and top.name[0] != "."
        for path in top.rglob("*") if path.suffix in (".h", ".cpp")
    ]
    passed = 0
    for name in sorted(listed):
        folder = name.parent.as_posix()
        if folder not in BELOW:
            if name.parts[0] not in ABOVE_ALL:
                failures.append(f"{name}: its folder has no place in the order")
            continue
        found = list(faults_of(folder, (ROOT / name).read_text(encoding="utf-8"), BELOW))
        failures += [f"{name}:{line}: {folder} must not include {other}" for line, other in found]
        passed += not found
    print(*failures, sep="\n")
    print(f"{passed} passed, {len(failures)} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
