"""Random streams and distributions over the library's basic generators.

    s = oxl.random.Stream("mt2203", seed=7, member=3)
    x = s.gaussian(0.0, 1.0, size=10**6)          # float64
    u = s.uniform(size=(4, 5), dtype="float32")

Each rank or thread of a parallel run takes its own member of a family (mt2203, wh), its own
skip-ahead of one stream (`skip_ahead`), or its own leapfrog slice (`leapfrog`). Bad parameters
(a scale that is not positive, a >= b, an unknown method) raise oxl.RandomError.
"""
from ._oxl.random import Stream, generators

__all__ = ["Stream", "generators"]
