// Kernels of the moment and covariance entry, compiled once per SIMD target. The loops are plain
// C++ written for the vectoriser; the target's instruction set comes from the per-target
// compilation. Notes on the state are in basic_state.h.
//
// The one-pass kernels take observations in blocks that stay in cache: each block's mean and
// deviation sums are computed from the block alone (after a shift, so that data far from zero keep
// their digits) and then merged into the running state with the exact pairwise update formulas
// of Chan, Golub and LeVeque and of Pebay. The shift is the running mean once there is one, else
// the block's first observation. One observation per block would be the classic running update;
// blocks give the same results with fewer divisions and better rounding. The power-sum (Fast) and
// given-mean kernels add weighted powers over the range in double precision and fold them into
// the state once.
//
// Reductions keep four independent partial sums in a fixed order, and no product is fused into
// an addition, so the rounding is the same on every target.
#if defined(OXL_VRS_STATS_BASIC_KERNELS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VRS_STATS_BASIC_KERNELS_INL_H_
#undef OXL_VRS_STATS_BASIC_KERNELS_INL_H_
#else
#define OXL_VRS_STATS_BASIC_KERNELS_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "vrs/stats/basic_state.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::stats::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Merges state B (weight Wb, means and deviation sums bs, matrix SB) into state A. The central
// sums of higher order use the lower ones before they are replaced, hence the order c4, c3, c2.
// With a given mean both means are that mean and the deviation d is 0.
template <class T, class U>
void MergeState(int64_t p, uint32_t slots, bool givenMean, ThreadState<T>& a, double Wb, double W2b,
                U* const* bs, const U* SB) {
  if (Wb == 0.0) return;
  const double Wa = a.W;
  const double W = Wa + Wb;
  const double r = 1.0 / W;
  const double wab = r * Wa * Wb;
  if (SB != nullptr && a.S != nullptr) {
    const T* ma = a.slot[kMean];
    const U* mb = bs[kMean];
    for (int64_t j = 0; j < p; ++j) {
      const double dj = givenMean ? 0.0 : double(mb[j]) - double(ma[j]);
      T* row = a.S + j * p;
      const U* rowb = SB + j * p;
      for (int64_t i = 0; i <= j; ++i) {
        const double di = givenMean ? 0.0 : double(mb[i]) - double(ma[i]);
        row[i] = T(double(row[i]) + double(rowb[i]) + wab * di * dj);
      }
    }
  }
  const double r2 = r * r;
  const double c4d4 = r2 * r * Wa * Wb * ((Wa - Wb) * Wa + Wb * Wb);
  const double c3d3 = r2 * Wa * Wb * (Wa - Wb);
  for (int64_t i = 0; i < p; ++i) {
    const double d = givenMean ? 0.0 : double(bs[kMean][i]) - double(a.slot[kMean][i]);
    const double c2a = (slots & (1u << kCen2)) ? double(a.slot[kCen2][i]) : 0.0;
    const double c2b = (slots & (1u << kCen2)) ? double(bs[kCen2][i]) : 0.0;
    const double c3a = (slots & (1u << kCen3)) ? double(a.slot[kCen3][i]) : 0.0;
    const double c3b = (slots & (1u << kCen3)) ? double(bs[kCen3][i]) : 0.0;
    if (slots & (1u << kCen4)) {
      const double d2 = d * d;
      a.slot[kCen4][i] =
          T(double(a.slot[kCen4][i]) + double(bs[kCen4][i]) + c4d4 * d2 * d2 +
            6.0 * r2 * d2 * (Wa * Wa * c2b + Wb * Wb * c2a) + 4.0 * r * d * (Wa * c3b - Wb * c3a));
    }
    if (slots & (1u << kCen3)) {
      a.slot[kCen3][i] = T(c3a + c3b + c3d3 * d * d * d + 3.0 * r * d * (Wa * c2b - Wb * c2a));
    }
    if (slots & (1u << kCen2)) a.slot[kCen2][i] = T(c2a + c2b + wab * d * d);
    if (!givenMean && (slots & (1u << kMean))) {
      a.slot[kMean][i] = T(double(a.slot[kMean][i]) + (Wb * r) * d);
    }
    for (int k = kRaw2; k <= kRaw4; ++k) {
      if (slots & (1u << k)) {
        const double ra = double(a.slot[k][i]);
        a.slot[k][i] = T(ra + (Wb * r) * (double(bs[k][i]) - ra));
      }
    }
  }
  a.W = W;
  a.W2 += W2b;
}

