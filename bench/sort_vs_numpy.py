#!/usr/bin/python3
"""Radix sorts of floats and doubles: oxl_bench_sort (oxl beside std::sort and Highway's vqsort)
and numpy's sort on the same sizes.

    /usr/bin/python3 bench/sort_vs_numpy.py build/bench/primitives/oxl_bench_sort

Runs the binary (JSON output, medians of 5 of CPU time), times numpy's in-place sort of a fresh
copy of standard normal data (median of CPU time over repeated runs), and prints each time in ms
with the ratio of each peer's time to oxl's (above 1: oxl is faster).
"""

import sys
import time
import timeit

import numpy as np

from medians import medians


def numpy_ms(dtype, n, repeat=7):
    data = np.random.default_rng(42).standard_normal(n).astype(dtype)
    runs = timeit.repeat("work.sort()", setup="work = data.copy()", number=1, repeat=repeat,
                         timer=time.process_time, globals={"data": data})
    return sorted(runs)[repeat // 2] * 1e3


def bench_ms(binary):
    times = {}
    for run_name, b in medians(binary).items():
        sort, n = run_name.split("/")[:2]
        name, dtype = sort.rstrip(">").split("<")
        times[(name, dtype, int(n))] = b["cpu_time"]
    return times


def main():
    ours = bench_ms(sys.argv[1])
    print(f"{'type':<7}{'n':>9}{'oxl ms':>9}{'std::sort':>11}{'vqsort':>9}{'numpy':>9}"
          f"{'std/oxl':>9}{'vq/oxl':>8}{'np/oxl':>8}")
    for (name, dtype, n), ms in sorted(ours.items()):
        if name != "Radix":
            continue
        std, vq = ours[("StdSort", dtype, n)], ours[("VQSort", dtype, n)]
        numpy = numpy_ms(np.float32 if dtype == "float" else np.float64, n)
        print(f"{dtype:<7}{n:>9}{ms:>9.2f}{std:>11.2f}{vq:>9.2f}{numpy:>9.2f}"
              f"{std / ms:>9.2f}{vq / ms:>8.2f}{numpy / ms:>8.2f}")
    print("numpy", np.__version__, "ndarray.sort (default kind) of a fresh copy")


if __name__ == "__main__":
    main()
