// The moment and covariance entry against a long-double two-pass reference, progressive blocks,
// thread splits, statuses and the edge cases of masks, weights and matrix forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>

#include "oxl/platform.h"
#include "stats/stats_fixture.h"
#include "stats/task.h"
#include "support/failing_allocator.h"
#include "support/float_bits.h"
#include "support/fake_threads.h"
#include "support/targets.h"

namespace oxl::test {
namespace {

double Rel(long double got, long double ref) {
  return double(fabsl(got - ref) / std::max(fabsl(ref), 1e-300L));
}

// Worst relative error of the asked estimates of `pb` against `ref`, by estimate group.
template <class T>
std::map<std::string, double> Errors(Problem<T>& pb, const Reference& ref, uint64_t estimates) {
  std::map<std::string, double> e;
  const auto upd = [&](const char* name, uint64_t bit, long double got, long double want) {
    if (estimates & bit) e[name] = std::max(e[name], Rel(got, want));
  };
  const int64_t p = pb.p;
  for (int64_t i = 0; i < p; ++i) {
    upd("mean", EST_MEAN, pb.mean[i], ref.mean[i]);
    upd("sum", EST_SUM, pb.sum[i], ref.W * ref.mean[i]);
    for (int k = 0; k < 3; ++k) {
      upd("raw", EST_RAW2 << k, pb.raw[k][i], ref.raw[k][i]);
      upd("raw sum", EST_RAW_SUM2 << k, pb.raw_sum[k][i], ref.W * ref.raw[k][i]);
      upd("central", EST_CENTRAL2 << k, pb.cm[k][i], ref.c[k][i]);
      upd("central sum", EST_CENTRAL_SUM2 << k, pb.cen_sum[k][i], ref.cs[k][i]);
    }
    upd("kurtosis", EST_KURTOSIS, pb.kurt[i], ref.kurt[i]);
    upd("skewness", EST_SKEWNESS, pb.skew[i], ref.skew[i]);
    upd("variation", EST_VARIATION, pb.variation[i], ref.variation[i]);
    for (int64_t k = 0; k < p; ++k) {
      upd("cov", EST_COV, pb.cov[i * p + k], ref.Cov(i, k));
      upd("cor", EST_COR, pb.cor[i * p + k], ref.Cor(i, k));
      upd("cross-product", EST_CROSS_PRODUCT, pb.cp[i * p + k], ref.S[i * p + k]);
    }
  }
  return e;
}

template <class T>
std::vector<T> RandomWeights(int64_t n, uint64_t seed) {
  std::mt19937_64 gen(seed);
  std::uniform_real_distribution<double> u(0.0, 2.0);
  std::vector<T> w(n);
  for (auto& v : w) v = T(u(gen));
  w[0] = w[1] = 0;  // leading zero weights are skipped
  return w;
}

constexpr uint64_t kMethods[] = {METHOD_ONE_PASS, METHOD_SUMS, METHOD_GIVEN_MEAN};
constexpr const char* kMethodNames[] = {"one-pass", "fast", "given-mean"};
constexpr uint64_t kAllSums = EST_SUM | EST_RAW_SUM2 | EST_RAW_SUM3 | EST_RAW_SUM4 |
                              EST_CENTRAL_SUM2 | EST_CENTRAL_SUM3 | EST_CENTRAL_SUM4 |
                              EST_CROSS_PRODUCT;

// Data of p dimensions and n observations about `centre` (mixed scales or not), in both storages,
// with and without weights; bounds per method (negative: only reported). The given-mean matrices
// are built from raw products, which cancel on data far from zero by design: they have their own
// bound.
struct AccuracyRow {
  const char* name;
  bool single;
  int64_t p, n;
  double centre;
  bool mixed;
  uint64_t estimates;
  double bound[3];  // one-pass, fast, given-mean
  double given_mean_matrix_bound;
};

template <class T>
void Accuracy(const AccuracyRow& row, const std::string& target) {
  std::map<std::string, double> worst[3];
  for (int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
    for (bool weighted : {false, true}) {
      Problem<T> pb(row.p, row.n, storage);
      pb.Fill(11 + storage, row.centre, row.mixed);
      if (weighted) pb.SetWeights(RandomWeights<T>(pb.n, 5));
      const Reference ref = pb.Ref();
      for (int m = 0; m < 3; ++m) {
        for (int64_t i = 0; i < pb.p; ++i) pb.mean[i] = T(ref.mean[i]);
        pb.accum = {0, 0};
        ASSERT_EQ(pb.Run(row.estimates, kMethods[m], nullptr), 0);
        EXPECT_LE(Rel(pb.accum[0], ref.W), sizeof(T) == 8 ? 1e-15 : 1e-7);
        const uint64_t checked = m == 2 ? row.estimates & ~EST_MEAN : row.estimates;
        for (auto& [name, err] : Errors(pb, ref, checked)) {
          worst[m][name] = std::max(worst[m][name], err);
        }
      }
    }
  }
  for (int m = 0; m < 3; ++m) {
    for (auto& [name, err] : worst[m]) {
      std::printf("%-7s %-14s %-11s %-14s worst relative error %.3g\n", target.c_str(), row.name,
                  kMethodNames[m], name.c_str(), err);
      const bool matrix = m == 2 && (name == "cov" || name == "cor" || name == "cross-product");
      const double bound = matrix ? row.given_mean_matrix_bound : row.bound[m];
      EXPECT_TRUE(bound < 0 || err <= bound) << row.name << " " << kMethodNames[m] << " " << name;
    }
  }
}

// The raw products of the large matrix go over many tiles, and the one-pass kernels of columns
// storage keep their sums in memory rather than registers; the power-sum method cancels on the far
// data by design and is only reported there.
TEST(BasicAccuracy, AgainstLongDoubleReference) {
  constexpr uint64_t kMatrices = EST_COV | EST_CROSS_PRODUCT;
  const AccuracyRow rows[] = {
      {"random", false, 5, 7001, 1.0, true, kAllBasic, {1e-13, 1e-7, 1e-13}, 1e-11},
      {"far from zero", false, 5, 7001, 1e8, true, kAllBasic, {1e-6, -1, 2e-6}, -1},
      {"large matrix", false, 40, 1500, 1.0, false, kMatrices, {1e-11, 1e-11, 1e-11}, 1e-11},
      {"single", true, 4, 2000, 1.0, false, kAllBasic, {2e-4, 2e-4, 2e-4}, 2e-4},
  };
  ForEachTarget([&](const std::string& target) {
    for (const AccuracyRow& row : rows) {
      row.single ? Accuracy<float>(row, target) : Accuracy<double>(row, target);
    }
  });
}

// Single-precision data with millions of observations: the running state is kept in double, so that
// the variance does not drift as the merges of blocks pile up (a float state loses about a bit per
// doubling of n).
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

// Several calls over consecutive blocks give the results of one call, every method, every matrix
// form: S goes back and forth through covariance, correlation or cross-product, also from a first
// block of one observation, whose variance is 0/0 (not with a given mean, about which one
// observation's deviation is not 0: there the matrices cannot carry it).
TEST(BasicProgressive, BlocksEqualOneCall) {
  for (int m = 0; m < 3; ++m) {
    std::vector<int64_t> cuts = {0, 1, 50, 700, 701, 2999, 3001};
    if (kMethods[m] == METHOD_GIVEN_MEAN) cuts.erase(cuts.begin() + 1);
    for (int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
      for (uint64_t matrix : {EST_COV | EST_COR, EST_COR, EST_CROSS_PRODUCT}) {
        for (bool weighted : {false, true}) {
          const uint64_t est = (kAllBasic & ~(EST_COV | EST_COR | EST_CROSS_PRODUCT)) | matrix;
          Problem<double> whole(4, 3001, storage), parts(4, 3001, storage);
          whole.Fill(7, 3.0, false);
          if (weighted) whole.SetWeights(RandomWeights<double>(whole.n, 9));
          // Near the data's means: S of the given-mean method is built about the given mean.
          whole.mean = parts.mean = {2.875, 5.875, 8.75, 2.9375};
          ASSERT_EQ(whole.Run(est, kMethods[m], nullptr), 0);
          std::vector<double> block, wblock;
          for (size_t b = 0; b + 1 < cuts.size(); ++b) {
            int64_t len = cuts[b + 1] - cuts[b];
            block.resize(parts.p * len);
            for (int64_t i = 0; i < parts.p; ++i) {
              for (int64_t j = 0; j < len; ++j) {
                block[storage == STORAGE_ROWS ? i * len + j : j * parts.p + i] =
                    whole.at(i, cuts[b] + j);
              }
            }
            __vrsdSSEditTask(parts.task, SS_ED_OBSERV, block.data());
            __vrsiSSEditTask(parts.task, SS_ED_OBSERV_N, &len);
            if (weighted) {
              wblock.assign(whole.w.begin() + cuts[b], whole.w.begin() + cuts[b + 1]);
              __vrsdSSEditTask(parts.task, SS_ED_WEIGHTS, wblock.data());
            }
            ASSERT_EQ(parts.Run(est, kMethods[m], nullptr), 0);
          }
          const std::vector<double> want = whole.Results(), got = parts.Results();
          for (size_t i = 0; i < want.size(); ++i) {
            ASSERT_LE(Rel(got[i], want[i]), kMethods[m] == METHOD_SUMS ? 1e-10 : 1e-12)
                << kMethodNames[m] << " result " << i << " storage " << storage << " weighted "
                << weighted << " matrix " << matrix;
          }
        }
      }
    }
  }
}

// Every target and 1, 3 and 8 threads (run one after the other, last first) give the bits of one
// thread on the first target: the observations go in shares that do not depend on the thread
// count, and the kernels fix the order of every sum and fuse nothing. The raw products of columns
// storage come straight from the observation vectors with the partial sums of the rows kernel:
// with a given mean, S is the same in both storages, bit for bit. Dimensions around the register
// widths (partial registers, odd rows) with shares of one to a few blocks and ragged tails, one
// thread over several chunks, 70 dimensions over several tiles of registers; the single-precision
// twin with a given mean.
template <class T>
void ExpectSameBits() {
  std::vector<std::pair<int64_t, int64_t>> cases = {{3, 22281}, {10, 7001}, {6, 4099}, {70, 401}};
  for (int64_t p : {2, 3, 5, 8, 9, 10, 17, 33}) {
    const int64_t least = 3 * 8192 / (p * p) + 1109;  // enough work for three threads
    cases.insert(cases.end(), {{p, least}, {p, least + 1003}});
  }
  for (int m = sizeof(T) == 8 ? 0 : 2; m < 3; ++m) {
    for (const auto& [p, n] : cases) {
      for (bool weighted : {false, true}) {
        std::vector<T> first[2], s[2];  // by storage: every result, and S
        ForEachTarget([&](const std::string& target) {
          for (int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
            Problem<T> pb(p, n, storage);
            pb.Fill(p + n, 1.0, true);
            if (weighted) pb.SetWeights(RandomWeights<T>(n, 2));
            for (int64_t i = 0; i < p; ++i) pb.mean[i] = T(1 + i % 3);
            for (int32_t t : {1, 3, 8}) {
              pb.accum = {0, 0};
              ASSERT_EQ(pb.Run(kAllBasic, kMethods[m], FakeThreads::StatsTable(t)), 0);
              EXPECT_EQ(FakeThreads::calls, t > 1 ? 1 : 0);
              std::vector<T>& f = first[storage == STORAGE_COLS];
              if (f.empty()) f = pb.Results();
              EXPECT_TRUE(SameBits(pb.Results(), f))
                  << kMethodNames[m] << " p " << p << " n " << n << " storage " << storage
                  << " weighted " << weighted << " " << target << " threads " << t;
            }
            s[storage == STORAGE_COLS] = pb.cp;
            s[storage == STORAGE_COLS].insert(s[storage == STORAGE_COLS].end(), pb.cov.begin(),
                                              pb.cov.end());
          }
          EXPECT_TRUE(kMethods[m] != METHOD_GIVEN_MEAN || s[0] == s[1])
              << "p " << p << " n " << n << " weighted " << weighted;
        });
      }
    }
  }
}

TEST(BasicThreads, SameBitsOnEveryTargetThreadCountAndStorage) {
  ExpectSameBits<double>();
  ExpectSameBits<float>();
  Problem<double> small(1, 15, STORAGE_ROWS);  // too short for a share
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
  std::vector<double> c2(3), cov(9), w(100, 1.0);
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
  __vrsdSSEditTask(pb.task, SS_ED_WEIGHTS, w.data());
  EXPECT_EQ(pb.Run(EST_MEAN, METHOD_ONE_PASS, nullptr), -4020);
  __vrsdSSEditTask(pb.task, SS_ED_ACCUM_WEIGHT, pb.accum.data());
  EXPECT_EQ(pb.Run(EST_MEAN, METHOD_ONE_PASS, nullptr), 0);
}

// Dimensions whose work memory cannot be sized (p^2 products of 2^65 bytes, p past 2^31) are
// refused with the memory status before any allocation and before anything is written.
TEST(BasicStatus, DimensionsPastTheLayoutAreRefused) {
  const std::pair<int64_t, uint64_t> rows[] = {
      {INT32_MAX, EST_COV}, {(int64_t{1} << 31) + 1, EST_MEAN}, {int64_t{1} << 62, EST_MEAN}};
  for (const auto& [p, estimates] : rows) {
    Problem<double> pb(3, 100, STORAGE_COLS);
    pb.Fill(1, 0.0, false);
    pb.p = p;  // the task reads the dimension through its pointer at compute time
    AllocationScope scope;
    EXPECT_EQ(pb.Run(estimates, METHOD_ONE_PASS, nullptr), -4000) << p;
    EXPECT_EQ(scope.allocations(), 0) << p;
    EXPECT_EQ(pb.Results(), std::vector<double>(pb.Results().size(), 0.0));
  }
}

// Weights all zero leave W and the raw moments at zero.
TEST(BasicEdges, ZeroWeights) {
  Problem<double> pb(2, 40, STORAGE_ROWS);
  pb.Fill(2, 1.0, false);
  pb.SetWeights(std::vector<double>(40, 0.0));
  std::fill(pb.raw[0].begin(), pb.raw[0].end(), 99.0);
  ASSERT_EQ(pb.Run(EST_MEAN | EST_RAW2 | EST_CENTRAL2, METHOD_ONE_PASS, nullptr), 0);
  EXPECT_EQ(pb.accum[0], 0.0);
  EXPECT_EQ(pb.raw[0][0], 0.0);
  EXPECT_EQ(pb.mean[1], 0.0);
}

// Inclusion flags: results of a dimension left out, and the matrix entries of its row and column,
// stay as they were; the others are those of a run without flags.
TEST(BasicEdges, InclusionLeavesResultsUntouched) {
  for (int m = 0; m < 3; ++m) {
    Problem<double> all(4, 500, STORAGE_COLS), some(4, 500, STORAGE_COLS);
    all.Fill(8, 1.0, false);
    some.x = all.x;
    all.mean = some.mean = {1, 1.5, 2, 1};
    some.SetInclusion({1, 0, 1, 1});
    for (auto* v : {&some.cov, &some.cor, &some.kurt, &some.cm[0], &some.raw_sum[1]}) {
      std::fill(v->begin(), v->end(), -7.0);
    }
    if (m != 2) some.mean[1] = -7.0;  // the given mean is input
    ASSERT_EQ(all.Run(kAllBasic, kMethods[m], nullptr), 0);
    ASSERT_EQ(some.Run(kAllBasic, kMethods[m], nullptr), 0);
    for (int64_t i = 0; i < 4; ++i) {
      for (auto [a, s] : {std::pair{&all.kurt, &some.kurt},
                          {&all.cm[0], &some.cm[0]},
                          {&all.raw_sum[1], &some.raw_sum[1]},
                          {&all.mean, &some.mean}}) {
        EXPECT_EQ((*s)[i], i == 1 && (m != 2 || a != &all.mean) ? -7.0 : (*a)[i])
            << kMethodNames[m] << " dimension " << i;
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
  packed.cov_storage = MATRIX_LOWER_PACKED;
  packed.cor_storage = MATRIX_UPPER_PACKED;
  packed.cp_storage = MATRIX_LOWER_PACKED | MATRIX_UPPER_PACKED;  // the upper bit is tested first
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

// Conversions turn stored sums into the moments that a direct call gives; sums of no weight convert
// to zero arrays, where the formulas would divide 0 by 0.
TEST(BasicEdges, ConversionsFromSums) {
  Problem<double> direct(3, 400, STORAGE_COLS), sums(3, 400, STORAGE_COLS);
  direct.Fill(6, 1.0, false);
  sums.x = direct.x;
  sums.cp_storage = MATRIX_UPPER_PACKED;
  ASSERT_EQ(direct.Run(kAllBasic, METHOD_ONE_PASS, nullptr), 0);
  ASSERT_EQ(sums.Run(kAllSums, METHOD_ONE_PASS, nullptr), 0);
  ASSERT_EQ(sums.Run(kAllBasic & ~kAllSums, METHOD_CONVERT_A, nullptr), 0);
  const auto converted = [](Problem<double>& pb) {
    return std::vector{&pb.mean,  &pb.raw[0], &pb.raw[1], &pb.raw[2], &pb.cm[0],
                       &pb.cm[1], &pb.cm[2],  &pb.kurt,   &pb.cov,    &pb.cor};
  };
  const auto got = converted(sums), want = converted(direct);
  for (size_t k = 0; k < got.size(); ++k) {
    for (size_t i = 0; i < got[k]->size(); ++i) {
      EXPECT_LE(Rel((*got[k])[i], (*want[k])[i]), got[k] == &sums.kurt ? 1e-13 : 1e-14) << k;
    }
  }
  sums.accum = {0, 0};
  ASSERT_EQ(sums.Run(kAllBasic & ~kAllSums, METHOD_CONVERT_B, nullptr), 0);
  for (const auto* v :
       {&sums.mean, &sums.raw[0], &sums.raw[2], &sums.cm[0], &sums.cm[1], &sums.cm[2], &sums.kurt,
        &sums.skew, &sums.variation, &sums.cov, &sums.cor}) {
    EXPECT_EQ(*v, std::vector<double>(v->size(), 0.0));
  }
}

// Every allocation of a call fails in turn: the status is -4000, nothing stays allocated, and no
// output (moments, matrices, the running weights) changes.
TEST(BasicEdges, AllocationFailures) {
  for (int m = 0; m < 3; ++m) {
    Problem<double> pb(3, 2000, STORAGE_ROWS);
    pb.Fill(1, 1.0, false);
    pb.mean = {1, 2, 3};
    std::vector<std::pair<const void*, std::size_t>> untouched;
    for (const auto* v : {&pb.raw[0], &pb.cm[1], &pb.kurt, &pb.cov, &pb.cor, &pb.accum}) {
      untouched.emplace_back(v->data(), v->size() * sizeof(double));
    }
    const auto call = [&]() -> int64_t {
      pb.accum = {0, 0};
      const int status = pb.Run(kAllBasic, kMethods[m], FakeThreads::StatsTable(2));
      // The prior mean of a given-mean call belongs to the task; give it back here so that the
      // scope sees every block returned.
      oxl_serv_deallocate(pb.task->priorMean);
      pb.task->priorMean = nullptr;
      return status;
    };
    EXPECT_GE(SweepAllocationFailures({{kMethodNames[m], call, -4000, untouched}})[0], 1);
  }
}

}  // namespace
}  // namespace oxl::test
