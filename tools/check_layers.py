#!/usr/bin/env python3
"""Checks that every #include "..." of the library's sources points down the layers, never up.

    tools/check_layers.py [repository root]

The layers and what each may include are the table below; a file belongs to the longest path
prefix that names one. Exits 1 and lists the offending lines when an include reaches a layer its
file may not see (a new folder is a new row here).
"""

import re
import sys
from pathlib import Path

# Folder (under src/, or services/) -> the folders its files may include besides their own.
# "oxl" is the public headers. Lower layers come first.
LAYERS = {
    "oxl": set(),
    "platform": {"oxl"},
    "simd": {"oxl", "platform"},
    "vek": {"oxl", "platform", "simd"},
    "vrs/streams": {"oxl", "platform", "simd"},
    "vrs/generators": {"oxl", "platform", "simd", "vrs/streams"},
    "numeric": {"oxl", "platform"},
    "vrs/distributions": {"oxl", "platform", "simd", "vek", "numeric", "vrs/streams"},
    "primitives": {"oxl", "platform", "simd"},
    "stats": {"oxl", "platform", "simd", "vek", "numeric", "primitives"},
    "df": {"oxl", "platform", "simd"},
    "services": {"oxl", "platform"},  # the MXCSR helpers, header-only
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"')


def layer_of(path):
    """The longest layer name that prefixes `path` ("vek/frame/x.h" -> "vek"), or None."""
    best = None
    for name in LAYERS:
        if path == name or path.startswith(name + "/"):
            if best is None or len(name) > len(best):
                best = name
    return best


def main(argv):
    root = Path(argv[1] if len(argv) > 1 else Path(__file__).resolve().parent.parent)
    sources = [(p, p.relative_to(root / "src").as_posix()) for p in (root / "src").rglob("*")]
    sources += [(p, "services/" + p.relative_to(root / "services").as_posix())
                for p in (root / "services").rglob("*")]
    bad = []
    checked = 0
    for path, name in sources:
        if path.suffix not in (".h", ".cpp", ".inc", ".def") or not path.is_file():
            continue
        mine = layer_of(name)
        if mine is None:
            continue
        for number, line in enumerate(path.read_text(errors="replace").splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            target = layer_of(match.group(1))
            checked += 1
            if target is None or target == mine or target in LAYERS[mine]:
                continue
            bad.append(f"{name}:{number}: {mine} includes {match.group(1)} ({target})")
    for line in bad:
        print(line)
    print(f"check_layers: {checked} includes, {len(bad)} against the layers")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
