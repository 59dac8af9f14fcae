#!/usr/bin/python3
"""Reference data for the statistics' numeric helpers, from scipy.

chi_square.txt: dof, x, scipy.stats.chi2 pdf and cdf at x, and the probability p with its
quantile chi2.ppf(p). gamma_q.txt: a, x and the regularised upper incomplete gamma function
scipy.special.gammaincc(a, x). inv_cov.txt: symmetric positive definite matrices, each row an
element (case, p, row i, column j) with its value, its inverse by numpy.linalg.inv, and the
matrix's condition number."""
import os
import sys

import numpy as np
import scipy
from scipy.special import gammaincc
from scipy.stats import chi2

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "support"))
from refdata import write_table  # noqa: E402

here = os.path.join(os.path.dirname(__file__), "data")
versions = ["scipy %s" % scipy.__version__]

# Both tails and the middle, for few and many degrees of freedom (a = dof / 2 on both sides of 1).
dofs = [0.5, 1.0, 2.0, 3.0, 5.0, 10.0, 30.0, 100.0, 1000.0]
probabilities = [1e-10, 1e-6, 1e-3, 0.05, 0.3, 0.5, 0.7, 0.95, 0.999, 1 - 1e-9]
rows = []
for dof in dofs:
    for p in probabilities:
        x = float(chi2.ppf(p, dof))
        rows.append((dof, x, chi2.pdf(x, dof), chi2.cdf(x, dof), p, x))
    for x in (0.25, 1.0, 2.0, 7.5):
        rows.append((dof, x, chi2.pdf(x, dof), chi2.cdf(x, dof), chi2.cdf(x, dof), x))
write_table(os.path.join(here, "chi_square.txt"), ["dof", "x", "pdf", "cdf", "p", "icdf"], rows,
            versions)

rows = []
for a in (0.1, 0.5, 1.0, 2.5, 10.0, 100.0, 1000.0):
    for scale in (0.01, 0.1, 0.5, 0.9, 1.0, 1.1, 2.0, 5.0):
        rows.append((a, a * scale, gammaincc(a, a * scale)))
    for x in (0.5, 1.0, 1.5):
        rows.append((a, x, gammaincc(a, x)))
write_table(os.path.join(here, "gamma_q.txt"), ["a", "x", "q"], rows, versions)

# Covariance-like matrices of p = 1 to 7: a well-conditioned one and one with condition near 1e6.
rng = np.random.default_rng(20261126)
rows = []
case = 0
for p in range(1, 8):
    for spread in (1.0, 1e6):
        q, _ = np.linalg.qr(rng.standard_normal((p, p)))
        eig = np.geomspace(1.0, spread, p) * rng.uniform(0.5, 2.0)
        a = (q * eig) @ q.T
        a = 0.5 * (a + a.T)
        inv = np.linalg.inv(a)
        cond = np.linalg.cond(a)
        for i in range(p):
            for j in range(p):
                rows.append((case, p, i, j, a[i, j], inv[i, j], cond))
        case += 1
write_table(os.path.join(here, "inv_cov.txt"), ["case", "p", "i", "j", "a", "inv", "cond"], rows,
            versions)
