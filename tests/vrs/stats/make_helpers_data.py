#!/usr/bin/python3
"""Reference data for the statistics' numeric helpers, from scipy.

chi_square.txt: dof, x, scipy.stats.chi2 pdf and cdf at x, and the probability p with its
quantile chi2.ppf(p). gamma_q.txt: a, x and the regularised upper incomplete gamma function
scipy.special.gammaincc(a, x)."""
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
