#!/usr/bin/python3
"""Reference outputs of MT19937 with array seeds, from numpy's RandomState, which seeds by the
same array initialisation. Writes data/mt19937_kat.txt, the lines of kat_format.py.

Run with an interpreter that has numpy: /usr/bin/python3 make_twister_data.py
"""
import os
import numpy as np

import kat_format

SEEDS = [
    [0x123, 0x234, 0x345, 0x456],
    [5489],
    [(i * 2654435761 + 12345) & 0xFFFFFFFF for i in range(700)],  # longer than the state
]
COUNT = 2000


def init_by_array(key):
    """The published array initialisation, for a one-word key: numpy squeezes a one-element
    seed array to a scalar and would use the single-seed initialisation instead."""
    m = 0xFFFFFFFF
    mt = [19650218]
    for i in range(1, 624):
        mt.append((1812433253 * (mt[-1] ^ (mt[-1] >> 30)) + i) & m)
    i, j = 1, 0
    for _ in range(max(624, len(key))):
        mt[i] = ((mt[i] ^ (((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1664525) & m)) + key[j] + j) & m
        i += 1
        j += 1
        if i >= 624:
            mt[0] = mt[623]
            i = 1
        if j >= len(key):
            j = 0
    for _ in range(623):
        mt[i] = ((mt[i] ^ (((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1566083941) & m)) - i) & m
        i += 1
        if i >= 624:
            mt[0] = mt[623]
            i = 1
    mt[0] = 0x80000000
    return mt

here = os.path.dirname(os.path.abspath(__file__))
with open(os.path.join(here, "data", "mt19937_kat.txt"), "w") as f:
    f.write("# MT19937 outputs from numpy.random.RandomState(seed array); numpy %s\n" % np.__version__)
    for seed in SEEDS:
        rs = np.random.RandomState(np.array(seed, dtype=np.uint32))
        if len(seed) == 1:
            rs.set_state(("MT19937", np.array(init_by_array(seed), dtype=np.uint32), 624))
        raw = rs._bit_generator.random_raw(COUNT)
        f.write(kat_format.line("MT19937", "numpy", seed, [int(x) for x in raw]))