// Weight of observation j, 1 without weights.
template <bool kW, class T>
inline double Weight(const T* w, int64_t j) {
  if constexpr (kW) {
    return double(w[j]);
  } else {
    return 1.0;
  }
}

// Sums of weights and squared weights over [first, end).
template <bool kW, class T>
void WeightSums(const T* w, int64_t first, int64_t end, double& W, double& W2) {
  if constexpr (!kW) {
    W = W2 = double(end - first);
  } else {
    double s[kLanes] = {}, s2[kLanes] = {};
    int64_t j = first;
    for (; j + kLanes <= end; j += kLanes) {
      for (int l = 0; l < kLanes; ++l) {
        const double v = double(w[j + l]);
        s[l] += v;
        s2[l] += v * v;
      }
    }
    for (int l = 0; j < end; ++j, ++l) {
      const double v = double(w[j]);
      s[l] += v;
      s2[l] += v * v;
    }
    W = (s[0] + s[1]) + (s[2] + s[3]);
    W2 = (s2[0] + s2[1]) + (s2[2] + s2[3]);
  }
}

// One-pass kernel: mean always, central 2 from order 1, raw 2 from order 2, everything from
// order 3; S when kS.
template <class T, bool kCols, bool kW, int kOrder, bool kS>
void OnePassKernel(const KernelArgs<T>& args, int64_t first, int64_t end, ThreadState<T>& st) {
  constexpr bool kC2 = kOrder >= 1;
  constexpr bool kR2 = kOrder >= 2;
  constexpr bool kAll = kOrder == 3;
  const int64_t p = args.p, n = args.n;
  const T* x = args.x;
  const T* w = args.w;
  double* shift = st.scratch;
  double* b[kSlotCount];
  for (int k = 0; k < kSlotCount; ++k) b[k] = st.scratch + (k + 1) * p;
  double* dev = st.scratch + 8 * p;
  double* SB = dev + args.block * p;
  const uint32_t slots = OnePassSlots(kOrder);
  for (int64_t j0 = first; j0 < end; j0 += args.block) {
    const int64_t j1 = std::min(end, j0 + args.block);
    const int64_t L = j1 - j0;
    double Wb, W2b;
    WeightSums<kW>(w, j0, j1, Wb, W2b);
    if (Wb == 0.0) continue;
    const double rb = 1.0 / Wb;
    if constexpr (!kCols) {
      for (int64_t i = 0; i < p; ++i) {
        const T* xi = x + i * n;
        const double K = st.W > 0.0 ? double(st.slot[kMean][i]) : double(xi[j0]);
        double s[kLanes] = {};
        int64_t j = j0;
        for (; j + kLanes <= j1; j += kLanes) {
          for (int l = 0; l < kLanes; ++l) s[l] += Weight<kW>(w, j + l) * (double(xi[j + l]) - K);
        }
        for (int l = 0; j < j1; ++j, ++l) s[l] += Weight<kW>(w, j) * (double(xi[j]) - K);
        const double mb = K + ((s[0] + s[1]) + (s[2] + s[3])) * rb;
        double a2[kLanes] = {}, a3[kLanes] = {}, a4[kLanes] = {};
        double q2[kLanes] = {}, q3[kLanes] = {}, q4[kLanes] = {};
        double* di = dev + i * L;
        auto body = [&](int64_t jj, int l) {
          const double v = double(xi[jj]);
          const double e = v - mb;
          const double wt = Weight<kW>(w, jj);
          if constexpr (kS) di[jj - j0] = e;
          if constexpr (kC2) a2[l] += wt * e * e;
          if constexpr (kAll) {
            a3[l] += wt * e * e * e;
            a4[l] += wt * (e * e) * (e * e);
          }
          if constexpr (kR2) q2[l] += wt * v * v;
          if constexpr (kAll) {
            q3[l] += wt * v * v * v;
            q4[l] += wt * (v * v) * (v * v);
          }
        };
        j = j0;
        for (; j + kLanes <= j1; j += kLanes) {
          for (int l = 0; l < kLanes; ++l) body(j + l, l);
        }
        for (int l = 0; j < j1; ++j, ++l) body(j, l);
        auto total = [](const double* a) { return (a[0] + a[1]) + (a[2] + a[3]); };
        b[kMean][i] = mb;
        if constexpr (kC2) b[kCen2][i] = total(a2);
        if constexpr (kR2) b[kRaw2][i] = total(q2) * rb;
        if constexpr (kAll) {
          b[kCen3][i] = total(a3);
          b[kCen4][i] = total(a4);
          b[kRaw3][i] = total(q3) * rb;
          b[kRaw4][i] = total(q4) * rb;
        }
      }
      if constexpr (kS) {
        for (int64_t r = 0; r < p; ++r) {
          const double* dr = dev + r * L;
          for (int64_t c = 0; c <= r; ++c) {
            const double* dc = dev + c * L;
            double s[kLanes] = {};
            int64_t j = 0;
            for (; j + kLanes <= L; j += kLanes) {
              for (int l = 0; l < kLanes; ++l) {
                s[l] += Weight<kW>(w, j0 + j + l) * dr[j + l] * dc[j + l];
              }
            }
            for (int l = 0; j < L; ++j, ++l) s[l] += Weight<kW>(w, j0 + j) * dr[j] * dc[j];
            SB[r * p + c] = (s[0] + s[1]) + (s[2] + s[3]);
          }
        }
      }
    } else {
      const T* xb = x + j0 * p;
      for (int64_t i = 0; i < p; ++i) {
        shift[i] = st.W > 0.0 ? double(st.slot[kMean][i]) : double(xb[i]);
        b[kMean][i] = 0.0;
      }
      for (int64_t j = 0; j < L; ++j) {
        const double wt = Weight<kW>(w, j0 + j);
        const T* xj = xb + j * p;
        for (int64_t i = 0; i < p; ++i) b[kMean][i] += wt * (double(xj[i]) - shift[i]);
      }
      for (int64_t i = 0; i < p; ++i) b[kMean][i] = shift[i] + b[kMean][i] * rb;
      for (int k = 1; k < kSlotCount; ++k) {
        if (slots & (1u << k)) std::fill(b[k], b[k] + p, 0.0);
      }
      for (int64_t j = 0; j < L; ++j) {
        const double wt = Weight<kW>(w, j0 + j);
        const T* xj = xb + j * p;
        double* dj = dev + j * p;
        for (int64_t i = 0; i < p; ++i) {
          const double v = double(xj[i]);
          const double e = v - b[kMean][i];
          if constexpr (kS) dj[i] = e;
          if constexpr (kC2) b[kCen2][i] += wt * e * e;
          if constexpr (kAll) {
            b[kCen3][i] += wt * e * e * e;
            b[kCen4][i] += wt * (e * e) * (e * e);
          }
          if constexpr (kR2) b[kRaw2][i] += wt * v * v;
          if constexpr (kAll) {
            b[kRaw3][i] += wt * v * v * v;
            b[kRaw4][i] += wt * (v * v) * (v * v);
          }
        }
      }
      for (int k = kRaw2; k <= kRaw4; ++k) {
        if (slots & (1u << k)) {
          for (int64_t i = 0; i < p; ++i) b[k][i] *= rb;
        }
      }
      if constexpr (kS) {
        for (int64_t r = 0; r < p; ++r) std::fill(SB + r * p, SB + r * p + r + 1, 0.0);
        for (int64_t j = 0; j < L; ++j) {
          const double wt = Weight<kW>(w, j0 + j);
          const double* dj = dev + j * p;
          for (int64_t r = 0; r < p; ++r) {
            const double wr = wt * dj[r];
            double* row = SB + r * p;
            for (int64_t c = 0; c <= r; ++c) row[c] += wr * dj[c];
          }
        }
      }
    }
    MergeState<T, double>(p, slots, false, st, Wb, W2b, b, kS ? SB : nullptr);
  }
}

