// The kernel template: everything a vector kernel does except its math.
//
// A kernel is a body (the arithmetic of one vector's worth of elements, and for kernels with a
// rare path the mask of lanes that need the scalar routine) plus that scalar routine. The template
// runs the body over blocks of Body::kBlock elements, sends the marked lanes of a block to the rare
// routine in ascending order, reports non-zero statuses through the error function of the element
// type and reads the element back, so that a callback's replacement stands in the result. The
// last n mod kBlock elements run through the very same block code on a copy padded with zeros,
// so the tail is bitwise the block and no memory past the arrays is touched. Light bodies store
// the results of calls whose arrays exceed the last-level cache around the caches, in whole lines:
// the elements before the results' first line boundary run as a short block, as the tail does.
//
// A body is a struct with
//   using In, Out;                       element types (float, double, oxl_complex8/16)
//   static constexpr size_t kInputs;     1 or 2 input arrays
//   static constexpr size_t kOutputs;    1 or 2 result arrays
//   static constexpr size_t kBlock;      elements per block (a multiple of every target's lanes)
//   static constexpr Layout kLayout;     for complex elements: split or interleaved registers
//   static constexpr bool kRare;         whether the body marks lanes for the rare routine
//   template <class D> void operator()(D, const Vec<D>* in, Vec<D>* out[, Mask<D>* rare]) const;
//   int32_t Rare(...) [const];           with kRare: (in, out), (in1, in2, out), (in, out1, out2),
//                                        static or a const member
//   const char* name;                    with kRare: the function's name for reports (vek::names)
//   static constexpr bool kBoundByMemory; optional: arithmetic so light that large calls wait on
//                                        memory, and store their results around the caches
//   static constexpr size_t kMaxVectorBytes; optional: the widest vector the body runs on (32:
//                                        256 bits on AVX-512), for bodies bound by the divider
//   static constexpr bool kStaged;       optional, with kRare: the body takes the whole block,
//                                        Steps(D, const Vec<D> (&in)[kSteps][..], Vec<D> (&out)
//                                        [kSteps][..], Mask<D> (&rare)[kSteps][..]) const, so that
//                                        it can run each stage over every vector before the next
// `in` holds kInputs groups of parts (one vector per part), `out` kOutputs groups. A body with
// kRare sets one mask per part group of its first input when interleaved, else one mask.
//
// Re-included once per SIMD target by files that use hwy/foreach_target.h.

#if defined(OXL_VEK_FRAME_KERNEL_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_FRAME_KERNEL_INL_H_
#undef OXL_VEK_FRAME_KERNEL_INL_H_
#else
#define OXL_VEK_FRAME_KERNEL_INL_H_
#endif

#include <cstdint>
#include <cstring>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "vek/frame/elements.h"
#include "vek/frame/frame.h"
#include "vek/frame/names.h"

// Unrolls a loop over a block's steps, so that the steps' chains interleave. The portable target's
// steps are single lanes, up to 64 a block: unrolled, they took most of the library's compile
// time, for a fallback that gains little by it.
#undef OXL_UNROLL_STEPS
#if HWY_TARGET == HWY_SCALAR
#define OXL_UNROLL_STEPS _Pragma("GCC unroll 1")
#else
#define OXL_UNROLL_STEPS _Pragma("GCC unroll 16")
#endif

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The vector a body runs on: the target's widest, or no wider than Body::kMaxVectorBytes. A body
// whose time is the divider's or the square root unit's gains nothing from 512-bit vectors: their
// divides and roots take as long per element as 256-bit ones, and on Cascade Lake a kernel of them
// alone runs 15% slower (the clock drops for such code). The bits are the same either way.
template <class Body, class T>
constexpr size_t kBodyLanes = [] {
  if constexpr (requires { Body::kMaxVectorBytes; }) {
    return Body::kMaxVectorBytes / sizeof(T);
  } else {
    return hn::MaxLanes(hn::ScalableTag<T>());
  }
}();

template <class Body>
class Kernel {
 public:
  using In = typename Body::In;
  using Out = typename Body::Out;
  using T = vek::ScalarOf<In>;
  using D = hn::CappedTag<T, kBodyLanes<Body, T>>;
  using V = hn::Vec<D>;
  using M = hn::Mask<D>;

