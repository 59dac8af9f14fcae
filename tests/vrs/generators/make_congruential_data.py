#!/usr/bin/python3
"""Known answers of MCG31, MCG59 and MRG32K3A, computed independently of the library.

The recurrences run in Python's exact integers, straight from their published definitions. The
mappings to real numbers follow the library's stated arithmetic: plain double products and sums
where it uses them, and every fused multiply-add as the exact rational result rounded once to
the nearest double or float (Fraction arithmetic, rounding half to even).

Writes data/congruential_kat.txt (the lines of kat_format.py), or the same file into the
directory given as the first argument (the test that checks that the checked-in data regenerate). Run with /usr/bin/python3.
"""
import struct
from fractions import Fraction

import kat_format

M31 = 2**31 - 1
A31 = 1132489760
M59 = 2**59
A59 = 13**13
M1 = 4294967087
M2 = 4294944443
MRG_SCALE = struct.unpack("<d", struct.pack("<Q", 0x3DF000000D10000B))[0]


def round_binary(q, precision, emin):
    """q (a Fraction) rounded to the nearest number of `precision` bits, ties to even."""
    if q == 0:
        return Fraction(0)
    sign = -1 if q < 0 else 1
    q = abs(q)
    e = q.numerator.bit_length() - q.denominator.bit_length()
    if Fraction(2) ** e > q:
        e -= 1
    e = max(e, emin)
    ulp = Fraction(2) ** (e - precision + 1)
    m = q / ulp
    n = m.numerator // m.denominator
    rest = m - n
    if rest > Fraction(1, 2) or (rest == Fraction(1, 2) and n % 2 == 1):
        n += 1
    return sign * n * ulp


def f64(q):
    return float(round_binary(Fraction(q), 53, -1022))


def f32(q):
    return float(round_binary(Fraction(q), 24, -126))


def fma64(a, b, c):
    return f64(Fraction(a) * Fraction(b) + Fraction(c))


def fma32(a, b, c):
    return f32(Fraction(a) * Fraction(b) + Fraction(c))


# ----------------------------------------------------------------------------------------------
# Raw sequences.

def mcg31(seeds, count):
    x = seeds[0] % M31 if seeds else 1
    x = x or 1
    out = []
    for _ in range(count):
        out.append(x)
        x = x * A31 % M31
    return out


def mcg59(seeds, count):
    if not seeds:
        x = 1
    elif len(seeds) == 1:
        x = seeds[0]
    else:
        x = (seeds[0] | seeds[1] << 32) % M59
    x = x or 1
    out = []
    for _ in range(count):
        out.append(x)
        x = x * A59 % M59
    return out


def mrg32k3a(seeds, count):
    w = [seeds[k] if k < len(seeds) else 1 for k in range(6)]
    x = [v - M1 if v >= M1 else v for v in w[:3]]
    y = [v - M2 if v >= M2 else v for v in w[3:]]
    if x == [0, 0, 0]:
        x[0] = 1
    if y == [0, 0, 0]:
        y[0] = 1
    out = []
    for _ in range(count):
        nx = (1403580 * x[1] - 810728 * x[0]) % M1
        ny = (527612 * y[2] - 1370589 * y[0]) % M2
        x = [x[1], x[2], nx]
        y = [y[1], y[2], ny]
        out.append(nx - ny if nx > ny else nx - ny + M1)
    return out


# ----------------------------------------------------------------------------------------------
# Mappings, (raw, a, b) -> value; a and b of the float forms are floats already.

def mcg31_d(x, a, b):
    return x * ((b - a) * (1.0 / M31)) + a


def mcg31_s(x, a, b):
    return f32(x * ((b - a) * (1.0 / M31)) + a)


def mcg59_d(x, a, b):
    return fma64((b - a) * 2.0**-59, float(x), a)


def mcg59_s(x, a, b):
    width = f32(Fraction(b) - Fraction(a))
    return f32(fma64(width * 2.0**-59, float(x), a))


def mrg_d(z, a, b):
    return fma64((b - a) * MRG_SCALE, float(z), a)


def mrg_s(z, a, b):
    scale = f32((b - a) * MRG_SCALE)
    return fma32(scale, f32(z), a)


GENERATORS = {
    "MCG31": (mcg31, mcg31_d, mcg31_s),
    "MCG59": (mcg59, mcg59_d, mcg59_s),
    "MRG32K3A": (mrg32k3a, mrg_d, mrg_s),
}


def mrg_seed_with_z_m1():
    """A seed whose first MRG32K3A output has new x equal to new y, so that z is M1."""
    x = [12345, 67890, 13579]
    nx = (1403580 * x[1] - 810728 * x[0]) % M1
    assert nx < M2
    y2 = nx * pow(527612, -1, M2) % M2  # y0 = 0, so new y = 527612 y2
    return x + [0, 24680, y2]


# name, generator, seeds, outputs
CASES = [
    ("mcg31_main", "MCG31", [20231123], 1100),
    ("mcg31_seed_m", "MCG31", [M31], 40),
    ("mcg31_seed_0", "MCG31", [0], 40),
    ("mcg31_no_seed", "MCG31", [], 40),
    ("mcg59_main", "MCG59", [0x9ABCDEF1, 0x12345678], 1100),
    ("mcg59_one_word", "MCG59", [0x9ABCDEF1, 0x12345678], 40),
    ("mcg59_high_bits", "MCG59", [0xFFFFFFFF, 0xFFFFFFFF], 40),
    ("mcg59_no_seed", "MCG59", [], 40),
    ("mrg_main", "MRG32K3A", [1, 2, 3, 4, 5, 6], 1100),
    ("mrg_large_words", "MRG32K3A", [0xFFFFFFFF, M1, M1 - 1, 0xFFFFFFFF, M2, M2 - 1], 40),
    ("mrg_zero", "MRG32K3A", [0, 0, 0, 0, 0, 0], 40),
    ("mrg_short_seed", "MRG32K3A", [777], 40),
    ("mrg_z_m1", "MRG32K3A", mrg_seed_with_z_m1(), 40),
]
# Seed count given to the library, where it differs from the number of words listed.
COUNTS = {"mcg59_one_word": 1}

# Interval and how many outputs of each case are mapped onto it.
INTERVALS = [(-3.5, 7.25, None), (0.0, 1.0, 64)]


def main():
    assert mrg32k3a(mrg_seed_with_z_m1(), 1)[0] == M1
    with kat_format.open_output(__file__, "congruential_kat.txt") as out:
        for name, gen, seeds, count in CASES:
            raw_fn, d_fn, s_fn = GENERATORS[gen]
            n_seeds = COUNTS.get(name, len(seeds))
            raw = raw_fn(seeds[:n_seeds], count)
            out.write(kat_format.line(gen, name, seeds, raw, n_seeds))
            for a, b, limit in INTERVALS:
                af, bf = f32(a), f32(b)
                for form, fn, lo, hi in (("d", d_fn, a, b), ("s", s_fn, af, bf)):
                    mapped = [fn(v, lo, hi) for v in raw[:limit]]
                    out.write(kat_format.line(gen, name, seeds, mapped, n_seeds, form, lo, hi))


if __name__ == "__main__":
    main()
