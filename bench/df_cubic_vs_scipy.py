#!/usr/bin/python3
"""Natural cubic splines: oxl_bench_df_cubic beside scipy's CubicSpline on data of the same shape.

    /usr/bin/python3 bench/df_cubic_vs_scipy.py build-cubic/bench/df/oxl_bench_df_cubic

Construction on 10^6 knots (CubicSpline(x, y, bc_type='natural')), evaluation at 10^6 random
sites (CubicSpline.__call__) on that spline and on one of 10^4 knots, integration over 10^5 random limit pairs on a spline of 1000 knots:
scipy's CubicSpline.integrate called per pair, and, as a second peer, the vectorised route through
the antiderivative (a different algorithm: two evaluations of a cumulative sum per pair). Times
are medians of wall-clock time and, beside them, of the process's CPU time (the fairer measure on
a machine that other jobs share); the ratios are peer/oxl (above 1: oxl is faster). scipy runs on
one thread, so the ratios to compare are those of the /0 rows (no thread services), whose CPU
time is that of the one working thread."""

import json
import subprocess
import sys
import time

import numpy as np
from scipy.interpolate import CubicSpline


def knots(n, rng):
    """Gaps uniform in [0.5, 1.5] from 0, values uniform in [0, 1], as in oxl_bench_df_cubic."""
    y = rng.uniform(size=n)
    x = np.cumsum(0.5 + rng.uniform(size=n))
    return x - x[0], y


def median_ms(fn, repeat):
    """Median wall and CPU milliseconds of `repeat` runs of fn."""
    wall, cpu = [], []
    for _ in range(repeat):
        w, c = time.perf_counter(), time.process_time()
        fn()
        wall.append(time.perf_counter() - w)
        cpu.append(time.process_time() - c)
    return sorted(wall)[repeat // 2] * 1e3, sorted(cpu)[repeat // 2] * 1e3


def scipy_ms():
    rng = np.random.default_rng(42)
    x, y = knots(1_000_000, rng)
    out = {"construct": median_ms(lambda: CubicSpline(x, y, bc_type="natural"), 5)}
    spline = CubicSpline(x, y, bc_type="natural")
    sites = rng.uniform(x[0], x[-1], 1_000_000)
    out["evaluate"] = median_ms(lambda: spline(sites), 5)
    xm, ym = knots(10_000, rng)
    mid = CubicSpline(xm, ym, bc_type="natural")
    mid_sites = rng.uniform(xm[0], xm[-1], 1_000_000)
    out["evaluate_10k_knots"] = median_ms(lambda: mid(mid_sites), 5)
    xs, ys = knots(1000, rng)
    small = CubicSpline(xs, ys, bc_type="natural")
    lo = rng.uniform(xs[0], xs[-1], 100_000)
    hi = rng.uniform(xs[0], xs[-1], 100_000)
    # The per-pair loop is slow: time a tenth of the pairs and scale.
    part = 10_000
    wall, cpu = median_ms(lambda: [small.integrate(a, b) for a, b in zip(lo[:part], hi[:part])], 3)
    out["integrate"] = (wall * 10, cpu * 10)

    def vectorised():
        anti = small.antiderivative()
        return anti(hi) - anti(lo)
    out["integrate_antiderivative"] = median_ms(vectorised, 5)
    return out


def main():
    binary = sys.argv[1]
    text = subprocess.run([binary, "--benchmark_format=json", "--benchmark_repetitions=3",
                           "--benchmark_report_aggregates_only=true"],
                          check=True, capture_output=True, text=True).stdout
    ms = {}
    for b in json.loads(text)["benchmarks"]:
        if b.get("aggregate_name") != "median":
            continue
        scale = {"ms": 1.0, "us": 1e-3, "ns": 1e-6}[b["time_unit"]]
        ms[b["run_name"]] = (b["real_time"] * scale, b["cpu_time"] * scale)
    peers = scipy_ms()
    print("%-32s %9s %9s  %s" % ("benchmark", "wall ms", "cpu ms", "ratios peer/oxl, wall (cpu)"))
    for name, (wall, cpu) in sorted(ms.items()):
        def ratio(peer):
            return "%.2f (%.2f)" % (peers[peer][0] / wall, peers[peer][1] / cpu)
        if name.startswith("BM_NaturalConstruct"):
            note = "CubicSpline " + ratio("construct")
        elif name.startswith("BM_CubicInterpolate"):
            big = name.split("/")[2] == "1"
            note = "CubicSpline.__call__ " + ratio("evaluate" if big else "evaluate_10k_knots")
        else:
            note = "CubicSpline.integrate %s  antiderivative %s" % (
                ratio("integrate"), ratio("integrate_antiderivative"))
        print("%-32s %9.3f %9.3f  %s" % (name, wall, cpu, note))
    for name, (wall, cpu) in peers.items():
        print("%-32s %9.3f %9.3f" % ("scipy " + name, wall, cpu))


if __name__ == "__main__":
    main()
