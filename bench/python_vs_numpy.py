#!/usr/bin/python3
"""The Python package beside numpy, and beside the same kernels called from C.

    PYTHONPATH=build/python /usr/bin/python3 bench/python_vs_numpy.py [build/src/liboxl.so]

Prints medians of repeated runs (ns per element) and ratios:
  - binding overhead: oxl.vm.exp on 10^6 doubles from Python against the same kernel called
    directly (ctypes on liboxl.so, whose own call cost, about a microsecond, lies on the C side);
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


def median_ns(call, n, repeat=7):
    """Median time per element over `repeat` runs, each of enough calls for about 0.05 s."""
    calls = max(1, int(0.05 / max(timeit.timeit(call, number=1), 1e-7)))
    runs = timeit.repeat(call, number=calls, repeat=repeat)
    return statistics.median(runs) / calls / n * 1e9


def overhead(library):
    n = 10**6
    x = np.linspace(-10.0, 10.0, n)
    out = np.empty_like(x)
    kernel = getattr(library, "oxl_vek_kernel_dExp_B3HAynn")
    kernel.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p]
    kernel.restype = None
    px, pout = x.ctypes.data, out.ctypes.data
    c = median_ns(lambda: kernel(n, px, pout), n)
    py = median_ns(lambda: oxl.vm.exp(x, out=out, accuracy="ha"), n)
    py_new = median_ns(lambda: oxl.vm.exp(x, accuracy="ha"), n)
    print(f"exp on 10^6 doubles: C {c:.3f} ns, Python out= {py:.3f} ns ({py / c:.3f}x of C), "
          f"Python allocating {py_new:.3f} ns ({py_new / c:.3f}x)")


def versus_numpy():
    print(f"{'function':10} {'n':>9} {'numpy ns':>9} {'oxl HA ns':>10} {'ratio':>6} "
          f"{'oxl EP ns':>10} {'ratio':>6}")
    for name, ours, theirs, low, high in (("exp", oxl.vm.exp, np.exp, -50, 50),
                                          ("log", oxl.vm.ln, np.log, 1e-3, 1e3),
                                          ("sin", oxl.vm.sin, np.sin, -100, 100)):
        for n in (10**5, 10**7):
            x = np.random.default_rng(1).uniform(low, high, n)
            t_np = median_ns(lambda: theirs(x), n)
            t_ha = median_ns(lambda: ours(x, accuracy="ha"), n)
            t_ep = median_ns(lambda: ours(x, accuracy="ep"), n)
            print(f"{name:10} {n:>9} {t_np:9.3f} {t_ha:10.3f} {t_np / t_ha:6.2f} "
                  f"{t_ep:10.3f} {t_np / t_ep:6.2f}")


def normals():
    n = 10**6
    gen = np.random.default_rng(5)
    t_np = median_ns(lambda: gen.standard_normal(n), n)
    print(f"normals, 10^6 doubles: numpy Generator(PCG64) {t_np:.3f} ns")
    for name in ("mt19937", "mcg59", "philox4x32x10"):
        stream = oxl.random.Stream(name, 5)
        for method in ("boxmuller2", "icdf"):
            t = median_ns(lambda: stream.gaussian(size=n, method=method), n)
            print(f"  oxl {name:14} {method:10} {t:7.3f} ns ({t_np / t:5.2f}x numpy's speed)")


def main():
    here = os.path.dirname(os.path.abspath(oxl.__file__))
    default = os.path.join(here, "..", "..", "src", "liboxl.so")
    library = ctypes.CDLL(sys.argv[1] if len(sys.argv) > 1 else default)
    overhead(library)
    versus_numpy()
    normals()


if __name__ == "__main__":
    main()
