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
#include "platform/scratch.h"
#include "stats/basic_state.h"
#include "stats/task.h"

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

// The results of the entry, one row per position of the index word: the estimate bit that asks
// for it, the task's array that receives it, the status when that array is missing, and the
// positions computed with it by the one-pass and given-mean methods, the fast method and the
// conversion of sums. The last row stands for a request that no array can meet.
struct IndexRow {
  uint64_t estimate;
  void* SSTask::*array;
  int missing_status;
  uint32_t with_default, with_fast, with_convert;
};
constexpr IndexRow kIndexRows[kIndexCount] = {
    {EST_MEAN, &SSTask::mean, -4006, 0x1, 0x1, 0x1001},
    {EST_RAW2, &SSTask::rawMoment2, -4007, 0x2, 0x2, 0x2002},
    {EST_RAW3, &SSTask::rawMoment3, -4008, 0x4, 0x4, 0x4004},
    {EST_RAW4, &SSTask::rawMoment4, -4009, 0x8, 0x8, 0x8008},
    {EST_CENTRAL2, &SSTask::centralMoment2, -4010, 0x13, 0x13, 0x10010},
    {EST_CENTRAL3, &SSTask::centralMoment3, -4011, 0x27, 0x27, 0x20020},
    {EST_CENTRAL4, &SSTask::centralMoment4, -4012, 0x4f, 0x4f, 0x40040},
    {EST_COV, &SSTask::cov, -4018, 0x81, 0x81, 0x80080},
    {EST_COR, &SSTask::cor, -4019, 0x101, 0x101, 0x80100},
    {EST_KURTOSIS, &SSTask::kurtosis, -4013, 0x25f, 0x25f, 0x251},
    {EST_SKEWNESS, &SSTask::skewness, -4014, 0x437, 0x437, 0x431},
    {EST_VARIATION, &SSTask::variation, -4017, 0x813, 0x813, 0x811},
    {EST_SUM, &SSTask::sum, -4074, 0x1000, 0x1000, 0x100000},
    {EST_RAW_SUM2, &SSTask::rawSum2, -4075, 0x2000, 0x2000, 0x100000},
    {EST_RAW_SUM3, &SSTask::rawSum3, -4076, 0x4000, 0x4000, 0x100000},
    {EST_RAW_SUM4, &SSTask::rawSum4, -4077, 0x8000, 0x8000, 0x100000},
    {EST_CENTRAL_SUM2, &SSTask::centralSum2, -4078, 0x10001, 0x10003, 0x100000},
    {EST_CENTRAL_SUM3, &SSTask::centralSum3, -4079, 0x20001, 0x20007, 0x100000},
    {EST_CENTRAL_SUM4, &SSTask::centralSum4, -4080, 0x40001, 0x4000f, 0x100000},
    {EST_CROSS_PRODUCT, &SSTask::crossProduct, -4081, 0x80001, 0x80001, 0x100000},
    {0, nullptr, -4029, 0, 0, 0},
};
static_assert(kIndexRows[kIdxCrossProduct].estimate == EST_CROSS_PRODUCT &&
              kIndexRows[kIdxImpossible].array == nullptr);

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

  // A conversion of sums of no weight gives zero arrays, where the formulas would give 0 / 0.
  bool Empty() const { return method == Method::kConvert && W == 0; }
};

// Blocks of the one-pass kernels: a few hundred observations, fewer for many dimensions, so that
// the deviations of a block stay in the first cache levels.
inline int64_t OnePassBlock(int64_t p) {
  return std::max<int64_t>(16, std::min<int64_t>(256, 16384 / p));
}

