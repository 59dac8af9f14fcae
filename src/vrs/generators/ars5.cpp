// ARS5: Random123's ARS-5, five AES rounds over the stream's 128-bit counter, the round keys a
// Weyl sequence from the key.
//
// AES rounds are the processor's (aesenc, aesenclast), so every target gives the same bits. The
// vector targets run eight registers of blocks side by side, enough to cover the instruction's
// latency on the two AES units of current cores: 256- or 512-bit registers of two or four blocks
// where the processor has VAES, else 128-bit ones. Highway offers no AES round on its scalar
// target: there, and for single blocks, the instructions are reached directly. Every entry first
// asks the processor for AES, as seeding alone does not.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/generators/ars5.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <immintrin.h>

#include "oxl/platform.h"
#include "simd/targets.h"
#include "vrs/generators/counter-inl.h"
#include "vrs/generators/counter.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
// The vector AES instructions (VAES) round two blocks per 256-bit and four per 512-bit
// instruction. Highway reaches them only on a target this build leaves out, so they are called
// here directly, where the processor has them.
#define OXL_VAES_ATTR __attribute__((target(HWY_TARGET_STR ",vaes")))
#if HWY_TARGET == HWY_AVX2
struct WideAes {
  using D32 = hn::Full256<uint32_t>;
  using R = __m256i;
  static constexpr size_t kBlocks = 2;
  static OXL_VAES_ATTR R Key(const uint64_t* k) {
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(k)));
  }
  static OXL_VAES_ATTR R Counters(Counter128 c) {
    const auto lo = static_cast<int64_t>(c.lo), hi = static_cast<int64_t>(c.hi);
    return _mm256_set_epi64x(hi, lo + 1, hi, lo);
  }
  static OXL_VAES_ATTR R Step() { return _mm256_set_epi64x(0, kBlocks, 0, kBlocks); }
  static OXL_VAES_ATTR R Add(R a, R b) { return _mm256_add_epi64(a, b); }
  static OXL_VAES_ATTR R Xor(R a, R b) { return _mm256_xor_si256(a, b); }
  static OXL_VAES_ATTR R Round(R v, R k) { return _mm256_aesenc_epi128(v, k); }
  static OXL_VAES_ATTR R LastRound(R v, R k) { return _mm256_aesenclast_epi128(v, k); }
};
#else
struct WideAes {
  using D32 = hn::Full512<uint32_t>;
  using R = __m512i;
  static constexpr size_t kBlocks = 4;
  static OXL_VAES_ATTR R Key(const uint64_t* k) {
    return _mm512_broadcast_i32x4(_mm_load_si128(reinterpret_cast<const __m128i*>(k)));
  }
  static OXL_VAES_ATTR R Counters(Counter128 c) {
    const auto lo = static_cast<int64_t>(c.lo), hi = static_cast<int64_t>(c.hi);
    return _mm512_set_epi64(hi, lo + 3, hi, lo + 2, hi, lo + 1, hi, lo);
  }
  static OXL_VAES_ATTR R Step() {
    return _mm512_set_epi64(0, kBlocks, 0, kBlocks, 0, kBlocks, 0, kBlocks);
  }
  static OXL_VAES_ATTR R Add(R a, R b) { return _mm512_add_epi64(a, b); }
  static OXL_VAES_ATTR R Xor(R a, R b) { return _mm512_xor_si512(a, b); }
  static OXL_VAES_ATTR R Round(R v, R k) { return _mm512_aesenc_epi128(v, k); }
  static OXL_VAES_ATTR R LastRound(R v, R k) { return _mm512_aesenclast_epi128(v, k); }
};
#endif

