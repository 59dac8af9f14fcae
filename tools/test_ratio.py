#!/usr/bin/env python3
"""Lines of tests against lines of library: non-blank, non-comment lines of the C++ sources under
tests/ and under src/, include/ and services/ (generated .inc tables are not C++ sources here).

    tools/test_ratio.py [repository root]
"""

import re
import sys
from pathlib import Path


def code_lines(roots):
    count = 0
    for root in roots:
        for path in root.rglob("*"):
            if not re.search(r"\.(cpp|h|cc|c)$", path.name):
                continue
            in_comment = False
            for line in path.read_text(errors="replace").splitlines():
                text = line.strip()
                if in_comment:
                    in_comment = "*/" not in text
                    continue
                if not text or text.startswith("//"):
                    continue
                if text.startswith("/*"):
                    in_comment = "*/" not in text
                    continue
                count += 1
    return count


def main(argv):
    root = Path(argv[1] if len(argv) > 1 else Path(__file__).resolve().parent.parent)
    tests = code_lines([root / "tests"])
    library = code_lines([root / d for d in ("src", "include", "services") if (root / d).is_dir()])
    print(f"tests {tests} library {library} ratio {tests / library:.3f}")


if __name__ == "__main__":
    main(sys.argv)
