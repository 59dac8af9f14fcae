"""oxl.fit against scipy.interpolate and polynomial identities."""
import numpy as np
import pytest
import scipy.interpolate as si

import oxl

X = np.linspace(0.0, 3.0, 11) ** 1.3
SITES = np.linspace(-0.3, 4.6, 37)  # both sides of the knots included
TOL = {np.float64: 1e-12, np.float32: 2e-5}
BOUNDARIES = ["not-a-knot", "natural", "clamped", ((1, 0.5), (2, -1.0)), ((2, 0.0), (1, 1.0))]


@pytest.mark.parametrize("dtype", [np.float64, np.float32])
@pytest.mark.parametrize("bc_type", BOUNDARIES, ids=str)
def test_cubic_matches_scipy(bc_type, dtype):
    y = np.sin(X)
    ours = oxl.fit.CubicSpline(X.astype(dtype), y.astype(dtype), bc_type=bc_type)
    theirs = si.CubicSpline(X.astype(dtype), y.astype(dtype), bc_type=bc_type)
    t = SITES.astype(dtype)
    for nu in range(4):
        got = ours(t, nu=nu)
        assert got.dtype == dtype
        np.testing.assert_allclose(got, theirs(t, nu), rtol=TOL[dtype] * 100, atol=TOL[dtype] * 100)
    for a, b in ((0.3, 2.5), (2.5, 0.3), (-0.2, 4.4), (1.0, 1.0)):
        np.testing.assert_allclose(ours.integrate(a, b), theirs.integrate(a, b),
                                   rtol=TOL[dtype] * 100, atol=TOL[dtype] * 100)


def test_periodic_and_several_functions():
    x = np.linspace(0.0, 2 * np.pi, 13)
    y = np.stack([np.sin(x), np.cos(x), np.sin(2 * x)], axis=1)
    y[-1] = y[0]
    ours = oxl.fit.CubicSpline(x, y, bc_type="periodic")
    theirs = si.CubicSpline(x, y, bc_type="periodic")
    sites = SITES[(SITES >= 0) & (SITES <= x[-1])].reshape(-1, 1)  # scipy repeats periodic data
    assert ours(sites).shape == (len(sites), 1, 3)
    np.testing.assert_allclose(ours(sites), theirs(sites), atol=1e-12)
    want = np.array([theirs.integrate(0, 2), theirs.integrate(1, 6)])
    np.testing.assert_allclose(ours.integrate([0, 1], [2, 6]), want, atol=1e-12)


@pytest.mark.parametrize("kind,degree", [("linear", 1), ("quadratic", 2), ("cubic", 3)])
def test_each_kind_reproduces_polynomials_of_its_degree(kind, degree):
    poly = np.polynomial.Polynomial([0.5, -1.0, 0.25, 0.125][:degree + 1])
    spline = oxl.fit.make_spline(X, poly(X), kind=kind)
    inside = SITES[(SITES >= X[0]) & (SITES <= X[-1])]
    np.testing.assert_allclose(spline(inside), poly(inside), atol=1e-12)
    np.testing.assert_allclose(spline(inside, nu=1), poly.deriv()(inside), atol=1e-11)
    integral = poly.integ()
    np.testing.assert_allclose(spline.integrate(X[1], X[-2]), integral(X[-2]) - integral(X[1]),
                               rtol=1e-12)
    assert spline.c.shape == (1, len(X) - 1, degree + 1)


def test_linear_is_numpy_interp_and_empty_sites():
    spline = oxl.fit.LinearSpline(X, np.cos(X))
    inside = np.linspace(X[0], X[-1], 101)
    np.testing.assert_allclose(spline(inside), np.interp(inside, X, np.cos(X)), atol=1e-14)
    assert spline(np.empty(0)).shape == (0,)
    assert np.isnan(spline(np.array([np.nan]))).all()


@pytest.mark.parametrize("call,error", [
    (lambda: oxl.fit.CubicSpline([0.0, 0.0, 1.0], [1.0, 2.0, 3.0]), oxl.FitError),
    (lambda: oxl.fit.CubicSpline([0.0], [1.0]), oxl.FitError),
    (lambda: oxl.fit.CubicSpline([0.0, 1.0, 2.0], [1.0, 2.0]), oxl.FitError),
    (lambda: oxl.fit.CubicSpline([0.0, 1.0, 2.0], [1.0, 2.0, 3.0], bc_type="periodic"),
     oxl.FitError),
    (lambda: oxl.fit.CubicSpline([0.0, 1.0, 2.0], [1.0, 2.0, 3.0], bc_type="free"), ValueError),
    (lambda: oxl.fit.CubicSpline([0.0, 1.0, 2.0], [1.0, 2.0, 3.0], bc_type=((3, 0), (1, 0))),
     ValueError),
    (lambda: oxl.fit.CubicSpline([0.0, 1.0, 2.0], [1.0, 2.0, 3.0])([1.0], nu=4), ValueError),
    (lambda: oxl.fit.make_spline([0.0, 1.0], [1.0, 2.0], kind="akima"), ValueError),
])
def test_bad_input_raises(call, error):
    with pytest.raises(error) as info:
        call()
    if error is oxl.FitError:
        assert info.value.status < 0
