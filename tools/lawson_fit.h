// Shared by the table tools: MPFR numbers with a lifetime, and a near-minimax fit by Lawson's
// iteration (weighted least squares on a grid, each point's weight multiplied by its error after
// every round), which tends to the minimax solution of the same linear problem.
#pragma once

#include <mpfr.h>

#include <functional>
#include <vector>

struct Mp {
  mpfr_t v;
  explicit Mp(mpfr_prec_t bits = 256) { mpfr_init2(v, bits); }
  ~Mp() { mpfr_clear(v); }
  Mp(const Mp&) = delete;
  Mp& operator=(const Mp&) = delete;
};

// Solves the k x k system a x = b by Gaussian elimination with partial pivoting, in place.
inline void Solve(std::vector<Mp>& a, std::vector<Mp>& b, int k) {
  Mp t;
  for (int c = 0; c < k; ++c) {
    int pivot = c;
    for (int row = c + 1; row < k; ++row) {
      if (mpfr_cmpabs(a[row * k + c].v, a[pivot * k + c].v) > 0) pivot = row;
    }
    for (int col = 0; col < k; ++col) mpfr_swap(a[c * k + col].v, a[pivot * k + col].v);
    mpfr_swap(b[c].v, b[pivot].v);
    for (int row = c + 1; row < k; ++row) {
      mpfr_div(t.v, a[row * k + c].v, a[c * k + c].v, MPFR_RNDN);
      for (int col = c; col < k; ++col) {
        mpfr_fms(a[row * k + col].v, t.v, a[c * k + col].v, a[row * k + col].v, MPFR_RNDN);
        mpfr_neg(a[row * k + col].v, a[row * k + col].v, MPFR_RNDN);
      }
      mpfr_fms(b[row].v, t.v, b[c].v, b[row].v, MPFR_RNDN);
      mpfr_neg(b[row].v, b[row].v, MPFR_RNDN);
    }
  }
  for (int row = k - 1; row >= 0; --row) {
    for (int col = row + 1; col < k; ++col) {
      mpfr_fms(t.v, a[row * k + col].v, b[col].v, b[row].v, MPFR_RNDN);
      mpfr_neg(b[row].v, t.v, MPFR_RNDN);
    }
    mpfr_div(b[row].v, b[row].v, a[row * k + row].v, MPFR_RNDN);
  }
}

// The problem at one grid point: the `terms` basis values and the target, so that the fit makes
// sum c_i basis_i close to target.
using FitRow = std::function<void(mpfr_srcptr x, std::vector<Mp>& basis, mpfr_ptr target)>;

// Coefficients c (rounded to double) for the grid points, after `rounds` of Lawson's iteration.
// The rows are evaluated once: they do not change between rounds, only the weights do.
inline std::vector<double> LawsonFit(const std::vector<Mp>& grid, int terms, int rounds,
                                     const FitRow& row) {
  const size_t n = grid.size();
  std::vector<Mp> weight(n), basis(n * terms), target(n);
  {
    std::vector<Mp> one(terms);
    for (size_t k = 0; k < n; ++k) {
      row(grid[k].v, one, target[k].v);
      for (int i = 0; i < terms; ++i) mpfr_set(basis[k * terms + i].v, one[i].v, MPFR_RNDN);
    }
  }
  Mp t, sum;
  for (size_t k = 0; k < n; ++k) mpfr_set_ui(weight[k].v, 1, MPFR_RNDN);
  std::vector<double> c(terms);
  for (int round = 0; round < rounds; ++round) {
    std::vector<Mp> a(terms * terms), b(terms);
    for (int i = 0; i < terms * terms; ++i) mpfr_set_zero(a[i].v, 1);
    for (int i = 0; i < terms; ++i) mpfr_set_zero(b[i].v, 1);
    for (size_t k = 0; k < n; ++k) {
      const Mp* x = &basis[k * terms];
      for (int i = 0; i < terms; ++i) {
        mpfr_mul(t.v, x[i].v, weight[k].v, MPFR_RNDN);
        mpfr_fma(b[i].v, t.v, target[k].v, b[i].v, MPFR_RNDN);
        for (int j = 0; j < terms; ++j) {
          mpfr_fma(a[i * terms + j].v, t.v, x[j].v, a[i * terms + j].v, MPFR_RNDN);
        }
      }
    }
    Solve(a, b, terms);
    for (int i = 0; i < terms; ++i) c[i] = mpfr_get_d(b[i].v, MPFR_RNDN);
    // Lawson's update with the exact coefficients' errors, normalised to a sum of 1.
    mpfr_set_zero(sum.v, 1);
    for (size_t k = 0; k < n; ++k) {
      const Mp* x = &basis[k * terms];
      mpfr_neg(t.v, target[k].v, MPFR_RNDN);
      for (int i = 0; i < terms; ++i) mpfr_fma(t.v, b[i].v, x[i].v, t.v, MPFR_RNDN);
      mpfr_abs(t.v, t.v, MPFR_RNDN);
      mpfr_mul(weight[k].v, weight[k].v, t.v, MPFR_RNDN);
      mpfr_add(sum.v, sum.v, weight[k].v, MPFR_RNDN);
    }
    for (size_t k = 0; k < n; ++k) mpfr_div(weight[k].v, weight[k].v, sum.v, MPFR_RNDN);
  }
  return c;
}

// P for an odd f(u) = u + u z P(z), z = u^2 in [0, z_max], near-minimax: fitted as z P(z) to
// (f(u) - u) / u where u is close enough to f(u) for that error to stand for the result's (asin:
// u is within 0.53 of asin(u)), and with over_f as u z P(z) / f(u) to (f(u) - u) / f(u), in the
// error relative to the result.
inline std::vector<double> SeriesPolynomial(int terms, double z_max,
                                            int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t),
                                            bool over_f) {
  std::vector<Mp> grid(2000);
  for (size_t k = 0; k < grid.size(); ++k) {
    mpfr_set_d(grid[k].v, z_max * (k + 1.0) / grid.size(), MPFR_RNDN);
  }
  return LawsonFit(grid, terms, 40, [=](mpfr_srcptr z, std::vector<Mp>& basis, mpfr_ptr target) {
    Mp u, fu;
    mpfr_sqrt(u.v, z, MPFR_RNDN);
    f(fu.v, u.v, MPFR_RNDN);
    mpfr_sub(target, fu.v, u.v, MPFR_RNDN);
    if (over_f) {
      mpfr_div(target, target, fu.v, MPFR_RNDN);
      mpfr_mul(basis[0].v, u.v, z, MPFR_RNDN);
      mpfr_div(basis[0].v, basis[0].v, fu.v, MPFR_RNDN);
    } else {
      mpfr_div(target, target, u.v, MPFR_RNDN);
      mpfr_set(basis[0].v, z, MPFR_RNDN);
    }
    for (size_t i = 1; i < basis.size(); ++i) mpfr_mul(basis[i].v, basis[i - 1].v, z, MPFR_RNDN);
  });
}
