"""Vector functions over numpy arrays.

Every function of the library's list is here under a snake_case name (Exp -> exp, InvSqrt ->
inv_sqrt, LGamma -> lgamma, Ln -> ln), one function over float32, float64, complex64 and
complex128 arrays; the dtype of the input chooses the kernel. Arrays that are C-contiguous and of
one of those dtypes are read in place; others are copied once. The GIL is released while a kernel
runs, so several Python threads compute at once.

accuracy="ha" (at most 1 ulp), "la" (at most 4 ulp) or "ep" (11 correct bits in float, 26 in
double); None follows the thread's mode, which `frame` sets.

Faults of single elements (domain, singularity, overflow, underflow) behave as in numpy's errstate:
by default the first three warn (oxl.VMWarning) and underflow is ignored; `frame` makes any of
them raise oxl.VMError (whose `.status` is the library's status: 1 domain, 2 singularity,
3 overflow, 4 underflow) or hands each faulty element to a Python callback.
"""
from ._oxl import vm as _vm
from ._oxl.vm import *  # noqa: F401,F403  (the generated functions)

_ACTIONS = {"ignore": 0, "warn": 1, "raise": 2}
_ACCURACY = {"la": 0x1, "ha": 0x2, "ep": 0x3}
_FTZ_DAZ_ON, _FTZ_DAZ_OFF, _FTZ_DAZ_MASK = 0x280000, 0x140000, 0x3C0000
_ACCURACY_MASK = 0xF

get_mode = _vm.get_mode
set_mode = _vm.set_mode
get_status = _vm.get_status
clear_status = _vm.clear_status


class frame:
    """Context manager of the thread's vector-function frame: mode, fault actions, callback.

    frame(accuracy=None, ftz=None, all=None, domain=None, singularity=None, overflow=None,
          underflow=None, callback=None)

    accuracy: "ha", "la" or "ep" for calls that pass no accuracy of their own.
    ftz: True runs kernels with flush-to-zero and denormals-are-zero, False honours denormals.
    all, domain, singularity, overflow, underflow: "ignore", "warn" or "raise".
    callback: called for each faulty element with a dict (status, index, function, arg1, arg2,
      result); a number it returns replaces the element's result, None keeps it. An exception it
      raises stops the call and propagates.

    Everything is restored on exit, and belongs to the calling thread only.
    """

    def __init__(self, accuracy=None, ftz=None, all=None, domain=None, singularity=None,
                 overflow=None, underflow=None, callback=None):
        if accuracy is not None and accuracy not in _ACCURACY:
            raise ValueError("accuracy must be 'ha', 'la' or 'ep'")
        for action in (all, domain, singularity, overflow, underflow):
            if action is not None and action not in _ACTIONS:
                raise ValueError("actions are 'ignore', 'warn' or 'raise'")
        self._accuracy, self._ftz, self._callback = accuracy, ftz, callback
        self._actions = [domain, singularity, overflow, underflow]
        self._actions = [a if a is not None else all for a in self._actions]
        self._saved = []

    def __enter__(self):
        saved_frame = _vm._get_frame()
        mode = 0
        if self._accuracy is not None:
            mode |= _ACCURACY[self._accuracy]
        if self._ftz is not None:
            mode |= _FTZ_DAZ_ON if self._ftz else _FTZ_DAZ_OFF
        saved_mode = _vm.set_mode(mode)
        actions = [_ACTIONS[a] if a is not None else old
                   for a, old in zip(self._actions, saved_frame[:4])]
        callback = self._callback if self._callback is not None else saved_frame[4]
        _vm._set_frame(*actions, callback)
        self._saved.append((saved_frame, saved_mode))
        return self

    def __exit__(self, *exc):
        saved_frame, saved_mode = self._saved.pop()
        _vm._set_frame(*saved_frame)
        # A field of 0 in the saved word would leave the field as it is: a zero denormal field
        # honours denormals, as FTZ_DAZ_OFF does.
        if saved_mode & _FTZ_DAZ_MASK == 0:
            saved_mode |= _FTZ_DAZ_OFF
        _vm.set_mode(saved_mode)
        return False