// Shares: the observations are cut into at most kMaxShares pieces of equal size, each summed
// from an empty state, and the pieces' states are merged in their order on the calling thread.
// The cut depends on n, p and the results wanted, never on the thread count, so that every count
// of threads gives the same bits; threads take runs of whole shares. 64 shares keep three or four
// threads within a few percent of each other, and a share's state must be worth its merge: 2^13
// elements of work and 16 observations at least. The states of all shares together stay within
// kShareBytes, which limits the shares (and so the threads) only when a matrix is wanted and p is
// 700 or more.
constexpr int64_t kMaxShares = 64;
constexpr int64_t kShareBytes = int64_t{256} << 20;

int64_t ShareCount(int64_t n, int64_t p, bool matrix, int64_t state_doubles) {
  const unsigned __int128 work =
      (unsigned __int128)n * (unsigned __int128)p * (unsigned __int128)(matrix ? p : 1);
  int64_t shares = int64_t(std::min<unsigned __int128>(work >> 13, kMaxShares));
  shares = std::min<int64_t>(shares, n >> 4);
  shares = std::min<int64_t>(shares, kShareBytes / int64_t(sizeof(double)) / state_doubles);
  return std::max<int64_t>(shares, 1);
}

// First observation of share s of `shares`.
inline int64_t ShareStart(int64_t n, int64_t s, int64_t shares) {
  return int64_t((unsigned __int128)n * (unsigned __int128)s / (unsigned __int128)shares);
}

// S += alpha v v^T on the lower triangle: the products of deviations about v become raw products
// (alpha = W) and back (alpha = -W).
void AddOuter(int64_t p, double alpha, const double* v, double* S) {
  for (int64_t r = 0; r < p; ++r) {
    const double av = alpha * v[r];
    for (int64_t k = 0; k <= r; ++k) S[r * p + k] += av * v[k];
  }
}

// Loads S from the stored result that carries the running state (cross-product, else covariance,
// else correlation), bringing it back to the working form of plain deviation sums.
template <class T>
void LoadMatrix(const Call<T>& c, double* S) {
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
      // With all the weight on one observation the stored matrices are 0/0, but the sums of
      // deviations from the data's own mean that they stand for are exactly 0.
      if (from != &c.cp) v = scale == 0 && c.method != Method::kGivenMean ? 0.0 : v * scale;
      S[r * p + k] = v;
    }
  }
}

// Loads one working slot from the caller's moment array, or else its sum array.
template <class T>
void LoadSlot(const Call<T>& c, int k, double* slot) {
  const int64_t p = c.p;
  const T* moment = c.arrays[k];
  const T* sum = c.arrays[kSumIndexOfSlot[k]];
  if (k < kCen2) {
    if (moment != nullptr) {
      std::copy(moment, moment + p, slot);
    } else if (sum != nullptr) {
      for (int64_t i = 0; i < p; ++i) slot[i] = double(sum[i]) / c.W;
    }
  } else {
    const double scale = k == kCen2 ? (c.W * c.W - c.W2) / c.W : c.W;
    if (moment != nullptr) {
      // A variance of one observation is 0/0; its squared deviation from itself is 0.
      const bool zero = scale == 0 && c.method != Method::kGivenMean;
      for (int64_t i = 0; i < p; ++i) slot[i] = zero ? 0.0 : double(moment[i]) * scale;
    } else if (sum != nullptr) {
      std::copy(sum, sum + p, slot);
    }
  }
}

// Writes cor, cov and cross-product from S. The diagonal of cor holds the variance.
template <class T>
void WriteMatrices(const Call<T>& c, const double* S) {
  const int64_t p = c.p;
  const SSTask& task = *c.task;
  const double f = c.W > 0 ? 1.0 / (c.W - c.W2 / c.W) : 1.0;
  auto put = [p](const Matrix<T>& m, int64_t r, int64_t k, double v) {
    m.data[MatrixPos(m.form, p, r, k)] = T(v);
    if (m.form == MATRIX_FULL) m.data[k * p + r] = T(v);
  };
  const bool want_cor = c.demand & (1u << kIdxCor), want_cov = c.demand & (1u << kIdxCov),
             want_cp = c.demand & (1u << kIdxCrossProduct);
  for (int64_t r = 0; r < p; ++r) {
    if (!Included(task, r)) continue;
    for (int64_t k = 0; k <= r; ++k) {
      if (!Included(task, k)) continue;
      const double s = S[r * p + k];
      if (want_cor) {
        put(c.cor, r, k, k == r || c.Empty() ? f * s : s / std::sqrt(S[r * p + r] * S[k * p + k]));
      }
      if (want_cov) put(c.cov, r, k, f * s);
      if (want_cp) put(c.cp, r, k, s);
    }
  }
}

