// A statistics task over owned data and result arrays, and a long-double two-pass reference.
#pragma once

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "oxl/ss.h"

namespace oxl::test {

// Every result of the moment entry, computed in long double by two passes over the data.
struct Reference {
  int64_t p = 0;
  long double W = 0, W2 = 0;
  std::vector<long double> mean, raw[3], cs[3], c[3], kurt, skew, variation, S;

  // x(i, j): dimension i, observation j; w may be empty.
  template <class X>
  Reference(int64_t p_, int64_t n, X x, const std::vector<double>& w) : p(p_) {
    auto wt = [&](int64_t j) { return w.empty() ? 1.0L : (long double)w[j]; };
    for (auto* v : {&mean, &raw[0], &raw[1], &raw[2], &cs[0], &cs[1], &cs[2], &c[0], &c[1], &c[2],
                    &kurt, &skew, &variation}) {
      v->assign(p, 0);
    }
    for (int64_t j = 0; j < n; ++j) {
      W += wt(j);
      W2 += wt(j) * wt(j);
      for (int64_t i = 0; i < p; ++i) {
        const long double v = x(i, j);
        mean[i] += wt(j) * v;
        for (int k = 0; k < 3; ++k) raw[k][i] += wt(j) * powl(v, k + 2);
      }
    }
    for (int64_t i = 0; i < p; ++i) {
      mean[i] /= W;
      for (auto& r : raw) r[i] /= W;
    }
    S.assign(p * p, 0);
    for (int64_t j = 0; j < n; ++j) {
      for (int64_t i = 0; i < p; ++i) {
        const long double d = x(i, j) - mean[i];
        for (int k = 0; k < 3; ++k) cs[k][i] += wt(j) * powl(d, k + 2);
        for (int64_t q = 0; q < p; ++q) S[i * p + q] += wt(j) * d * (x(q, j) - mean[q]);
      }
    }
    for (int64_t i = 0; i < p; ++i) {
      c[0][i] = W / (W * W - W2) * cs[0][i];
      c[1][i] = cs[1][i] / W;
      c[2][i] = cs[2][i] / W;
      kurt[i] = c[2][i] / (c[0][i] * c[0][i]) - 3;
      skew[i] = c[1][i] / sqrtl(c[0][i] * c[0][i] * c[0][i]);
      variation[i] = sqrtl(c[0][i]) / mean[i];
    }
  }
  long double Cov(int64_t a, int64_t b) const { return S[a * p + b] / (W - W2 / W); }
  long double Cor(int64_t a, int64_t b) const {
    return a == b ? Cov(a, a) : S[a * p + b] / sqrtl(S[a * p + a] * S[b * p + b]);
  }
};

// The double entry or its single-precision twin, by T.
template <class T, class D, class S>
constexpr auto Pick(D d, S s) {
  if constexpr (sizeof(T) == sizeof(double)) {
    return d;
  } else {
    return s;
  }
}

// A task of p dimensions over an owned observation matrix, with every result array of the moment
// entry registered.
template <class T>
struct Problem {
  int64_t p, n, storage;
  std::vector<T> x, w;
  std::vector<T> accum = std::vector<T>(2, T(0));
  std::vector<T> mean, raw[3], cm[3], sum, raw_sum[3], cen_sum[3], kurt, skew, variation;
  std::vector<T> cov, cor, cp;
  int64_t cov_storage = MATRIX_FULL, cor_storage = MATRIX_FULL, cp_storage = MATRIX_FULL;
  std::vector<int64_t> inclusion;
  SSTask* task = nullptr;

  Problem(int64_t p_, int64_t n_, int64_t storage_) : p(p_), n(n_), storage(storage_) {
    x.assign(p * n, T(0));
    for (auto* v : {&mean, &sum, &kurt, &skew, &variation}) v->assign(p, T(0));
    for (int k = 0; k < 3; ++k) {
      for (auto* v : {&raw[k], &cm[k], &raw_sum[k], &cen_sum[k]}) v->assign(p, T(0));
    }
    for (auto* v : {&cov, &cor, &cp}) v->assign(p * p, T(0));
    Create();
  }
  ~Problem() { __vrsSSDeleteTask(&task); }
  Problem(const Problem&) = delete;

  T& at(int64_t i, int64_t j) { return storage == STORAGE_ROWS ? x[i * n + j] : x[j * p + i]; }

