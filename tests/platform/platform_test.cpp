#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "oxl/platform.h"
#include "support/failing_allocator.h"

namespace {

// Alignments are rounded up to a power of two of at least 8; the injected failure hits the chosen
// allocation only, and the count of live blocks that the sweeps' leak checks read is kept.
TEST(Memory, AlignmentAndInjectedFailures) {
  for (int alignment : {0, 1, 3, 8, 64, 100, 128, 4096}) {
    void* p = oxl_serv_allocate(alignment == 0 ? 0 : 24, alignment);
    ASSERT_NE(p, nullptr);
    int want = 8;
    while (want < alignment) want <<= 1;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % want, 0u) << alignment;
    oxl_serv_deallocate(p);
  }
  oxl_serv_deallocate(nullptr);
  {
    oxl::test::AllocationScope scope(2);
    void* a[3] = {oxl_serv_allocate(16, 128), oxl_serv_allocate(16, 128),
                  oxl_serv_allocate(16, 128)};
    EXPECT_TRUE(a[0] != nullptr && a[1] == nullptr && a[2] != nullptr);
    EXPECT_EQ(scope.live(), 2);
    for (void* p : a) oxl_serv_deallocate(p);
    EXPECT_EQ(scope.live(), 0);
  }
}

TEST(Memory, BoundedCopyStatuses) {
  char dst[8];
  const char src[] = "abcdefghij";
  EXPECT_EQ(oxl_serv_memcpy_s(dst, sizeof dst, src, 8), 0);
  EXPECT_EQ(std::memcmp(dst, src, 8), 0);
  EXPECT_EQ(oxl_serv_memcpy_s(dst, sizeof dst, src, 9), ERANGE);
  EXPECT_EQ(dst[0], 0) << "a failed copy clears the destination";
  EXPECT_EQ(oxl_serv_memcpy_s(dst, sizeof dst, nullptr, 1), EINVAL);
  EXPECT_EQ(oxl_serv_memcpy_s(nullptr, 0, src, 1), EINVAL);
  char overlap[] = "0123456789";
  EXPECT_EQ(oxl_serv_memcpy_s(overlap + 2, 8, overlap, 8), 0);
  EXPECT_STREQ(overlap, "0101234567");
}

TEST(Environment, CopiesTruncatesAndReportsAbsence) {
  setenv("OXL_TEST_VALUE", "VEK_HA,VEK_ERRMODE_ERRNO", 1);
  char buf[256], small[5];
  EXPECT_EQ(oxl_serv_getenv("OXL_TEST_VALUE", buf, sizeof buf), 24);
  EXPECT_STREQ(buf, "VEK_HA,VEK_ERRMODE_ERRNO");
  EXPECT_EQ(oxl_serv_getenv("OXL_TEST_VALUE", small, sizeof small), 4);
  EXPECT_STREQ(small, "VEK_");
  unsetenv("OXL_TEST_VALUE");
  EXPECT_LE(oxl_serv_getenv("OXL_TEST_VALUE", buf, sizeof buf), 0);
  EXPECT_LE(oxl_serv_getenv("OXL_TEST_VALUE", buf, 0), 0);
}

std::string CapturePrint(int msg, int count, const char* name, int index, double value) {
  testing::internal::CaptureStderr();
  if (msg <= 741) {
    oxl_serv_print(1, msg, count, name, index);
  } else {
    oxl_serv_print(1, msg, count, index, value);
  }
  return testing::internal::GetCapturedStderr();
}

TEST(Print, CatalogueMessagesWithTheirItems) {
  EXPECT_EQ(CapturePrint(735, 2, "vsExp", 7, 0),
            "oxl: size argument is not valid: function vsExp, index 7\n");
  EXPECT_EQ(CapturePrint(736, 1, "vdLn", 0, 0),
            "oxl: array argument is not valid: function vdLn\n");
  EXPECT_EQ(CapturePrint(739, 0, nullptr, 0, 0), "oxl: result overflows\n");
  EXPECT_EQ(CapturePrint(742, 2, nullptr, 3, 0.5), "oxl: argument: index 3, value 0.5\n");
  EXPECT_EQ(CapturePrint(753, 2, nullptr, -1, -2.0), "oxl: second result: index -1, value -2\n");
  EXPECT_EQ(CapturePrint(999, 0, nullptr, 0, 0), "oxl: message 999\n");
  // Every number from 735 to 753 has its own text.
  for (int msg = 735; msg <= 753; ++msg) {
    EXPECT_EQ(CapturePrint(msg, 0, nullptr, 0, 0).find("message"), std::string::npos) << msg;
  }
}

TEST(Cpu, FeaturesAreConsistent) {
  const uint64_t f = oxl_dft_pvk_cpu_features();
  // Implications that hold on every processor.
  EXPECT_TRUE(!(f & OXL_CPU_AVX2) || (f & OXL_CPU_AVX));
  EXPECT_TRUE(!(f & OXL_CPU_AVX512BW) || (f & OXL_CPU_AVX512F));
  EXPECT_EQ(oxl_dft_pvk_has_features(0), 1);
  EXPECT_EQ(oxl_dft_pvk_has_features(f), 1);
  EXPECT_EQ(oxl_dft_pvk_has_features(~0ull), 0);
  const std::string target = oxl_dft_pvk_simd_target();
  if (f & OXL_CPU_AVX512BW) {
    EXPECT_EQ(target, "avx512");
  } else if ((f & OXL_CPU_AVX2) && (f & OXL_CPU_FMA)) {
    EXPECT_EQ(target, "avx2");
  }
  EXPECT_GT(oxl_dft_pvk_cache_size(1), 0);
  EXPECT_EQ(oxl_dft_pvk_cache_size(4), 0);
}

// The setter drops the reserved bits, which would fault in LDMXCSR (bit 17 is AMD's
// misaligned-exception mask where the processor has it, so only bits reserved everywhere count).
// The scope that the kernels and workers run under is checked through them (kernel_template_test,
// services_test).
TEST(FpControl, SetterDropsReservedBits) {
  const uint32_t original = oxl_dft_ps_get_mxcsr();
  for (const uint32_t reserved : {0x10000u, 0x80000000u, 0xFFFF0000u}) {
    oxl_dft_ps_set_mxcsr(0x1F80u | 0x2000u | reserved);
    const uint32_t now = oxl_dft_ps_get_mxcsr();
    EXPECT_EQ(now & 0xFFFFu, 0x1F80u | 0x2000u) << std::hex << reserved;
    EXPECT_EQ(now & 0xFFFD0000u, 0u) << std::hex << reserved;
  }
  oxl_dft_ps_set_mxcsr(original);
  EXPECT_EQ(oxl_dft_ps_get_mxcsr(), original);
}

}  // namespace