  // Runs the body over n elements. `a` holds the kInputs input arrays, `r` the kOutputs result
  // arrays, as the caller passed them.
  static void Run(const Body& body, int64_t n, const In* const* a, Out* const* r) {
    int64_t i = 0;
    const bool large = vek::BeyondLastLevelCache(static_cast<size_t>(n) * kBytesPerElement);
    if (large && StreamsResults(r)) {
      // Elements up to the results' first line boundary as a short block, then whole blocks of
      // whole lines, stored around the caches.
      const size_t head = HWY_MIN(static_cast<size_t>(n), HeadToLine(r[0]));
      if (head != 0) Partial(body, a, r, 0, head);
      i = Blocks<true>(body, a, r, static_cast<int64_t>(head), n, /*ahead=*/true);
      hwy::FlushStream();
    } else {
      i = Blocks<false>(body, a, r, 0, n, /*ahead=*/large);
    }
    if (i < n) Partial(body, a, r, i, static_cast<size_t>(n - i));
  }

 private:
  static constexpr size_t kBlock = Body::kBlock;
  static constexpr size_t kLanes = hn::MaxLanes(D());
  static constexpr size_t kSteps = kBlock / kLanes;
  static constexpr size_t kInParts = vek::Element<In>::kParts;
  static constexpr size_t kOutParts = vek::Element<Out>::kParts;
  static constexpr bool kSplit = Body::kLayout == vek::Layout::kSplit;
  // Rare masks per step: interleaved complex lanes come in two vectors of parts.
  static constexpr size_t kMasks = (kInParts == 2 && !kSplit) ? 2 : 1;
  static_assert(kBlock % kLanes == 0, "a block must be whole vectors on every target");
  static_assert(kBlock <= 64, "rare-lane bookkeeping holds one block in 64 bits");
  static constexpr size_t kLine = 64;
  static constexpr size_t kBytesPerElement =
      Body::kInputs * sizeof(In) + Body::kOutputs * sizeof(Out);
  // How far ahead of the block in hand a call beyond the last-level cache asks for its inputs.
  // The hardware's own prefetch falls behind once arithmetic fills the out-of-order window
  // between the loads: on Cascade Lake dExp HA at 10^7 elements took 1.19x (AVX-512) and 1.27x
  // (AVX2) the time of a copy, 1.05x and 1.13x with inputs requested 1 KiB ahead (512 B gained
  // less, 2 KiB no more).
  static constexpr size_t kAheadBytes = 1024;
  static constexpr bool kBoundByMemory = [] {
    if constexpr (requires { Body::kBoundByMemory; }) {
      return Body::kBoundByMemory;
    } else {
      return false;
    }
  }();
  static constexpr bool kStaged = [] {
    if constexpr (requires { Body::kStaged; }) {
      return Body::kStaged;
    } else {
      return false;
    }
  }();

  // Results go around the caches when the body asks for it, the call's arrays exceed the
  // last-level cache, the results are split into lines alike (their offsets from a line boundary
  // agree, on a whole element) and stores of whole vectors can write them (not the split complex
  // layout, which interleaves). Only bodies that wait on memory gain: where the arithmetic takes
  // longer than the memory, ordinary stores hide behind it and non-temporal ones cost 10% to 25%.
  // Not on the AVX2 target: half-line non-temporal stores are slow (a plain copy of doubles with
  // them took 1.70 against 1.48 ns per element on Cascade Lake), and ordinary stores to lines asked
  // for ahead (Blocks) beat them at 10^7 elements: dAdd 2.18 -> 1.92 ns, dExp LA 1.69 -> 1.57,
  // sExp HA 0.86 -> 0.81, dExp HA 1.75 -> 1.77.
  static bool StreamsResults(Out* const* r) {
    if constexpr (!kBoundByMemory || (kOutParts == 2 && kSplit) || HWY_TARGET == HWY_AVX2) {
      return false;
    } else {
      const uintptr_t offset = reinterpret_cast<uintptr_t>(r[0]) % kLine;
      if (offset % sizeof(Out) != 0) return false;
      for (size_t k = 1; k < Body::kOutputs; ++k) {
        if (reinterpret_cast<uintptr_t>(r[k]) % kLine != offset) return false;
      }
      return true;
    }
  }

