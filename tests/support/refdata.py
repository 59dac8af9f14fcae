"""Writes reference-data tables for the C++ tests (read by oxl::test::RefTable).

One row per line, fields separated by blanks, a header line of column names, and '#' comments
that say which script and which library versions made the file. Floating-point values are written
as hexadecimal floats, so that they survive the trip exactly; integers as they are.
"""

import os
import sys

import numpy as np


def hexfloat(x):
    """Exact text of a numpy or Python float of any width (float32 widens to float64 exactly)."""
    return float(x).hex()


def field(x):
    if isinstance(x, (int, np.integer)) and not isinstance(x, bool):
        return str(int(x))
    return hexfloat(x)


def write_table(path, names, rows, comments=()):
    """Writes `rows` (sequences of numbers) under the column `names` to `path`."""
    with open(path, "w", encoding="ascii") as out:
        out.write("# made by %s\n" % os.path.basename(sys.argv[0]))
        out.write("# numpy %s\n" % np.__version__)
        for line in comments:
            out.write("# %s\n" % line)
        out.write(" ".join(names) + "\n")
        for row in rows:
            out.write(" ".join(field(x) for x in row) + "\n")
