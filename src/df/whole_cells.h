// Integrals of whole polynomial cells, summed in a vector loop on the processor's best SIMD target.
#pragma once

#include <cstdint>

namespace oxl::df {

// Over `groups` groups of four cells from cell `begin`, the integral of each cell of degree
// `degree` (1 to 3, coefficients in ascending powers, degree + 1 per cell) over its whole width,
// summed into four partial sums: cell begin + 4g + k goes to sums[k]. The widths are
// x[i + 1] - x[i], or `step` when uniform. Each cell's integral is the nested fused form
// (((c3/4) h + c2/3) h + c1/2) h + c0) h (lower degrees drop the high terms), so the sums are
// the same on every target, and the same as a scalar loop that keeps four sums.
void WholeCellSums(int degree, bool uniform, const double* coeff, const double* x, double step,
                   int64_t begin, int64_t groups, double sums[4]);
void WholeCellSums(int degree, bool uniform, const float* coeff, const float* x, float step,
                   int64_t begin, int64_t groups, float sums[4]);

}  // namespace oxl::df