// Whole runs of kRegs registers of blocks; returns the blocks made. A run whose counters would
// carry into the high half stops the wide path, and the 128-bit path makes the rest.
template <class Sink>
OXL_VAES_ATTR size_t WideBlocks(const Ars5Keys& keys, Counter128 ctr, size_t blocks,
                                const Sink& sink, size_t at) {
  constexpr size_t kRegs = 8, kRun = kRegs * WideAes::kBlocks;
  using R = WideAes::R;
  R rk[kArs5Rounds + 1];
  for (int r = 0; r <= kArs5Rounds; ++r) rk[r] = WideAes::Key(keys.k[r]);
  const R step = WideAes::Step();
  size_t b = 0;
  for (; b + kRun <= blocks; b += kRun) {
    const Counter128 c = ctr + b;
    if (HWY_UNLIKELY(c.lo > ~uint64_t{0} - (kRun - 1))) break;
    R x[kRegs];
    x[0] = WideAes::Counters(c);
    for (size_t j = 1; j < kRegs; ++j) x[j] = WideAes::Add(x[j - 1], step);
    for (size_t j = 0; j < kRegs; ++j) x[j] = WideAes::Xor(x[j], rk[0]);
    for (int r = 1; r < kArs5Rounds; ++r) {
      for (size_t j = 0; j < kRegs; ++j) x[j] = WideAes::Round(x[j], rk[r]);
    }
    for (size_t j = 0; j < kRegs; ++j) x[j] = WideAes::LastRound(x[j], rk[kArs5Rounds]);
    for (size_t j = 0; j < kRegs; ++j) {
      sink.Lanes(WideAes::D32(), hn::VFromD<WideAes::D32>{x[j]},
                 at + 4 * (b + j * WideAes::kBlocks));
    }
  }
  return b;
}
#endif

struct ArsGen {
  Ars5Keys keys;
  bool wide;  // the processor has VAES

  void Block(Counter128 ctr, uint32_t* out) const { Ars5Block(keys, ctr, out); }

  template <class Sink>
  HWY_INLINE void Blocks(Counter128 ctr, size_t blocks, const Sink& sink, size_t at) const {
    size_t b = 0;
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
    if (wide) b = WideBlocks(keys, ctr, blocks, sink, at);
#endif
#if HWY_TARGET != HWY_SCALAR
    constexpr size_t kRun = 8;
    const hn::Full128<uint8_t> d8;
    const hn::Full128<uint32_t> d32;
    const hn::Full128<uint64_t> d64;
    using V = hn::VFromD<decltype(d8)>;
    V rk[kArs5Rounds + 1];
    for (int r = 0; r <= kArs5Rounds; ++r) rk[r] = hn::BitCast(d8, hn::Load(d64, keys.k[r]));
    for (; b + kRun <= blocks; b += kRun) {
      const Counter128 c = ctr + b;
      V x[kRun];
      if (HWY_LIKELY(c.lo <= ~uint64_t{0} - (kRun - 1))) {
        const auto base = hn::InterleaveLower(d64, hn::Set(d64, c.lo), hn::Set(d64, c.hi));
        const auto one = hn::InterleaveLower(d64, hn::Set(d64, 1), hn::Zero(d64));
        auto v = base;
        for (size_t j = 0; j < kRun; ++j, v = hn::Add(v, one)) x[j] = hn::BitCast(d8, v);
      } else {
        for (size_t j = 0; j < kRun; ++j) {
          const Counter128 cj = c + j;
          HWY_ALIGN const uint64_t halves[2] = {cj.lo, cj.hi};
          x[j] = hn::BitCast(d8, hn::Load(d64, halves));
        }
      }
      for (size_t j = 0; j < kRun; ++j) x[j] = hn::Xor(x[j], rk[0]);
      for (int r = 1; r < kArs5Rounds; ++r) {
        for (size_t j = 0; j < kRun; ++j) x[j] = hn::AESRound(x[j], rk[r]);
      }
      for (size_t j = 0; j < kRun; ++j) x[j] = hn::AESLastRound(x[j], rk[kArs5Rounds]);
      for (size_t j = 0; j < kRun; ++j) sink.Lanes(d32, hn::BitCast(d32, x[j]), at + 4 * (b + j));
    }
#endif
    for (; b < blocks; ++b) {
      uint32_t w[4];
      Block(ctr + b, w);
      for (size_t k = 0; k < 4; ++k) sink.One(w[k], at + 4 * b + k);
    }
  }
};

