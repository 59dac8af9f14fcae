/* Fits a linear, a quadratic and a natural cubic spline to the empirical distribution function of
 * a Gaussian sample and evaluates them, with the first derivative (an estimate of the density),
 * beside the exact normal distribution; then integrates the cubic over [-3, 3], where the normal
 * distribution function integrates to 3 (by symmetry, Phi(x) + Phi(-x) = 1).
 *
 * There is no Gaussian generator in this demo's reach, so the sample comes from a Box-Muller
 * transform of a small xorshift generator written here. The standard quadratic carries its one
 * free condition from cell to cell, so on noisy data its slope swings more than the linear one's.
 */
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include "oxl/omp_services.h"
#include "oxl/oxl.h"

#define SAMPLE 2000
#define KNOTS 41

static uint64_t state = 0x9E3779B97F4A7C15ull;

static double uniform01(void) {
  state ^= state << 13;
  state ^= state >> 7;
  state ^= state << 17;
  return ((double)(state >> 11) + 0.5) * (1.0 / 9007199254740992.0);
}

static int by_value(const void* a, const void* b) {
  const double x = *(const double*)a, y = *(const double*)b;
  return (x > y) - (x < y);
}

static int check(int32_t status, const char* what) {
  if (status != 0) fprintf(stderr, "%s failed with status %d\n", what, (int)status);
  return status != 0;
}