  void Create() {
    Pick<T>(__vrsdSSNewTask, __vrssSSNewTask)(&task, &p, &n, &storage, x.data(), nullptr, nullptr,
                                              1);
    Pick<T>(__vrsdSSEditMoments, __vrssSSEditMoments)(task, mean.data(), raw[0].data(),
                                                      raw[1].data(), raw[2].data(), cm[0].data(),
                                                      cm[1].data(), cm[2].data());
    Pick<T>(__vrsdSSEditSums, __vrssSSEditSums)(
        task, sum.data(), raw_sum[0].data(), raw_sum[1].data(), raw_sum[2].data(),
        cen_sum[0].data(), cen_sum[1].data(), cen_sum[2].data());
    Pick<T>(__vrsdSSEditCovCor, __vrssSSEditCovCor)(task, nullptr, cov.data(), &cov_storage,
                                                    cor.data(), &cor_storage);
    Pick<T>(__vrsdSSEditCP, __vrssSSEditCP)(task, nullptr, nullptr, cp.data(), &cp_storage);
    Edit(SS_ED_KURTOSIS, kurt.data());
    Edit(SS_ED_SKEWNESS, skew.data());
    Edit(SS_ED_VARIATION, variation.data());
    Edit(SS_ED_ACCUM_WEIGHT, accum.data());
  }

  void SetWeights(std::vector<T> weights) {
    w = std::move(weights);
    Edit(SS_ED_WEIGHTS, w.data());
  }
  void SetInclusion(std::vector<int64_t> flags) {
    inclusion = std::move(flags);
    __vrsiSSEditTask(task, SS_ED_INDC, inclusion.data());
  }

  // Registers an array of this precision by its editor code.
  void Edit(int64_t code, T* array) {
    Pick<T>(__vrsdSSEditTask, __vrssSSEditTask)(task, code, array);
  }
  // Calls the entry of this precision.
  using Entry = int (*)(SSTask*, uint64_t, uint64_t, const SSThreadServices*);
  int Call(Entry d, Entry s, uint64_t estimates, uint64_t method,
           const SSThreadServices* services = nullptr) {
    return Pick<T>(d, s)(task, estimates, method, services);
  }

  int Run(uint64_t estimates, uint64_t method, const SSThreadServices* services) {
    return Call(&_vrsdSSBasic, &_vrssSSBasic, estimates, method, services);
  }

  // Fills x with skewed data of mixed scales: dimension i is centre + scale_i * (e - 1) with e
  // exponential, a few dimensions correlated with the first.
  void Fill(uint64_t seed, double centre, bool mixed_scales) {
    std::mt19937_64 gen(seed);
    std::exponential_distribution<double> e(1.0);
    for (int64_t j = 0; j < n; ++j) {
      const double first = e(gen) - 1.0;
      for (int64_t i = 0; i < p; ++i) {
        const double scale = mixed_scales ? std::ldexp(1.0, int(3 * (i % 5)) - 6) : 1.0;
        const double v = i == 0 ? first : 0.5 * first + (e(gen) - 1.0);
        at(i, j) = T(centre + (i % 3) * centre + scale * v);
      }
    }
  }

  // Observations of dimension i, in order.
  std::vector<T> Column(int64_t i) {
    std::vector<T> d(n);
    for (int64_t j = 0; j < n; ++j) d[j] = at(i, j);
    return d;
  }

  // Every result of the moment entry, one array after the other in a fixed order.
  std::vector<T> Results() const {
    std::vector<T> all;
    for (const auto* v : {&mean, &sum, &kurt, &skew, &variation, &cov, &cor, &cp, &accum}) {
      all.insert(all.end(), v->begin(), v->end());
    }
    for (int k = 0; k < 3; ++k) {
      for (const auto* v : {&raw[k], &cm[k], &raw_sum[k], &cen_sum[k]}) {
        all.insert(all.end(), v->begin(), v->end());
      }
    }
    return all;
  }

  Reference Ref() {
    std::vector<double> wd(w.begin(), w.end());
    return Reference(
        p, n, [this](int64_t i, int64_t j) { return (long double)at(i, j); }, wd);
  }
};

// Every estimate of the moment entry.
constexpr uint64_t kAllBasic = EST_MEAN | EST_RAW2 | EST_RAW3 | EST_RAW4 | EST_CENTRAL2 |
                               EST_CENTRAL3 | EST_CENTRAL4 | EST_KURTOSIS | EST_SKEWNESS |
                               EST_VARIATION | EST_COV | EST_COR | EST_SUM | EST_RAW_SUM2 |
                               EST_RAW_SUM3 | EST_RAW_SUM4 | EST_CENTRAL_SUM2 | EST_CENTRAL_SUM3 |
                               EST_CENTRAL_SUM4 | EST_CROSS_PRODUCT;

}  // namespace oxl::test
