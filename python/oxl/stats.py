"""Summary statistics of numpy arrays.

    m = oxl.stats.moments(x, axis=0)     # dict of vectors: mean, variance, skewness, kurtosis, ...
    c = oxl.stats.cov(x, axis=0)         # p by p
    r = oxl.stats.corr(x, axis=0)

Observations lie along `axis` (default 0, as in scipy.stats); the other axis holds the
dimensions. `Accumulator` takes the data in blocks. Failures raise oxl.StatsError.
"""
from ._oxl.stats import Accumulator, corr, cov, moments

__all__ = ["moments", "cov", "corr", "Accumulator"]
