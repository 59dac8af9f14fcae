// The kernel template with a body of its own: lanes holding a negative value take the rare path,
// whose routine answers -x with status 1 (and status 0 for -1, which it handles quietly). This
// shows the event order, callbacks that replace results in blocks and tails, and the
// floating-point control protocol.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/kernel_template_test.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "simd/targets.h"
#include "vek/frame/kernel-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

struct NegativeIsRare {
  using In = float;
  using Out = float;
  static constexpr size_t kInputs = 1;
  static constexpr size_t kOutputs = 1;
  static constexpr size_t kBlock = 32;
  static constexpr vek::Layout kLayout = vek::Layout::kSplit;
  static constexpr bool kRare = true;
  static constexpr bool kBoundByMemory = true;
  const char* name = "vsTest";

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    out[0] = hn::Add(in[0], hn::Set(d, 1.0f));
    rare[0] = hn::Lt(in[0], hn::Zero(d));
  }
  static int32_t Rare(const float* x, float* r) {
    *r = -*x;
    return *x == -1.0f ? 0 : 1;
  }
};

void RunNegativeIsRare(int n, const float* a, float* r) { RunUnary(NegativeIsRare{}, n, a, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <gtest/gtest.h>

#include <vector>

#include "oxl/vek.h"
#include "oxl/vek_kernels.h"
#include "platform/fp_control.h"
#include "support/targets.h"
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(RunNegativeIsRare);

namespace {

void TestKernel(int n, const float* a, float* r) {
  vek::RunUnderMode(OXL_DISPATCH(RunNegativeIsRare), n, a, r);
}

struct Seen {
  int index;
  double arg, res;
  std::vector<float> result_snapshot;  // the result array as the callback saw it
};
std::vector<Seen> g_seen;
const float* g_result = nullptr;
int g_result_n = 0;

int32_t Callback(oxl_vek_error_record* rec) {
  g_seen.push_back(
      {rec->index, rec->arg1, rec->res1, std::vector<float>(g_result, g_result + g_result_n)});
  rec->res1 = 123.0f;  // the replacement
  return 0;
}

class KernelTemplate : public testing::Test {
 protected:
  void SetUp() override {
    g_seen.clear();
    saved_mode_ = oxl_vek_kernel_GetMode();
    oxl_vek_kernel_SetMode(0x1000);  // callback only: no errno, no messages
    saved_cb_ = oxl_vek_kernel_SetErrorCallBack(Callback);
    oxl_vek_kernel_ClearErrStatus();
  }
  void TearDown() override {
    oxl_vek_kernel_SetErrorCallBack(saved_cb_);
    oxl_vek_kernel_SetMode(static_cast<uint32_t>(saved_mode_));
  }
  uint64_t saved_mode_;
  oxl_vek_error_callback saved_cb_;
};

// Rare lanes in blocks and in the tail call back in ascending order, each seeing the elements
// before it stored, and the callback's replacement stands.
TEST_F(KernelTemplate, RareLanesInAscendingOrderWithBlocksNotYetStored) {
  const int n = 70;  // two blocks and a tail of 6
  std::vector<float> a(n), r(n, -7.0f);
  for (int i = 0; i < n; ++i) a[i] = static_cast<float>(i);
  for (int i : {5, 3 + 32, 40, 66, 68}) a[i] = -2.0f - i;
  a[10] = a[67] = -1.0f;  // rare, but quiet
  g_result = r.data();
  g_result_n = n;
  test::ForEachTarget([&](const std::string&) {
    g_seen.clear();
    std::fill(r.begin(), r.end(), -7.0f);
    TestKernel(n, a.data(), r.data());
    ASSERT_EQ(g_seen.size(), 5u);
    const int order[] = {5, 35, 40, 66, 68};
    for (int k = 0; k < 5; ++k) {
      EXPECT_EQ(g_seen[k].index, order[k]);
      EXPECT_EQ(g_seen[k].arg, a[order[k]]);
      EXPECT_EQ(g_seen[k].res, -a[order[k]]);
    }
    // At lane 5 of block 0 only element 5 is stored; in block 1 the first block is complete.
    EXPECT_EQ(g_seen[0].result_snapshot[4], -7.0f);
    EXPECT_EQ(g_seen[0].result_snapshot[5], -a[5]);
    EXPECT_EQ(g_seen[1].result_snapshot[31], 32.0f);
    EXPECT_EQ(g_seen[1].result_snapshot[34], -7.0f);
    // The tail runs element by element: at 68, elements 64 to 67 are stored.
    EXPECT_EQ(g_seen[4].result_snapshot[64], 65.0f);
    EXPECT_EQ(g_seen[4].result_snapshot[66], 123.0f);
    EXPECT_EQ(g_seen[4].result_snapshot[67], 1.0f);
    for (int i = 0; i < n; ++i) {
      EXPECT_EQ(r[i], a[i] < -1 ? 123.0f : a[i] < 0 ? -a[i] : a[i] + 1) << i;
    }
    EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 1);
  });
}

// Calls whose arrays exceed the last-level cache store their results around the caches from the
// first line boundary of the results on: the same results and callbacks, on a result array off the
// line grid (rare lanes in the elements before the boundary, in a streamed block and at the end).
TEST_F(KernelTemplate, ResultsBeyondTheLastLevelCache) {
  const int64_t cache = oxl_dft_pvk_cache_size(3);
  const int n = static_cast<int>((cache > 0 ? cache : int64_t{8} << 20) / 4 + 100);
  std::vector<float> a(n), buf(n + 16);
  float* r = buf.data() + 3;
  for (int i = 0; i < n; ++i) a[i] = static_cast<float>(i % 1000);
  const int rare[] = {0, 100, n - 2};
  for (int i : rare) a[i] = -2.0f;
  g_result = r;
  g_result_n = 0;
  test::ForEachTarget([&](const std::string&) {
    g_seen.clear();
    TestKernel(n, a.data(), r);
    ASSERT_EQ(g_seen.size(), 3u);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(g_seen[k].index, rare[k]);
    for (int i = 0; i < n; ++i) {
      if (r[i] != (a[i] < 0 ? 123.0f : a[i] + 1)) FAIL() << i;
    }
  });
}

// The caller's control word comes back; flags raised inside survive only when nothing changed.
TEST_F(KernelTemplate, CallersControlWordComesBack) {
  using namespace platform;
  const uint32_t original = ReadMxcsr();
  const float tiny = 0x1p-130f;  // a denormal
  const float big[2] = {3e38f, 3e38f};
  for (uint32_t rounding : {0x0000u, 0x2000u, 0x4000u, 0x6000u}) {
    for (uint32_t ftz_daz : {0u, kMxcsrFtz | kMxcsrDaz}) {
      for (uint32_t mode : {0x140000u, 0x280000u}) {
        oxl_vek_kernel_SetMode(mode);
        const uint32_t caller = (original & ~0xE07Fu) | rounding | ftz_daz | 0x20 /* inexact */;
        WriteMxcsr(caller);
        float prod[2];
        oxl_vek_kernel_sMul_B3HAynn(2, big, big, prod);  // overflows inside
        const float one_third[1] = {1.0f / 3.0f}, three[1] = {3.0f};
        float x[1];
        oxl_vek_kernel_sMul_B3HAynn(1, one_third, three, x);
        const float den[1] = {tiny}, two[1] = {2.0f};
        float dd[1];
        oxl_vek_kernel_sMul_B3HAynn(1, den, two, dd);
        const uint32_t after = ReadMxcsr();
        WriteMxcsr(original);
        const uint32_t wanted = mode == 0x280000u ? (kMxcsrFtz | kMxcsrDaz) : 0u;
        const bool changed = (rounding | ftz_daz) != wanted;
        if (changed) {
          EXPECT_EQ(after, caller) << std::hex << caller;
        } else {
          EXPECT_EQ(after & ~0x3Fu, caller & ~0x3Fu);
          EXPECT_TRUE(after & 0x8) << "overflow flag left for the caller";
        }
        EXPECT_EQ(x[0], 1.0f) << "round to nearest whatever the caller's rounding";
        EXPECT_EQ(dd[0], wanted ? 0.0f : 0x1p-129f) << "denormals as the mode says";
      }
    }
  }
}

}  // namespace
}  // namespace oxl
#endif