bool HasVaes() { return (hardware_hooks.features() & OXL_CPU_VAES) != 0; }

void ArsWords(Ars5State* s, size_t n, uint32_t* r) {
  CounterWords(s, n, r, ArsGen{Ars5Keys(s->Key), HasVaes()});
}
void ArsDoubles(Ars5State* s, size_t n, double* r, double a, double b) {
  CounterDoubles(s, n, r, a, b, ArsGen{Ars5Keys(s->Key), HasVaes()});
}
void ArsFloats(Ars5State* s, size_t n, float* r, float a, float b) {
  CounterFloats(s, n, r, a, b, ArsGen{Ars5Keys(s->Key), HasVaes()});
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl::vrs
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vrs/generators/twister.h"
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
HWY_EXPORT(ArsWords);
HWY_EXPORT(ArsDoubles);
HWY_EXPORT(ArsFloats);

__attribute__((target("aes"))) void Ars5Block(const Ars5Keys& keys, Counter128 ctr, uint32_t* out) {
  const auto key = [&keys](int r) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(keys.k[r]));
  };
  __m128i v = _mm_xor_si128(
      _mm_set_epi64x(static_cast<int64_t>(ctr.hi), static_cast<int64_t>(ctr.lo)), key(0));
  for (int r = 1; r < kArs5Rounds; ++r) v = _mm_aesenc_si128(v, key(r));
  v = _mm_aesenclast_si128(v, key(kArs5Rounds));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), v);
}

}  // namespace oxl::vrs

using namespace oxl::vrs;

extern "C" {

OXL_API int __vrsCPUisAES(void) { return (hardware_hooks.features() & OXL_CPU_AES) ? 1 : 0; }

OXL_API int32_t __vrsBRngARS5InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                        const uint32_t* params) {
  Ars5State& s = *StateOf<Ars5State>(stream);
  switch (method) {
    case OXL_BRNG_INIT_SEED:
      for (int32_t i = 0; i < 4; ++i) s.Key[i] = SeedWord(n, params, i);
      s.Ctr[0] = SeedWord(n, params, 4) | uint64_t{SeedWord(n, params, 5)} << 32;
      s.Ctr[1] = SeedWord(n, params, 6) | uint64_t{SeedWord(n, params, 7)} << 32;
      ClearBuffer(s);
      return 0;
    case OXL_BRNG_INIT_LEAPFROG:
      return StatusNoLeapfrog;
    case OXL_BRNG_INIT_SKIPAHEAD: {
      if (!__vrsCPUisAES()) return StatusNoAes;
      const Ars5Keys keys(s.Key);
      CounterSkipAhead(s, CounterSkipCount(n, params),
                       [&keys](Counter128 ctr, uint32_t* out) { Ars5Block(keys, ctr, out); });
      return 0;
    }
    default:
      return StatusBadMethod;
  }
}

OXL_API int32_t __vrsiBRngARS5(StreamRecord* stream, int32_t n, uint32_t* r) {
  if (!__vrsCPUisAES()) return StatusNoAes;
  OXL_DISPATCH(ArsWords)(StateOf<Ars5State>(stream), TwisterCount(n), r);
  return 0;
}

OXL_API int32_t __vrsdBRngARS5(StreamRecord* stream, int32_t n, double* r, double a, double b) {
  if (!__vrsCPUisAES()) return StatusNoAes;
  OXL_DISPATCH(ArsDoubles)(StateOf<Ars5State>(stream), TwisterCount(n), r, a, b);
  return 0;
}

OXL_API int32_t __vrssBRngARS5(StreamRecord* stream, int32_t n, float* r, float a, float b) {
  if (!__vrsCPUisAES()) return StatusNoAes;
  OXL_DISPATCH(ArsFloats)(StateOf<Ars5State>(stream), TwisterCount(n), r, a, b);
  return 0;
}

}  // extern "C"
#endif  // HWY_ONCE