// The finish step for moments and what derives from them. `out` is the set of indices to write;
// `slots` the working values, `given_mean` the mean of a given-mean call.
template <class T>
void WriteMoments(const Call<T>& c, uint32_t out, double* const* slots, const T* given_mean) {
  const int64_t p = c.p;
  const double W = c.W, W2 = c.W2;
  const bool fast = c.method == Method::kFast;
  auto at = [](const double* a, int64_t i) { return a != nullptr ? a[i] : 0.0; };
  for (int64_t i = 0; i < p; ++i) {
    if (!Included(*c.task, i)) continue;
    const double m = given_mean != nullptr ? double(given_mean[i]) : at(slots[kMean], i);
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
      c.arrays[idx][i] = c.Empty() ? T(0) : T(values[idx]);
    }
  }
}

// Shared by the threads of one call.
template <class T>
struct ThreadContext {
  Kernel<T> kernel;
  KernelArgs<T> args;
  ShareState* shares;
  int64_t share_count;
  double* scratch;  // one region per thread
  int64_t scratch_stride;
};

// Thread t of `thread_count` runs the shares [t*shares/thread_count, (t+1)*shares/thread_count),
// each into its own state with the thread's work space.
template <class T>
int32_t BasicThreader(int32_t thread, void* /*reserved*/, int32_t thread_count, void* context) {
  auto& ctx = *static_cast<ThreadContext<T>*>(context);
  const int64_t n = ctx.args.n, shares = ctx.share_count;
  const int64_t first = ShareStart(shares, thread, thread_count);
  const int64_t end = ShareStart(shares, thread + 1, thread_count);
  for (int64_t s = first; s < end; ++s) {
    ShareState& st = ctx.shares[s];
    st.scratch = ctx.scratch + thread * ctx.scratch_stride;
    st.fetch_end = ShareStart(n, end, shares);
    ctx.kernel(ctx.args, ShareStart(n, s, shares), ShareStart(n, s + 1, shares), st);
  }
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

// A mean vector as doubles in `room`, or the running mean (state 0's) when none is given.
template <class T>
const double* CentreOf(int64_t p, const T* mean, const ShareState& main, double* room) {
  if (mean == nullptr) return main.slot[kMean];
  for (int64_t i = 0; i < p; ++i) room[i] = double(mean[i]);
  return room;
}

// The kernel of a call and the slots of running state it keeps, chosen by method, storage,
// weighting, the highest order wanted and whether S is tracked.
template <class T>
struct KernelChoice {
  Kernel<T> kernel = nullptr;
  uint32_t slots = 0;
};

template <class T>
KernelChoice<T> ChooseKernel(const Call<T>& c, const KernelSet<T>& kernels) {
  const uint32_t d = c.demand;
  auto wants = [d](int idx) { return (d & (1u << idx)) != 0; };
  auto either = [&](int slot) { return wants(slot) || wants(kSumIndexOfSlot[slot]); };
  const int cols = c.rows ? 0 : 1, wt = c.weighted ? 1 : 0;
  if (c.method == Method::kFast) {
    const int order = either(kRaw4) ? 3 : either(kRaw3) ? 2 : either(kRaw2) ? 1 : 0;
    return {kernels.fast[8 * cols + 4 * wt + order], FastSlots(order)};
  }
  if (c.method == Method::kGivenMean) {
    const int order = (either(kRaw2) || either(kRaw3) || either(kRaw4)) ? 3
                      : either(kCen4)                                   ? 2
                      : either(kCen3)                                   ? 1
                                                                        : 0;
    return {kernels.given_mean[8 * cols + 4 * wt + order], GivenMeanSlots(order)};
  }
  const int order = (either(kRaw3) || either(kRaw4) || either(kCen3) || either(kCen4)) ? 3
                    : either(kRaw2)                                                    ? 2
                    : either(kCen2)                                                    ? 1
                                                                                       : 0;
  return {kernels.one_pass[16 * cols + 8 * wt + 2 * order + (c.matrix ? 1 : 0)],
          OnePassSlots(order)};
}

// The work of a call: its shares and threads, and one block of memory holding the running state
// (state 0), the shares' states (1..shares), a scratch region per thread and a centre vector.
// Each share's part starts a 128-byte line pair of its own, so that no cache line is written by
// two threads.
struct Work {
  int64_t shares = 0, threads = 0, block = 0, scratch_stride = 0;
  oxl::platform::Scratch<char> memory;
  ShareState* states = nullptr;
  double* scratch = nullptr;
  double* centre = nullptr;
};

template <class T>
int PlanWork(const Call<T>& c, const SSThreadServices* services, Work& w) {
  const int64_t n = c.n, p = c.p;
  const bool one_pass = c.method == Method::kOnePass;
  auto padded = [](int64_t count) { return (count + 15) & ~int64_t{15}; };
  w.block = OnePassBlock(p);
  const int64_t slots_stride = padded(kSlotCount * p);
  const int64_t s_stride = c.matrix ? padded(p * p) : 0;
  w.scratch_stride = padded(ScratchDoubles(one_pass, c.matrix, p, w.block));
  w.shares = ShareCount(n, p, c.matrix, slots_stride + s_stride);
  const bool threaded = services != nullptr && services->thread_count != nullptr &&
                        services->run_on_each_thread != nullptr;
  w.threads = std::clamp<int64_t>(threaded ? services->thread_count() : 1, 1, w.shares);

  // The sizes go through checked arithmetic: n and p come from the caller (p is below 2^31
  // here, so the strides fit as counts of doubles, though not always as counts of bytes).
  using oxl::platform::BytesOf;
  using oxl::platform::CheckedSize;
  const CheckedSize states_count = CheckedSize(w.shares) + 1;
  Layout layout;
  const std::size_t states_at = layout.Take(BytesOf<ShareState>(states_count));
  const std::size_t slots_at = layout.Take(BytesOf<double>(states_count * slots_stride));
  const std::size_t s_at = layout.Take(BytesOf<double>(states_count * s_stride));
  const std::size_t scratch_at =
      layout.Take(BytesOf<double>(CheckedSize(w.threads) * w.scratch_stride));
  const std::size_t centre_at = layout.Take(BytesOf<double>(p));
  if (!w.memory.Reset(layout.bytes)) return OXL_SS_ERROR_MEMORY;
  char* bytes = w.memory.get();
  std::memset(bytes, 0, layout.bytes.value());
  w.states = reinterpret_cast<ShareState*>(bytes + states_at);
  for (int64_t t = 0; t <= w.shares; ++t) {
    ShareState& st = w.states[t];
    for (int k = 0; k < kSlotCount; ++k) {
      st.slot[k] = reinterpret_cast<double*>(bytes + slots_at) + t * slots_stride + k * p;
    }
    st.S = c.matrix ? reinterpret_cast<double*>(bytes + s_at) + t * s_stride : nullptr;
  }
  w.scratch = reinterpret_cast<double*>(bytes + scratch_at);
  w.centre = reinterpret_cast<double*>(bytes + centre_at);
  return 0;
}

// The running state of earlier calls into state 0 (with W = 0 everything starts at zero). For
// the power-sum and given-mean methods S is tracked as raw products: the deviation sums about
// the old mean are turned into them here, and back about the new mean when the call ends.
template <class T>
void LoadRunningState(const Call<T>& c, uint32_t slots, const T* old_centre, Work& w) {
  ShareState& main = w.states[0];
  if (c.W > 0) {
    for (int k = 0; k < kSlotCount; ++k) {
      if (slots & (1u << k)) LoadSlot(c, k, main.slot[k]);
    }
    if (c.matrix) LoadMatrix(c, main.S);
    if (c.matrix && c.method != Method::kOnePass) {
      AddOuter(c.p, c.W, CentreOf(c.p, old_centre, main, w.centre), main.S);
    }
  }
  main.W = c.W;
  main.W2 = c.W2;
}

// The shares on the caller's threads, then their states merged into state 0 in their order.
template <class T>
int RunShares(Call<T>& c, const SSThreadServices* services, const KernelSet<T>& kernels,
              const KernelChoice<T>& choice, const T* given, Work& w) {
  const int64_t p = c.p;
  const bool one_pass = c.method == Method::kOnePass;
  const bool power_s = c.matrix && !one_pass;
  const SSTask& task = *c.task;
  ThreadContext<T> ctx{choice.kernel,
                       KernelArgs<T>{c.n, p, static_cast<const T*>(task.x),
                                     c.weighted ? static_cast<const T*>(task.weights) : nullptr,
                                     given, w.block, power_s},
                       w.states + 1,
                       w.shares,
                       w.scratch,
                       w.scratch_stride};
  if (w.threads > 1) {
    const int32_t status =
        services->run_on_each_thread(int32_t(w.threads), &ctx, &BasicThreader<T>);
    if (status != 0) return status;
  } else {
    BasicThreader<T>(0, nullptr, 1, &ctx);
  }
  ShareState& main = w.states[0];
  for (int64_t s = 1; s <= w.shares; ++s) {
    const ShareState& sh = w.states[s];
    kernels.merge(p, choice.slots, c.method == Method::kGivenMean, main, sh.W, sh.W2, sh.slot,
                  one_pass ? sh.S : nullptr);
    if (power_s) {
      for (int64_t r = 0; r < p; ++r) {
        for (int64_t k = 0; k <= r; ++k) main.S[r * p + k] += sh.S[r * p + k];
      }
    }
  }
  c.W = main.W;
  c.W2 = main.W2;
  if (power_s) AddOuter(p, -c.W, CentreOf(p, given, main, w.centre), main.S);
  return 0;
}

// Matrices, then moments, the running weights and the prior mean. The prior mean's block comes
// first, so that a failed allocation leaves every output as it was.
template <class T>
int WriteResults(Call<T>& c, uint32_t slots, const T* given, const ShareState& main) {
  SSTask& task = *c.task;
  const int64_t p = c.p;
  if (c.method == Method::kGivenMean && (task.priorMean == nullptr || task.priorMeanCount != p)) {
    // A block of another dimension count (the caller changed p between calls) gets a block of
    // its own size; the old one goes only once the new one is there.
    void* block = oxl::platform::AllocateChecked(oxl::platform::BytesOf<T>(p), 128);
    if (block == nullptr) return OXL_SS_ERROR_MEMORY;
    if (task.priorMean != nullptr) oxl_serv_deallocate(task.priorMean);
    task.priorMean = block;
    task.priorMeanCount = p;
  }
  if (c.matrix) WriteMatrices(c, main.S);
  uint32_t out = c.demand & ~((1u << kIdxCov) | (1u << kIdxCor) | (1u << kIdxCrossProduct));
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
  double* working[kSlotCount];
  for (int k = 0; k < kSlotCount; ++k) working[k] = (slots & (1u << k)) ? main.slot[k] : nullptr;
  WriteMoments(c, out, working, given);
  if (task.accumWeights != nullptr) {
    static_cast<T*>(task.accumWeights)[0] = T(c.W);
    static_cast<T*>(task.accumWeights)[1] = T(c.W2);
  }
  if (c.method == Method::kGivenMean) std::memcpy(task.priorMean, given, sizeof(T) * p);
  return 0;
}

template <class T>
int Compute(Call<T>& c, const SSThreadServices* services) {
  const KernelSet<T>& kernels = Kernels(T{});
  const KernelChoice<T> choice = ChooseKernel(c, kernels);
  Work w;
  if (const int status = PlanWork(c, services, w); status != 0) return status;
  const T* given = c.method == Method::kGivenMean ? c.arrays[kIdxMean] : nullptr;
  // The centre that S's raw products started from: the running mean (fast method), else the
  // prior mean of the last given-mean call, else the mean given now.
  // A prior mean of another dimension count is no centre of this task's state.
  const bool prior = c.task->priorMean != nullptr && c.task->priorMeanCount == c.p;
  const T* old_centre = c.method == Method::kFast ? nullptr
                        : prior                   ? static_cast<const T*>(c.task->priorMean)
                                                  : given;
  LoadRunningState(c, choice.slots, old_centre, w);
  if (const int status = RunShares(c, services, kernels, choice, given, w); status != 0) {
    return status;
  }
  return WriteResults(c, choice.slots, given, w.states[0]);
}

// Moments from stored sums; x is not read.
template <class T>
int Convert(Call<T>& c) {
  const int64_t p = c.p;
  const uint32_t d = c.demand;
  using oxl::platform::BytesOf;
  using oxl::platform::CheckedSize;
  Layout layout;
  const std::size_t slots_at = layout.Take(BytesOf<double>(CheckedSize(p) * kSlotCount));
  const std::size_t s_at = c.matrix ? layout.Take(BytesOf<double>(CheckedSize(p) * p)) : 0;
  const oxl::platform::Scratch<char> work(layout.bytes);
  if (work.get() == nullptr) return OXL_SS_ERROR_MEMORY;
  std::memset(work.get(), 0, layout.bytes.value());
  double* slot[kSlotCount];
  for (int k = 0; k < kSlotCount; ++k) {
    slot[k] = reinterpret_cast<double*>(work.get() + slots_at) + k * p;
  }
  // Every slot that a wanted result needs comes from its sum array, or from its moment array
  // when no sum is stored.
  if (c.W > 0) {
    for (int k = 0; k < kSlotCount; ++k) {
      if (!(d & (1u << k))) continue;
      const T* sum = c.arrays[kSumIndexOfSlot[k]];
      if (sum == nullptr) {
        LoadSlot(c, k, slot[k]);
      } else if (k < kCen2) {
        for (int64_t i = 0; i < p; ++i) slot[k][i] = double(sum[i]) / c.W;
      } else {
        std::copy(sum, sum + p, slot[k]);
      }
    }
  }
  if (c.matrix) {
    double* S = reinterpret_cast<double*>(work.get() + s_at);
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
  for (const IndexRow& row : kIndexRows) {
    if (!(estimates & row.estimate)) continue;
    c.demand |= c.method == Method::kFast      ? row.with_fast
                : c.method == Method::kConvert ? row.with_convert
                                               : row.with_default;
  }
  for (int i = 0; i < kIndexCount; ++i) {
    const IndexRow& row = kIndexRows[i];
    c.arrays[i] = row.array != nullptr ? static_cast<T*>(task->*row.array) : nullptr;
  }
  for (uint32_t bits = c.demand; bits != 0; bits &= bits - 1) {
    const int idx = std::countr_zero(bits);
    if (c.arrays[idx] == nullptr) return kIndexRows[idx].missing_status;
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

OXL_SS_COMPUTE_ENTRIES(Basic, Basic)
