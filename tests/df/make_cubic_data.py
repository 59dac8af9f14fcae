#!/usr/bin/python3
"""Reference data for the natural cubic spline and integration tests, from scipy's CubicSpline.

Each case is one partition (non-uniform, or uniform and given to the library by its two ends),
three functions sampled on it, one boundary condition, and the spline's value, first and second
derivative at sites in and around the partition, and its integral over pairs of limits (scipy
CubicSpline.integrate with extrapolation by the end polynomials, as the library does).

Rows: case role index value. Roles: 0 knot; 1 function value (index f * n + i); 2 site; 3 value,
4 first derivative, 5 second derivative (index f * nsite + j); 6 parameters: boundary type, uniform
(0/1), n, function count, left and right boundary value; 7 left limit, 8 right limit; 9 integral
(index f * npair + j)."""
import os
import sys
from fractions import Fraction

import numpy as np
import scipy
from scipy.interpolate import CubicSpline

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from refdata import write_table  # noqa: E402

# Boundary types of the library and scipy's names for them; boundary values left, right.
CONDITIONS = [
    (2, "natural", (0.0, 0.0)),
    (1, "not-a-knot", (0.0, 0.0)),
    (12, "11", (0.75, -1.25)),
    (36, "12", (-0.5, 2.0)),
    (24, "21", (1.5, 0.25)),
    (48, "22", (-3.0, 1.0)),
    (64, "periodic", (0.0, 0.0)),
]
FUNCTIONS = 3
SITES = 25
PAIRS = 12

rng = np.random.default_rng(20261125)
rows = []


def emit(case, role, values):
    for i, v in enumerate(values):
        rows.append((case, role, i, float(v)))


def uniform_knots(a, b, n):
    # The library's knots of a uniform partition: fma(i, step, a), rounded once.
    step = (b - a) / (n - 1)
    return np.array([float(Fraction(i) * Fraction(step) + Fraction(a)) for i in range(n)])


def scipy_bc(name, ends):
    if name in ("natural", "not-a-knot", "periodic"):
        return name
    return ((int(name[0]), ends[0]), (int(name[1]), ends[1]))


def add_case(case, code, name, ends, n, uniform):
    if uniform:
        a, b = -1.5 + rng.uniform(), 2.0 + 3.0 * rng.uniform()
        x = uniform_knots(a, b, n)
        emit(case, 0, x)
    else:
        x = np.cumsum(rng.uniform(0.05, 1.0, n)) - 2.0
        emit(case, 0, x)
    ys = []
    for f in range(FUNCTIONS):
        y = np.sin((1.0 + f) * x) + 0.2 * f * x + 0.1 * rng.standard_normal(n)
        if name == "periodic":
            y[-1] = y[0]
        ys.append(y)
    emit(case, 1, np.concatenate(ys))
    emit(case, 6, [code, 1 if uniform else 0, n, FUNCTIONS, ends[0], ends[1]])
    sites = np.sort(np.r_[rng.uniform(x[0] - 1.0, x[-1] + 1.0, SITES - 3), x[0], x[-1],
                          x[n // 2]])
    emit(case, 2, sites)
    left = rng.uniform(x[0] - 0.7, x[-1] + 0.7, PAIRS)
    right = rng.uniform(x[0] - 0.7, x[-1] + 0.7, PAIRS)
    right[0] = left[0]  # an empty range
    left[1], right[1] = x[0], x[-1]  # the whole partition
    emit(case, 7, left)
    emit(case, 8, right)
    values, d1, d2, integrals = [], [], [], []
    for y in ys:
        s = CubicSpline(x, y, bc_type=scipy_bc(name, ends), extrapolate=True)
        values.append(s(sites))
        d1.append(s(sites, 1))
        d2.append(s(sites, 2))
        integrals.append([s.integrate(lo, hi, extrapolate=True) for lo, hi in zip(left, right)])
    emit(case, 3, np.concatenate(values))
    emit(case, 4, np.concatenate(d1))
    emit(case, 5, np.concatenate(d2))
    emit(case, 9, np.concatenate(integrals))


case = 0
for code, name, ends in CONDITIONS:
    for uniform in (False, True):
        add_case(case, code, name, ends, 17 if uniform else 23, uniform)
        case += 1
# The smallest partitions of each kind: one cell; the parabola of not-a-knot on three and its
# single cubic on four knots; a periodic spline of two cells.
for code, name, ends, n in ((2, "natural", (0.0, 0.0), 2), (48, "22", (0.5, -2.0), 2),
                            (12, "11", (1.0, 2.0), 2), (1, "not-a-knot", (0.0, 0.0), 3),
                            (1, "not-a-knot", (0.0, 0.0), 4), (64, "periodic", (0.0, 0.0), 3)):
    add_case(case, code, name, ends, n, False)
    case += 1

write_table(os.path.join(os.path.dirname(__file__), "data", "cubic.txt"),
            ["case", "role", "index", "value"], rows, ["scipy %s" % scipy.__version__])
