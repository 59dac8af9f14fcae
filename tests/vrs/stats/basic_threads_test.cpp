// The moment entry on the OpenMP services: thread counts 1 to 8 agree within rounding.
#include <gtest/gtest.h>

#include <cmath>

#include "oxl/omp_services.h"
#include "vrs/stats/stats_fixture.h"

namespace oxl::test {
namespace {

TEST(BasicOmpThreads, CountsOneToEightAgree) {
  const uint64_t methods[] = {METHOD_ONE_PASS, METHOD_SUMS, METHOD_GIVEN_MEAN};
  for (uint64_t method : methods) {
    for (int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
      Problem<double> ref(7, 20011, storage);
      ref.Fill(31, 1.0, method != METHOD_SUMS);  // power sums cancel on mixed scales
      ref.SetWeights(std::vector<double>(ref.n, 1.5));
      ref.mean = {1, 2, 3, 1, 2, 3, 1};
      oxl_services_set_num_threads(1);
      ASSERT_EQ(ref.Run(kAllBasic, method, oxl_services_omp_ss()), 0);
      for (int32_t t = 2; t <= 8; ++t) {
        Problem<double> pb(7, 20011, storage);
        pb.x = ref.x;
        pb.SetWeights(ref.w);
        pb.mean = ref.mean;
        oxl_services_set_num_threads(t);
        ASSERT_EQ(pb.Run(kAllBasic, method, oxl_services_omp_ss()), 0);
        auto rel = [](double a, double b) { return std::fabs(a - b) / std::fabs(b); };
        for (int64_t i = 0; i < pb.p; ++i) {
          EXPECT_LE(rel(pb.cm[0][i], ref.cm[0][i]), 1e-11) << t;
          EXPECT_LE(rel(pb.cm[2][i], ref.cm[2][i]), 1e-10) << t;
          EXPECT_LE(rel(pb.raw[2][i], ref.raw[2][i]), 1e-13) << t;
        }
        for (int64_t i = 0; i < pb.p * pb.p; ++i) {
          EXPECT_LE(rel(pb.cor[i], ref.cor[i]), 1e-10) << t;
        }
        EXPECT_EQ(pb.accum[0], ref.accum[0]);
      }
    }
  }
  oxl_services_set_num_threads(0);
}

}  // namespace
}  // namespace oxl::test
