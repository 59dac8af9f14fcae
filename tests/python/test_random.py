"""oxl.random: stream operations as properties of the sequence, laws against scipy.stats."""
import threading

import numpy as np
import pytest
import scipy.stats as st

import oxl

# generator, has skip-ahead, has leapfrog
GENERATORS = [("mcg31", True, True), ("mcg59", True, True), ("mrg32k3a", True, False),
              ("mt19937", True, False), ("mt2203", False, False), ("philox4x32x10", True, False),
              ("r250", False, False), ("sfmt19937", True, False)]


@pytest.mark.parametrize("name,skip,leap", GENERATORS, ids=[g[0] for g in GENERATORS])
def test_copy_skip_ahead_and_leapfrog_are_views_of_one_sequence(name, skip, leap):
    base = oxl.random.Stream(name, 77)
    sequence = base.copy().uniform(size=1000)
    assert np.array_equal(oxl.random.Stream(name, 77).uniform(size=1000), sequence)
    assert np.array_equal(base.copy().uniform(size=1000), sequence)
    head = base.copy()
    assert np.array_equal(np.concatenate([head.uniform(size=333), head.uniform(size=667)]),
                          sequence)
    if skip:
        s = base.copy()
        s.skip_ahead(123)
        assert np.array_equal(s.uniform(size=50), sequence[123:173])
    else:
        with pytest.raises(oxl.RandomError) as info:
            base.copy().skip_ahead(1)
        assert info.value.status == -1003
    if leap:
        s = base.copy()
        s.leapfrog(2, 5)
        assert np.array_equal(s.uniform(size=100), sequence[2::5][:100])


def test_members_of_a_family_differ():
    draws = [oxl.random.Stream("mt2203", 1, member=k).bits(8) for k in (0, 1, 6023)]
    assert not np.array_equal(draws[0], draws[1]) and not np.array_equal(draws[1], draws[2])
    assert oxl.random.Stream("mcg59", 3).bits(4).dtype == np.uint64


# method name, parameters, scipy law with the same parameters
LAWS = [
    ("uniform", dict(a=-2.0, b=3.0), st.uniform(-2, 5)),
    ("gaussian", dict(mean=1.0, sigma=2.0), st.norm(1, 2)),
    ("gaussian", dict(mean=1.0, sigma=2.0, method="boxmuller"), st.norm(1, 2)),
    ("gaussian", dict(mean=1.0, sigma=2.0, method="icdf"), st.norm(1, 2)),
    ("exponential", dict(a=0.5, beta=2.0), st.expon(0.5, 2)),
    ("laplace", dict(a=0.5, beta=2.0), st.laplace(0.5, 2)),
    ("cauchy", dict(a=0.5, beta=2.0), st.cauchy(0.5, 2)),
    ("rayleigh", dict(a=0.5, beta=2.0), st.rayleigh(0.5, 2 / np.sqrt(2))),
    ("gumbel", dict(a=0.5, beta=2.0), st.gumbel_l(0.5, 2)),
    ("weibull", dict(alpha=1.5, a=0.5, beta=2.0), st.weibull_min(1.5, 0.5, 2)),
    ("lognormal", dict(mean=0.2, sigma=0.5, b=1.0, beta=2.0), st.lognorm(0.5, 1, 2 * np.exp(0.2))),
    ("lognormal", dict(mean=0.2, sigma=0.5, b=1.0, beta=2.0, method="icdf"),
     st.lognorm(0.5, 1, 2 * np.exp(0.2))),
    ("gamma", dict(alpha=2.5, a=0.5, beta=2.0), st.gamma(2.5, 0.5, 2)),
    ("gamma", dict(alpha=0.3), st.gamma(0.3)),
    ("beta", dict(p=2.0, q=3.0, a=0.5, beta=2.0), st.beta(2, 3, 0.5, 2)),
    ("beta", dict(p=0.5, q=2.0), st.beta(0.5, 2)),
]

# method name, parameters, scipy law with the same parameters
INTEGER_LAWS = [
    ("poisson", dict(lam=5.0), st.poisson(5)),
    ("poisson", dict(lam=500.0, method="poisnorm"), st.poisson(500)),
    ("binomial", dict(ntrial=100, p=0.3), st.binom(100, 0.3)),
    ("geometric", dict(p=0.1), st.geom(0.1, loc=-1)),
    ("bernoulli", dict(p=0.3), st.bernoulli(0.3)),
    ("hypergeometric", dict(l=1000, s=50, m=100), st.hypergeom(1000, 100, 50)),
    ("negbinomial", dict(a=2.5, p=0.5), st.nbinom(2.5, 0.5)),
]


@pytest.mark.parametrize("law,params,reference", INTEGER_LAWS,
                         ids=[f"{l[0]}-{l[1].get('method', '')}" for l in INTEGER_LAWS])
