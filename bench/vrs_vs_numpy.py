#!/usr/bin/python3
"""Gaussian and Exponential numbers: oxl_bench_vrs beside numpy and the C++ standard library.

    /usr/bin/python3 bench/vrs_vs_numpy.py build-dist/bench/vrs/oxl_bench_vrs

Runs the binary's dist/ benchmarks (JSON output; oxl on MT19937 uniforms, std::normal_distribution
and std::exponential_distribution over std::mt19937), times numpy's standard_normal and
standard_exponential at the same counts with the Generator on MT19937 (ziggurat) and with the
legacy RandomState (polar Box-Muller for normals, -log(1 - u) for exponentials), medians of
repeated runs, and prints ns per number with the ratio of the best peer's time to oxl's (above 1:
oxl is faster). RandomState has no float output; its float rows are the double draw.
"""

import json
import subprocess
import sys
import timeit

import numpy as np


STD_NAMES = {"gaussian": "std::normal", "exponential": "std::exponential"}


def numpy_times(counts, repeat=7):
    gen = np.random.Generator(np.random.MT19937(777))
    legacy = np.random.RandomState(777)

    def ns(fn, n):
        number = max(1, 2_000_000 // n)
        runs = timeit.repeat(fn, number=number, repeat=repeat)
        return sorted(runs)[repeat // 2] / number / n * 1e9

    times = {}
    for n in counts:
        for t, dtype in (("d", np.float64), ("s", np.float32)):
            times[("gaussian", t, n, "numpy Generator")] = ns(
                lambda: gen.standard_normal(n, dtype=dtype), n)
            times[("exponential", t, n, "numpy Generator")] = ns(
                lambda: gen.standard_exponential(n, dtype=dtype), n)
            times[("gaussian", t, n, "numpy RandomState")] = ns(
                lambda: legacy.standard_normal(n), n)
            times[("exponential", t, n, "numpy RandomState")] = ns(
                lambda: legacy.standard_exponential(n), n)
    return times


def bench_times(binary):
    out = subprocess.run([binary, "--benchmark_filter=^dist/", "--benchmark_format=json",
                          "--benchmark_repetitions=3", "--benchmark_report_aggregates_only=true"],
                         check=True, capture_output=True, text=True).stdout
    times = {}
    for b in json.loads(out)["benchmarks"]:
        if b.get("aggregate_name") != "median":
            continue
        name, count = b["run_name"].split("/")[1:3]
        side, rest = name.split("_", 1)
        law, *method, t = rest.split("_")
        ns = 1e9 / b["items_per_second"]
        times[(side, law, method[0] if method else "", t, int(count))] = ns
    return times


def main():
    ours = bench_times(sys.argv[1])
    counts = sorted({k[4] for k in ours})
    peers = numpy_times(counts)
    for (side, law, method, t, n), ns in ours.items():
        if side == "std":
            peers[(law, t, n, STD_NAMES[law])] = ns
    print(f"{'oxl':<28}{'count':>9}{'oxl ns':>9}  {'best peer':<18}{'peer ns':>9}{'peer/oxl':>10}"
          "   others (ns)")
    for (side, law, method, t, n), ns in sorted(ours.items()):
        if side != "oxl":
            continue
        mine = {k[3]: v for k, v in peers.items() if k[:3] == (law, t, n)}
        best = min(mine, key=mine.get)
        others = ", ".join(f"{k} {v:.2f}" for k, v in sorted(mine.items()) if k != best)
        label = f"{law} {method} {t}".replace("  ", " ")
        print(f"{label:<28}{n:>9}{ns:>9.2f}  {best:<18}{mine[best]:>9.2f}{mine[best] / ns:>10.2f}"
              f"   {others}")


if __name__ == "__main__":
    main()
