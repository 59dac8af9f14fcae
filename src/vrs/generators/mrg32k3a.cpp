// MRG32K3A, L'Ecuyer's combined multiple recursive generator, with its three output forms.
//
// From 16 outputs on, the first 16 come step by step from the recurrences and go into a history;
// then each round makes 16 more at once, lane i taking the three values 18, 17 and 16 places back
// through the third row of the companion matrix's sixteenth power. The rounds need no division:
// 2^32 is 209 mod M1 and 22853 mod M2, so every 64-bit product folds its high half down by one
// small multiply, and a second fold and one conditional subtraction give the residue.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/generators/mrg32k3a.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "simd/fma-inl.h"
#include "simd/targets.h"
#include "vrs/generators/congruential.h"
#include "vrs/generators/lanes-inl.h"

#ifndef OXL_VRS_GENERATORS_MRG32K3A_JUMP_
#define OXL_VRS_GENERATORS_MRG32K3A_JUMP_
namespace oxl::vrs {

// Coefficients (oldest, middle, newest) that give the value `steps` places after the newest of
// three consecutive values of new = c_new newest + c_mid middle + c_old oldest (mod m): the third
// row of the companion matrix's power.
constexpr std::array<uint64_t, 3> JumpRow(uint64_t m, uint64_t c_old, uint64_t c_mid,
                                          uint64_t c_new, int steps) {
  // Row k of the power expresses value k (0..2 after the shift) in the three starting values;
  // step by step, the newest row is the recurrence applied to the three rows before it.
  std::array<std::array<uint64_t, 3>, 3> rows = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  for (int s = 0; s < steps; ++s) {
    std::array<uint64_t, 3> next{};
    for (int j = 0; j < 3; ++j) {
      next[j] = (c_old * rows[0][j] % m + c_mid * rows[1][j] % m + c_new * rows[2][j] % m) % m;
    }
    rows = {rows[1], rows[2], next};
  }
  return rows[2];
}

inline constexpr int kMrgRound = 16;
inline constexpr auto kJumpX = JumpRow(kMrgM1, kMrgM1 - kMrgA13, kMrgA12, 0, kMrgRound);
inline constexpr auto kJumpY = JumpRow(kMrgM2, kMrgM2 - kMrgA23, 0, kMrgA21, kMrgRound);
inline constexpr uint64_t kFoldM1 = (uint64_t{1} << 32) - kMrgM1;  // 209
inline constexpr uint64_t kFoldM2 = (uint64_t{1} << 32) - kMrgM2;  // 22853

}  // namespace oxl::vrs
#endif

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
// One component of a round: sum of c_k h[k] mod m for the three history vectors. Each product
// (below 2^64) folds to below 2^32 (fold + 1), the sum of three and its fold stay below 2 m, and a
// signed comparison (all values are below 2^34) decides the final subtraction.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V MrgCombine(D d, const uint64_t* HWY_RESTRICT h, const std::array<uint64_t, 3>& c,
                        uint64_t fold, uint64_t m) {
  const V low = hn::Set(d, 0xFFFFFFFFull);
  const V f = hn::Set(d, fold);
  const auto reduce = [&](V p) {
    return hn::Add(Mul32(d, hn::ShiftRight<32>(p), f), hn::And(p, low));
  };
  V s = reduce(Mul32(d, hn::Set(d, c[0]), hn::LoadU(d, h)));
  s = hn::Add(s, reduce(Mul32(d, hn::Set(d, c[1]), hn::LoadU(d, h + 1))));
  s = hn::Add(s, reduce(Mul32(d, hn::Set(d, c[2]), hn::LoadU(d, h + 2))));
  s = reduce(s);
  const hn::RebindToSigned<D> di;
  const auto t = hn::Sub(hn::BitCast(di, s), hn::Set(di, static_cast<int64_t>(m)));
  return hn::BitCast(d, hn::IfThenElse(hn::Lt(t, hn::Zero(di)), hn::BitCast(di, s), t));
}
#endif

