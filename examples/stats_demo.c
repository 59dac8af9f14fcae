/* Summary statistics of a Gaussian sample: mean, variance, skewness, kurtosis and the correlation
 * matrix, once in one call and once in two blocks of observations, which give the same results.
 *
 * The sample comes from a small local generator (a 64-bit linear congruential generator and the
 * Box-Muller transform), so that the demo depends on nothing but the statistics entries. */
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include "oxl/omp_services.h"
#include "oxl/ss.h"

#define P 3
#define N 100000

static uint64_t lcg_state = 12345;

static double uniform01(void) {
  lcg_state = lcg_state * 6364136223846793005ull + 1442695040888963407ull;
  return ((double)(lcg_state >> 11) + 0.5) * 0x1.0p-53;
}

static double gaussian(void) {
  const double pi = 3.14159265358979323846;
  return sqrt(-2.0 * log(uniform01())) * cos(2.0 * pi * uniform01());
}

struct results {
  double mean[P], var[P], skew[P], kurt[P], cor[P * P];
  double raw2[P], raw3[P], raw4[P], c3[P], c4[P], accum[2];
};

/* Runs the moment entry over observations [first, first + count) of x (one observation vector
 * after the other) and continues from what `r` holds. */
static int run(const double* x, int64_t first, int64_t count, struct results* r) {
  int64_t p = P, n = count, storage = STORAGE_COLS, full = MATRIX_FULL;
  SSTask* task = NULL;
  int status = __vrsdSSNewTask(&task, &p, &n, &storage, x + first * P, NULL, NULL, 1);
  if (status != 0) return status;
  __vrsdSSEditMoments(task, r->mean, r->raw2, r->raw3, r->raw4, r->var, r->c3, r->c4);
  __vrsdSSEditCovCor(task, NULL, NULL, NULL, r->cor, &full);
  __vrsdSSEditTask(task, SS_ED_SKEWNESS, r->skew);
  __vrsdSSEditTask(task, SS_ED_KURTOSIS, r->kurt);
  __vrsdSSEditTask(task, SS_ED_ACCUM_WEIGHT, r->accum);
  status = _vrsdSSBasic(task, EST_MEAN | EST_CENTRAL2 | EST_SKEWNESS | EST_KURTOSIS | EST_COR,
                        METHOD_ONE_PASS, oxl_services_omp_ss());
  __vrsSSDeleteTask(&task);
  return status;
}

static double max_diff(const double* a, const double* b, int count) {
  double m = 0.0;
  for (int i = 0; i < count; ++i) m = fmax(m, fabs(a[i] - b[i]));
  return m;
}

int oxl_example_stats(void) {
  double* x = malloc(sizeof(double) * P * N);
  if (x == NULL) return 1;
  /* Dimension 0: N(1, 1); 1: N(-2, 4), correlated with 0 (rho = 0.6); 2: N(10, 0.25). */
  for (int64_t j = 0; j < N; ++j) {
    const double g0 = gaussian(), g1 = gaussian(), g2 = gaussian();
    x[j * P + 0] = 1.0 + g0;
    x[j * P + 1] = -2.0 + 2.0 * (0.6 * g0 + 0.8 * g1);
    x[j * P + 2] = 10.0 + 0.5 * g2;
  }

  static struct results one, two; /* zero: a new accumulation starts with weight 0 */
  if (run(x, 0, N, &one) != 0 || run(x, 0, N / 3, &two) != 0 ||
      run(x, N / 3, N - N / 3, &two) != 0) {
    fprintf(stderr, "statistics failed\n");
    free(x);
    return 1;
  }

  printf("%d observations of %d dimensions, one call\n", N, P);
  printf("%-10s %12s %12s %12s %12s\n", "dimension", "mean", "variance", "skewness", "kurtosis");
  for (int i = 0; i < P; ++i) {
    printf("%-10d %12.6f %12.6f %12.6f %12.6f\n", i, one.mean[i], one.var[i], one.skew[i],
           one.kurt[i]);
  }
  printf("correlation (the diagonal holds the variances)\n");
  for (int i = 0; i < P; ++i) {
    printf("  %12.6f %12.6f %12.6f\n", one.cor[i * P], one.cor[i * P + 1], one.cor[i * P + 2]);
  }
  printf("two blocks (%d + %d observations) against one call, largest difference:\n", N / 3,
         N - N / 3);
  printf("  mean %.3g, variance %.3g, skewness %.3g, kurtosis %.3g, correlation %.3g\n",
         max_diff(one.mean, two.mean, P), max_diff(one.var, two.var, P),
         max_diff(one.skew, two.skew, P), max_diff(one.kurt, two.kurt, P),
         max_diff(one.cor, two.cor, P * P));
  free(x);
  return 0;
}

/* The demo links every example into one tour; alone, each is its own program. */
#ifndef OXL_EXAMPLES_IN_DEMO
int main(void) { return oxl_example_stats(); }
#endif
