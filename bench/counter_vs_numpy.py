#!/usr/bin/python3
"""Counter-based generators and R250: oxl_bench_counter beside numpy's Generator(Philox()).

    /usr/bin/python3 bench/counter_vs_numpy.py build/bench/vrs/oxl_bench_counter

Runs the binary (JSON output, medians of 5; oxl's PHILOX4X32X10, ARS5 and R250 beside Random123's
philox4x32 and ars4x32 one block at a time and GSL's r250 one word at a time), times numpy's
Philox at the same counts, medians of repeated runs of CPU time, and prints ns per 32-bit word or
per double with the ratio of each peer's time to oxl's (above 1: oxl is faster). numpy's words
are bit_generator.random_raw, 64 bits each, counted as two 32-bit words; its doubles are
Generator.random.
"""

import sys
import time
import timeit

import numpy as np

from medians import medians


def numpy_times(counts, repeat=7):
    gen = np.random.Generator(np.random.Philox(777))

    def ns(fn, n):
        number = max(1, 2_000_000 // n)
        # CPU time, as the binary's items_per_second counts it: on a shared machine wall time
        # would charge numpy for the others' work.
        runs = timeit.repeat(fn, number=number, repeat=repeat, timer=time.process_time)
        return sorted(runs)[repeat // 2] / number / n * 1e9

    times = {}
    for n in counts:
        times[("i", n)] = ns(lambda: gen.bit_generator.random_raw(n // 2), n)
        times[("d", n)] = ns(lambda: gen.random(n), n)
    return times


def bench_times(binary):
    times = {}
    for run_name, b in medians(binary).items():
        _, side, gen, form, count = run_name.split("/")
        times[(side, gen, form, int(count))] = 1e9 / b["items_per_second"]
    return times


def main():
    ours = bench_times(sys.argv[1])
    peers = numpy_times(sorted({k[3] for k in ours}))
    print(f"{'generator':<15}{'form':>5}{'count':>7}{'oxl ns':>8}{'peer':>6}{'peer ns':>9}"
          f"{'peer/oxl':>10}{'numpy ns':>10}{'numpy/oxl':>11}")
    for (side, gen, form, n), ns in sorted(ours.items()):
        if side != "oxl":
            continue
        peer, peer_ns = next((s, t) for (s, g, f, c), t in ours.items()
                             if s != "oxl" and (g, f, c) == (gen, form, n))
        numpy = peers[(form, n)]
        print(f"{gen:<15}{form:>5}{n:>7}{ns:>8.3f}{peer:>6}{peer_ns:>9.3f}{peer_ns / ns:>10.2f}"
              f"{numpy:>10.3f}{numpy / ns:>11.2f}")


if __name__ == "__main__":
    main()
