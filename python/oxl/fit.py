"""Splines through data, in the manner of scipy.interpolate.

    s = oxl.fit.CubicSpline(x, y, bc_type="natural")
    s(t)              # values at the sites t
    s(t, nu=1)        # first derivative
    s.integrate(a, b) # integral from a to b (negated when b < a)

x: strictly increasing knots; y: values along axis 0 (shape (n,) or (n, m) for m functions at
once). float32 x and y compute in float32, all else in float64. Beyond the ends the end
polynomials go on. Failures raise oxl.FitError.
"""
import numpy as _np

from ._oxl import fit as _fit

__all__ = ["LinearSpline", "QuadraticSpline", "CubicSpline", "make_spline"]

_ENDS = {1: (_fit.BC_LEFT_FIRST, _fit.BC_RIGHT_FIRST), 2: (_fit.BC_LEFT_SECOND, _fit.BC_RIGHT_SECOND)}


def _single(x, y):
    return _np.asarray(x).dtype == _np.float32 and _np.asarray(y).dtype == _np.float32


class _Spline:
    def __init__(self, x, y, order, boundary, values):
        self._impl = _fit._Spline(x, y, order, boundary, list(values), _single(x, y))
        self.x = _np.asarray(x)

    def __call__(self, x, nu=0):
        """Values (nu=0) or the nu-th derivative (nu up to 3) at the sites x."""
        return self._impl(x, nu)

    def integrate(self, a, b):
        """Integral from a to b (arrays broadcast); negated when b < a."""
        return self._impl.integrate(a, b)

    @property
    def c(self):
        """Coefficients, shape (functions, cells, order), in ascending powers of x - x[i]."""
        return self._impl.c


class LinearSpline(_Spline):
    """LinearSpline(x, y): the broken line through the data."""

    def __init__(self, x, y):
        super().__init__(x, y, _fit.SPLINE_ORDER_LINEAR, _fit.BC_NOT_SET, [])


class QuadraticSpline(_Spline):
    """QuadraticSpline(x, y, mid_value=None): the continuously differentiable quadratic spline.

    Its one free condition is its value at the midpoint of the first cell: mid_value, or by
    default that of the parabola through the first three points (the line through two).
    """

    def __init__(self, x, y, mid_value=None):
        if mid_value is None:
            mid_value = self._parabola_mid(_np.asarray(x, float), _np.asarray(y, float))
        super().__init__(x, y, _fit.SPLINE_ORDER_QUADRATIC, _fit.BC_QUADRATIC_VALUE,
                         [float(mid_value)])

    @staticmethod
    def _parabola_mid(x, y):
        if x.ndim != 1 or len(x) < 2 or y.ndim != 1:
            return 0.0  # the constructor reports the bad input
        t = 0.5 * (x[0] + x[1])
        if len(x) == 2:
            return 0.5 * (y[0] + y[1])
        x0, x1, x2 = x[:3]
        return (y[0] * (t - x1) * (t - x2) / ((x0 - x1) * (x0 - x2))
                + y[1] * (t - x0) * (t - x2) / ((x1 - x0) * (x1 - x2))
                + y[2] * (t - x0) * (t - x1) / ((x2 - x0) * (x2 - x1)))


class CubicSpline(_Spline):
    """CubicSpline(x, y, bc_type="not-a-knot"): the twice continuously differentiable cubic.

    bc_type as in scipy.interpolate.CubicSpline: "not-a-knot", "natural" (second derivatives
    0 at both ends), "clamped" (first derivatives 0), "periodic" (y[0] must equal y[-1]), or a
    pair ((order, value), (order, value)) for the left and the right end, order 1 or 2.
    """

    def __init__(self, x, y, bc_type="not-a-knot"):
        boundary, values = self._boundary(bc_type)
        super().__init__(x, y, _fit.SPLINE_ORDER_CUBIC, boundary, values)

    @staticmethod
    def _boundary(bc_type):
        named = {"not-a-knot": (_fit.BC_NOT_A_KNOT, []), "natural": (_fit.BC_FREE_END, []),
                 "periodic": (_fit.BC_PERIODIC, []),
                 "clamped": (_fit.BC_LEFT_FIRST | _fit.BC_RIGHT_FIRST, [0.0, 0.0])}
        if isinstance(bc_type, str):
            if bc_type not in named:
                raise ValueError("unknown bc_type %r" % (bc_type,))
            return named[bc_type]
        try:
            (left_order, left), (right_order, right) = bc_type
            boundary = _ENDS[left_order][0] | _ENDS[right_order][1]
        except (TypeError, ValueError, KeyError):
            raise ValueError("bc_type pair must be ((order, value), (order, value)), "
                             "order 1 or 2") from None
        return boundary, [float(left), float(right)]


def make_spline(x, y, kind="cubic", **options):
    """A spline of kind "linear", "quadratic" or "cubic" (options go to its class)."""
    classes = {"linear": LinearSpline, "quadratic": QuadraticSpline, "cubic": CubicSpline}
    if kind not in classes:
        raise ValueError("kind must be 'linear', 'quadratic' or 'cubic'")
    return classes[kind](x, y, **options)