  // Whole blocks from element i on; returns where they end. `ahead`: the inputs kAheadBytes
  // further on are asked for, block by block (a prefetch never faults, past the end included),
  // and, unless the stores go around the caches, the results' lines too, for writing: the store
  // then finds its line owned instead of waiting for it (Cascade Lake, 10^7 elements: dLn LA
  // 1.60 -> 1.48 ns per element on AVX-512, 2.12 -> 1.91 on AVX2).
  // A test per block rather than a template flag: the same speed in L1 (sAdd, dExp, sLn, within
  // 3%), and a library 2% larger instead of 17%.
  template <bool kStream>
  static HWY_INLINE int64_t Blocks(const Body& body, const In* const* a, Out* const* r, int64_t i,
                                   int64_t n, bool ahead) {
    // The array pointers in locals: read through `a` and `r`, they would be loaded again after
    // every block's stores (which might, for all the compiler knows, have changed them), and each
    // block's store addresses would wait on the previous block's stores.
    const In* a_local[Body::kInputs];
    Out* r_local[Body::kOutputs];
    for (size_t k = 0; k < Body::kInputs; ++k) a_local[k] = a[k];
    for (size_t k = 0; k < Body::kOutputs; ++k) r_local[k] = r[k];
    for (; i + static_cast<int64_t>(kBlock) <= n; i += kBlock) {
      const In* in[Body::kInputs];
      Out* out[Body::kOutputs];
      for (size_t k = 0; k < Body::kInputs; ++k) in[k] = a_local[k] + i;
      for (size_t k = 0; k < Body::kOutputs; ++k) out[k] = r_local[k] + i;
      if (ahead) {
        for (size_t k = 0; k < Body::kInputs; ++k) {
          const char* p =
              reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(in[k]) + kAheadBytes);
          for (size_t b = 0; b < kBlock * sizeof(In); b += kLine) hwy::Prefetch(p + b);
        }
        if constexpr (!kStream) {
          for (size_t k = 0; k < Body::kOutputs; ++k) {
            char* p = reinterpret_cast<char*>(reinterpret_cast<uintptr_t>(out[k]) + kAheadBytes);
            for (size_t b = 0; b < kBlock * sizeof(Out); b += kLine) PrefetchForWrite(p + b);
          }
        }
      }
      Block<kStream>(body, a, r, i, in, out, kBlock, /*tail=*/false);
    }
    return i;
  }

  // Asks for the line at p in the state a store needs: PREFETCHW, which processors without it
  // execute as a no-op (its encoding is in the space reserved for those), and which the compiler
  // would not emit for a target that does not name it.
  static HWY_INLINE void PrefetchForWrite(const char* p) {
#if HWY_ARCH_X86_64
    asm volatile("prefetchw %0" : : "m"(*p));
#else
    hwy::Prefetch(p);
#endif
  }

  // Elements before the first line boundary of p.
  static size_t HeadToLine(const Out* p) {
    return (kLine - reinterpret_cast<uintptr_t>(p) % kLine) % kLine / sizeof(Out);
  }

  // Fewer than kBlock elements from i: the very same block code on a copy padded with zeros.
  static HWY_NOINLINE void Partial(const Body& body, const In* const* a, Out* const* r, int64_t i,
                                   size_t count) {
    HWY_ALIGN In in_copy[Body::kInputs][kBlock];
    HWY_ALIGN Out out_copy[Body::kOutputs][kBlock];
    const In* in[Body::kInputs];
    Out* out[Body::kOutputs];
    for (size_t k = 0; k < Body::kInputs; ++k) {
      std::memset(in_copy[k], 0, sizeof in_copy[k]);
      std::memcpy(in_copy[k], a[k] + i, count * sizeof(In));
      in[k] = in_copy[k];
    }
    for (size_t k = 0; k < Body::kOutputs; ++k) out[k] = out_copy[k];
    Block<false>(body, a, r, i, in, out, count, /*tail=*/true);
    for (size_t k = 0; k < Body::kOutputs; ++k)
      std::memcpy(r[k] + i, out_copy[k], count * sizeof(Out));
  }

  template <class E>
  static HWY_INLINE void Load(const E* p, size_t e, V* v) {
    const D d;
    if constexpr (vek::Element<E>::kParts == 1) {
      v[0] = hn::LoadU(d, p + e);
    } else {
      const T* s = reinterpret_cast<const T*>(p + e);
      if constexpr (kSplit) {
        hn::LoadInterleaved2(d, s, v[0], v[1]);
      } else {
        v[0] = hn::LoadU(d, s);
        v[1] = hn::LoadU(d, s + kLanes);
      }
    }
  }

  // kStream: p + e is aligned to a line and the stores go around the caches.
  template <bool kStream = false, class E>
  static HWY_INLINE void Store(const V* v, E* p, size_t e) {
    const D d;
    if constexpr (kStream) {
      T* s = reinterpret_cast<T*>(p + e);
      for (size_t part = 0; part < vek::Element<E>::kParts; ++part) {
        hn::Stream(v[part], d, s + part * kLanes);
      }
    } else if constexpr (vek::Element<E>::kParts == 1) {
      hn::StoreU(v[0], d, p + e);
    } else {
      T* s = reinterpret_cast<T*>(p + e);
      if constexpr (kSplit) {
        hn::StoreInterleaved2(v[0], v[1], d, s);
      } else {
        hn::StoreU(v[0], d, s);
        hn::StoreU(v[1], d, s + kLanes);
      }
    }
  }

  // One block: `in`/`out` point at the block's elements (or at padded copies for the tail, where
  // `valid` elements are real), `a`/`r` are the caller's arrays and `i` the block's index in them.
  template <bool kStream>
  static HWY_INLINE void Block(const Body& body, const In* const* a, Out* const* r, int64_t i,
                               const In* const* in, Out* const* out, size_t valid, bool tail) {
    const D d;
    V x[kSteps][Body::kInputs * kInParts];
    V y[kSteps][Body::kOutputs * kOutParts];
    for (size_t s = 0; s < kSteps; ++s) {
      for (size_t k = 0; k < Body::kInputs; ++k) Load(in[k], s * kLanes, &x[s][k * kInParts]);
    }
    if constexpr (!Body::kRare) {
      for (size_t s = 0; s < kSteps; ++s) body(d, x[s], y[s]);
    } else {
      M rare[kSteps][kMasks];
      M any = hn::MaskFromVec(hn::Zero(d));
      // Unrolled, so that the steps' chains interleave: a long body otherwise stays a loop over
      // the steps, one chain after the other (1.2x to 1.3x on the float logarithms).
      if constexpr (kStaged) {
        body.Steps(d, x, y, rare);
        for (size_t s = 0; s < kSteps; ++s) {
          for (size_t m = 0; m < kMasks; ++m) any = hn::Or(any, rare[s][m]);
        }
      } else {
        OXL_UNROLL_STEPS
        for (size_t s = 0; s < kSteps; ++s) {
          body(d, x[s], y[s], rare[s]);
          for (size_t m = 0; m < kMasks; ++m) any = hn::Or(any, rare[s][m]);
        }
      }
      if (!hn::AllFalse(d, any)) [[unlikely]] {
        // Only this branch puts the block in memory: the common path keeps every vector in
        // registers, and the rare path reads the inputs back from the block itself.
        HWY_ALIGN Out out_buf[Body::kOutputs][kBlock];
        uint64_t marked = 0;
        for (size_t s = 0; s < kSteps; ++s) {
          for (size_t k = 0; k < Body::kOutputs; ++k) {
            Store(&y[s][k * kOutParts], out_buf[k], s * kLanes);
          }
          marked |= LaneBits(d, rare[s]) << (s * kLanes);
        }
        RarePath(body, a, r, i, in, out_buf, marked, valid, tail);
        for (size_t s = 0; s < kSteps; ++s) {
          for (size_t k = 0; k < Body::kOutputs; ++k) {
            Load(out_buf[k], s * kLanes, &y[s][k * kOutParts]);
          }
        }
      }
    }
    for (size_t s = 0; s < kSteps; ++s) {
      for (size_t k = 0; k < Body::kOutputs; ++k) {
        Store<kStream>(&y[s][k * kOutParts], out[k], s * kLanes);
      }
    }
  }

  // Marked lanes, ascending: the rare routine recomputes the element from the block's inputs; a
  // non-zero status goes out through the error function with the element stored, and whatever
  // the element holds afterwards (a callback may have replaced it) becomes the lane's result.
  static HWY_NOINLINE void RarePath(const Body& body, const In* const* a, Out* const* r, int64_t i,
                                    const In* const* in, Out (&out_buf)[Body::kOutputs][kBlock],
                                    uint64_t marked, size_t valid, bool tail) {
    HWY_ALIGN In in_buf[Body::kInputs][kBlock];
    for (size_t k = 0; k < Body::kInputs; ++k) std::memcpy(in_buf[k], in[k], sizeof(in_buf[k]));
    if (valid < 64) marked &= (uint64_t{1} << valid) - 1;

    size_t stored = 0;  // tail elements already in the caller's arrays
    for (; marked != 0; marked &= marked - 1) {
      const size_t j = static_cast<size_t>(__builtin_ctzll(marked));
      const int32_t status = CallRare(body, in_buf, out_buf, j);
      if (status == 0) continue;
      const int64_t at = i + static_cast<int64_t>(j);
      if (tail) {
        // Tail elements run one after the other: those before this one are final already.
        for (; stored < j; ++stored) {
          for (size_t k = 0; k < Body::kOutputs; ++k) r[k][i + stored] = out_buf[k][stored];
        }
      }
      for (size_t k = 0; k < Body::kOutputs; ++k) r[k][at] = out_buf[k][j];
      vek::Error(status, static_cast<int32_t>(at), a[0], a[Body::kInputs - 1], r[0],
                 r[Body::kOutputs - 1], body.name);
      for (size_t k = 0; k < Body::kOutputs; ++k) out_buf[k][j] = r[k][at];
    }
  }

  // Element lanes of a step's rare masks, lane j at bit j.
  static HWY_INLINE uint64_t LaneBits(D d, const M (&m)[kMasks]) {
    uint8_t bytes[kMasks][(kLanes + 7) / 8 + 8] = {};
    for (size_t k = 0; k < kMasks; ++k) hn::StoreMaskBits(d, m[k], bytes[k]);
    uint64_t bits[kMasks] = {};
    for (size_t k = 0; k < kMasks; ++k) std::memcpy(&bits[k], bytes[k], sizeof(uint64_t));
    if constexpr (kMasks == 1) {
      return kLanes == 64 ? bits[0] : bits[0] & ((uint64_t{1} << kLanes) - 1);
    } else {
      // Interleaved complex: scalar lane 2e and 2e + 1 belong to element e of the step.
      uint64_t lanes = 0;
      for (size_t e = 0; e < kLanes; ++e) {
        const size_t lo = 2 * e, hi = 2 * e + 1;
        const bool set =
            ((bits[lo / kLanes] >> (lo % kLanes)) & 1) | ((bits[hi / kLanes] >> (hi % kLanes)) & 1);
        lanes |= static_cast<uint64_t>(set) << e;
      }
      return lanes;
    }
  }

  // Through the body object, so that a rare routine may read the body's parameters (the scalar
  // of Powx, the floating-point mode of an element loop); static routines are called alike.
  static HWY_INLINE int32_t CallRare(const Body& body, In (&in)[Body::kInputs][kBlock],
                                     Out (&out)[Body::kOutputs][kBlock], size_t j) {
    if constexpr (Body::kInputs == 2) {
      return body.Rare(&in[0][j], &in[1][j], &out[0][j]);
    } else if constexpr (Body::kOutputs == 2) {
      return body.Rare(&in[0][j], &out[0][j], &out[1][j]);
    } else {
      return body.Rare(&in[0][j], &out[0][j]);
    }
  }
};

