"""The known-answer line every generator's data file is written in, one case a line:

  GENERATOR case seed-count seed-words... : form a b : outputs...

Seed words and outputs in hexadecimal; the outputs are words (form i) or the bit patterns of the
doubles (d) or floats (s) that the Uniform entries give on [a, b), with a and b as hexadecimal
floats. The seed count is what the generator is given, which may be fewer words than listed.
"""
import os
import struct
import sys


def bits(value, form):
    if form == "d":
        return struct.unpack("<Q", struct.pack("<d", value))[0]
    if form == "s":
        return struct.unpack("<I", struct.pack("<f", value))[0]
    return value


def line(generator, case, seed, outputs, count=None, form="i", a=0.0, b=0.0):
    count = len(seed) if count is None else count
    fields = [generator, case, str(count)] + ["0x%x" % w for w in seed]
    fields += [":", form, float(a).hex(), float(b).hex(), ":"]
    fields += ["0x%x" % bits(v, form) for v in outputs]
    return " ".join(fields) + "\n"


def open_output(script, name):
    """The data file `name` that `script` makes, opened with its header written: in the directory
    given as the script's first argument (the tests that check the data regenerate), else in data/
    beside the script."""
    here = os.path.dirname(os.path.abspath(script))
    out_dir = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, "data")
    out = open(os.path.join(out_dir, name), "w", encoding="ascii")
    out.write("# made by %s\n" % os.path.basename(script))
    return out
