// Processor feature and cache queries by CPUID, with the operating system's consent for the wider
// register files taken from XGETBV.
#include <cpuid.h>

#include <cstdint>

#include "oxl/platform.h"

namespace oxl::platform {
namespace {

struct Regs {
  unsigned a = 0, b = 0, c = 0, d = 0;
};

Regs Cpuid(unsigned leaf, unsigned subleaf) {
  Regs r;
  if (!__get_cpuid_count(leaf, subleaf, &r.a, &r.b, &r.c, &r.d)) return Regs{};
  return r;
}

uint64_t Xgetbv0() {
  uint32_t lo, hi;
  __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
  return (static_cast<uint64_t>(hi) << 32) | lo;
}

bool Bit(unsigned reg, int bit) { return (reg >> bit) & 1u; }

uint64_t DetectFeatures() {
  const Regs leaf0 = Cpuid(0, 0);
  const Regs l1 = Cpuid(1, 0);
  const Regs l7 = leaf0.a >= 7 ? Cpuid(7, 0) : Regs{};
  uint64_t f = 0;
  if (Bit(l1.c, 20)) f |= OXL_CPU_SSE42;
  if (Bit(l1.c, 25)) f |= OXL_CPU_AES;
  if (Bit(l1.c, 1)) f |= OXL_CPU_PCLMULQDQ;
  if (Bit(l1.c, 30)) f |= OXL_CPU_RDRAND;
  if (Bit(l7.b, 18)) f |= OXL_CPU_RDSEED;
  if (Bit(l7.b, 8)) f |= OXL_CPU_BMI2;

  // The OS must save the YMM (bits 1, 2) and, for AVX-512, the opmask and ZMM state (bits 5-7).
  const bool osxsave = Bit(l1.c, 27);
  const uint64_t xcr0 = osxsave ? Xgetbv0() : 0;
  const bool ymm = (xcr0 & 0x6) == 0x6;
  const bool zmm = ymm && (xcr0 & 0xE0) == 0xE0;
  if (ymm) {
    if (Bit(l1.c, 28)) f |= OXL_CPU_AVX;
    if (Bit(l1.c, 12)) f |= OXL_CPU_FMA;
    if (Bit(l1.c, 29)) f |= OXL_CPU_F16C;
    if (Bit(l7.b, 5)) f |= OXL_CPU_AVX2;
    if (Bit(l7.c, 9)) f |= OXL_CPU_VAES;
    if (Bit(l7.c, 10)) f |= OXL_CPU_VPCLMULQDQ;
  }
  if (zmm) {
    if (Bit(l7.b, 16)) f |= OXL_CPU_AVX512F;
    if (Bit(l7.b, 17)) f |= OXL_CPU_AVX512DQ;
    if (Bit(l7.b, 30)) f |= OXL_CPU_AVX512BW;
    if (Bit(l7.b, 31)) f |= OXL_CPU_AVX512VL;
    if (Bit(l7.b, 28)) f |= OXL_CPU_AVX512CD;
    if (Bit(l7.b, 27)) f |= OXL_CPU_AVX512ER;
    if (Bit(l7.b, 26)) f |= OXL_CPU_AVX512PF;
    if (Bit(l7.b, 21)) f |= OXL_CPU_AVX512IFMA;
    if (Bit(l7.c, 1)) f |= OXL_CPU_AVX512VBMI;
  }
  return f;
}

// AMD processors without the topology extension (many virtual machines hide it) leave leaf
// 0x8000001D empty; the older leaves still give the sizes, in KiB (L1, L2) and 512 KiB units (L3).
int64_t LegacyAmdCacheSize(int level) {
  const unsigned max_ext = Cpuid(0x80000000, 0).a;
  if (level == 1 && max_ext >= 0x80000005) return int64_t{Cpuid(0x80000005, 0).c >> 24} << 10;
  if (max_ext < 0x80000006) return 0;
  const Regs r = Cpuid(0x80000006, 0);
  if (level == 2) return int64_t{r.c >> 16} << 10;
  return int64_t{r.d >> 18} << 19;
}

// Deterministic cache parameters: Intel leaf 4, AMD leaf 0x8000001D; both have the same layout.
int64_t DetectCacheSize(int level) {
  const Regs leaf0 = Cpuid(0, 0);
  const bool amd = leaf0.b == 0x68747541;  // "Auth"enticAMD
  const unsigned leaf = amd ? 0x8000001D : 4;
  if (!amd && leaf0.a < 4) return 0;
  for (unsigned sub = 0; sub < 16; ++sub) {
    const Regs r = Cpuid(leaf, sub);
    const unsigned type = r.a & 0x1F;  // 0 none, 1 data, 2 instruction, 3 unified
    if (type == 0) break;
    if (type == 2 || static_cast<int>((r.a >> 5) & 0x7) != level) continue;
    const int64_t ways = ((r.b >> 22) & 0x3FF) + 1;
    const int64_t partitions = ((r.b >> 12) & 0x3FF) + 1;
    const int64_t line = (r.b & 0xFFF) + 1;
    const int64_t sets = static_cast<int64_t>(r.c) + 1;
    return ways * partitions * line * sets;
  }
  return amd ? LegacyAmdCacheSize(level) : 0;
}

}  // namespace
}  // namespace oxl::platform

extern "C" {

OXL_API uint64_t oxl_dft_pvk_cpu_features(void) {
  static const uint64_t features = oxl::platform::DetectFeatures();
  return features;
}

OXL_API int oxl_dft_pvk_has_features(uint64_t features) {
  return (oxl_dft_pvk_cpu_features() & features) == features ? 1 : 0;
}

OXL_API int64_t oxl_dft_pvk_cache_size(int level) {
  if (level < 1 || level > 3) return 0;
  return oxl::platform::DetectCacheSize(level);
}

}  // extern "C"