// Power sums over [first, end) in double: for slot k of kSlots, acc[k*p + i] receives the sum of
// w * (x - c)^q (central slots, c the given mean) or w * x^q (mean and raw slots).
template <class T, bool kCols, bool kW, uint32_t kSlots>
void PowerSums(const KernelArgs<T>& args, int64_t first, int64_t end, double* acc) {
  constexpr bool kR1 = kSlots & (1u << kMean), kR2 = kSlots & (1u << kRaw2),
                 kR3 = kSlots & (1u << kRaw3), kR4 = kSlots & (1u << kRaw4);
  constexpr bool kC2 = kSlots & (1u << kCen2), kC3 = kSlots & (1u << kCen3),
                 kC4 = kSlots & (1u << kCen4);
  constexpr bool kAnyRaw = kR1 || kR2 || kR3 || kR4;
  const int64_t p = args.p, n = args.n;
  const T* x = args.x;
  const T* w = args.w;
  std::fill(acc, acc + kSlotCount * p, 0.0);
  auto add = [](double* s, double wt, double v, double c) {
    if constexpr (kAnyRaw) {
      const double wv = wt * v;
      const double wv2 = wv * v;
      if constexpr (kR1) s[kMean * kLanes] += wv;
      if constexpr (kR2) s[kRaw2 * kLanes] += wv2;
      if constexpr (kR3) s[kRaw3 * kLanes] += wv2 * v;
      if constexpr (kR4) s[kRaw4 * kLanes] += wv2 * (v * v);
    }
    if constexpr (kC2) {
      const double e = v - c;
      const double we2 = wt * e * e;
      s[kCen2 * kLanes] += we2;
      if constexpr (kC3) s[kCen3 * kLanes] += we2 * e;
      if constexpr (kC4) s[kCen4 * kLanes] += we2 * (e * e);
    }
  };
  if constexpr (!kCols) {
    for (int64_t i = 0; i < p; ++i) {
      const T* xi = x + i * n;
      const double c = kC2 ? double(args.given[i]) : 0.0;
      double s[kSlotCount * kLanes] = {};
      int64_t j = first;
      for (; j + kLanes <= end; j += kLanes) {
        for (int l = 0; l < kLanes; ++l) add(s + l, Weight<kW>(w, j + l), double(xi[j + l]), c);
      }
      for (int l = 0; j < end; ++j, ++l) add(s + l, Weight<kW>(w, j), double(xi[j]), c);
      for (int k = 0; k < kSlotCount; ++k) {
        const double* sk = s + k * kLanes;
        acc[k * p + i] = (sk[0] + sk[1]) + (sk[2] + sk[3]);
      }
    }
  } else {
    double* a[kSlotCount];
    for (int k = 0; k < kSlotCount; ++k) a[k] = acc + k * p;
    const T* c = args.given;
    for (int64_t j = first; j < end; ++j) {
      const double wt = Weight<kW>(w, j);
      const T* xj = x + j * p;
      for (int64_t i = 0; i < p; ++i) {
        const double v = double(xj[i]);
        if constexpr (kAnyRaw) {
          const double wv = wt * v;
          const double wv2 = wv * v;
          if constexpr (kR1) a[kMean][i] += wv;
          if constexpr (kR2) a[kRaw2][i] += wv2;
          if constexpr (kR3) a[kRaw3][i] += wv2 * v;
          if constexpr (kR4) a[kRaw4][i] += wv2 * (v * v);
        }
        if constexpr (kC2) {
          const double e = v - double(c[i]);
          const double we2 = wt * e * e;
          a[kCen2][i] += we2;
          if constexpr (kC3) a[kCen3][i] += we2 * e;
          if constexpr (kC4) a[kCen4][i] += we2 * (e * e);
        }
      }
    }
  }
}

