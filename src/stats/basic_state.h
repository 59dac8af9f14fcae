// State and tables of the kernels of the moment and covariance entry (basic_kernels-inl.h): one
// kernel per method, storage, weighting and order, chosen from tables so that their loops test
// nothing.
//
// Running state of one share of the observations: W and W2 (sums of weights and of their
// squares), the mean and the raw moments as weighted means, the central moments as plain weighted
// sums of deviation powers, and S, the weighted sum of deviation products, in the lower triangle
// of a row-major p by p block (element (j, i), i <= j, at j*p + i). The state is kept in double
// for float data as well: its sums then lose no digits as the observations grow into the
// billions, where a float state drifts by about n times its rounding.
//
// The one-pass kernels take observations in blocks that stay in cache: each block's mean and
// deviation sums are computed from the block alone (after a shift, so that data far from zero keep
// their digits) and then merged into the running state with the
// exact pairwise update formulas of Chan, Golub and LeVeque and of Pebay. The shift is the running
// mean once there is one, else the block's first observation. One observation per
// block would be the classic running update; blocks give the same results with fewer divisions
// and better rounding. The power-sum (Fast) and given-mean kernels add weighted powers over the
// range in double precision and fold them into the state once.
//
// Reductions keep four independent partial sums in a fixed order, so that the loops vectorise
// and the rounding is the same on every target.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace oxl::stats {

enum Slot : int { kMean = 0, kRaw2, kRaw3, kRaw4, kCen2, kCen3, kCen4, kSlotCount };

constexpr int kLanes = 4;

// Aligned so that the records of two shares, whose W the one-pass kernels update at every block,
// share no cache line.
struct alignas(128) ShareState {
  double* slot[kSlotCount];  // p values each; unused slots may be null
  double* S;                 // p*p, or null when no matrix is tracked by this share
  // Set by the thread that runs the share: its work space (see ScratchDoubles), and the end of its
  // run of shares, up to which a kernel may fetch observations ahead.
  double* scratch;
  int64_t fetch_end;
  double W, W2;
};

template <class T>
struct KernelArgs {
  int64_t n, p;
  const T* x;
  const T* w;      // null without weights
  const T* given;  // the given mean (given-mean kernels)
  int64_t block;   // observations per block of the one-pass kernels
  // The power-sum and given-mean kernels add the raw products w x x^T of their range to S.
  bool products;
};

template <class T>
using Kernel = void (*)(const KernelArgs<T>&, int64_t first, int64_t end, ShareState&);

// Slots that a kernel of each method and order keeps.
constexpr uint32_t OnePassSlots(int order) {
  constexpr uint32_t kBySlot[4] = {1u << kMean, (1u << kMean) | (1u << kCen2),
                                   (1u << kMean) | (1u << kRaw2) | (1u << kCen2), 0x7Fu};
  return kBySlot[order];
}
constexpr uint32_t FastSlots(int order) { return (1u << (order + 1)) - 1; }
constexpr uint32_t GivenMeanSlots(int order) {
  constexpr uint32_t kBySlot[4] = {1u << kCen2, (1u << kCen2) | (1u << kCen3), 0x70u, 0x7Eu};
  return kBySlot[order];
}

// Observations per block of the raw products (power-sum and given-mean methods): each product's
// partial sums are added up once per block.
constexpr int64_t kProductBlock = 512;

// Observations per chunk of a thread that adds raw products: its power sums and its products are
// taken chunk by chunk, a chunk being about 256 KiB of observations (twice that counting the
// weights' products), in whole product blocks.
inline int64_t ProductChunk(int64_t p, bool weighted) {
  const int64_t blocks = (int64_t{1} << 18) / (8 * p * (weighted ? 2 : 1) * kProductBlock);
  return std::max<int64_t>(blocks, 1) * kProductBlock;
}

// The raw products of rows storage copy each block into work space: p stretches and the weights,
// each padded to 16 observations and 64 bytes more (see ProductsOfBlock).
inline int64_t PackedStride(int64_t L) { return (L + 15) / 16 * 16 + 8; }

// Work space of one thread's kernel, in doubles. The power-sum and given-mean kernels keep their
// sums (kSlotCount * p) and, when they add raw products, one chunk's sums and the packed block.
inline int64_t ProductScratchAt(int64_t p) { return 2 * kSlotCount * p; }
inline int64_t ScratchDoubles(bool one_pass, bool matrix, int64_t p, int64_t block) {
  if (!one_pass)
    return matrix ? ProductScratchAt(p) + (p + 1) * PackedStride(kProductBlock) : 8 * p;
  return 8 * p + block * p + (matrix ? p * p : 0);
}

using MergeFn = void (*)(int64_t p, uint32_t slots, bool given_mean, ShareState& a, double Wb,
                         double W2b, const double* const* bs, const double* SB);

// The kernels of one SIMD target. One-pass: index 16*(cols) + 8*(weights) + 2*order + (S
// wanted); the others: 8*(cols) + 4*(weights) + order. `merge` folds one share's state into
// another's.
template <class T>
struct KernelSet {
  std::array<Kernel<T>, 32> one_pass;
  std::array<Kernel<T>, 16> fast;
  std::array<Kernel<T>, 16> given_mean;
  MergeFn merge;
};

// The kernels of the best target this processor runs.
const KernelSet<double>& Kernels(double);
const KernelSet<float>& Kernels(float);

}  // namespace oxl::stats
