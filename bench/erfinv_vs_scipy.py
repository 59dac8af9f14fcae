#!/usr/bin/python3
"""The inverse error functions of oxl_bench_vm beside scipy.special over numpy arrays.

    /usr/bin/python3 bench/erfinv_vs_scipy.py build/bench/oxl_bench_vm

Runs the binary's ErfInv, ErfcInv and CdfNormInv rows (JSON output, medians of 5), times
scipy.special.erfinv, erfcinv and ndtri at the same element counts and over the same input ranges
(medians of repeated runs of CPU time, as the binary counts it), and prints ns per element with
the ratio of each peer's time to oxl's (above 1: oxl is faster).
"""

import json
import subprocess
import sys
import time
import timeit

import numpy as np
import scipy.special as sc

# name: (scipy function, input range), the ranges of bench/vm_peers_bench.cpp.
FUNCTIONS = {
    "ErfInv": (sc.erfinv, -1 + 2.0**-30, 1 - 2.0**-30),
    "ErfcInv": (sc.erfcinv, 2.0**-30, 2 - 2.0**-30),
    "CdfNormInv": (sc.ndtri, 2.0**-30, 1 - 2.0**-30),
}


def run_binary(binary, repetitions=5):
    out = subprocess.run([binary, "--benchmark_format=json", "--benchmark_filter=[sd](" +
                          "|".join(FUNCTIONS) + ")/",
                          f"--benchmark_repetitions={repetitions}",
                          "--benchmark_report_aggregates_only=true"],
                         check=True, capture_output=True, text=True).stdout
    doc = json.loads(out)
    runs = {b["run_name"]: b for b in doc["benchmarks"] if b.get("aggregate_name") == "median"}
    return doc["context"], runs


def count(context, size, item_bytes):
    """The element count of bench/support/array_bench.cpp: input and output fill half a cache."""
    if size == "MEM":
        return 10_000_000
    cache = int(context["oxl.cache_l1" if size == "L1" else "oxl.cache_l2"])
    return max(cache // 2 // (2 * item_bytes) // 64 * 64, 64)


def scipy_ns(fn, lo, hi, n, dtype, repeat=7):
    a = np.random.default_rng(1).uniform(lo, hi, n).astype(dtype)
    out = np.empty_like(a)
    number = max(1, 2_000_000 // n)
    runs = timeit.repeat(lambda: fn(a, out=out), number=number, repeat=repeat,
                         timer=time.process_time)
    return sorted(runs)[repeat // 2] / number / n * 1e9


def main():
    context, runs = run_binary(sys.argv[1])
    print(f"{'function':<14}{'size':>5}{'oxl ns':>9}{'boost ns':>10}{'boost/oxl':>10}"
          f"{'scipy ns':>10}{'scipy/oxl':>10}")
    for run_name, b in sorted(runs.items()):
        func, side, size = run_name.split("/")
        if not side.startswith("oxl"):
            continue
        ns = 1e9 / b["items_per_second"]
        boost = runs.get(f"{func}/boost_loop/{size}")
        boost_ns = 1e9 / boost["items_per_second"] if boost else float("nan")
        fn, lo, hi = FUNCTIONS[func[1:]]
        dtype = np.float32 if func[0] == "s" else np.float64
        peer = scipy_ns(fn, lo, hi, count(context, size, dtype().itemsize), dtype)
        print(f"{func + ' ' + side.split('_')[1] if '_' in side else func:<14}{size:>5}{ns:>9.2f}"
              f"{boost_ns:>10.2f}{boost_ns / ns:>10.2f}{peer:>10.2f}{peer / ns:>10.2f}")


if __name__ == "__main__":
    main()
