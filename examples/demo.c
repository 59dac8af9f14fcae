/* oxl demo: a tour of the library on built-in data. Each subsystem adds its part as it lands. */
#include <stdint.h>
#include <stdio.h>

#include <oxl/oxl.h>

static void show_machine(void) {
  static const struct {
    uint64_t bit;
    const char* name;
  } features[] = {
      {OXL_CPU_AVX2, "AVX2"},           {OXL_CPU_FMA, "FMA"},
      {OXL_CPU_AVX512F, "AVX-512F"},    {OXL_CPU_AVX512DQ, "AVX-512DQ"},
      {OXL_CPU_AVX512BW, "AVX-512BW"},  {OXL_CPU_AVX512ER, "AVX-512ER"},
      {OXL_CPU_AES, "AES"},             {OXL_CPU_PCLMULQDQ, "PCLMULQDQ"},
      {OXL_CPU_RDRAND, "RDRAND"},
  };
  printf("== Machine\n");
  printf("SIMD target of the vector kernels: %s\n", oxl_dft_pvk_simd_target());
  printf("Processor features:");
  for (size_t i = 0; i < sizeof features / sizeof features[0]; ++i) {
    printf(" %s%s", oxl_dft_pvk_has_features(features[i].bit) ? "+" : "-", features[i].name);
  }
  printf("\nCaches: L1 %lld KiB, L2 %lld KiB, L3 %lld KiB\n",
         (long long)(oxl_dft_pvk_cache_size(1) >> 10), (long long)(oxl_dft_pvk_cache_size(2) >> 10),
         (long long)(oxl_dft_pvk_cache_size(3) >> 10));
}

int main(void) {
  printf("oxl %d.%d.%d\n\n", OXL_VERSION_MAJOR, OXL_VERSION_MINOR, OXL_VERSION_PATCH);
  show_machine();
  return 0;
}