int oxl_example_df(void) {
  static double sample[SAMPLE];
  for (int i = 0; i < SAMPLE; i += 2) {
    const double r = sqrt(-2.0 * log(uniform01()));
    const double a = 6.283185307179586 * uniform01();
    sample[i] = r * cos(a);
    sample[i + 1] = r * sin(a);
  }
  qsort(sample, SAMPLE, sizeof(double), by_value);

  /* Knots: evenly spaced order statistics; values: the empirical distribution at them. */
  double x[KNOTS], y[KNOTS];
  for (int k = 0; k < KNOTS; ++k) {
    const int i = (int)((double)k * (SAMPLE - 1) / (KNOTS - 1));
    x[k] = sample[i];
    y[k] = (i + 0.5) / SAMPLE;
  }

  double linear[2 * (KNOTS - 1)], quadratic[3 * (KNOTS - 1)], cubic[4 * (KNOTS - 1)];
  /* The quadratic's one free condition: its value at the middle of the first cell. */
  const double mid_value = 0.5 * (y[0] + y[1]);
  df_task *lin = NULL, *quad = NULL, *cub = NULL;
  if (check(oxl_df_kernel_dNewTask1D(&lin, KNOTS, x, PARTITION_NONUNIFORM, 1, y, VALUES_ROWS, 0),
            "linear task") ||
      check(oxl_df_kernel_dNewTask1D(&quad, KNOTS, x, PARTITION_NONUNIFORM, 1, y, VALUES_ROWS, 0),
            "quadratic task") ||
      check(oxl_df_kernel_dEditPPSpline1D(lin, SPLINE_ORDER_LINEAR, SPLINE_TYPE_DEFAULT, BC_NOT_SET,
                                          NULL, IC_NONE, NULL, linear, COEFFICIENTS_ROWS),
            "linear edit") ||
      check(oxl_df_kernel_dEditPPSpline1D(quad, SPLINE_ORDER_QUADRATIC, SPLINE_TYPE_DEFAULT,
                                          BC_QUADRATIC_VALUE, &mid_value, IC_NONE, NULL, quadratic,
                                          COEFFICIENTS_ROWS),
            "quadratic edit") ||
      check(oxl_df_kernel_dNewTask1D(&cub, KNOTS, x, PARTITION_NONUNIFORM, 1, y, VALUES_ROWS, 0),
            "cubic task") ||
      /* Free ends: the second derivative vanishes at both ends, as the tails of a density do. */
      check(oxl_df_kernel_dEditPPSpline1D(cub, SPLINE_ORDER_CUBIC, SPLINE_TYPE_NATURAL, BC_FREE_END,
                                          NULL, IC_NONE, NULL, cubic, COEFFICIENTS_ROWS),
            "cubic edit") ||
      check(oxl_df_kernel_dDFLinearSpline1D(lin, 0, 0, oxl_services_omp_df()), "linear fit") ||
      check(oxl_df_kernel_dDFQuadraticSpline1D(quad, 0, 0, NULL), "quadratic fit") ||
      check(oxl_df_kernel_dDFNaturalCubicSpline1D(cub, 0, 0, oxl_services_omp_df()),
            "cubic fit")) {
    oxl_df_kernel_DeleteTask(&lin);
    oxl_df_kernel_DeleteTask(&quad);
    oxl_df_kernel_DeleteTask(&cub);
    return 1;
  }

  /* Nine sites evenly from -2 to 2, given by their ends; value and first derivative. */
  const double ends[2] = {-2.0, 2.0};
  const int32_t dorder[2] = {1, 1};
  double lin_out[9 * 2], quad_out[9 * 2], cub_out[9 * 2];
  int failed = check(oxl_df_kernel_dDFInterpolate1D(lin, 0, 0, 9, ends, SITES_UNIFORM, 2, dorder,
                                                    NULL, lin_out, INTERP_RESULTS_BY_FUNCTION, NULL,
                                                    NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL,
                                                    oxl_services_omp_df()),
                     "linear interpolation") ||
               check(oxl_df_kernel_dDFInterpolate1D(quad, 0, 0, 9, ends, SITES_UNIFORM, 2, dorder,
                                                    NULL, quad_out, INTERP_RESULTS_BY_FUNCTION,
                                                    NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL,
                                                    NULL, oxl_services_omp_df()),
                     "quadratic interpolation") ||
               check(oxl_df_kernel_dDFInterpolate1D(cub, 0, 0, 9, ends, SITES_UNIFORM, 2, dorder,
                                                    NULL, cub_out, INTERP_RESULTS_BY_FUNCTION, NULL,
                                                    NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL,
                                                    oxl_services_omp_df()),
                     "cubic interpolation");
  /* The knots span the sample, which reaches beyond +-3 at this size, so the range lies within
   * the fit. */
  const double from = -3.0, to = 3.0;
  double integral = 0.0;
  failed = failed || check(oxl_df_kernel_dDFIntegrate1D(cub, 0, 1, &from, 0, &to, 0, NULL, NULL,
                                                        &integral, INTEGR_RESULTS_BY_FUNCTION,
                                                        NULL, NULL, NULL, NULL, NULL, NULL, NULL,
                                                        NULL, NULL),
                           "cubic integration");
  if (!failed) {
    printf("Empirical distribution of %d Gaussian numbers, %d knots\n", SAMPLE, KNOTS);
    printf("%5s %8s %8s %8s %8s  %8s %8s %8s %8s\n", "x", "linear", "quad", "cubic", "Phi(x)",
           "lin'", "quad'", "cubic'", "phi(x)");
    for (int i = 0; i < 9; ++i) {
      const double s = -2.0 + 0.5 * i;
      printf("%5.2f %8.5f %8.5f %8.5f %8.5f  %8.5f %8.5f %8.5f %8.5f\n", s, lin_out[2 * i],
             quad_out[2 * i], cub_out[2 * i], 0.5 * erfc(-s / sqrt(2.0)), lin_out[2 * i + 1],
             quad_out[2 * i + 1], cub_out[2 * i + 1], exp(-0.5 * s * s) / sqrt(6.283185307179586));
    }
    printf("Integral of the cubic fit over [%g, %g]: %.5f (of Phi: 3)\n", from, to, integral);
  }
  oxl_df_kernel_DeleteTask(&lin);
  oxl_df_kernel_DeleteTask(&quad);
  oxl_df_kernel_DeleteTask(&cub);
  return failed;
}

/* The demo links every example into one tour; alone, each is its own program. */
#ifndef OXL_EXAMPLES_IN_DEMO
int main(void) { return oxl_example_df(); }
#endif
