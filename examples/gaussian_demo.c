/* Gaussian numbers by each method, as a histogram against the normal density, and a correlated
 * sample from the multivariate form with its sample covariance against T T^T. */
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include "oxl/vrs.h"

#define N 200000
#define BINS 8

static double normal_cdf(double x) { return 0.5 * erfc(-x / sqrt(2.0)); }

/* Counts in BINS bins of width 1 from -4 to 4, beside the expected counts. */
static void histogram(const char* method, const double* x) {
  long count[BINS] = {0};
  for (int i = 0; i < N; ++i) {
    const int b = (int)floor(x[i] + BINS / 2);
    if (b >= 0 && b < BINS) ++count[b];
  }
  printf("%-11s", method);
  double worst = 0;
  for (int b = 0; b < BINS; ++b) {
    const double lo = b - BINS / 2.0;
    const double expected = N * (normal_cdf(lo + 1) - normal_cdf(lo));
    worst = fmax(worst, fabs(count[b] - expected) / sqrt(expected));
    printf(" %6ld", count[b]);
  }
  printf("   largest |observed - expected| / sqrt(expected): %.2f\n", worst);
}

static int gaussian_methods(StreamRecord* stream, double* x) {
  static const char* const names[3] = {"BoxMuller", "BoxMuller2", "ICDF"};
  printf("%d standard normals per method, counts in unit bins from -4 to 4:\n", N);
  printf("%-11s", "density");
  for (int b = 0; b < BINS; ++b) {
    const double lo = b - BINS / 2.0;
    printf(" %6.0f", N * (normal_cdf(lo + 1) - normal_cdf(lo)));
  }
  printf("\n");
  for (int method = 0; method < 3; ++method) {
    const int status = _vrsdRngGaussian(method, stream, N, x, 0.0, 1.0);
    if (status != 0) return status;
    histogram(names[method], x);
  }
  return 0;
}

/* Three correlated components: the lower factor T by rows, mean (1, -1, 0). */
static int correlated(StreamRecord* stream, double* x) {
  enum { D = 3 };
  const double t[D * D] = {1.0, 0.0, 0.0, 0.6, 0.8, 0.0, -0.3, 0.4, 0.5};
  const double mean[D] = {1.0, -1.0, 0.0};
  const int vectors = N / D;
  const int status =
      _vrsdRngGaussianMV(OXL_RNG_GAUSSIAN_BOXMULLER2, stream, vectors, x, D, MatrixFull, mean, t);
  if (status != 0) return status;
  double m[D] = {0}, c[D][D] = {{0}};
  for (int v = 0; v < vectors; ++v) {
    for (int i = 0; i < D; ++i) m[i] += x[v * D + i] / vectors;
  }
  for (int v = 0; v < vectors; ++v) {
    for (int i = 0; i < D; ++i) {
      for (int j = 0; j < D; ++j) {
        c[i][j] += (x[v * D + i] - m[i]) * (x[v * D + j] - m[j]) / (vectors - 1);
      }
    }
  }
  printf("GaussianMV, %d vectors: sample covariance (T T^T in brackets)\n", vectors);
  for (int i = 0; i < D; ++i) {
    for (int j = 0; j < D; ++j) {
      double want = 0;
      for (int k = 0; k < D; ++k) want += t[i * D + k] * t[j * D + k];
      printf("  %7.4f [%5.2f]", c[i][j], want);
    }
    printf("\n");
  }
  return 0;
}

int oxl_example_gaussian(void) {
  StreamRecord* stream = NULL;
  const uint32_t seed = 2024;
  double* x = malloc(sizeof(double) * N);
  int status = x ? __vrsNewStreamEx(&stream, OXL_BRNG_MT19937, 1, &seed) : StatusNoMemory;
  if (status == 0) status = gaussian_methods(stream, x);
  if (status == 0) status = correlated(stream, x);
  if (stream) __vrsDeleteStream(&stream);
  free(x);
  if (status != 0) printf("Gaussian example failed with status %d\n", status);
  return status != 0;
}

#ifndef OXL_EXAMPLES_IN_DEMO
int main(void) { return oxl_example_gaussian(); }
#endif