// Folds power sums into the state: mean and raw slots stay weighted means, central slots are
// plain sums.
template <class T>
void FoldPowerSums(int64_t p, uint32_t slots, double Wb, double W2b, const double* acc,
                   ThreadState<T>& st) {
  const double Wa = st.W;
  const double W = Wa + Wb;
  const double inv = W > 0.0 ? 1.0 / W : 0.0;
  for (int k = 0; k < kSlotCount; ++k) {
    if (!(slots & (1u << k))) continue;
    T* m = st.slot[k];
    const double* s = acc + k * p;
    if (k >= kCen2) {
      for (int64_t i = 0; i < p; ++i) m[i] = T(double(m[i]) + s[i]);
    } else {
      for (int64_t i = 0; i < p; ++i) m[i] = T((Wa * double(m[i]) + s[i]) * inv);
    }
  }
  st.W = W;
  st.W2 += W2b;
}

// Power-sum kernel: raw moments 1..order+1.
template <class T, bool kCols, bool kW, int kOrder>
void FastKernel(const KernelArgs<T>& args, int64_t first, int64_t end, ThreadState<T>& st) {
  double Wb, W2b;
  WeightSums<kW>(args.w, first, end, Wb, W2b);
  PowerSums<T, kCols, kW, FastSlots(kOrder)>(args, first, end, st.scratch);
  FoldPowerSums(args.p, FastSlots(kOrder), Wb, W2b, st.scratch, st);
}