template <class Sink>
HWY_INLINE void MrgRun(Mrg32k3aState& state, size_t n, const Sink& sink) {
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint64_t> d;
  using V = hn::VFromD<decltype(d)>;
  const hn::RebindToSigned<decltype(d)> di;
  constexpr size_t kN = hn::MaxLanes(d);
  constexpr size_t kBack = kMrgRound + 2;  // a new value needs the three 18 to 16 places back
  constexpr size_t kHistory = kBack + 16 * kMrgRound;
  if (n >= kMrgRound) {
    alignas(64) uint64_t hx[kHistory];
    alignas(64) uint64_t hy[kHistory];
    hx[0] = state.X0, hx[1] = state.X1, hx[2] = state.X2;
    hy[0] = state.Y0, hy[1] = state.Y1, hy[2] = state.Y2;
    size_t p = 3;
    for (; i < kMrgRound; ++i, ++p) {
      sink.One(Mrg32k3aStep(state), i);
      hx[p] = state.X2;
      hy[p] = state.Y2;
    }
    const V m1 = hn::Set(d, kMrgM1);
    for (; i + kMrgRound <= n; i += kMrgRound, p += kMrgRound) {
      if (p + kMrgRound > kHistory) {
        std::memmove(hx, hx + p - kBack, kBack * sizeof hx[0]);
        std::memmove(hy, hy + p - kBack, kBack * sizeof hy[0]);
        p = kBack;
      }
      for (size_t j = 0; j < kMrgRound; j += kN) {
        const size_t q = p + j;
        const V x = MrgCombine(d, hx + q - kBack, kJumpX, kFoldM1, kMrgM1);
        const V y = MrgCombine(d, hy + q - kBack, kJumpY, kFoldM2, kMrgM2);
        hn::StoreU(x, d, hx + q);
        hn::StoreU(y, d, hy + q);
        // z = x - y, plus M1 unless x > y: 1 .. M1.
        const auto above = hn::RebindMask(d, hn::Gt(hn::BitCast(di, x), hn::BitCast(di, y)));
        sink.Lanes(d, hn::Add(hn::Sub(x, y), hn::IfThenZeroElse(above, m1)), i + j);
      }
    }
    state.X0 = static_cast<uint32_t>(hx[p - 3]);
    state.X1 = static_cast<uint32_t>(hx[p - 2]);
    state.X2 = static_cast<uint32_t>(hx[p - 1]);
    state.Y0 = static_cast<uint32_t>(hy[p - 3]);
    state.Y1 = static_cast<uint32_t>(hy[p - 2]);
    state.Y2 = static_cast<uint32_t>(hy[p - 1]);
  }
#endif
  for (; i < n; ++i) sink.One(Mrg32k3aStep(state), i);
}

// Doubles: one fused multiply-add of scale, z and a.
struct MrgDoubleSink {
  double* HWY_RESTRICT r;
  double scale, a;
  void One(uint32_t z, size_t i) const { r[i] = std::fma(scale, static_cast<double>(z), a); }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V z, size_t i) const {
    const hn::Rebind<double, D> dd;
    hn::StoreU(oxl::HWY_NAMESPACE::Fma(dd, hn::Set(dd, scale), SmallToDouble(d, z), hn::Set(dd, a)),
               dd, r + i);
  }
#endif
};

// Floats: z rounded to single, then one single-precision fused multiply-add.
struct MrgFloatSink {
  float* HWY_RESTRICT r;
  float scale, a;
  void One(uint32_t z, size_t i) const { r[i] = std::fma(scale, static_cast<float>(z), a); }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V z, size_t i) const {
    const hn::Rebind<float, D> df;
    // z is exact in double, so demoting rounds it once.
    const auto zf = hn::DemoteTo(df, SmallToDouble(d, z));
    hn::StoreU(oxl::HWY_NAMESPACE::Fma(df, hn::Set(df, scale), zf, hn::Set(df, a)), df, r + i);
  }
#endif
};

struct MrgWordSink {
  uint32_t* HWY_RESTRICT r;
  void One(uint32_t z, size_t i) const { r[i] = z; }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V z, size_t i) const {
    StoreLow32(d, z, r + i);
  }
#endif
};

