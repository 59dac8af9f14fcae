#!/usr/bin/python3
"""Cell search and linear interpolation, 10^6 random sites in 10^5 knots: oxl_bench_df beside
numpy.interp; interpolation and integration of 10^6 sorted sites in 10^6 knots beside GSL.

    /usr/bin/python3 bench/df_vs_numpy.py build-df/bench/df/oxl_bench_df

Runs the benchmark binary (JSON output; it holds the GSL and std::upper_bound peers), times
numpy.interp on data of the same shape (median of repeated runs), and prints each time with the
ratios peer/oxl (above 1: oxl is faster). Arguments /0 mean no thread services, /N the OpenMP
services with N threads; rows /2 also give their speed-up over /1."""

import json
import subprocess
import sys
import timeit

import numpy as np


def numpy_interp_ms(repeat=7):
    rng = np.random.default_rng(42)
    x = np.cumsum(0.5 + rng.uniform(size=100_000))
    y = rng.uniform(size=100_000)
    sites = x[0] + rng.uniform(size=1_000_000) * (x[-1] - x[0])
    times = timeit.repeat(lambda: np.interp(sites, x, y), number=1, repeat=repeat)
    return sorted(times)[repeat // 2] * 1e3


def main():
    binary = sys.argv[1]
    out = subprocess.run([binary, "--benchmark_format=json", "--benchmark_repetitions=3",
                          "--benchmark_report_aggregates_only=true"],
                         check=True, capture_output=True, text=True).stdout
    ms = {}
    for b in json.loads(out)["benchmarks"]:
        if b.get("aggregate_name") != "median":
            continue
        scale = {"ms": 1.0, "us": 1e-3, "ns": 1e-6}[b["time_unit"]]
        ms[b["run_name"]] = b["real_time"] * scale
    numpy_ms = numpy_interp_ms()
    upper = ms["BM_UpperBoundSearch/real_time"]
    gsl = ms["BM_GslInterpEval/real_time"]
    gsl_sorted = ms["BM_GslSortedInterpEval/real_time"]
    gsl_integ = ms["BM_GslSortedIntegEval/real_time"]
    print("%-34s %10s  %s" % ("benchmark", "ms", "ratios (peer / oxl)"))
    for name, t in sorted(ms.items()):
        note = ""
        if name.startswith("BM_HybridSearch"):
            note = "upper_bound %.2f" % (upper / t)
        elif name.startswith("BM_LinearInterpolate"):
            note = "gsl_interp_eval %.2f  numpy.interp %.2f" % (gsl / t, numpy_ms / t)
        elif name.startswith("BM_SortedInterpolate"):
            note = "gsl_interp_eval %.2f" % (gsl_sorted / t)
        elif name.startswith("BM_SortedIntegrate"):
            note = "gsl_interp_eval_integ %.2f" % (gsl_integ / t)
        one = name.replace("/2/", "/1/")
        if "/2/" in name and one in ms:
            note += "  2T/1T %.2f" % (ms[one] / t)
        print("%-34s %10.3f  %s" % (name, t, note))
    print("%-34s %10.3f" % ("numpy.interp", numpy_ms))


if __name__ == "__main__":
    main()
