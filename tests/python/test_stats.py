"""oxl.stats against numpy: every layout and dtype, weights, blocks, bad input."""
import numpy as np
import pytest

import oxl

RTOL = {np.float64: 1e-12, np.float32: 2e-5}


def data(dtype, n=500, p=3, seed=3):
    rng = np.random.default_rng(seed)
    x = rng.normal(size=(n, p)) @ np.array([[1.0, 0.5, 0.0], [0.0, 2.0, 0.3], [0.0, 0.0, 0.7]])
    return (x + [10.0, -3.0, 0.5]).astype(dtype)


def expected_moments(x, w=None):
    """The library's definitions: unbiased variance, skewness c3 / var^1.5, kurtosis
    c4 / var^2 - 3 with central moments over the weight."""
    w = np.ones(len(x)) if w is None else w
    x = x.astype(np.float64)
    mean = np.average(x, axis=0, weights=w)
    d = x - mean
    total, total2 = w.sum(), (w * w).sum()
    var = (w[:, None] * d * d).sum(0) / (total - total2 / total)
    c3 = (w[:, None] * d ** 3).sum(0) / total
    c4 = (w[:, None] * d ** 4).sum(0) / total
    return {"mean": mean, "variance": var, "skewness": c3 / var ** 1.5, "kurtosis": c4 / var ** 2 - 3}


def close(got, want, dtype, scale=1.0):
    assert got.dtype == dtype
    np.testing.assert_allclose(got, want, rtol=RTOL[dtype] * 50, atol=RTOL[dtype] * scale)


# how the observations of a (n, p) sample x are handed over: (array, axis)
LAYOUTS = {
    "rows": lambda x: (x, 0),
    "columns": lambda x: (np.ascontiguousarray(x.T), 1),
    "fortran": lambda x: (np.asfortranarray(x), 0),
    "strided": lambda x: (np.repeat(x, 2, axis=0)[::2], 0),
    "negative-axis": lambda x: (np.ascontiguousarray(x.T), -1),
}


@pytest.mark.parametrize("layout", LAYOUTS)
@pytest.mark.parametrize("dtype", [np.float64, np.float32])
def test_moments_cov_corr_against_numpy(layout, dtype):
    x = data(dtype)
    arg, axis = LAYOUTS[layout](x)
    m = oxl.stats.moments(arg, axis=axis)
    want = expected_moments(x)
    for key in ("mean", "variance", "skewness", "kurtosis"):
        close(m[key], want[key], dtype, scale=abs(want[key]).max())
    close(oxl.stats.cov(arg, axis=axis), np.cov(x.astype(np.float64).T), dtype, 4.0)
    close(oxl.stats.corr(arg, axis=axis), np.corrcoef(x.astype(np.float64).T), dtype)


def test_weights_and_one_dimension():
    x = data(np.float64)
    w = np.random.default_rng(1).uniform(0.5, 2.0, len(x))
    m = oxl.stats.moments(x, weights=w)
    want = expected_moments(x, w)
    np.testing.assert_allclose(m["mean"], want["mean"], rtol=1e-12)
    np.testing.assert_allclose(oxl.stats.cov(x, weights=w), np.cov(x.T, aweights=w), rtol=1e-10)
    np.testing.assert_allclose(oxl.stats.moments(x[:, 1])["variance"], [np.var(x[:, 1], ddof=1)],
                               rtol=1e-12)


def test_blocks_give_the_one_call_estimates():
    x = data(np.float64, n=1001)
    acc = oxl.stats.Accumulator(3)
    for lo, hi in ((0, 2), (2, 3), (3, 400), (400, 1001)):
        acc.update(x[lo:hi])
    one = oxl.stats.moments(x)
    assert acc.count == 1001
    for key in ("mean", "variance", "skewness", "kurtosis"):
        np.testing.assert_allclose(acc.moments()[key], one[key], rtol=1e-12)
    np.testing.assert_allclose(acc.cov(), oxl.stats.cov(x), rtol=1e-12)
    acc32 = oxl.stats.Accumulator(3, dtype=np.float32)
    acc32.update(x.astype(np.float32))
    assert acc32.cov().dtype == np.float32


def test_nan_and_infinity_propagate():
    x = data(np.float64, n=20)
    x[5, 1] = np.nan
    x[7, 2] = np.inf
    m = oxl.stats.moments(x)
    assert np.isfinite(m["mean"][0]) and np.isnan(m["mean"][1]) and np.isinf(m["mean"][2])


@pytest.mark.parametrize("call,error", [
    (lambda: oxl.stats.moments(np.zeros((0, 3))), oxl.StatsError),
    (lambda: oxl.stats.cov(np.zeros(0)), oxl.StatsError),
    (lambda: oxl.stats.moments(np.zeros((2, 2, 2))), ValueError),
    (lambda: oxl.stats.moments(np.zeros((4, 2)), axis=2), ValueError),
    (lambda: oxl.stats.moments(np.zeros((4, 2)), weights=np.ones(3)), ValueError),
    (lambda: oxl.stats.Accumulator(2).update(np.ones((4, 3))), ValueError),
    (lambda: oxl.stats.Accumulator(0), ValueError),
    (lambda: oxl.stats.moments(np.ones(4), dtype=np.int32), TypeError),
])
def test_bad_input_raises(call, error):
    with pytest.raises(error):
        call()
