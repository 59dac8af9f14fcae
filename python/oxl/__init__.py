"""oxl: vector math, random streams, summary statistics and data fitting over numpy arrays.

Submodules: oxl.vm (vector functions), oxl.random (streams and distributions), oxl.stats
(moments, covariance, correlation), oxl.fit (splines). Failures raise oxl.Error subclasses that
carry the library's status in `.status`.
"""
from ._oxl import Error, FitError, RandomError, StatsError, VMError, VMWarning
from . import fit, random, stats, vm

__all__ = ["Error", "VMError", "VMWarning", "RandomError", "StatsError", "FitError",
           "vm", "random", "stats", "fit"]
