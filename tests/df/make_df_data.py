#!/usr/bin/python3
"""Reference data for the spline tests, from numpy and scipy.

Rows: case role index value. Cases: 0 linear (numpy.interp), 1 standard quadratic (scipy
make_interp_spline, k=2, knots at the data points, s'(x0) given; param 0 is the spline's value at
the midpoint of the first cell, the condition the library takes), 2 Subbotin with first
derivatives at both ends, 3 Subbotin with second derivatives at both ends (scipy
make_interp_spline, k=2, knots at the subgrid). Roles: 0 knot, 1 value at knot, 2 site, 3 spline
value, 4 first derivative, 5 second derivative, 6 parameter (boundary data, subgrid points)."""
import os
import sys

import numpy as np
from scipy.interpolate import make_interp_spline

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from refdata import write_table  # noqa: E402

rng = np.random.default_rng(20261123)
n = 23
x = np.cumsum(rng.uniform(0.2, 1.5, n)) - 3.0
y = np.sin(x) + 0.3 * x
sites = np.sort(np.r_[rng.uniform(x[0] - 1.0, x[-1] + 1.0, 150), x, 0.5 * (x[1:] + x[:-1])])
inner = sites[(sites >= x[0]) & (sites <= x[-1])]
rows = []


def emit(case, role, values):
    for i, v in enumerate(values):
        rows.append((case, role, i, float(v)))


for case in range(4):
    emit(case, 0, x)
    emit(case, 1, y)

# Linear: numpy.interp inside the partition (it clamps outside, the library extrapolates).
emit(0, 2, inner)
emit(0, 3, np.interp(inner, x, y))

# Standard quadratic.
d0 = 0.7
q = make_interp_spline(x, y, k=2, bc_type=([(1, d0)], None))
emit(1, 6, [q(0.5 * (x[0] + x[1]))])
emit(1, 2, inner)
emit(1, 3, q(inner))
emit(1, 4, q(inner, 1))
emit(1, 5, q(inner, 2))

# Subbotin: one subgrid point inside each knot interval, not at the midpoint.
xi = x[:-1] + rng.uniform(0.3, 0.7, n - 1) * np.diff(x)
t = np.r_[(x[0],) * 3, xi, (x[-1],) * 3]
for case, order, ends in ((2, 1, (0.4, -1.1)), (3, 2, (-0.5, 0.9))):
    s = make_interp_spline(x, y, k=2, t=t, bc_type=([(order, ends[0])], [(order, ends[1])]))
    emit(case, 6, list(ends) + list(xi))
    emit(case, 2, inner)
    emit(case, 3, s(inner))
    emit(case, 4, s(inner, 1))
    emit(case, 5, s(inner, 2))

import scipy  # noqa: E402

write_table(os.path.join(os.path.dirname(__file__), "data", "splines.txt"),
            ["case", "role", "index", "value"], rows, ["scipy %s" % scipy.__version__])
