#!/usr/bin/python3
"""Moments, covariance and quantiles of 10 dimensions by 10^6 observations: oxl_bench_stats beside numpy.

    /usr/bin/python3 bench/stats_vs_numpy.py build-stats/bench/stats/oxl_bench_stats

Runs the benchmark binary (JSON output), times numpy's var and cov on the same shapes (median of
repeated runs), and prints each oxl time with its ratio numpy/oxl (above 1: oxl is faster) and
the speed-up of two threads over one. Rows storage is numpy's (10, 10^6) array along axis 1;
columns storage is the (10^6, 10) array along axis 0.
"""

import sys
import timeit

import numpy as np

from medians import medians


def numpy_times(repeat=7):
    rng = np.random.default_rng(1)
    rows = 10.0 + rng.standard_normal((10, 1_000_000))
    cols = np.ascontiguousarray(rows.T)
    orders = [0.05, 0.25, 0.5, 0.75, 0.95]

    def best(fn):
        return sorted(timeit.repeat(fn, number=1, repeat=repeat))[repeat // 2] * 1e3

    return {
        ("var", 0): best(lambda: (rows.mean(axis=1), rows.var(axis=1, ddof=1))),
        ("var", 1): best(lambda: (cols.mean(axis=0), cols.var(axis=0, ddof=1))),
        ("cov", 0): best(lambda: np.cov(rows)),
        ("cov", 1): best(lambda: np.cov(cols, rowvar=False)),
        ("quantile", 0): best(lambda: np.quantile(rows, orders, axis=1)),
        ("quantile", 1): best(lambda: np.quantile(cols, orders, axis=0)),
        ("mad", 0): best(lambda: np.median(
            np.abs(rows - np.median(rows, axis=1, keepdims=True)), axis=1)),
        ("mad", 1): best(lambda: np.median(
            np.abs(cols - np.median(cols, axis=0, keepdims=True)), axis=0)),
    }


def oxl_times(binary):
    times = {}
    for run_name, b in medians(binary).items():
        name, cols, threads = run_name.split("/")[:3]
        times[(name, int(cols.split(":")[1]), int(threads.split(":")[1]))] = b["real_time"]
    return times


def main():
    binary = sys.argv[1]
    oxl = oxl_times(binary)
    peer = numpy_times()
    peer_of = {"MeanVarOnePass": "var", "MeanVarFast": "var", "AllMomentsOnePass": "var",
               "CovFast": "cov", "CovOnePass": "cov", "Quantiles": "quantile",
               "StreamQuantiles": "quantile", "MedianAbsDev": "mad"}
    print(f"{'oxl entry':<20}{'storage':<9}{'threads':>8}{'oxl ms':>10}{'numpy ms':>10}"
          f"{'numpy/oxl':>11}{'2T/1T':>8}")
    for (name, cols, threads), ms in sorted(oxl.items()):
        kind = peer_of[name]
        np_ms = peer[(kind, cols)]
        speedup = oxl[(name, cols, 1)] / ms if threads > 1 else 1.0
        print(f"{name:<20}{'cols' if cols else 'rows':<9}{threads:>8}{ms:>10.2f}{np_ms:>10.2f}"
              f"{np_ms / ms:>11.2f}{speedup:>8.2f}")
    print("numpy peers: var = mean and var(ddof=1) along the observations; cov = numpy.cov;"
          " quantile = numpy.quantile of the five orders (linear); StreamQuantiles is epsilon 0.01"
          " over 100 blocks; mad = numpy.median of |x - numpy.median(x)|")


if __name__ == "__main__":
    main()
