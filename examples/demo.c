/* oxl demo: a tour of the library on built-in data. Each subsystem adds its part as it lands. */
#include <math.h>
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

/* e^x over [-700, 700] in the three accuracy levels, against the C library; then an overflow,
 * which the kernel reports through the status. */
static int show_vector_math(void) {
  enum { N = 1001 };
  static double x[N], r[N];
  static const char* const levels[3] = {"LA", "HA", "EP"};
  printf("\n== Vector math\n");
  for (int i = 0; i < N; ++i) x[i] = -700.0 + 1.4 * i;
  for (int slot = 0; slot < 3; ++slot) {
    oxl_vek_kernel_dExp_ttab[slot](N, x, r);
    double worst = 0;
    for (int i = 0; i < N; ++i) {
      const double e = fabs(r[i] - exp(x[i])) / exp(x[i]);
      if (e > worst) worst = e;
    }
    printf("vdExp %s: %d values, largest relative difference from the C library %.2g\n",
           levels[slot], N, worst);
  }
  const double big[2] = {1.0, 1000.0};
  double out[2];
  oxl_vek_kernel_ClearErrStatus();
  oxl_vek_kernel_dExp_B3HAynn(2, big, out);
  printf("vdExp of 1000: %g, status %d (overflow)\n", out[1], (int)oxl_vek_kernel_GetErrStatus());
  oxl_vek_kernel_ClearErrStatus();
  return 0;
}

#ifdef OXL_EXAMPLES_IN_DEMO
int oxl_example_monte_carlo(void);
int oxl_example_gaussian(void);
int oxl_example_stats(void);
int oxl_example_df(void);
#endif

int main(void) {
  printf("oxl %d.%d.%d\n\n", OXL_VERSION_MAJOR, OXL_VERSION_MINOR, OXL_VERSION_PATCH);
  show_machine();
  int failed = show_vector_math();
#ifdef OXL_EXAMPLES_IN_DEMO
  printf("\n== Random streams\n");
  fflush(stdout);
  failed |= oxl_example_monte_carlo();
  printf("\n");
  fflush(stdout);
  failed |= oxl_example_gaussian();
  printf("\n== Summary statistics\n");
  fflush(stdout);
  failed |= oxl_example_stats();
  printf("\n== Data fitting\n");
  fflush(stdout);
  failed |= oxl_example_df();
#endif
  return failed ? 1 : 0;
}