// The shape of most real functions of one argument: one array in, one out, a rare path, and a
// block of two 512-bit vectors.
template <class T>
struct UnaryRealBody {
  using In = T;
  using Out = T;
  static constexpr size_t kInputs = 1;
  static constexpr size_t kOutputs = 1;
  static constexpr size_t kBlock = 64 / sizeof(T) * 2;
  static constexpr vek::Layout kLayout = vek::Layout::kSplit;
  static constexpr bool kRare = true;
};

// The same shape with two input arrays (Div, Hypot, Pow).
template <class T>
struct BinaryRealBody : UnaryRealBody<T> {
  static constexpr size_t kInputs = 2;
};

// Entry points for the common argument forms. `n` is the caller's signed count; n <= 0 does
// nothing.
template <class Body>
HWY_INLINE void RunUnary(const Body& body, int64_t n, const typename Body::In* a,
                         typename Body::Out* r) {
  const typename Body::In* in[1] = {a};
  typename Body::Out* out[1] = {r};
  Kernel<Body>::Run(body, n, in, out);
}

template <class Body>
HWY_INLINE void RunBinary(const Body& body, int64_t n, const typename Body::In* a,
                          const typename Body::In* b, typename Body::Out* r) {
  const typename Body::In* in[2] = {a, b};
  typename Body::Out* out[1] = {r};
  Kernel<Body>::Run(body, n, in, out);
}

template <class Body>
HWY_INLINE void RunTwoResults(const Body& body, int64_t n, const typename Body::In* a,
                              typename Body::Out* r1, typename Body::Out* r2) {
  const typename Body::In* in[1] = {a};
  typename Body::Out* out[2] = {r1, r2};
  Kernel<Body>::Run(body, n, in, out);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_FRAME_KERNEL_INL_H_