// Given-mean kernel: central sums about the given mean, and raw moments 2..4 at order 3.
template <class T, bool kCols, bool kW, int kOrder>
void GivenMeanKernel(const KernelArgs<T>& args, int64_t first, int64_t end, ThreadState<T>& st) {
  double Wb, W2b;
  WeightSums<kW>(args.w, first, end, Wb, W2b);
  PowerSums<T, kCols, kW, GivenMeanSlots(kOrder)>(args, first, end, st.scratch);
  FoldPowerSums(args.p, GivenMeanSlots(kOrder), Wb, W2b, st.scratch, st);
}

// Raw products of the power-sum and given-mean methods on worker threads, over blocks of
// observations that stay in cache: dot products of the dimensions' stretches of a block, two
// columns of S at a time so that each stretch of the row is loaded once for both. Columns storage
// is first transposed into the scratch block.
constexpr int64_t kProductBlock = 512;

#if HWY_TARGET != HWY_SCALAR
// A register of doubles from doubles or from floats.
template <class D, class U>
HWY_INLINE hn::Vec<D> LoadAsDouble(D d, const U* p) {
  if constexpr (sizeof(U) == 8) {
    return hn::LoadU(d, p);
  } else {
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<U, D>(), p));
  }
}
#endif

template <bool kW, class T, class U>
void ProductsOfBlock(const U* base, int64_t stride, int64_t L, const T* w, int64_t p, T* S) {
  // Sixteen partial sums per product: enough independent additions to hide their latency.
  constexpr int kDotLanes = 16;
  auto total = [](const double* a) {
    double h[kDotLanes / 2];
    for (int l = 0; l < kDotLanes / 2; ++l) h[l] = a[l] + a[l + kDotLanes / 2];
    return ((h[0] + h[4]) + (h[2] + h[6])) + ((h[1] + h[5]) + (h[3] + h[7]));
  };
  auto dot2 = [&](const U* xr, const U* xa, const U* xb, double& sa, double& sb) {
    alignas(64) double a[kDotLanes] = {}, b[kDotLanes] = {};
    int64_t j = 0;
#if HWY_TARGET != HWY_SCALAR
    // The same sixteen partial sums a register at a time: partial l still takes the elements
    // j with j mod 16 = l, in the same order, so every target gives the same bits.
    const hn::ScalableTag<double> dd;
    constexpr size_t kN = hn::MaxLanes(dd);
    if constexpr (kDotLanes % kN == 0) {
      constexpr size_t kV = kDotLanes / kN;
      hn::Vec<decltype(dd)> va[kV], vb[kV];
      for (size_t k = 0; k < kV; ++k) va[k] = vb[k] = hn::Zero(dd);
      for (; j + kDotLanes <= L; j += kDotLanes) {
        for (size_t k = 0; k < kV; ++k) {
          const int64_t at = j + static_cast<int64_t>(k * kN);
          auto v = LoadAsDouble(dd, xr + at);
          if constexpr (kW) v = hn::Mul(LoadAsDouble(dd, w + at), v);
          va[k] = hn::Add(va[k], hn::Mul(v, LoadAsDouble(dd, xa + at)));
          vb[k] = hn::Add(vb[k], hn::Mul(v, LoadAsDouble(dd, xb + at)));
        }
      }
      for (size_t k = 0; k < kV; ++k) {
        hn::Store(va[k], dd, a + k * kN);
        hn::Store(vb[k], dd, b + k * kN);
      }
    }
#endif
    for (; j + kDotLanes <= L; j += kDotLanes) {
      for (int l = 0; l < kDotLanes; ++l) {
        const double v = Weight<kW>(w, j + l) * double(xr[j + l]);
        a[l] += v * double(xa[j + l]);
        b[l] += v * double(xb[j + l]);
      }
    }
    for (int l = 0; j < L; ++j, ++l) {
      const double v = Weight<kW>(w, j) * double(xr[j]);
      a[l] += v * double(xa[j]);
      b[l] += v * double(xb[j]);
    }
    sa = total(a);
    sb = total(b);
  };
  for (int64_t r = 0; r < p; ++r) {
    const U* xr = base + r * stride;
    for (int64_t c = 0; c <= r; c += 2) {
      // The last odd column pairs with itself; its second result is dropped.
      const int64_t c2 = c + 1 <= r ? c + 1 : c;
      double sa, sb;
      dot2(xr, base + c * stride, base + c2 * stride, sa, sb);
      S[r * p + c] = T(double(S[r * p + c]) + sa);
      if (c2 != c) S[r * p + c2] = T(double(S[r * p + c2]) + sb);
    }
  }
}

