// The moment and covariance entry against a long-double two-pass reference, progressive blocks,
// thread splits, statuses and the edge cases of masks, weights and matrix forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <string>

#include "oxl/platform.h"
#include "support/failing_allocator.h"
#include "support/fake_threads.h"
#include "support/targets.h"
#include "stats/task.h"
#include "stats/stats_fixture.h"

namespace oxl::test {
namespace {

double Rel(long double got, long double ref) {
  return double(fabsl(got - ref) / std::max(fabsl(ref), 1e-300L));
}

// Worst relative error of every estimate of `pb` against `ref`, by estimate group.
template <class T>
std::map<std::string, double> Errors(Problem<T>& pb, const Reference& ref, bool givenMean) {
  std::map<std::string, double> e;
  auto upd = [&e](const char* name, double v) { e[name] = std::max(e[name], v); };
  const int64_t p = pb.p;
  for (int64_t i = 0; i < p; ++i) {
    if (!givenMean) upd("mean", Rel(pb.mean[i], ref.mean[i]));
    upd("sum", Rel(pb.sum[i], ref.W * ref.mean[i]));
    for (int k = 0; k < 3; ++k) {
      upd("raw", Rel(pb.raw[k][i], ref.raw[k][i]));
      upd("raw sum", Rel(pb.rawSum[k][i], ref.W * ref.raw[k][i]));
      upd("central", Rel(pb.cm[k][i], ref.c[k][i]));
      upd("central sum", Rel(pb.cenSum[k][i], ref.cs[k][i]));
    }
    upd("kurtosis", Rel(pb.kurt[i], ref.kurt[i]));
    upd("skewness", Rel(pb.skew[i], ref.skew[i]));
    upd("variation", Rel(pb.variation[i], ref.variation[i]));
    for (int64_t k = 0; k < p; ++k) {
      upd("cov", Rel(pb.cov[i * p + k], ref.Cov(i, k)));
      upd("cor", Rel(pb.cor[i * p + k], ref.Cor(i, k)));
      upd("cross-product", Rel(pb.cp[i * p + k], ref.S[i * p + k]));
    }
  }
  return e;
}

std::vector<double> RandomWeights(int64_t n, uint64_t seed) {
  std::mt19937_64 gen(seed);
  std::uniform_real_distribution<double> u(0.0, 2.0);
  std::vector<double> w(n);
  for (auto& v : w) v = u(gen);
  w[0] = w[1] = 0.0;  // leading zero weights are skipped
  return w;
}

struct MethodCase {
  const char* name;
  uint64_t method;
};
constexpr MethodCase kMethods[] = {
    {"one-pass", METHOD_ONE_PASS}, {"fast", METHOD_SUMS}, {"given-mean", METHOD_GIVEN_MEAN}};

// Every estimate, every method, both storages, with and without weights, on well-conditioned
// data (centre 1) and on data far from zero (centre 1e8, spread 1, mixed scales). Bounds are per
// method and data kind; the power-sum method (and the given-mean covariance, which is built from
// raw products as well) cancels on the far data by design and is only reported there. The raw
// products go over several chunks of observations.
TEST(BasicAccuracy, AgainstLongDoubleReference) {
  struct DataCase {
    const char* name;
    double centre;
    double bound[3];  // one-pass, fast, given-mean
  };
  const DataCase kData[] = {{"random", 1.0, {1e-13, 1e-7, 1e-13}},
                            {"far from zero", 1e8, {1e-6, -1, 2e-6}}};
  ForEachTarget([&](const std::string& target) {
    for (const DataCase& data : kData) {
      for (int m = 0; m < 3; ++m) {
        std::map<std::string, double> worst;
        for (int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
          for (bool weighted : {false, true}) {
            Problem<double> pb(5, 7001, storage);
            pb.Fill(11 + storage, data.centre, true);
            if (weighted) pb.SetWeights(RandomWeights(pb.n, 5));
            const Reference ref = pb.Ref();
            if (kMethods[m].method == METHOD_GIVEN_MEAN) {
              for (int64_t i = 0; i < pb.p; ++i) pb.mean[i] = double(ref.mean[i]);
            }
            ASSERT_EQ(pb.Run(kAllBasic, kMethods[m].method, nullptr), 0);
            EXPECT_LE(Rel(pb.accum[0], ref.W), 1e-15);
            for (auto& [name, err] : Errors(pb, ref, kMethods[m].method == METHOD_GIVEN_MEAN)) {
              worst[name] = std::max(worst[name], err);
            }
          }
        }
        double overall = 0;
        for (auto& [name, err] : worst) {
          const bool fromRawProducts =
              m == 2 && (name == "cov" || name == "cor" || name == "cross-product");
          std::printf("%-7s %-14s %-11s %-14s worst relative error %.3g\n", target.c_str(),
                      data.name, kMethods[m].name, name.c_str(), err);
          if (!fromRawProducts) overall = std::max(overall, err);
        }
        if (data.bound[m] > 0) {
          EXPECT_LE(overall, data.bound[m]) << data.name << " " << kMethods[m].name;
        }
      }
    }
  });
}

// A large matrix on one thread: the raw products go over many tiles, and the one-pass kernels of
// columns storage keep their sums in memory rather than registers. The same accuracy, every
// method, storage and weighting.
TEST(BasicAccuracy, LargeMatrixOnOneThread) {
  for (int m = 0; m < 3; ++m) {
    for (int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
      for (bool weighted : {false, true}) {
        Problem<double> pb(40, 1500, storage);
        pb.Fill(8, 1.0, false);
        if (weighted) pb.SetWeights(RandomWeights(pb.n, 6));
        const Reference ref = pb.Ref();
        for (int64_t i = 0; i < pb.p; ++i) pb.mean[i] = double(ref.mean[i]);
        ASSERT_EQ(pb.Run(EST_COV | EST_CROSS_PRODUCT, kMethods[m].method, nullptr), 0);
        const std::map<std::string, double> e = Errors(pb, ref, true);
        EXPECT_LE(std::max(e.at("cov"), e.at("cross-product")), 1e-11)
            << kMethods[m].name << " storage " << storage << " weighted " << weighted;
      }
    }
  }
}

TEST(BasicAccuracy, SingleTwinAgreesWithReference) {
  for (int m = 0; m < 3; ++m) {
    for (int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
      Problem<float> pb(4, 2000, storage);
      pb.Fill(3, 1.0, false);
      pb.SetWeights(std::vector<float>(pb.n, 0.5f));
      const Reference ref = pb.Ref();
      if (kMethods[m].method == METHOD_GIVEN_MEAN) {
        for (int64_t i = 0; i < pb.p; ++i) pb.mean[i] = float(ref.mean[i]);
      }
      ASSERT_EQ(pb.Run(kAllBasic, kMethods[m].method, nullptr), 0);
      for (auto& [name, err] : Errors(pb, ref, kMethods[m].method == METHOD_GIVEN_MEAN)) {
        EXPECT_LE(err, 2e-4) << kMethods[m].name << " " << name;
      }
    }
  }
}

// Single-precision data with millions of observations: the running state is kept in double, so
// that the variance does not drift as the merges of blocks pile up (a float state loses about a
// bit per doubling of n).
TEST(BasicAccuracy, SingleVarianceDoesNotDrift) {
  Problem<float> pb(1, int64_t{1} << 22, STORAGE_ROWS);
  pb.Fill(5, 1.0, false);
  long double mean = 0, c2 = 0;
  for (float v : pb.x) mean += v;
  mean /= pb.n;
  for (float v : pb.x) c2 += (v - mean) * (v - mean);
  ASSERT_EQ(pb.Run(EST_MEAN | EST_CENTRAL2, METHOD_ONE_PASS, nullptr), 0);
  EXPECT_LE(Rel(pb.cm[0][0], double(c2 / (pb.n - 1))), 2e-7);
  EXPECT_LE(Rel(pb.mean[0], double(mean)), 2e-7);
}

// Every target gives the same bits: the kernels fix the order of every sum and fuse nothing.
TEST(BasicAccuracy, SameBitsOnEveryTarget) {
  for (int m = 0; m < 3; ++m) {
    for (int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
      std::vector<std::vector<double>> firsts;
      ForEachTarget([&](const std::string&) {
        Problem<double> pb(7, 1001, storage);
        pb.Fill(4, 2.0, true);
        pb.SetWeights(RandomWeights(pb.n, 1));
        pb.mean = {2, 4, 6, 2, 4, 6, 2};
        ASSERT_EQ(pb.Run(kAllBasic, kMethods[m].method, FakeThreads::StatsTable(3)), 0);
        std::vector<double> all = pb.cov;
        for (auto* v : {&pb.mean, &pb.raw[2], &pb.cm[1], &pb.cm[2], &pb.kurt, &pb.accum}) {
          all.insert(all.end(), v->begin(), v->end());
        }
        firsts.push_back(all);
      });
      for (size_t t = 1; t < firsts.size(); ++t) {
        EXPECT_EQ(firsts[t], firsts[0]) << kMethods[m].name << " target " << t;
      }
    }
  }
}

// The raw products of columns storage come straight from the observation vectors with the
// partial sums of the rows kernel: with a given mean, S is the same in both storages, bit for
// bit, on every target. Dimensions around the register widths (partial registers, odd rows),
// three threads with shares of one to a few blocks and ragged tails, one thread over several
// chunks, weights and the single-precision twin.
template <class T>
void ColumnsMatchRows() {
  struct Case {
    int64_t p, n;
    int32_t threads;
  };
  std::vector<Case> cases;
  for (int64_t p : {2, 3, 5, 8, 9, 10, 17, 33}) {
    // Enough work for three threads (n p^2 >= 3 * 2^13).
    const int64_t least = 3 * 8192 / (p * p) + 1109;
    cases.push_back({p, least, 3});
    cases.push_back({p, least + 1003, 3});
  }
  cases.push_back({3, 22281, 1});
  cases.push_back({10, 7001, 1});
  std::vector<std::vector<T>> perTarget;  // every case's S, one after the other
  ForEachTarget([&](const std::string&) {
    std::vector<T> all;
    for (const Case& c : cases) {
      for (bool weighted : {false, true}) {
        std::vector<T> byStorage[2];
        for (int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
          Problem<T> pb(c.p, c.n, storage);
          pb.Fill(c.p + c.n, 1.0, true);
          if (weighted) {
            const std::vector<double> w = RandomWeights(c.n, 2);
            pb.SetWeights(std::vector<T>(w.begin(), w.end()));
          }
          for (int64_t i = 0; i < c.p; ++i) pb.mean[i] = T(1 + i % 3);
          EXPECT_EQ(pb.Run(EST_CROSS_PRODUCT | EST_COV, METHOD_GIVEN_MEAN,
                           FakeThreads::StatsTable(c.threads)),
                    0);
          EXPECT_EQ(FakeThreads::calls, c.threads > 1 ? 1 : 0);
          std::vector<T>& s = byStorage[storage == STORAGE_COLS ? 1 : 0];
          s = pb.cp;
          s.insert(s.end(), pb.cov.begin(), pb.cov.end());
        }
        EXPECT_EQ(byStorage[1], byStorage[0])
            << "p " << c.p << " n " << c.n << " weighted " << weighted;
        all.insert(all.end(), byStorage[1].begin(), byStorage[1].end());
      }
    }
    perTarget.push_back(std::move(all));
  });
  for (size_t t = 1; t < perTarget.size(); ++t) EXPECT_TRUE(perTarget[t] == perTarget[0]) << t;
}

// Power sums along columns storage add each dimension's powers observation after observation:
// the raw moments of the power-sum method are those of that plain loop, bit for bit, on every
// target, for dimension counts that fill several tiles of registers. 110 observations by 70
// dimensions are less work than two shares, so the plain loop runs over all of them.
TEST(BasicAccuracy, ColumnsPowerSumsInObservationOrder) {
  ForEachTarget([&](const std::string&) {
    for (int64_t p : {2, 7, 9, 31, 33, 70}) {
      for (bool weighted : {false, true}) {
        Problem<double> pb(p, 110, STORAGE_COLS);
        pb.Fill(p, 1.0, true);
        if (weighted) pb.SetWeights(RandomWeights(pb.n, 4));
        ASSERT_EQ(pb.Run(EST_MEAN | EST_RAW2 | EST_RAW3 | EST_RAW4, METHOD_SUMS, nullptr), 0);
        const double inv = 1.0 / pb.accum[0];
        for (int64_t i = 0; i < p; ++i) {
          double s[4] = {};
          for (int64_t j = 0; j < pb.n; ++j) {
            const double v = pb.at(i, j), wv = weighted ? pb.w[j] * v : v, wv2 = wv * v;
            s[0] += wv;
            s[1] += wv2;
            s[2] += wv2 * v;
            s[3] += wv2 * (v * v);
          }
          const double got[4] = {pb.mean[i], pb.raw[0][i], pb.raw[1][i], pb.raw[2][i]};
          for (int k = 0; k < 4; ++k) {
            EXPECT_EQ(got[k], s[k] * inv) << "p " << p << " dimension " << i << " power " << k;
          }
        }
      }
    }
  });
}

TEST(BasicAccuracy, ColumnsGiveTheBitsOfRows) {
  ColumnsMatchRows<double>();
  ColumnsMatchRows<float>();
}

// Copies observations [j0, j1) of `pb` into `block` in the same storage.
template <class T>
void CopyBlock(Problem<T>& pb, int64_t j0, int64_t j1, std::vector<T>& block) {
  const int64_t len = j1 - j0;
  block.resize(pb.p * len);
  for (int64_t i = 0; i < pb.p; ++i) {
    for (int64_t j = j0; j < j1; ++j) {
      block[pb.storage == STORAGE_ROWS ? i * len + (j - j0) : (j - j0) * pb.p + i] = pb.at(i, j);
    }
  }
}

// Several calls over consecutive blocks give the results of one call, every method, every
// matrix form: S goes back and forth through covariance, correlation or cross-product.
TEST(BasicProgressive, BlocksEqualOneCall) {
  const int64_t cuts[] = {0, 50, 700, 701, 2999, 3001};
  for (int m = 0; m < 3; ++m) {
    for (int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
      for (uint64_t matrixEst : {EST_COV | EST_COR, EST_COR, EST_CROSS_PRODUCT}) {
        for (bool weighted : {false, true}) {
          const uint64_t est = (kAllBasic & ~(EST_COV | EST_COR | EST_CROSS_PRODUCT)) | matrixEst;
          Problem<double> whole(4, 3001, storage), parts(4, 3001, storage);
          whole.Fill(7, 3.0, false);
          parts.x = whole.x;
          if (weighted) {
            whole.SetWeights(RandomWeights(whole.n, 9));
            parts.w = whole.w;
          }
          // Near the data's means: S of the given-mean method is built about the given mean.
          whole.mean = parts.mean = {2.875, 5.875, 8.75, 2.9375};
          ASSERT_EQ(whole.Run(est, kMethods[m].method, nullptr), 0);
          std::vector<double> block, wblock;
          for (int b = 0; b + 1 < int(std::size(cuts)); ++b) {
            CopyBlock(parts, cuts[b], cuts[b + 1], block);
            int64_t len = cuts[b + 1] - cuts[b];
            __vrsdSSEditTask(parts.task, SS_ED_OBSERV, block.data());
            __vrsiSSEditTask(parts.task, SS_ED_OBSERV_N, &len);
            if (weighted) {
              wblock.assign(parts.w.begin() + cuts[b], parts.w.begin() + cuts[b + 1]);
              __vrsdSSEditTask(parts.task, SS_ED_WEIGHTS, wblock.data());
            }
            ASSERT_EQ(parts.Run(est, kMethods[m].method, nullptr), 0);
          }
          const double tol = kMethods[m].method == METHOD_SUMS ? 1e-10 : 1e-12;
          auto near = [&](const std::vector<double>& a, const std::vector<double>& b,
                          const char* what) {
            for (size_t i = 0; i < a.size(); ++i) {
              ASSERT_LE(Rel(b[i], a[i]), tol)
                  << kMethods[m].name << " " << what << "[" << i << "] storage " << storage
                  << " weighted " << weighted << " matrix " << matrixEst;
            }
          };
          near(whole.accum, parts.accum, "W");
          near(whole.mean, parts.mean, "mean");
          for (int k = 0; k < 3; ++k) {
            near(whole.raw[k], parts.raw[k], "raw");
            near(whole.cm[k], parts.cm[k], "central");
            near(whole.cenSum[k], parts.cenSum[k], "central sum");
          }
          near(whole.kurt, parts.kurt, "kurtosis");
          if (matrixEst & EST_COV) near(whole.cov, parts.cov, "cov");
          if (matrixEst & EST_COR) near(whole.cor, parts.cor, "cor");
          if (matrixEst & EST_CROSS_PRODUCT) near(whole.cp, parts.cp, "cross-product");
        }
      }
    }
  }
}

// Thread splits: 1 to 8 threads (run one after the other, last first) give the same bits, since
// the observations go in shares that do not depend on the thread count; ranges too short for a
// share run on one thread without the service.
TEST(BasicThreads, SplitsGiveTheSameBitsAndShortRangesStayOnOneThread) {
  for (int m = 0; m < 3; ++m) {
    for (int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
      for (bool weighted : {false, true}) {
        Problem<double> one(6, 4099, storage);
        one.Fill(21, 2.0, true);
        if (weighted) one.SetWeights(RandomWeights(one.n, 3));
        one.mean = {2, 4, 6, 2, 4, 6};
        ASSERT_EQ(one.Run(kAllBasic, kMethods[m].method, FakeThreads::StatsTable(1)), 0);
        for (int32_t t = 2; t <= 8; ++t) {
          Problem<double> many(6, 4099, storage);
          many.x = one.x;
          if (weighted) many.SetWeights(one.w);
          many.mean = {2, 4, 6, 2, 4, 6};
          ASSERT_EQ(many.Run(kAllBasic, kMethods[m].method, FakeThreads::StatsTable(t)), 0);
          EXPECT_EQ(FakeThreads::calls, 1);
          for (int k = 0; k < 3; ++k) {
            EXPECT_EQ(many.raw[k], one.raw[k]) << t << kMethods[m].name;
            EXPECT_EQ(many.cm[k], one.cm[k]) << t << kMethods[m].name;
          }
          EXPECT_EQ(many.mean, one.mean) << t << kMethods[m].name;
          EXPECT_EQ(many.skew, one.skew) << t << kMethods[m].name;
          EXPECT_EQ(many.cov, one.cov) << t << kMethods[m].name;
          EXPECT_EQ(many.accum, one.accum);
        }
      }
    }
  }
  Problem<double> small(1, 15, STORAGE_ROWS);
  small.Fill(1, 0.0, false);
  ASSERT_EQ(
      small.Run(EST_MEAN | EST_CENTRAL2 | EST_RAW2, METHOD_ONE_PASS, FakeThreads::StatsTable(8)),
      0);
  EXPECT_EQ(FakeThreads::calls, 0);
}

TEST(BasicStatus, ChecksInOrder) {
  Problem<double> pb(3, 100, STORAGE_COLS);
  pb.Fill(1, 0.0, false);
  EXPECT_EQ(_vrsdSSBasic(nullptr, EST_MEAN, METHOD_ONE_PASS, nullptr), -4031);
  EXPECT_EQ(pb.Run(EST_MEAN, METHOD_ONE_PASS | METHOD_SUMS, nullptr), -4029);
  EXPECT_EQ(pb.Run(EST_MEAN, 0, nullptr), -4029);
  EXPECT_EQ(pb.Run(EST_SUM, METHOD_CONVERT_A, nullptr), -4029);  // index 20
  EXPECT_EQ(pb.Run(EST_MEAN | EST_RAW2, METHOD_CONVERT_B, nullptr), 0);

  // The lowest missing index wins; a central moment demands the raw moment of its order.
  __vrsSSDeleteTask(&pb.task);
  __vrsdSSNewTask(&pb.task, &pb.p, &pb.n, &pb.storage, pb.x.data(), nullptr, nullptr, 1);
  std::vector<double> c2(3), s(3), cov(9);
  __vrsdSSEditTask(pb.task, SS_ED_2C_MOM, c2.data());
  EXPECT_EQ(pb.Run(EST_CENTRAL2, METHOD_ONE_PASS, nullptr), -4006);
  __vrsdSSEditTask(pb.task, SS_ED_MEAN, pb.mean.data());
  EXPECT_EQ(pb.Run(EST_CENTRAL2, METHOD_ONE_PASS, nullptr), -4007);
  EXPECT_EQ(pb.Run(EST_SUM, METHOD_ONE_PASS, nullptr), -4074);
  EXPECT_EQ(pb.Run(EST_CENTRAL_SUM2, METHOD_SUMS, nullptr), -4007);  // fast demands raw 2
  EXPECT_EQ(pb.Run(EST_CENTRAL_SUM2, METHOD_ONE_PASS, nullptr), -4078);
  EXPECT_EQ(pb.Run(EST_COV, METHOD_ONE_PASS, nullptr), -4018);
  __vrsdSSEditTask(pb.task, SS_ED_COV, cov.data());
  EXPECT_EQ(pb.Run(EST_COV, METHOD_ONE_PASS, nullptr), -4044);  // no storage word

  // Observations, x and its storage, weights without accumulated weights.
  int64_t zero = 0, bad = 7;
  __vrsiSSEditTask(pb.task, SS_ED_OBSERV_N, &zero);
  EXPECT_EQ(pb.Run(EST_MEAN, METHOD_ONE_PASS, nullptr), -4002);
  __vrsiSSEditTask(pb.task, SS_ED_OBSERV_N, &pb.n);
  __vrsiSSEditTask(pb.task, SS_ED_OBSERV_STORAGE, &bad);
  EXPECT_EQ(pb.Run(EST_MEAN, METHOD_ONE_PASS, nullptr), -4003);
  __vrsiSSEditTask(pb.task, SS_ED_OBSERV_STORAGE, &pb.storage);
  std::vector<double> w(100, 1.0);
  __vrsdSSEditTask(pb.task, SS_ED_WEIGHTS, w.data());
  EXPECT_EQ(pb.Run(EST_MEAN, METHOD_ONE_PASS, nullptr), -4020);
  __vrsdSSEditTask(pb.task, SS_ED_ACCUM_WEIGHT, pb.accum.data());
  EXPECT_EQ(pb.Run(EST_MEAN, METHOD_ONE_PASS, nullptr), 0);
}

// Dimensions whose work memory cannot be sized (p^2 products of 2^65 bytes, p past 2^31) are
// refused with the memory status before any allocation and before anything is written.
TEST(BasicStatus, DimensionsPastTheLayoutAreRefused) {
  const struct {
    int64_t p;
    uint64_t estimates;
  } rows[] = {
      {INT32_MAX, EST_COV}, {(int64_t{1} << 31) + 1, EST_MEAN}, {int64_t{1} << 62, EST_MEAN}};
  for (const auto& row : rows) {
    Problem<double> pb(3, 100, STORAGE_COLS);
    pb.Fill(1, 0.0, false);
    pb.p = row.p;  // the task reads the dimension through its pointer at compute time
    AllocationScope scope;
    EXPECT_EQ(pb.Run(row.estimates, METHOD_ONE_PASS, nullptr), -4000) << row.p;
    EXPECT_EQ(scope.allocations(), 0) << row.p;
    EXPECT_EQ(pb.mean, std::vector<double>(3, 0.0));
    EXPECT_EQ(pb.cov, std::vector<double>(9, 0.0));
  }
}

// Weights: zeros leave W and the raw moments at zero; integer weights equal repeated
// observations.
TEST(BasicEdges, Weights) {
  Problem<double> pb(2, 40, STORAGE_ROWS);
  pb.Fill(2, 1.0, false);
  pb.SetWeights(std::vector<double>(40, 0.0));
  std::fill(pb.raw[0].begin(), pb.raw[0].end(), 99.0);
  ASSERT_EQ(pb.Run(EST_MEAN | EST_RAW2 | EST_CENTRAL2, METHOD_ONE_PASS, nullptr), 0);
  EXPECT_EQ(pb.accum[0], 0.0);
  EXPECT_EQ(pb.raw[0][0], 0.0);
  EXPECT_EQ(pb.mean[1], 0.0);

  Problem<double> rep(2, 60, STORAGE_COLS), wtd(2, 40, STORAGE_COLS);
  wtd.Fill(4, 1.0, false);
  std::vector<double> w(40, 1.0);
  for (int64_t j = 0; j < 20; ++j) {
    w[j] = 2.0;
    for (int64_t i = 0; i < 2; ++i) rep.at(i, 2 * j) = rep.at(i, 2 * j + 1) = wtd.at(i, j);
  }
  for (int64_t j = 20; j < 40; ++j) {
    for (int64_t i = 0; i < 2; ++i) rep.at(i, j + 20) = wtd.at(i, j);
  }
  wtd.SetWeights(w);
  for (auto* pb2 : {&rep, &wtd}) {
    ASSERT_EQ(
        pb2->Run(EST_MEAN | EST_CENTRAL3 | EST_RAW4 | EST_CROSS_PRODUCT, METHOD_ONE_PASS, nullptr),
        0);
  }
  for (int64_t i = 0; i < 2; ++i) {
    EXPECT_NEAR(wtd.mean[i], rep.mean[i], 1e-14);
    EXPECT_NEAR(wtd.cm[1][i], rep.cm[1][i], 1e-13);
    EXPECT_NEAR(wtd.raw[2][i], rep.raw[2][i], 1e-12);
  }
  for (int64_t i = 0; i < 4; ++i) EXPECT_NEAR(wtd.cp[i], rep.cp[i], 1e-12);
}

// Inclusion flags: results of a dimension left out, and the matrix entries of its row and
// column, stay as they were; the others are those of a run without flags.
TEST(BasicEdges, InclusionLeavesResultsUntouched) {
  for (int m = 0; m < 3; ++m) {
    Problem<double> all(4, 500, STORAGE_COLS), some(4, 500, STORAGE_COLS);
    all.Fill(8, 1.0, false);
    some.x = all.x;
    all.mean = some.mean = {1, 1.5, 2, 1};
    some.SetInclusion({1, 0, 1, 1});
    for (auto* v : {&some.cov, &some.cor, &some.kurt, &some.cm[0], &some.rawSum[1]}) {
      std::fill(v->begin(), v->end(), -7.0);
    }
    if (m != 2) some.mean[1] = -7.0;
    ASSERT_EQ(all.Run(kAllBasic, kMethods[m].method, nullptr), 0);
    ASSERT_EQ(some.Run(kAllBasic, kMethods[m].method, nullptr), 0);
    for (int64_t i = 0; i < 4; ++i) {
      for (auto [a, s] : {std::pair{&all.kurt, &some.kurt},
                          {&all.cm[0], &some.cm[0]},
                          {&all.rawSum[1], &some.rawSum[1]},
                          {&all.mean, &some.mean}}) {
        if (m == 2 && a == &all.mean) continue;  // the given mean is input
        if (i == 1) {
          EXPECT_EQ((*s)[i], -7.0) << kMethods[m].name;
        } else {
          EXPECT_EQ((*s)[i], (*a)[i]) << kMethods[m].name;
        }
      }
      for (int64_t k = 0; k < 4; ++k) {
        const bool out = i == 1 || k == 1;
        EXPECT_EQ(some.cov[i * 4 + k], out ? -7.0 : all.cov[i * 4 + k]);
        EXPECT_EQ(some.cor[i * 4 + k], out ? -7.0 : all.cor[i * 4 + k]);
      }
    }
  }
}

// Packed forms hold the triangles of the full matrix; the diagonal of cor is the variance.
TEST(BasicEdges, PackedMatricesAndCorrelationDiagonal) {
  Problem<double> full(5, 300, STORAGE_ROWS), packed(5, 300, STORAGE_ROWS);
  full.Fill(5, 1.0, true);
  packed.x = full.x;
  packed.covStorage = MATRIX_LOWER_PACKED;
  packed.corStorage = MATRIX_UPPER_PACKED;
  packed.cpStorage = MATRIX_LOWER_PACKED | MATRIX_UPPER_PACKED;  // the upper bit is tested first
  const uint64_t est = EST_COV | EST_COR | EST_CROSS_PRODUCT | EST_CENTRAL2 | EST_RAW2 | EST_MEAN;
  ASSERT_EQ(full.Run(est, METHOD_ONE_PASS, nullptr), 0);
  ASSERT_EQ(packed.Run(est, METHOD_ONE_PASS, nullptr), 0);
  const int64_t p = 5;
  int64_t lower = 0, upper = 0;
  for (int64_t r = 0; r < p; ++r) {
    EXPECT_EQ(full.cor[r * p + r], full.cm[0][r]);
    EXPECT_NEAR(full.cov[r * p + r], full.cm[0][r], 1e-15 * full.cm[0][r]);
    for (int64_t c = 0; c < p; ++c) {
      EXPECT_EQ(full.cov[r * p + c], full.cov[c * p + r]);
      if (c <= r) {
        EXPECT_EQ(packed.cov[lower++], full.cov[r * p + c]);
      }
      if (c >= r) {
        EXPECT_EQ(packed.cor[upper], full.cor[r * p + c]);
        EXPECT_EQ(packed.cp[upper++], full.cp[r * p + c]);
      }
    }
  }
}

// Conversions turn stored sums into the moments that a direct call gives.
TEST(BasicEdges, ConversionsFromSums) {
  Problem<double> direct(3, 400, STORAGE_COLS), sums(3, 400, STORAGE_COLS);
  direct.Fill(6, 1.0, false);
  sums.x = direct.x;
  sums.cpStorage = MATRIX_UPPER_PACKED;
  ASSERT_EQ(direct.Run(kAllBasic, METHOD_ONE_PASS, nullptr), 0);
  ASSERT_EQ(sums.Run(EST_SUM | EST_RAW_SUM2 | EST_RAW_SUM3 | EST_RAW_SUM4 | EST_CENTRAL_SUM2 |
                         EST_CENTRAL_SUM3 | EST_CENTRAL_SUM4 | EST_CROSS_PRODUCT,
                     METHOD_ONE_PASS, nullptr),
            0);
  ASSERT_EQ(sums.Run(kAllBasic &
                         ~(EST_SUM | EST_RAW_SUM2 | EST_RAW_SUM3 | EST_RAW_SUM4 | EST_CENTRAL_SUM2 |
                           EST_CENTRAL_SUM3 | EST_CENTRAL_SUM4 | EST_CROSS_PRODUCT),
                     METHOD_CONVERT_A, nullptr),
            0);
  for (int64_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(sums.mean[i], direct.mean[i], 1e-14);
    for (int k = 0; k < 3; ++k) {
      EXPECT_LE(Rel(sums.raw[k][i], direct.raw[k][i]), 1e-14);
      EXPECT_LE(Rel(sums.cm[k][i], direct.cm[k][i]), 1e-14);
    }
    EXPECT_LE(Rel(sums.kurt[i], direct.kurt[i]), 1e-13);
  }
  for (int64_t i = 0; i < 9; ++i) {
    EXPECT_LE(Rel(sums.cov[i], direct.cov[i]), 1e-14);
    EXPECT_LE(Rel(sums.cor[i], direct.cor[i]), 1e-14);
  }
  // Sums of no weight convert to zero arrays, where the formulas would divide 0 by 0.
  sums.accum = {0, 0};
  ASSERT_EQ(sums.Run(kAllBasic &
                         ~(EST_SUM | EST_RAW_SUM2 | EST_RAW_SUM3 | EST_RAW_SUM4 | EST_CENTRAL_SUM2 |
                           EST_CENTRAL_SUM3 | EST_CENTRAL_SUM4 | EST_CROSS_PRODUCT),
                     METHOD_CONVERT_B, nullptr),
            0);
  for (const auto* v :
       {&sums.mean, &sums.raw[0], &sums.raw[2], &sums.cm[0], &sums.cm[1], &sums.cm[2], &sums.kurt,
        &sums.skew, &sums.variation, &sums.cov, &sums.cor}) {
    EXPECT_EQ(*v, std::vector<double>(v->size(), 0.0));
  }
}

// Every allocation of a call fails in turn: the status is -4000, nothing stays allocated, and
// no output (moments, matrices, the running weights) changes.
TEST(BasicEdges, AllocationFailures) {
  for (int m = 0; m < 3; ++m) {
    Problem<double> pb(3, 2000, STORAGE_ROWS);
    pb.Fill(1, 1.0, false);
    pb.mean = {1, 2, 3};
    const auto bytes = [](const std::vector<double>& v) {
      return std::pair<const void*, std::size_t>(v.data(), v.size() * sizeof(double));
    };
    const std::vector<FailureSweepRow> rows = {
        {kMethods[m].name,
         [&]() -> int64_t {
           pb.accum = {0, 0};
           const int status = pb.Run(kAllBasic, kMethods[m].method, FakeThreads::StatsTable(2));
           // The prior mean of a given-mean call belongs to the task; give it back here so that
           // the scope sees every block returned.
           oxl_serv_deallocate(pb.task->priorMean);
           pb.task->priorMean = nullptr;
           return status;
         },
         -4000,
         {bytes(pb.raw[0]), bytes(pb.cm[1]), bytes(pb.kurt), bytes(pb.cov), bytes(pb.cor),
          bytes(pb.accum)}},
    };
    EXPECT_GE(SweepAllocationFailures(rows)[0], 1);
  }
}

}  // namespace
}  // namespace oxl::test
