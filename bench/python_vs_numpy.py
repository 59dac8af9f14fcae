#!/usr/bin/python3
"""The Python package beside numpy, and beside the same kernels called from C.

    PYTHONPATH=build/python /usr/bin/python3 bench/python_vs_numpy.py [build/src/liboxl.so]

Prints medians of repeated runs (ns per element) and ratios:
  - binding overhead: oxl.vm.exp on 10^6 doubles from Python against the same kernel called
    directly (ctypes on liboxl.so, whose own call cost, about a microsecond, lies on the C side),
    timed in alternation;
  - oxl.vm.exp, ln and sin (HA, and EP) against numpy's exp, log and sin on 10^5 and 10^7 doubles;
  - oxl.random normals (Box-Muller on MT19937, MCG59 and Philox4x32-10) against numpy's default
    Generator (PCG64) standard_normal, 10^6 doubles.
A ratio above 1 means oxl is faster (or, for the overhead, that Python costs more than C).
"""
import ctypes
import os
import statistics
import sys
import timeit

import numpy as np

import oxl


def paired(calls, n, rounds=15):
    """Times the calls in alternation, `rounds` times, each round long enough for about 0.02 s
    a call: on a shared machine a core's speed swings between runs, and alternation puts every
    call under the same swings. Returns the median ns per element of each call and the median
    over rounds of each call's time over the first call's."""
    batches = [max(1, int(0.02 / max(timeit.timeit(c, number=1), 1e-7))) for c in calls]
    times = [[] for _ in calls]
    for _ in range(rounds):
        for k, (call, batch) in enumerate(zip(calls, batches)):
            times[k].append(timeit.timeit(call, number=batch) / batch / n * 1e9)
    medians = [statistics.median(t) for t in times]
    ratios = [statistics.median(a / b for a, b in zip(t, times[0])) for t in times]
    return medians, ratios


def overhead(library):
    n = 10**6
    x = np.linspace(-10.0, 10.0, n)
    out = np.empty_like(x)
    kernel = getattr(library, "oxl_vek_kernel_dExp_B3HAynn")
    kernel.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p]
    kernel.restype = None
    px, pout = x.ctypes.data, out.ctypes.data
    (c, py, py_new), (_, r, r_new) = paired(
        [lambda: kernel(n, px, pout), lambda: oxl.vm.exp(x, out=out, accuracy="ha"),
         lambda: oxl.vm.exp(x, accuracy="ha")], n, rounds=21)
    print(f"exp on 10^6 doubles: C {c:.3f} ns, Python out= {py:.3f} ns ({r:.3f}x of C), "
          f"Python allocating {py_new:.3f} ns ({r_new:.3f}x)")


def versus_numpy():
    print(f"{'function':10} {'n':>9} {'numpy ns':>9} {'oxl HA ns':>10} {'ratio':>6} "
          f"{'oxl EP ns':>10} {'ratio':>6}")
    for name, ours, theirs, low, high in (("exp", oxl.vm.exp, np.exp, -50, 50),
                                          ("log", oxl.vm.ln, np.log, 1e-3, 1e3),
                                          ("sin", oxl.vm.sin, np.sin, -100, 100)):
        for n in (10**5, 10**7):
            x = np.random.default_rng(1).uniform(low, high, n)
            (t_np, t_ha, t_ep), (_, r_ha, r_ep) = paired(
                [lambda: theirs(x), lambda: ours(x, accuracy="ha"),
                 lambda: ours(x, accuracy="ep")], n, rounds=5 if n > 10**6 else 15)
            print(f"{name:10} {n:>9} {t_np:9.3f} {t_ha:10.3f} {1 / r_ha:6.2f} "
                  f"{t_ep:10.3f} {1 / r_ep:6.2f}")


def normals():
    n = 10**6
    gen = np.random.default_rng(5)
    calls, names = [lambda: gen.standard_normal(n)], []
    for name in ("mt19937", "mcg59", "philox4x32x10"):
        stream = oxl.random.Stream(name, 5)
        for method in ("boxmuller2", "icdf"):
            calls.append(lambda s=stream, m=method: s.gaussian(size=n, method=m))
            names.append(f"{name:14} {method:10}")
    times, ratios = paired(calls, n)
    print(f"normals, 10^6 doubles: numpy Generator(PCG64) {times[0]:.3f} ns")
    for name, t, r in zip(names, times[1:], ratios[1:]):
        print(f"  oxl {name} {t:7.3f} ns ({1 / r:5.2f}x numpy's speed)")


def main():
    here = os.path.dirname(os.path.abspath(oxl.__file__))
    default = os.path.join(here, "..", "..", "src", "liboxl.so")
    library = ctypes.CDLL(sys.argv[1] if len(sys.argv) > 1 else default)
    overhead(library)
    versus_numpy()
    normals()


if __name__ == "__main__":
    main()