template <class T, bool kCols, bool kW>
void RawProducts(const KernelArgs<T>& args, double* scratch, int64_t first, int64_t end, T* S) {
  const int64_t p = args.p, n = args.n;
  for (int64_t j0 = first; j0 < end; j0 += kProductBlock) {
    const int64_t L = std::min(end, j0 + kProductBlock) - j0;
    const T* w = kW ? args.w + j0 : nullptr;
    if constexpr (!kCols) {
      ProductsOfBlock<kW>(args.x + j0, n, L, w, p, S);
    } else {
      const T* xb = args.x + j0 * p;
      for (int64_t j = 0; j < L; ++j) {
        for (int64_t i = 0; i < p; ++i) scratch[i * L + j] = double(xb[j * p + i]);
      }
      ProductsOfBlock<kW>(static_cast<const double*>(scratch), L, L, w, p, S);
    }
  }
}

// The tables, indexed as KernelSet says.
template <class T, std::size_t... I>
constexpr std::array<Kernel<T>, sizeof...(I)> OnePassTable(std::index_sequence<I...>) {
  return {&OnePassKernel<T, ((I >> 4) & 1) != 0, ((I >> 3) & 1) != 0, int((I >> 1) & 3),
                         (I & 1) != 0>...};
}
template <class T, std::size_t... I>
constexpr std::array<Kernel<T>, sizeof...(I)> FastTable(std::index_sequence<I...>) {
  return {&FastKernel<T, ((I >> 3) & 1) != 0, ((I >> 2) & 1) != 0, int(I & 3)>...};
}
template <class T, std::size_t... I>
constexpr std::array<Kernel<T>, sizeof...(I)> GivenMeanTable(std::index_sequence<I...>) {
  return {&GivenMeanKernel<T, ((I >> 3) & 1) != 0, ((I >> 2) & 1) != 0, int(I & 3)>...};
}
template <class T>
constexpr KernelSet<T> MakeKernelSet() {
  return {OnePassTable<T>(std::make_index_sequence<32>()),
          FastTable<T>(std::make_index_sequence<16>()),
          GivenMeanTable<T>(std::make_index_sequence<16>()),
          &MergeState<T, T>,
          {&RawProducts<T, false, false>, &RawProducts<T, false, true>,
           &RawProducts<T, true, false>, &RawProducts<T, true, true>}};
}

}  // namespace oxl::stats::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VRS_STATS_BASIC_KERNELS_INL_H_