void MrgDoubles(Mrg32k3aState* state, size_t n, double* r, double scale, double a) {
  MrgRun(*state, n, MrgDoubleSink{r, scale, a});
}
void MrgFloats(Mrg32k3aState* state, size_t n, float* r, float scale, float a) {
  MrgRun(*state, n, MrgFloatSink{r, scale, a});
}
void MrgWords(Mrg32k3aState* state, size_t n, uint32_t* r) { MrgRun(*state, n, MrgWordSink{r}); }

}  // namespace HWY_NAMESPACE
}  // namespace oxl::vrs
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
HWY_EXPORT(MrgDoubles);
HWY_EXPORT(MrgFloats);
HWY_EXPORT(MrgWords);

namespace {

// 1/M1 as the generator has always rounded it: 2.328306549837829e-10.
constexpr double kMrgScale = std::bit_cast<double>(0x3DF000000D10000Bull);

// The third companion-matrix rows (newest, middle, oldest) of the two components, negative
// coefficients written as residues.
constexpr uint32_t kRowX[3] = {0, static_cast<uint32_t>(kMrgA12),
                               static_cast<uint32_t>(kMrgM1 - kMrgA13)};
constexpr uint32_t kRowY[3] = {static_cast<uint32_t>(kMrgA21), 0,
                               static_cast<uint32_t>(kMrgM2 - kMrgA23)};
static_assert(kRowX[2] == 4294156359u && kRowY[2] == 4293573854u);

size_t OutputCount(int32_t n) { return n > 0 ? static_cast<size_t>(n) : 0; }

}  // namespace
}  // namespace oxl::vrs

using namespace oxl::vrs;

extern "C" {

OXL_API int32_t __vrsBRngMRG32K3AInitStream(int32_t method, StreamRecord* stream, int32_t n,
                                            const uint32_t* params) {
  Mrg32k3aState& s = *StateOf<Mrg32k3aState>(stream);
  switch (method) {
    case OXL_BRNG_INIT_SEED: {
      uint32_t w[6];
      for (int k = 0; k < 6; ++k) w[k] = k < n ? params[k] : 1;
      for (int k = 0; k < 3; ++k) {
        if (w[k] >= kMrgM1) w[k] -= kMrgM1;
        if (w[k + 3] >= kMrgM2) w[k + 3] -= kMrgM2;
      }
      if (w[0] == 0 && w[1] == 0 && w[2] == 0) w[0] = 1;
      if (w[3] == 0 && w[4] == 0 && w[5] == 0) w[3] = 1;
      s = {w[0], w[1], w[2], w[3], w[4], w[5]};
      return 0;
    }
    case OXL_BRNG_INIT_LEAPFROG:
      return StatusNoLeapfrog;
    case OXL_BRNG_INIT_SKIPAHEAD: {
      const uint64_t count = SkipCountParam(params);
      uint32_t x[3] = {s.X0, s.X1, s.X2};
      uint32_t y[3] = {s.Y0, s.Y1, s.Y2};
      __vrsiVect3PowMod(x, kRowX, kMrgM1, count);
      __vrsiVect3PowMod(y, kRowY, kMrgM2, count);
      s = {x[0], x[1], x[2], y[0], y[1], y[2]};
      return 0;
    }
    default:
      return StatusBadMethod;
  }
}

OXL_API int32_t __vrsdBRngMRG32K3A(StreamRecord* stream, int32_t n, double* r, double a, double b) {
  OXL_DISPATCH(MrgDoubles)
  (StateOf<Mrg32k3aState>(stream), OutputCount(n), r, (b - a) * kMrgScale, a);
  return 0;
}

OXL_API int32_t __vrssBRngMRG32K3A(StreamRecord* stream, int32_t n, float* r, float a, float b) {
  const auto scale =
      static_cast<float>((static_cast<double>(b) - static_cast<double>(a)) * kMrgScale);
  OXL_DISPATCH(MrgFloats)(StateOf<Mrg32k3aState>(stream), OutputCount(n), r, scale, a);
  return 0;
}

OXL_API int32_t __vrsiBRngMRG32K3A(StreamRecord* stream, int32_t n, uint32_t* r) {
  OXL_DISPATCH(MrgWords)(StateOf<Mrg32k3aState>(stream), OutputCount(n), r);
  return 0;
}

}  // extern "C"
#endif  // HWY_ONCE