def test_integer_laws_fit_scipy(law, params, reference):
    k = getattr(oxl.random.Stream("mt19937", 7), law)(size=50000, **params)
    assert k.dtype == np.int32 and k.shape == (50000,)
    # Chi-square at significance 1e-4 over the values expected 5 times or more, the rest lumped.
    values, counts = np.unique(k, return_counts=True)
    expected = reference.pmf(values) * k.size
    keep = expected >= 5
    rest_count, rest_expected = k.size - counts[keep].sum(), k.size - expected[keep].sum()
    stat = (((counts[keep] - expected[keep]) ** 2) / expected[keep]).sum()
    if rest_expected > 1e-9:
        stat += (rest_count - rest_expected) ** 2 / rest_expected
    assert st.chi2.sf(stat, keep.sum()) > 1e-4


def test_poisson_of_a_mean_per_output():
    means = np.array([[0.5, 5.0], [50.0, 500.0]])
    k = oxl.random.Stream("mt19937", 3).poisson(np.repeat(means[..., None], 20000, axis=2))
    assert k.shape == (2, 2, 20000) and k.dtype == np.int32
    assert np.allclose(k.mean(axis=2), means, rtol=0.03)


@pytest.mark.parametrize("dtype", ["float64", "float32"])
@pytest.mark.parametrize("law,params,reference", LAWS,
                         ids=[f"{l[0]}-{l[1].get('method', '')}" for l in LAWS])
def test_laws_fit_scipy(law, params, reference, dtype):
    x = getattr(oxl.random.Stream("mt19937", 2024), law)(size=20000, dtype=dtype, **params)
    assert x.dtype == dtype and x.shape == (20000,)
    # Kolmogorov-Smirnov at significance 1e-4 with a fixed seed.
    assert st.kstest(x.astype(np.float64), reference.cdf).pvalue > 1e-4


def test_integers_and_multivariate():
    k = oxl.random.Stream("philox4x32x10", 5).integers(-3, 4, size=70000)
    assert k.dtype == np.int32 and k.min() == -3 and k.max() == 3
    assert st.chisquare(np.bincount(k + 3)).pvalue > 1e-4
    cov = np.array([[2.0, 0.6], [0.6, 1.0]])
    v = oxl.random.Stream("mt2203", 5).gaussian_mv([1.0, -1.0], np.linalg.cholesky(cov),
                                                   size=50000)
    assert v.shape == (50000, 2)
    assert np.allclose(np.cov(v.T), cov, atol=0.05) and np.allclose(v.mean(0), [1, -1], atol=0.02)


def test_sizes():
    s = oxl.random.Stream("mcg59", 1)
    assert s.gaussian(size=(3, 4)).shape == (3, 4)
    assert s.gaussian(size=0).shape == (0,)
    assert np.ndim(s.gaussian()) == 0


@pytest.mark.parametrize("call,status", [
    (lambda s: s.gaussian(0, 0, size=3), -3),
    (lambda s: s.gaussian(0, np.nan, size=3), -3),
    (lambda s: s.uniform(1, 1, size=3), -3),
    (lambda s: s.exponential(0, -1, size=3), -3),
    (lambda s: s.weibull(0, size=3), -3),
    (lambda s: s.integers(5, 5, size=3), -3),
    (lambda s: s.gaussian(size=3, method="polar"), -2),
    (lambda s: s.gamma(0.0, size=3), -3),
    (lambda s: s.beta(1.0, -1.0, size=3), -3),
    (lambda s: s.binomial(10, 1.5, size=3), -3),
    (lambda s: s.poisson(-1.0, size=3), -3),
    (lambda s: s.poisson(1.0, size=3, method="knuth"), -2),
    (lambda s: s.gaussian(size=-1), -3),
    (lambda s: s.leapfrog(3, 2), -3),
    (lambda s: s.gaussian_mv([0.0, 0.0], np.eye(3)), -3),
    (lambda s: oxl.random.Stream("mt2203", 1, member=6024), -3),
    (lambda s: oxl.random.Stream("nosuch", 1), -1000),
    (lambda s: oxl.random.Stream("mt19937", -1), -3),
])
def test_bad_parameters_raise(call, status):
    with pytest.raises(oxl.RandomError) as info:
        call(oxl.random.Stream("mcg31", 1))
    assert info.value.status == status


def test_threads_sharing_a_stream_take_whole_blocks_of_its_sequence():
    shared = oxl.random.Stream("mt19937", 9)
    reference = shared.copy().gaussian(size=64 * 1000).reshape(64, 1000)
    blocks, lock = [], threading.Lock()

    def work():
        for _ in range(16):
            block = shared.gaussian(size=1000)
            with lock:
                blocks.append(block)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    key = lambda b: tuple(b[:3])  # noqa: E731
    assert sorted(map(key, blocks)) == sorted(map(key, reference))
