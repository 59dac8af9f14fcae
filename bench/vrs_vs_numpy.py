#!/usr/bin/python3
"""Every continuous law: oxl_bench_vrs beside numpy and the C++ standard library.

    /usr/bin/python3 bench/vrs_vs_numpy.py build-bench/bench/vrs/oxl_bench_vrs [filter]

Runs the binary's dist/ benchmarks (JSON output; oxl on MT19937, MCG59 and Philox4x32-10, the
standard library's distributions over std::mt19937_64), times numpy's calls for the same laws at
the same counts on Generator(SFC64()), Generator(MT19937()) and the legacy RandomState, medians of
repeated runs, and prints ns per number with the ratios of numpy's SFC64 Generator and of the
standard library to oxl (above 1: oxl is faster). numpy draws only normals, exponentials, Gamma and
uniforms in float; its other float rows are the double draw. The standard library's Gumbel is the
largest-extreme mirror of ours; it has no Laplace, Rayleigh or Beta. The optional filter is a regular
expression on the benchmark names (default: all of dist/).
"""

import json
import subprocess
import sys
import time
import timeit

import numpy as np


def numpy_calls(gen, law, dtype):
    """A call drawing n numbers of the law, or None where numpy lacks it."""
    legacy = isinstance(gen, np.random.RandomState)
    typed = {} if legacy else {"dtype": dtype}
    calls = {
        "uniform": lambda n: gen.random_sample(n) if legacy else gen.random(n, **typed),
        "gaussian": lambda n: gen.standard_normal(n, **typed),
        "exponential": lambda n: gen.standard_exponential(n, **typed),
        "laplace": lambda n: gen.laplace(0.0, 1.0, n),
        "weibull": lambda n: gen.weibull(2.0, n),
        "cauchy": lambda n: gen.standard_cauchy(n),
        "rayleigh": lambda n: gen.rayleigh(1.0, n),
        "lognormal": lambda n: gen.lognormal(0.0, 1.0, n),
        "gumbel": lambda n: gen.gumbel(0.0, 1.0, n),
        "gaussianmv10": lambda n: gen.multivariate_normal(MEAN10, COV10, n),
        # Integer laws, at the parameters of the oxl rows.
        "poisson5": lambda n: gen.poisson(5.0, n),
        "poisson500": lambda n: gen.poisson(500.0, n),
        "binomial": lambda n: gen.binomial(100, 0.3, n),
        "geometric": lambda n: gen.geometric(0.1, n),
        "hypergeometric": lambda n: gen.hypergeometric(100, 900, 50, n),
        "gamma2.5": lambda n: gen.standard_gamma(2.5, n, **typed),
        "gamma0.5": lambda n: gen.standard_gamma(0.5, n, **typed),
        "beta2,3": lambda n: gen.beta(2.0, 3.0, n),
    }
    return calls.get(law)


FACTOR10 = np.tril(np.full((10, 10), 0.5), -1) + np.eye(10)
MEAN10 = np.zeros(10)
COV10 = FACTOR10 @ FACTOR10.T

PEERS = {
    "numpy SFC64": lambda: np.random.Generator(np.random.SFC64(777)),
    "numpy MT19937": lambda: np.random.Generator(np.random.MT19937(777)),
    "numpy RandomState": lambda: np.random.RandomState(777),
}


def ns_per_number(fn, n, repeat=5):
    # Processor time, as Google Benchmark's items_per_second counts it: on a shared machine, wall
    # time would charge numpy for the other tenants' turns and not oxl.
    number = max(1, 2_000_000 // n)
    runs = timeit.repeat(lambda: fn(n), number=number, repeat=repeat, timer=time.process_time)
    return sorted(runs)[repeat // 2] / number / n * 1e9


def numpy_times(rows):
    times = {}
    for law, t, n in rows:
        for peer, make in PEERS.items():
            call = numpy_calls(make(), law, np.float64 if t == "d" else np.float32)
            if call is not None:
                times[(law, t, n, peer)] = ns_per_number(call, n)
    return times


def bench_times(binary, pattern):
    out = subprocess.run([binary, f"--benchmark_filter={pattern}", "--benchmark_format=json",
                          "--benchmark_repetitions=3", "--benchmark_report_aggregates_only=true"],
                         check=True, capture_output=True, text=True).stdout
    times = {}
    for b in json.loads(out)["benchmarks"]:
        if b.get("aggregate_name") != "median":
            continue
        name, count = b["run_name"].split("/")[1:3]
        side, law, t, generator = name.split("_")
        times[(side, law, t, generator, int(count))] = 1e9 / b["items_per_second"]
    return times


def main():
    pattern = sys.argv[2] if len(sys.argv) > 2 else "^dist/"
    ours = bench_times(sys.argv[1], pattern)
    base = lambda law: law.split("-")[0]
    rows = sorted({(base(law), t, n) for side, law, t, g, n in ours if side == "oxl"})
    peers = numpy_times(rows)
    for (side, law, t, generator, n), ns in ours.items():
        if side == "std":
            peers[(law, t, n, "std")] = ns
    print(f"{'oxl':<34}{'count':>9}{'oxl ns':>9}{'SFC64/oxl':>11}{'std/oxl':>9}   peers (ns)")
    for (side, law, t, generator, n), ns in sorted(ours.items()):
        if side != "oxl":
            continue
        mine = {k[3]: v for k, v in peers.items() if k[:3] == (base(law), t, n)}
        ratio = lambda peer: f"{mine[peer] / ns:.2f}" if peer in mine else "-"
        others = ", ".join(f"{k} {v:.2f}" for k, v in sorted(mine.items()))
        print(f"{law + ' ' + t + ' ' + generator:<34}{n:>9}{ns:>9.2f}{ratio('numpy SFC64'):>11}"
              f"{ratio('std'):>9}   {others}")


if __name__ == "__main__":
    main()
