// The moment and quantile entries on the OpenMP services: 1, 2, 3 and 4 threads give the same bits,
// in both precisions, for every method and storage, with weights.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "oxl/omp_services.h"
#include "stats/stats_fixture.h"
#include "support/float_bits.h"

namespace oxl::test {
namespace {

template <class T>
void ExpectSameBitsOnThreads() {
  for (uint64_t method : {METHOD_ONE_PASS, METHOD_SUMS, METHOD_GIVEN_MEAN}) {
    for (int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
      std::vector<T> one;
      for (int32_t t = 1; t <= 4; ++t) {
        Problem<T> pb(7, 20011, storage);
        pb.Fill(31, 1.0, method != METHOD_SUMS);  // power sums cancel on mixed scales
        std::vector<T> w(pb.n);
        for (int64_t j = 0; j < pb.n; ++j) w[j] = T(0.5 + (j % 7) * 0.25);
        pb.SetWeights(w);
        pb.mean = {1, 2, 3, 1, 2, 3, 1};
        oxl_services_set_num_threads(t);
        EXPECT_EQ(pb.Run(kAllBasic, method, oxl_services_omp_ss()), 0);
        if (t == 1) one = pb.Results();
        EXPECT_TRUE(SameBits(pb.Results(), one))
            << "method " << method << " storage " << storage << " threads " << t;
      }
    }
  }
  oxl_services_set_num_threads(0);
}

TEST(BasicOmpThreads, SameBitsOnOneToFourThreads) {
  ExpectSameBitsOnThreads<double>();
  ExpectSameBitsOnThreads<float>();
}

TEST(QuantilesOmpThreads, SameBitsOnOneToFourThreads) {
  Problem<double> pb(9, 3001, STORAGE_COLS);
  pb.Fill(5, 1.0, true);
  int64_t count = 3, order_storage = STORAGE_ROWS;
  std::vector<double> orders = {0.05, 0.5, 0.95}, one, q(9 * 3), stats(9 * 3001);
  __vrsdSSEditQuantiles(pb.task, &count, orders.data(), q.data(), stats.data(), &order_storage);
  for (int32_t t = 1; t <= 4; ++t) {
    oxl_services_set_num_threads(t);
    ASSERT_EQ(_vrsdSSQuantiles(pb.task, EST_QUANTILES | EST_ORDER_STATS, METHOD_SUMS,
                               oxl_services_omp_ss()),
              0);
    if (t == 1) one = q;
    EXPECT_EQ(q, one) << t;
  }
  oxl_services_set_num_threads(0);
}

}  // namespace
}  // namespace oxl::test
