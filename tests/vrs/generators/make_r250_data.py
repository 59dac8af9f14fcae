#!/usr/bin/python3
"""Known answers of R250, computed independently of the library in Python's exact integers.

The register is seeded as the generator states it: 250 seed words or more are the register, fewer
give x (seed word 0, or 1 for none or 0) and the register x 69069^(k+1) mod 2^32, k = 0..249, with
the 16 words 3 + 14k and 10 + 14k fixed to bits 31 - 2k and 30 - 2k. Then x[n] = x[n-250] ^
x[n-147]. A case's seed words are s0 + i 0x9E3779B9 mod 2^32, i = 0 .. count-1.

Writes data/r250_kat.txt (the lines of kat_format.py), or the same file into the directory given as the
first argument. Run with /usr/bin/python3.
"""

import kat_format

MASK = 2**32 - 1

# name, seed count, s0, outputs
CASES = [
    ("main", 1, 20231125, 1000),
    ("zero", 1, 0, 300),
    ("one", 1, 1, 300),
    ("none", 0, 0, 300),
    ("short", 100, 7, 300),
    ("full", 250, 0xDEADBEEF, 1000),
    ("long", 300, 5, 300),
]


def seed_words(count, s0):
    return [(s0 + i * 0x9E3779B9) & MASK for i in range(count)]


def register(count, s0):
    seed = seed_words(count, s0)
    if count >= 250:
        return seed[:250]
    x = seed[0] if count > 0 and seed[0] != 0 else 1
    words = [(x * pow(69069, k + 1, 2**32)) & MASK for k in range(250)]
    for k in range(16):
        bit = 1 << (31 - 2 * k)
        high = ~((bit << 1) - 1) & MASK  # the bits above `bit`
        words[3 + 14 * k] = (words[3 + 14 * k] & ~high & MASK) | bit
        bit >>= 1
        high = ~((bit << 1) - 1) & MASK
        words[10 + 14 * k] = (words[10 + 14 * k] & ~high & MASK) | bit
    return words


def outputs(words, n):
    history = list(words)
    out = []
    for _ in range(n):
        x = history[-250] ^ history[-147]
        history.append(x)
        out.append(x)
    return out


def main():
    with kat_format.open_output(__file__, "r250_kat.txt") as f:
        for name, count, s0, n in CASES:
            words = outputs(register(count, s0), n)
            f.write(kat_format.line("R250", name, seed_words(count, s0), words))


if __name__ == "__main__":
    main()
