#!/usr/bin/python3
"""Known answers of the Uniform doubles and floats of the generators whose words come from other
oracles (numpy, Random123, the SFMT authors' output, make_r250_data.py): the words of one case of
each are read from its data file and mapped as the generator states it, every fused multiply-add
rounded once from the exact rational result (make_congruential_data.py's helpers).

  MT19937           unsigned words; floats in float: fma(float(u), (b - a) 2^-32, a)
  R250              unsigned words; floats from the double rounded last
  SFMT19937, PHILOX4X32X10, ARS5
                    signed words about the centre: fma(s, (b - a) 2^-32, (a + b) / 2), floats with
                    the double's scale and centre rounded to float

Writes data/mapping_kat.txt (the lines of kat_format.py), or the same file into the directory given
as the first argument. Run with /usr/bin/python3.
"""
import os
from fractions import Fraction

import kat_format
from make_congruential_data import f32, f64, fma32, fma64

A, B = -3.0, 5.5  # doubles
FA, FB = -1.25, 1e6  # floats
TWO_M32 = Fraction(1, 2**32)
WORDS = 1000  # past the twisters' state of 624 words, as long as the longest piece of a split

# generator, data file, case, mapping
CASES = [
    ("MT19937", "mt19937_kat.txt", "numpy", "from_a"),
    ("R250", "r250_kat.txt", "main", "from_a_in_double"),
    ("SFMT19937", "sfmt19937_kat.txt", "published", "centred"),
    ("PHILOX4X32X10", "counter_kat.txt", "run", "centred"),
    ("ARS5", "counter_kat.txt", "run", "centred"),
]


def first_case(path, generator, case):
    """The seed count, seed words and output words of the first such word case in the file."""
    with open(path, encoding="ascii") as f:
        for text in f:
            fields = text.split()
            if text.startswith("#") or fields[:2] != [generator, case]:
                continue
            head, form, words = text.split(" : ")
            if form.split()[0] != "i":
                continue
            head = head.split()
            return int(head[2]), [int(w, 16) for w in head[3:]], [int(w, 16) for w in words.split()]
    raise LookupError(generator + " " + case)


def doubles(words, mapping):
    scale = f64(Fraction(B - A) * TWO_M32)
    if mapping == "centred":
        return [fma64(u - 2**32 if u >= 2**31 else u, scale, (A + B) * 0.5) for u in words]
    return [fma64(u, scale, A) for u in words]


def floats(words, mapping):
    if mapping == "from_a":
        scale = f32(Fraction(f32(Fraction(FB) - Fraction(FA))) * TWO_M32)
        return [fma32(f32(u), scale, FA) for u in words]
    scale = f64((Fraction(FB) - Fraction(FA)) * TWO_M32)
    if mapping == "from_a_in_double":
        return [f32(fma64(u, scale, FA)) for u in words]
    centre = f32(Fraction(f64(Fraction(FA) + Fraction(FB))) / 2)
    return [fma32(f32(u - 2**32 if u >= 2**31 else u), f32(scale), centre) for u in words]


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    with kat_format.open_output(__file__, "mapping_kat.txt") as f:
        for generator, source, case, mapping in CASES:
            count, seed, words = first_case(os.path.join(here, "data", source), generator, case)
            words = words[:WORDS]
            for form, values, a, b in (("d", doubles(words, mapping), A, B),
                                       ("s", floats(words, mapping), FA, FB)):
                f.write(kat_format.line(generator, "mapping", seed, values, count, form, a, b))


if __name__ == "__main__":
    main()
