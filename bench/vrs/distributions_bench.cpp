// Every continuous law and Gaussian method, double and float, on three generators (MT19937,
// MCG59, Philox4x32-10), beside the C++ standard library's distributions over std::mt19937_64, at
// an L1-sized and a memory-sized request. numpy's Generator and RandomState run beside these
// through bench/vrs_vs_numpy.py, which prints the ratios. Names:
// dist/<side>_<law>_<type>_<generator>/<count>, the law with its method where it has several.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "oxl/vrs.h"

namespace {

void DistSizes(benchmark::internal::Benchmark* b) { b->Arg(1000)->Arg(10000000); }

template <class T>
using Law = int32_t (*)(StreamRecord*, int32_t, T*);

template <class T>
void Oxl(benchmark::State& state, int32_t brng, Law<T> law, int32_t per_item) {
  const auto n = static_cast<int32_t>(state.range(0));
  StreamRecord* s = nullptr;
  const uint32_t seed = 777;
  __vrsNewStreamEx(&s, brng, 1, &seed);
  std::vector<T> r(static_cast<size_t>(n) * per_item);
  for (auto _ : state) {
    law(s, n, r.data());
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
  __vrsDeleteStream(&s);
}

template <class Dist>
void Std(benchmark::State& state, Dist dist) {
  using T = typename Dist::result_type;
  const auto n = static_cast<size_t>(state.range(0));
  std::mt19937_64 engine(777);
  std::vector<T> r(n);
  for (auto _ : state) {
    for (size_t i = 0; i < n; ++i) r[i] = dist(engine);
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

// The entries of each precision, by one list.
template <class T>
struct Entries;
#define OXL_DIST_ENTRIES(T, p)                                   \
  template <>                                                    \
  struct Entries<T> {                                            \
    static constexpr auto uniform = _vrs##p##RngUniform;         \
    static constexpr auto gaussian = _vrs##p##RngGaussian;       \
    static constexpr auto exponential = _vrs##p##RngExponential; \
    static constexpr auto laplace = _vrs##p##RngLaplace;         \
    static constexpr auto weibull = _vrs##p##RngWeibull;         \
    static constexpr auto cauchy = _vrs##p##RngCauchy;           \
    static constexpr auto rayleigh = _vrs##p##RngRayleigh;       \
    static constexpr auto lognormal = _vrs##p##RngLognormal;     \
    static constexpr auto gumbel = _vrs##p##RngGumbel;           \
    static constexpr auto gamma = _vrs##p##RngGamma;             \
    static constexpr auto beta = _vrs##p##RngBeta;               \
  };
OXL_DIST_ENTRIES(double, d)
OXL_DIST_ENTRIES(float, s)
#undef OXL_DIST_ENTRIES

// The parameters of each law are the ones numpy's calls take in bench/vrs_vs_numpy.py: unit
// scales, shape 2 for Weibull.
template <class T>
struct Laws {
  using E = Entries<T>;
  static int32_t Uniform(StreamRecord* s, int32_t n, T* r) { return E::uniform(0, s, n, r, 0, 1); }
  template <int kMethod>
  static int32_t Gaussian(StreamRecord* s, int32_t n, T* r) {
    return E::gaussian(kMethod, s, n, r, 0, 1);
  }
  static int32_t Exponential(StreamRecord* s, int32_t n, T* r) {
    return E::exponential(0, s, n, r, 0, 1);
  }
  static int32_t Laplace(StreamRecord* s, int32_t n, T* r) { return E::laplace(0, s, n, r, 0, 1); }
  static int32_t Weibull(StreamRecord* s, int32_t n, T* r) {
    return E::weibull(0, s, n, r, 2, 0, 1);
  }
  static int32_t Cauchy(StreamRecord* s, int32_t n, T* r) { return E::cauchy(0, s, n, r, 0, 1); }
  static int32_t Rayleigh(StreamRecord* s, int32_t n, T* r) {
    return E::rayleigh(0, s, n, r, 0, 1);
  }
  static int32_t Lognormal(StreamRecord* s, int32_t n, T* r) {
    return E::lognormal(0, s, n, r, 0, 1, 0, 1);
  }
  static int32_t Gumbel(StreamRecord* s, int32_t n, T* r) { return E::gumbel(0, s, n, r, 0, 1); }
  // Gamma of a shape above 1 and below 0.6 (two of its four methods), Beta of both shapes above 1.
  template <int kTenths>
  static int32_t Gamma(StreamRecord* s, int32_t n, T* r) {
    return E::gamma(0, s, n, r, T(kTenths) / 10, 0, 1);
  }
  static int32_t Beta23(StreamRecord* s, int32_t n, T* r) {
    return E::beta(0, s, n, r, 2, 3, 0, 1);
  }
};

// Ten components per item, a full lower factor with ones on the diagonal and halves below.
int32_t GaussianMV10(StreamRecord* s, int32_t n, double* r) {
  static const std::vector<double> mean(10, 0.0);
  static const std::vector<double> factor = [] {
    std::vector<double> t(100, 0.0);
    for (int i = 0; i < 10; ++i)
      for (int j = 0; j <= i; ++j) t[i * 10 + j] = i == j ? 1.0 : 0.5;
    return t;
  }();
  return _vrsdRngGaussianMV(OXL_RNG_GAUSSIAN_BOXMULLER2, s, n, r, 10, MatrixFull, mean.data(),
                            factor.data());
}

template <class T>
void RegisterType(const char* type) {
  using L = Laws<T>;
  struct Row {
    const char* law;
    Law<T> fn;
  };
  const Row rows[] = {
      {"uniform", &L::Uniform},
      {"gaussian-boxmuller", &L::template Gaussian<OXL_RNG_GAUSSIAN_BOXMULLER>},
      {"gaussian-boxmuller2", &L::template Gaussian<OXL_RNG_GAUSSIAN_BOXMULLER2>},
      {"gaussian-icdf", &L::template Gaussian<OXL_RNG_GAUSSIAN_ICDF>},
      {"exponential", &L::Exponential},
      {"laplace", &L::Laplace},
      {"weibull", &L::Weibull},
      {"cauchy", &L::Cauchy},
      {"rayleigh", &L::Rayleigh},
      {"lognormal", &L::Lognormal},
      {"gumbel", &L::Gumbel},
      {"gamma2.5", &L::template Gamma<25>},
      {"gamma0.5", &L::template Gamma<5>},
      {"beta2,3", &L::Beta23},
  };
  const struct {
    const char* name;
    int32_t brng;
  } generators[] = {
      {"mt19937", OXL_BRNG_MT19937}, {"mcg59", OXL_BRNG_MCG59}, {"philox", OXL_BRNG_PHILOX4X32X10}};
  for (const auto& g : generators) {
    for (const Row& row : rows) {
      const std::string name = std::string("dist/oxl_") + row.law + "_" + type + "_" + g.name;
      benchmark::RegisterBenchmark(name.c_str(), Oxl<T>, g.brng, row.fn, 1)->Apply(DistSizes);
    }
  }
  const std::string tail = std::string("_") + type + "_mt19937-64";
  auto std_row = [&](const char* law, auto dist) {
    benchmark::RegisterBenchmark(("dist/std_" + std::string(law) + tail).c_str(),
                                 Std<decltype(dist)>, dist)
        ->Apply(DistSizes);
  };
  std_row("uniform", std::uniform_real_distribution<T>());
  std_row("gaussian", std::normal_distribution<T>());
  std_row("exponential", std::exponential_distribution<T>());
  std_row("weibull", std::weibull_distribution<T>(T(2), T(1)));
  std_row("cauchy", std::cauchy_distribution<T>());
  std_row("lognormal", std::lognormal_distribution<T>());
  // The largest-extreme law: the mirror of ours, drawn by the same arithmetic.
  std_row("gumbel", std::extreme_value_distribution<T>());
  std_row("gamma2.5", std::gamma_distribution<T>(T(2.5)));
  std_row("gamma0.5", std::gamma_distribution<T>(T(0.5)));
}

// ---- Integer laws, at the parameters of numpy's calls in bench/vrs_vs_numpy.py; the standard
// library's Poisson, binomial and geometric distributions beside them.
void RegisterIntegers() {
  const struct {
    const char* law;
    Law<int32_t> fn;
  } rows[] = {
      {"poisson5-ptpe",
       [](StreamRecord* s, int32_t n, int32_t* r) { return _vrsiRngPoisson(0, s, n, r, 5.0); }},
      {"poisson5-poisnorm",
       [](StreamRecord* s, int32_t n, int32_t* r) { return _vrsiRngPoisson(1, s, n, r, 5.0); }},
      {"poisson500-ptpe",
       [](StreamRecord* s, int32_t n, int32_t* r) { return _vrsiRngPoisson(0, s, n, r, 500.0); }},
      {"poisson500-poisnorm",
       [](StreamRecord* s, int32_t n, int32_t* r) { return _vrsiRngPoisson(1, s, n, r, 500.0); }},
      {"binomial", [](StreamRecord* s, int32_t n,
                      int32_t* r) { return _vrsiRngBinomial(0, s, n, r, 100, 0.3); }},
      {"geometric",
       [](StreamRecord* s, int32_t n, int32_t* r) { return _vrsiRngGeometric(0, s, n, r, 0.1); }},
      {"hypergeometric",
       [](StreamRecord* s, int32_t n, int32_t* r) {
         return _vrsiRngHypergeometric(0, s, n, r, 1000, 50, 100);
       }},
  };
  for (const auto& row : rows) {
    const std::string name = std::string("dist/oxl_") + row.law + "_i_mt19937";
    benchmark::RegisterBenchmark(name.c_str(), Oxl<int32_t>, OXL_BRNG_MT19937, row.fn, 1)
        ->Apply(DistSizes);
  }
  auto std_row = [](const char* law, auto dist) {
    benchmark::RegisterBenchmark(("dist/std_" + std::string(law) + "_i_mt19937-64").c_str(),
                                 Std<decltype(dist)>, dist)
        ->Apply(DistSizes);
  };
  std_row("poisson5", std::poisson_distribution<int32_t>(5.0));
  std_row("poisson500", std::poisson_distribution<int32_t>(500.0));
  std_row("binomial", std::binomial_distribution<int32_t>(100, 0.3));
  std_row("geometric", std::geometric_distribution<int32_t>(0.1));
}

const bool kRegistered = [] {
  RegisterType<double>("d");
  RegisterType<float>("s");
  RegisterIntegers();
  for (const auto& [name, brng] :
       {std::pair{"mt19937", OXL_BRNG_MT19937}, std::pair{"mcg59", OXL_BRNG_MCG59},
        std::pair{"philox", OXL_BRNG_PHILOX4X32X10}}) {
    benchmark::RegisterBenchmark((std::string("dist/oxl_gaussianmv10_d_") + name).c_str(),
                                 Oxl<double>, brng, &GaussianMV10, 10)
        ->Arg(1000)
        ->Arg(1000000);
  }
  return true;
}();

}  // namespace
