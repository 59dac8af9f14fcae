"""Reference values of the inverse error functions and the normal distribution from scipy, an
implementation independent of the MPFR oracles that the support self-test checks against them.

Only rows where scipy is itself within 2 ulps are kept: its erfcinv gives an infinity at the
smallest subnormals, and its ndtr rounds x/sqrt(2) before erfc, which costs about x^2/2 ulps in the
lower tail, so ndtr is sampled from -1 up.

Run from this directory: /usr/bin/python3 make_erf_reference.py > /dev/null
It rewrites erf_reference.txt; the same scipy gives the same bytes.
"""

import os
import sys

import numpy as np
import scipy
import scipy.special as sc

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "support"))
import refdata  # noqa: E402

ERFINV, ERFCINV, NDTRI, NDTR = 0, 1, 2, 3


def powers(lo, hi, step):
    return [2.0 ** -k for k in range(lo, hi, step)]


def main():
    rows = []
    small = powers(1, 1075, 37) + [1e-300, 0.1, 0.3, 0.49]
    for t in small + [1 - x for x in powers(1, 54, 4)] + [0.75, 0.9]:
        if t < 1:
            rows += [(ERFINV, t, sc.erfinv(t)), (ERFINV, -t, sc.erfinv(-t))]
    for x in small + [0.5, 0.8, 1.2, 1.5] + [2 - x for x in powers(1, 54, 4)]:
        if 0 < x < 2:
            rows.append((ERFCINV, x, sc.erfcinv(x)))
    for p in small + [0.6, 0.9, 0.99] + [1 - x for x in powers(2, 54, 4)]:
        if 0 < p < 1:
            rows.append((NDTRI, p, sc.ndtri(p)))
    for x in np.arange(-1, 8.25, 0.125):
        rows.append((NDTR, x, sc.ndtr(x)))
    rows = [row for row in rows if np.isfinite(row[2])]
    refdata.write_table(
        "erf_reference.txt", ["kind", "x", "y"], rows,
        ["scipy %s; kind 0 erfinv, 1 erfcinv, 2 ndtri, 3 ndtr" % scipy.__version__])


if __name__ == "__main__":
    main()
