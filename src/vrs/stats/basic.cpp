// Moments, sums, covariance, correlation and cross-product: the entry, the preparation of the
// working state, the threaded part with its merge, the finish step and the conversions.
//
// The working state is private to the call: moments and S live in one block taken at the start,
// are loaded from the caller's arrays (the running state of earlier calls) and are written back
// at the end, only for the dimensions that the inclusion mask keeps. A dimension left out thus
// keeps every result, whatever was computed for it.
#include <bit>
#include <cmath>
#include <cstring>

#include "oxl/platform.h"
#include "platform/checked_size.h"
#include "platform/fp_control.h"
#include "vrs/stats/basic_state.h"
#include "vrs/stats/blas.h"
#include "vrs/stats/task.h"

namespace oxl::stats {
namespace {

// Positions of the internal index word.
enum Index : int {
  kIdxMean = 0,
  kIdxRaw2 = 1,  // ..3
  kIdxCen2 = 4,  // ..6
  kIdxCov = 7,
  kIdxCor = 8,
  kIdxKurtosis = 9,
  kIdxSkewness = 10,
  kIdxVariation = 11,
  kIdxSum = 12,
  kIdxRawSum2 = 13,  // ..15
  kIdxCenSum2 = 16,  // ..18
  kIdxCrossProduct = 19,
  kIdxImpossible = 20,
  kIndexCount = 21,
};

constexpr uint64_t kEstimateOfIndex[20] = {
    EST_MEAN,     EST_RAW2,         EST_RAW3,         EST_RAW4,         EST_CENTRAL2,
    EST_CENTRAL3, EST_CENTRAL4,     EST_COV,          EST_COR,          EST_KURTOSIS,
    EST_SKEWNESS, EST_VARIATION,    EST_SUM,          EST_RAW_SUM2,     EST_RAW_SUM3,
    EST_RAW_SUM4, EST_CENTRAL_SUM2, EST_CENTRAL_SUM3, EST_CENTRAL_SUM4, EST_CROSS_PRODUCT};

constexpr int kMissingStatus[kIndexCount] = {-4006, -4007, -4008, -4009, -4010, -4011, -4012,
                                             -4018, -4019, -4013, -4014, -4017, -4074, -4075,
                                             -4076, -4077, -4078, -4079, -4080, -4081, -4029};

// For each index, the indices that must be computed with it.
constexpr uint32_t arrDemandMasksDefault[20] = {
    0x1,   0x2,   0x4,    0x8,    0x13,   0x27,   0x4f,    0x81,    0x101,   0x25f,
    0x437, 0x813, 0x1000, 0x2000, 0x4000, 0x8000, 0x10001, 0x20001, 0x40001, 0x80001};
constexpr uint32_t arrDemandMasksFast[20] = {
    0x1,   0x2,   0x4,    0x8,    0x13,   0x27,   0x4f,    0x81,    0x101,   0x25f,
    0x437, 0x813, 0x1000, 0x2000, 0x4000, 0x8000, 0x10003, 0x20007, 0x4000f, 0x80001};
constexpr uint32_t arrDemandMasksConvert[20] = {
    0x1001, 0x2002, 0x4004,   0x8008,   0x10010,  0x20020,  0x40040,  0x80080,  0x80100,  0x251,
    0x431,  0x811,  0x100000, 0x100000, 0x100000, 0x100000, 0x100000, 0x100000, 0x100000, 0x100000};

enum class Method { kOnePass, kFast, kGivenMean, kConvert };

// Where the slots of a caller's arrays are: moment arrays (index of the slot) and sum arrays.
constexpr int kSumIndexOfSlot[kSlotCount] = {kIdxSum,         kIdxRawSum2, kIdxRawSum2 + 1,
                                             kIdxRawSum2 + 2, kIdxCenSum2, kIdxCenSum2 + 1,
                                             kIdxCenSum2 + 2};

// A result matrix: its array and its form.
template <class T>
struct Matrix {
  T* data = nullptr;
  int form = MATRIX_FULL;  // MATRIX_FULL, MATRIX_LOWER_PACKED or MATRIX_UPPER_PACKED
};

// Position of element (r, c) of a symmetric p by p matrix in the given form.
inline int64_t MatrixPos(int form, int64_t p, int64_t r, int64_t c) {
  if (form == MATRIX_LOWER_PACKED) {
    if (c > r) std::swap(r, c);
    return r * (r + 1) / 2 + c;
  }
  if (form == MATRIX_UPPER_PACKED) {
    if (c < r) std::swap(r, c);
    return r * p - r * (r - 1) / 2 + (c - r);
  }
  return r * p + c;
}

inline int MatrixForm(int64_t word) {
  if (word & MATRIX_UPPER_PACKED) return MATRIX_UPPER_PACKED;
  if (word & MATRIX_LOWER_PACKED) return MATRIX_LOWER_PACKED;
  return MATRIX_FULL;
}

template <class T>
struct Call {
  SSTask* task;
  Method method;
  int64_t n = 0, p = 0;
  bool rows = true, weighted = false;
  uint32_t demand = 0;
  T* arrays[kIndexCount] = {};
  Matrix<T> cov, cor, cp;
  bool matrix = false;  // S is tracked
  double W = 0, W2 = 0;
};

// Blocks of the one-pass kernels: a few hundred observations, fewer for many dimensions, so that
// the deviations of a block stay in the first cache levels.
inline int64_t OnePassBlock(int64_t p) {
  return std::max<int64_t>(16, std::min<int64_t>(256, 16384 / p));
}

// Largest p whose one-thread raw products are the own kernels' rather than OpenBLAS's. Measured
// on 80 MB of observations (AVX-512, one core): own 1.6x faster at p = 10, even at p = 24 to 48
// (columns storage to rows), BLAS 1.2x (rows) to 2x (columns) faster at p = 128.
constexpr int64_t kOwnProductsMaxP = 32;

// Observations per BLAS update of S: the block of the thread's range that keeps a 256 KiB working
// set.
inline int64_t BlasBlock(int64_t p, bool weighted, int64_t elementBytes) {
  return std::max<int64_t>(64, 262144 / (elementBytes * p * (weighted ? 2 : 1)));
}

// Loads S from the stored result that carries the running state (cross-product, else covariance,
// else correlation), bringing it back to the working form of plain deviation sums.
template <class T>
void LoadMatrix(const Call<T>& c, T* S) {
  const int64_t p = c.p;
  const double scale = c.W - c.W2 / c.W;
  const Matrix<T>* from = c.demand & (1u << kIdxCrossProduct) ? &c.cp
                          : c.demand & (1u << kIdxCov)        ? &c.cov
                                                              : &c.cor;
  for (int64_t r = 0; r < p; ++r) {
    for (int64_t k = 0; k <= r; ++k) {
      double v = double(from->data[MatrixPos(from->form, p, r, k)]);
      if (from == &c.cor && k != r) {
        v *= std::sqrt(double(from->data[MatrixPos(from->form, p, r, r)]) *
                       double(from->data[MatrixPos(from->form, p, k, k)]));
      }
      if (from != &c.cp) v *= scale;
      S[r * p + k] = T(v);
    }
  }
}

// Loads one working slot from the caller's moment array, or else its sum array.
template <class T>
void LoadSlot(const Call<T>& c, int k, T* slot) {
  const int64_t p = c.p;
  const T* moment = c.arrays[k];
  const T* sum = c.arrays[kSumIndexOfSlot[k]];
  if (k < kCen2) {
    if (moment != nullptr) {
      std::memcpy(slot, moment, sizeof(T) * p);
    } else if (sum != nullptr) {
      for (int64_t i = 0; i < p; ++i) slot[i] = T(double(sum[i]) / c.W);
    }
  } else {
    const double scale = k == kCen2 ? (c.W * c.W - c.W2) / c.W : c.W;
    if (moment != nullptr) {
      for (int64_t i = 0; i < p; ++i) slot[i] = T(double(moment[i]) * scale);
    } else if (sum != nullptr) {
      std::memcpy(slot, sum, sizeof(T) * p);
    }
  }
}

// Writes cor, cov and cross-product from S. The diagonal of cor holds the variance.
template <class T>
void WriteMatrices(const Call<T>& c, const T* S) {
  const int64_t p = c.p;
  const SSTask& task = *c.task;
  const double f = c.W > 0 ? 1.0 / (c.W - c.W2 / c.W) : 1.0;
  auto put = [p](const Matrix<T>& m, int64_t r, int64_t k, double v) {
    m.data[MatrixPos(m.form, p, r, k)] = T(v);
    if (m.form == MATRIX_FULL) m.data[k * p + r] = T(v);
  };
  const bool wantCor = c.demand & (1u << kIdxCor), wantCov = c.demand & (1u << kIdxCov),
             wantCp = c.demand & (1u << kIdxCrossProduct);
  for (int64_t r = 0; r < p; ++r) {
    if (!Included(task, r)) continue;
    for (int64_t k = 0; k <= r; ++k) {
      if (!Included(task, k)) continue;
      const double s = double(S[r * p + k]);
      if (wantCor) {
        put(c.cor, r, k,
            k == r ? f * s : s / std::sqrt(double(S[r * p + r]) * double(S[k * p + k])));
      }
      if (wantCov) put(c.cov, r, k, f * s);
      if (wantCp) put(c.cp, r, k, s);
    }
  }
}

// The finish step for moments and what derives from them. `out` is the set of indices to write;
// `slots` the working values, `givenMean` the mean of a given-mean call.
template <class T>
void WriteMoments(const Call<T>& c, uint32_t out, T* const* slots, const T* givenMean) {
  const int64_t p = c.p;
  const double W = c.W, W2 = c.W2;
  const bool fast = c.method == Method::kFast;
  auto at = [](const T* a, int64_t i) { return a != nullptr ? double(a[i]) : 0.0; };
  for (int64_t i = 0; i < p; ++i) {
    if (!Included(*c.task, i)) continue;
    const double m = givenMean != nullptr ? double(givenMean[i]) : at(slots[kMean], i);
    const double r2 = at(slots[kRaw2], i), r3 = at(slots[kRaw3], i), r4 = at(slots[kRaw4], i);
    double s2, s3, s4;  // central sums
    if (fast) {
      s2 = W * (r2 - m * m);
      s3 = W * (r3 - m * (3.0 * r2 - 2.0 * m * m));
      s4 = W * (r4 - m * (4.0 * r3 - m * (6.0 * r2 - 3.0 * m * m)));
    } else {
      s2 = at(slots[kCen2], i);
      s3 = at(slots[kCen3], i);
      s4 = at(slots[kCen4], i);
    }
    const double c2 = fast ? W * W / (W * W - W2) * (r2 - m * m) : W / (W * W - W2) * s2;
    const double c3 = s3 / W;
    const double c4 = s4 / W;
    const double values[20] = {m,
                               r2,
                               r3,
                               r4,
                               c2,
                               c3,
                               c4,
                               0,
                               0,
                               c4 / (c2 * c2) - 3.0,
                               c3 / std::sqrt(c2 * c2 * c2),
                               std::sqrt(c2) / m,
                               W * m,
                               W * r2,
                               W * r3,
                               W * r4,
                               s2,
                               s3,
                               s4,
                               0};
    for (uint32_t bits = out; bits != 0; bits &= bits - 1) {
      const int idx = std::countr_zero(bits);
      if (idx == kIdxCov || idx == kIdxCor || idx == kIdxCrossProduct) continue;
      c.arrays[idx][i] = T(values[idx]);
    }
  }
}

// Shared by the threads of one call.
template <class T>
struct ThreadContext {
  Kernel<T> kernel;
  KernelArgs<T> args;
  ThreadState<T>* states;
};

template <class T>
int32_t BasicThreader(int32_t thread, void* /*reserved*/, int32_t threadCount, void* context) {
  auto& ctx = *static_cast<ThreadContext<T>*>(context);
  const int64_t n = ctx.args.n;
  const int64_t share = n / threadCount;
  const int64_t first = thread * share;
  const int64_t end = thread == threadCount - 1 ? n : first + share;
  ctx.kernel(ctx.args, first, end, ctx.states[thread]);
  return 0;
}

// Byte layout of the call's one block of work memory. Its sizes are products of the caller's
// dimension and counts, checked step by step: a layout that overflowed is never allocated.
struct Layout {
  oxl::platform::CheckedSize bytes = 0;
  std::size_t Take(oxl::platform::CheckedSize size) {
    const std::size_t at = bytes.value();
    bytes = bytes + size.RoundedUp(128);
    return at;
  }
};

// Frees the call's work block on every path.
struct WorkBlock {
  void* ptr = nullptr;
  ~WorkBlock() {
    if (ptr != nullptr) oxl_serv_deallocate(ptr);
  }
  char* bytes() const { return static_cast<char*>(ptr); }
};

template <class T>
int Compute(Call<T>& c, const SSThreadServices* services) {
  SSTask& task = *c.task;
  const int64_t n = c.n, p = c.p;
  const uint32_t d = c.demand;
  auto wants = [d](int idx) { return (d & (1u << idx)) != 0; };
  auto wantsEither = [&](int slot) { return wants(slot) || wants(kSumIndexOfSlot[slot]); };

  // Order and kernel.
  const KernelSet<T>& kernels = Kernels(T{});
  int order = 0;
  uint32_t slots = 0;
  Kernel<T> kernel = nullptr;
  const int cols = c.rows ? 0 : 1, wt = c.weighted ? 1 : 0;
  if (c.method == Method::kFast) {
    order = wantsEither(kRaw4) ? 3 : wantsEither(kRaw3) ? 2 : wantsEither(kRaw2) ? 1 : 0;
    slots = FastSlots(order);
    kernel = kernels.fast[8 * cols + 4 * wt + order];
  } else if (c.method == Method::kGivenMean) {
    order = (wantsEither(kRaw2) || wantsEither(kRaw3) || wantsEither(kRaw4)) ? 3
            : wantsEither(kCen4)                                             ? 2
            : wantsEither(kCen3)                                             ? 1
                                                                             : 0;
    slots = GivenMeanSlots(order);
    kernel = kernels.givenMean[8 * cols + 4 * wt + order];
  } else {
    order = (wantsEither(kRaw3) || wantsEither(kRaw4) || wantsEither(kCen3) || wantsEither(kCen4))
                ? 3
            : wantsEither(kRaw2) ? 2
            : wantsEither(kCen2) ? 1
                                 : 0;
    slots = OnePassSlots(order);
    kernel = kernels.onePass[16 * cols + 8 * wt + 2 * order + (c.matrix ? 1 : 0)];
  }

  // Threads: a share must be worth its start-up (2^13 elements of work) and hold 16
  // observations.
  int64_t threads = services != nullptr && services->thread_count != nullptr &&
                            services->run_on_each_thread != nullptr
                        ? services->thread_count()
                        : 1;
  {
    const unsigned __int128 work =
        (unsigned __int128)n * (unsigned __int128)p * (unsigned __int128)(c.matrix ? p : 1);
    const unsigned __int128 byWork = work >> 13;
    threads = std::min<int64_t>(
        threads, byWork > (unsigned __int128)INT32_MAX ? INT32_MAX : int64_t(byWork));
    threads = std::min<int64_t>(threads, n >> 4);
    threads = std::max<int64_t>(threads, 1);
  }

  // Work memory: per thread slots, S (private in one-pass), scratch; the saved mean of the
  // power-sum S update; the weighted block of the BLAS update.
  const bool onePass = c.method == Method::kOnePass;
  // S is private to each thread in the one-pass method. In the others it is a sum of raw
  // products, which the kernels add chunk by chunk beside their power sums, each thread into a
  // private block; only a lone thread with a large matrix leaves them to OpenBLAS's dsyrk and
  // dgemm, whose blocking pays off there, on the calling thread (BLAS is never entered from a
  // worker).
  const bool powerS = c.matrix && !onePass;
  const bool privateS = c.matrix && (onePass || threads > 1);
  const bool blasS = powerS && threads == 1 && p > kOwnProductsMaxP;
  const int64_t block = OnePassBlock(p);
  const int64_t blasBlock = std::min<int64_t>(n, BlasBlock(p, c.weighted, sizeof(T)));
  // Each thread's part of a per-thread region starts a 128-byte line pair of its own, so that no
  // cache line is written by two threads.
  using oxl::platform::BytesOf;
  using oxl::platform::CheckedSize;
  auto padded = [](CheckedSize count, std::size_t size) {
    return (count * static_cast<int64_t>(size)).RoundedUp(128) / size;
  };
  const CheckedSize slotsSize = padded(CheckedSize(p) * kSlotCount, sizeof(T));
  const CheckedSize sSize = padded(CheckedSize(p) * p, sizeof(T));
  const CheckedSize scratchSize =
      padded(ScratchDoubles(onePass, c.matrix && !blasS, p, block), sizeof(double));
  Layout layout;
  const std::size_t statesAt = layout.Take(BytesOf<ThreadState<T>>(threads));
  const std::size_t slotsAt = layout.Take(BytesOf<T>(slotsSize * threads));
  const std::size_t sAt = c.matrix ? layout.Take(BytesOf<T>(sSize * (privateS ? threads : 1))) : 0;
  const std::size_t scratchAt = layout.Take(BytesOf<double>(scratchSize * threads));
  const std::size_t oldMeanAt = powerS ? layout.Take(BytesOf<T>(p)) : 0;
  const std::size_t scaledAt =
      blasS && c.weighted ? layout.Take(BytesOf<T>(CheckedSize(p) * blasBlock)) : 0;
  WorkBlock work;
  work.ptr = oxl::platform::AllocateChecked(layout.bytes, 128);
  if (work.ptr == nullptr) return OXL_SS_ERROR_MEMORY;
  std::memset(work.ptr, 0, layout.bytes.value());
  const auto slotsStride = static_cast<int64_t>(slotsSize.value());
  const auto sStride = static_cast<int64_t>(sSize.value());
  const auto scratchStride = static_cast<int64_t>(scratchSize.value());
  auto* states = reinterpret_cast<ThreadState<T>*>(work.bytes() + statesAt);
  for (int64_t t = 0; t < threads; ++t) {
    ThreadState<T>& st = states[t];
    for (int k = 0; k < kSlotCount; ++k) {
      st.slot[k] = reinterpret_cast<T*>(work.bytes() + slotsAt) + t * slotsStride + k * p;
    }
    st.S = c.matrix && (t == 0 || privateS) ? reinterpret_cast<T*>(work.bytes() + sAt) + t * sStride
                                            : nullptr;
    st.scratch = reinterpret_cast<double*>(work.bytes() + scratchAt) + t * scratchStride;
    st.W = st.W2 = 0;
  }
  const T* given = c.method == Method::kGivenMean ? c.arrays[kIdxMean] : nullptr;

  // Running state of earlier calls; with W = 0 everything starts at zero.
  ThreadState<T>& main = states[0];
  if (c.W > 0) {
    for (int k = 0; k < kSlotCount; ++k) {
      if (slots & (1u << k)) LoadSlot(c, k, main.slot[k]);
    }
    if (c.matrix) LoadMatrix(c, main.S);
  }
  main.W = c.W;
  main.W2 = c.W2;

  // S of the power-sum and given-mean methods, part one: from deviation sums about the old mean
  // to raw product sums.
  T* oldMean = powerS ? reinterpret_cast<T*>(work.bytes() + oldMeanAt) : nullptr;
  if (powerS && c.W > 0) {
    const T* v = c.method == Method::kFast   ? main.slot[kMean]
                 : task.priorMean != nullptr ? static_cast<const T*>(task.priorMean)
                                             : given;
    std::memcpy(oldMean, v, sizeof(T) * p);
    blas::Syr(int(p), T(c.W), oldMean, main.S);
  }

  ThreadContext<T> ctx{
      kernel,
      KernelArgs<T>{n, p, static_cast<const T*>(task.x), static_cast<const T*>(task.weights), given,
                    block, powerS && !blasS},
      states};
  if (!c.weighted) ctx.args.w = nullptr;
  if (threads > 1) {
    const int32_t status = services->run_on_each_thread(int32_t(threads), &ctx, &BasicThreader<T>);
    if (status != 0) return status;
    for (int64_t t = 1; t < threads; ++t) {
      kernels.merge(p, slots, c.method == Method::kGivenMean, main, states[t].W, states[t].W2,
                    states[t].slot, onePass ? states[t].S : nullptr);
      if (powerS) {
        for (int64_t r = 0; r < p; ++r) {
          for (int64_t k = 0; k <= r; ++k) main.S[r * p + k] += states[t].S[r * p + k];
        }
      }
    }
  } else {
    BasicThreader<T>(0, nullptr, 1, &ctx);
  }
  c.W = main.W;
  c.W2 = main.W2;

  // S, part two, on the calling thread: add the products of the observations (by BLAS when no
  // worker did), then subtract those of the new mean.
  if (blasS) {
    const T* x = static_cast<const T*>(task.x);
    const T* w = static_cast<const T*>(task.weights);
    T* scaled = c.weighted ? reinterpret_cast<T*>(work.bytes() + scaledAt) : nullptr;
    const int64_t step = c.weighted ? blasBlock : int64_t{1} << 30;
    for (int64_t j0 = 0; j0 < n; j0 += step) {
      const int k = int(std::min(n - j0, step));
      if (!c.weighted) {
        if (c.rows) {
          blas::Syrk('T', int(p), k, x + j0, int(n), main.S);
        } else {
          blas::Syrk('N', int(p), k, x + j0 * p, int(p), main.S);
        }
      } else if (c.rows) {
        for (int64_t i = 0; i < p; ++i) {
          for (int64_t j = 0; j < k; ++j) scaled[i * k + j] = x[i * n + j0 + j] * w[j0 + j];
        }
        blas::Gemm('T', 'N', int(p), k, x + j0, int(n), scaled, k, main.S);
      } else {
        for (int64_t j = 0; j < k; ++j) {
          for (int64_t i = 0; i < p; ++i) scaled[j * p + i] = x[(j0 + j) * p + i] * w[j0 + j];
        }
        blas::Gemm('N', 'T', int(p), k, x + j0 * p, int(p), scaled, int(p), main.S);
      }
    }
  }
  if (powerS) {
    const T* m = c.method == Method::kFast ? main.slot[kMean] : given;
    blas::Syr(int(p), T(-c.W), m, main.S);
  }

  // Finish: matrices, then moments, the running weights and the prior mean. The prior mean's
  // block comes first, so that a failed allocation leaves every output as it was.
  if (c.method == Method::kGivenMean && task.priorMean == nullptr) {
    task.priorMean = oxl::platform::AllocateChecked(oxl::platform::BytesOf<T>(p), 128);
    if (task.priorMean == nullptr) return OXL_SS_ERROR_MEMORY;
  }
  if (c.matrix) WriteMatrices(c, main.S);
  uint32_t out = d & ~((1u << kIdxCov) | (1u << kIdxCor) | (1u << kIdxCrossProduct));
  for (int k = 0; k < kSlotCount; ++k) {
    // A tracked slot is running state: its moment array (or, lacking one, its sum array)
    // carries it to the next call.
    if (!(slots & (1u << k))) continue;
    if (c.arrays[k] != nullptr) {
      out |= 1u << k;
    } else if (c.arrays[kSumIndexOfSlot[k]] != nullptr) {
      out |= 1u << kSumIndexOfSlot[k];
    }
  }
  if (c.method == Method::kGivenMean) out &= ~(1u << kIdxMean);
  T* working[kSlotCount];
  for (int k = 0; k < kSlotCount; ++k) working[k] = (slots & (1u << k)) ? main.slot[k] : nullptr;
  WriteMoments(c, out, working, given);
  if (task.accumWeights != nullptr) {
    static_cast<T*>(task.accumWeights)[0] = T(c.W);
    static_cast<T*>(task.accumWeights)[1] = T(c.W2);
  }
  if (c.method == Method::kGivenMean) std::memcpy(task.priorMean, given, sizeof(T) * p);
  return 0;
}

// Moments from stored sums; x is not read.
template <class T>
int Convert(Call<T>& c) {
  const int64_t p = c.p;
  const uint32_t d = c.demand;
  using oxl::platform::BytesOf;
  using oxl::platform::CheckedSize;
  Layout layout;
  const std::size_t slotsAt = layout.Take(BytesOf<T>(CheckedSize(p) * kSlotCount));
  const std::size_t sAt = c.matrix ? layout.Take(BytesOf<T>(CheckedSize(p) * p)) : 0;
  WorkBlock work;
  work.ptr = oxl::platform::AllocateChecked(layout.bytes, 128);
  if (work.ptr == nullptr) return OXL_SS_ERROR_MEMORY;
  std::memset(work.ptr, 0, layout.bytes.value());
  T* slot[kSlotCount];
  for (int k = 0; k < kSlotCount; ++k)
    slot[k] = reinterpret_cast<T*>(work.bytes() + slotsAt) + k * p;
  // Every slot that a wanted result needs comes from its sum array, or from its moment array
  // when no sum is stored.
  if (c.W > 0) {
    for (int k = 0; k < kSlotCount; ++k) {
      if (!(d & (1u << k))) continue;
      T* sum = c.arrays[kSumIndexOfSlot[k]];
      if (sum == nullptr) {
        LoadSlot(c, k, slot[k]);
      } else if (k < kCen2) {
        for (int64_t i = 0; i < p; ++i) slot[k][i] = T(double(sum[i]) / c.W);
      } else {
        std::memcpy(slot[k], sum, sizeof(T) * p);
      }
    }
  }
  if (c.matrix) {
    T* S = reinterpret_cast<T*>(work.bytes() + sAt);
    if (c.W > 0) {
      for (int64_t r = 0; r < p; ++r) {
        for (int64_t k = 0; k <= r; ++k) S[r * p + k] = c.cp.data[MatrixPos(c.cp.form, p, r, k)];
      }
    }
    WriteMatrices(c, S);
  }
  WriteMoments<T>(c, d & ((1u << kIdxSum) - 1), slot, nullptr);
  return 0;
}

template <class T>
int Basic(SSTask* task, uint64_t estimates, uint64_t method, const SSThreadServices* services) {
  if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;
  const int k = std::popcount(method & (METHOD_SUMS | METHOD_ONE_PASS | METHOD_GIVEN_MEAN));
  if (k > 1 || (k == 0 && !(method & (METHOD_CONVERT_A | METHOD_CONVERT_B)))) {
    return OXL_SS_ERROR_METHOD;
  }
  Call<T> c;
  c.task = task;
  c.method = k == 0                       ? Method::kConvert
             : (method & METHOD_SUMS)     ? Method::kFast
             : (method & METHOD_ONE_PASS) ? Method::kOnePass
                                          : Method::kGivenMean;
  const uint32_t* demandRows = c.method == Method::kFast      ? arrDemandMasksFast
                               : c.method == Method::kConvert ? arrDemandMasksConvert
                                                              : arrDemandMasksDefault;
  for (int i = 0; i < 20; ++i) {
    if (estimates & kEstimateOfIndex[i]) c.demand |= demandRows[i];
  }
  void* const arrays[kIndexCount] = {task->mean,
                                     task->rawMoment2,
                                     task->rawMoment3,
                                     task->rawMoment4,
                                     task->centralMoment2,
                                     task->centralMoment3,
                                     task->centralMoment4,
                                     task->cov,
                                     task->cor,
                                     task->kurtosis,
                                     task->skewness,
                                     task->variation,
                                     task->sum,
                                     task->rawSum2,
                                     task->rawSum3,
                                     task->rawSum4,
                                     task->centralSum2,
                                     task->centralSum3,
                                     task->centralSum4,
                                     task->crossProduct,
                                     nullptr};
  for (int i = 0; i < kIndexCount; ++i) c.arrays[i] = static_cast<T*>(arrays[i]);
  for (uint32_t bits = c.demand; bits != 0; bits &= bits - 1) {
    const int idx = std::countr_zero(bits);
    if (c.arrays[idx] == nullptr) return kMissingStatus[idx];
  }
  if (k == 1) {
    if (task->observationsPtr == nullptr || ReadIndex(*task, task->observationsPtr) < 1) {
      return OXL_SS_ERROR_OBSERVATIONS;
    }
    if (task->x == nullptr) return OXL_SS_ERROR_X;
    if (task->xStorage == nullptr) return OXL_SS_ERROR_STORAGE_POINTER;
    const int64_t storage = ReadIndex(*task, task->xStorage);
    if (storage != STORAGE_ROWS && storage != STORAGE_COLS) return OXL_SS_ERROR_STORAGE;
  }
  if (task->accumWeights == nullptr && task->observationsPtr != nullptr &&
      task->weights != nullptr) {
    return OXL_SS_ERROR_ACCUM_WEIGHTS;
  }
  if (task->dimensionPtr == nullptr) return OXL_SS_ERROR_DIMENSION;
  c.p = ReadIndex(*task, task->dimensionPtr);
  if (c.p < 1) return OXL_SS_ERROR_DIMENSION;
  // The work sizes are polynomials in p of degree two, formed in 64 bits before they are checked
  // as sizes; past 2^31 dimensions they could wrap there, and no such layout fits in memory.
  if (c.p > INT32_MAX) return OXL_SS_ERROR_MEMORY;
  c.n = task->observationsPtr != nullptr ? ReadIndex(*task, task->observationsPtr) : 0;
  if (k == 1) c.rows = ReadIndex(*task, task->xStorage) == STORAGE_ROWS || c.p == 1;
  c.weighted = k == 1 && task->weights != nullptr;

  // Matrix forms.
  struct {
    int idx;
    const void* storage;
    Matrix<T>* m;
  } const matrices[3] = {{kIdxCov, task->covStorage, &c.cov},
                         {kIdxCor, task->corStorage, &c.cor},
                         {kIdxCrossProduct, task->crossProductStorage, &c.cp}};
  for (const auto& mx : matrices) {
    if (!(c.demand & (1u << mx.idx))) continue;
    if (mx.storage == nullptr) return OXL_SS_ERROR_STORAGE_POINTER;
    mx.m->data = c.arrays[mx.idx];
    mx.m->form = MatrixForm(ReadIndex(*task, mx.storage));
    c.matrix = true;
  }
  if (c.method == Method::kGivenMean && c.arrays[kIdxMean] == nullptr) return OXL_SS_ERROR_MEAN;

  // W and W2 before this call.
  const T* aw = static_cast<const T*>(task->accumWeights);
  if (c.method == Method::kConvert) {
    c.W = aw != nullptr ? double(aw[0]) : double(c.n);
    c.W2 = aw != nullptr ? double(aw[1]) : double(c.n);
  } else {
    c.W = aw != nullptr ? double(aw[0]) : 0.0;
    c.W2 = aw != nullptr ? double(aw[1]) : 0.0;
  }
  if (c.demand == 0) return 0;

  platform::MxcsrScope fp(0);
  return c.method == Method::kConvert ? Convert(c) : Compute(c, services);
}

}  // namespace
}  // namespace oxl::stats

extern "C" {

OXL_API int _vrsdSSBasic(SSTask* task, uint64_t estimates, uint64_t method,
                         const SSThreadServices* services) {
  return oxl::stats::Basic<double>(task, estimates, method, services);
}

OXL_API int _vrssSSBasic(SSTask* task, uint64_t estimates, uint64_t method,
                         const SSThreadServices* services) {
  return oxl::stats::Basic<float>(task, estimates, method, services);
}

}  // extern "C"
