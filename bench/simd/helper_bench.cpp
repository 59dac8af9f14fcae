// The SIMD helpers beside the alternatives that were weighed for them, per target, on arrays that
// stay in L1: hardware division and square root against the exact-by-definition approximations,
// the AVX-512 instructions against their emulation, permutes against gathers, the fast 2^x
// against an LA-style exponential and SLEEF. Names: <helper>/<type>/<target>/<variant>; the
// variant "oxl" is what the helper does on that target.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "simd/helper_bench.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep

#include <hwy/highway.h>

#include <string>
#include <vector>

#include "simd/ops-inl.h"
#include "simd/targets.h"

#ifndef OXL_SIMD_HELPER_BENCH_ONCE
#define OXL_SIMD_HELPER_BENCH_ONCE
namespace oxl::bench::simd {

// One contestant: out[i] = f(in0[i] [, in1[i]]) over n elements. Inputs come uniform from
// [lo, hi), or as random bit patterns where lo == hi (table indices).
struct Entry {
  std::string helper;
  std::string variant;
  int type_bytes;
  void (*unary)(const void* in, void* out, size_t n);
  void (*binary)(const void* in0, const void* in1, void* out, size_t n);
  double lo0, hi0, lo1, hi1;
};

}  // namespace oxl::bench::simd
#endif

HWY_BEFORE_NAMESPACE();
namespace oxl::bench::simd {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// SLEEF's entries for the target (sleef.h declares them only under the matching -m flags).
#if HWY_TARGET == HWY_AVX2
extern "C" __m256 Sleef_exp2f8_u35avx2(__m256);
#elif HWY_TARGET == HWY_AVX3
extern "C" __m512 Sleef_exp2f16_u35avx512f(__m512);
#endif
namespace ox = oxl::HWY_NAMESPACE;

template <class D>
using V = hn::VFromD<D>;

template <class Op, typename T>
void Loop1(const void* in, void* out, size_t n) {
  const hn::ScalableTag<T> d;
  const T* x = static_cast<const T*>(in);
  T* r = static_cast<T*>(out);
  for (size_t i = 0; i < n; i += hn::Lanes(d))
    hn::StoreU(Op::Run(d, hn::LoadU(d, x + i)), d, r + i);
}

template <class Op, typename T>
void Loop2(const void* in0, const void* in1, void* out, size_t n) {
  const hn::ScalableTag<T> d;
  const T* x = static_cast<const T*>(in0);
  const T* y = static_cast<const T*>(in1);
  T* r = static_cast<T*>(out);
  for (size_t i = 0; i < n; i += hn::Lanes(d)) {
    hn::StoreU(Op::Run(d, hn::LoadU(d, x + i), hn::LoadU(d, y + i)), d, r + i);
  }
}

// ---- Instructions and their emulation.

template <bool kPortable>
struct GetExpOp {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    if constexpr (kPortable) return ox::simd_detail::GetExpPortable(d, x);
    return ox::GetExp(d, x);
  }
};

template <bool kPortable>
struct GetMantOp {
  static constexpr auto kI = oxl::simd::MantissaInterval::kOneToTwo;
  static constexpr auto kS = oxl::simd::MantissaSign::kNaNIfNegative;
  template <class D>
  static V<D> Run(D d, V<D> x) {
    if constexpr (kPortable) return ox::simd_detail::GetMantPortable<kI, kS>(d, x);
    return ox::GetMant<kI, kS>(d, x);
  }
};

template <bool kPortable>
struct ScalefOp {
  template <class D>
  static V<D> Run(D d, V<D> x, V<D> y) {
    if constexpr (kPortable) return ox::simd_detail::ScalefPortable(d, x, y);
    return ox::Scalef(d, x, y);
  }
};

template <bool kPortable>
struct RoundScaleOp {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    if constexpr (kPortable) return ox::simd_detail::RoundScalePortable<0x58>(d, x);
    return ox::RoundScale<0x58>(d, x);
  }
};

// ---- Reciprocals: the helpers, hardware division and square root, and the other forms.

struct Rcp14Op {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    return ox::Rcp14(d, x);
  }
};
struct Rcp28Op {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    return ox::Rcp28(d, x);
  }
};
struct Rsqrt14Op {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    return ox::Rsqrt14(d, x);
  }
};
struct Rsqrt28Op {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    return ox::Rsqrt28(d, x);
  }
};
struct DivOp {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    return hn::Div(hn::Set(d, hn::TFromD<D>(1)), x);
  }
};
struct SqrtDivOp {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    return hn::Div(hn::Set(d, hn::TFromD<D>(1)), hn::Sqrt(x));
  }
};
// The Newton form for both types (what double's Rcp28 is), here also for float.
struct NewtonRcp28Op {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    return ox::simd_detail::RcpApprox<true>(d, x);
  }
};

template <bool kDivision>
struct RcpSeedOp {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    if constexpr (!kDivision) {
      return ox::RcpSeed<5>(d, x);
    } else {
      // The correctly rounded y = 1/x cut by integer rounding of its bits, one unit off y first
      // where y lies above 1/x, so that a y on a midpoint of the cut rounds the right way.
      using T = hn::TFromD<D>;
      using U = hn::TFromD<hn::RebindToUnsigned<D>>;
      const hn::RebindToUnsigned<D> du;
      constexpr int kM = oxl::simd::FloatBits<T>::kMantissaBits;
      constexpr U kHalf = U{1} << (kM - 5 - 1);
      const auto one = hn::Set(d, T(1));
      const auto y = hn::Div(one, x);
      const auto above = hn::Gt(ox::Fms(d, x, y, one), hn::Zero(d));
      const auto bits = hn::Add(hn::BitCast(du, y), hn::BitCast(du, hn::VecFromMask(d, above)));
      auto c =
          hn::BitCast(d, hn::And(hn::Add(bits, hn::Set(du, kHalf)), hn::Set(du, ~(2 * kHalf - 1))));
      const auto ax = hn::Abs(x);
      const auto ordinary =
          hn::And(hn::Ge(ax, hn::Set(d, oxl::simd::Pow2<T>(1 - oxl::simd::FloatBits<T>::kBias))),
                  hn::Le(ax, hn::Set(d, oxl::simd::Pow2<T>(oxl::simd::FloatBits<T>::kBias - 1))));
      if (HWY_UNLIKELY(!hn::AllTrue(d, ordinary))) {
        c = hn::IfThenElse(ordinary, c, ox::simd_detail::RcpSeedSpecial<5>(d, x));
      }
      return c;
    }
  }
};

// ---- 2^x: the sExp EP body against an LA-style exp(x) and SLEEF's exp2 (3.5 ulp).

struct ExpEpOp {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    return ox::Exp2Fast(d, hn::Mul(x, hn::Set(d, 0x1.715476p0f)));
  }
};

struct ExpLaOp {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    const hn::RebindToUnsigned<D> du;
    const auto shifter = hn::Set(d, 12582912.0f);
    const auto z = ox::Fma(d, x, hn::Set(d, 0x1.715476p0f), shifter);
    const auto n = hn::Sub(z, shifter);
    auto r = ox::Fnma(d, n, hn::Set(d, 0x1.62e4p-1f), x);
    r = ox::Fnma(d, n, hn::Set(d, 0x1.7f7d1cp-20f), r);
    auto p = ox::Fma(d, r, hn::Set(d, 0.008291719481348991f), hn::Set(d, 0.041873522102832794f));
    p = ox::Fma(d, p, r, hn::Set(d, 0.16667431592941284f));
    p = ox::Fma(d, p, r, hn::Set(d, 0.4999939203262329f));
    p = ox::Fma(d, p, r, hn::Set(d, 0.9999998807907104f));
    p = ox::Fma(d, p, r, hn::Set(d, 1.0f));
    const auto rare = hn::Gt(hn::Abs(x), hn::Set(d, 87.33654f));
    auto result =
        hn::BitCast(d, hn::Add(hn::BitCast(du, p), hn::ShiftLeft<23>(hn::BitCast(du, z))));
    if (HWY_UNLIKELY(!hn::AllFalse(d, rare))) result = hn::IfThenZeroElse(rare, result);
    return result;
  }
};

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
struct SleefExp2Op {
  template <class D>
  static V<D> Run(D d, V<D> x) {
    const auto y = hn::Mul(x, hn::Set(d, 0x1.715476p0f));
#if HWY_TARGET == HWY_AVX2
    return V<D>{Sleef_exp2f8_u35avx2(y.raw)};
#else
    return V<D>{Sleef_exp2f16_u35avx512f(y.raw)};
#endif
  }
};
#endif

// ---- Tables: the helper's access against the other one (gather, or permutes).

template <typename T, size_t kEntries>
struct TableValues {
  alignas(64) static constexpr T kValues[32] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,
                                                12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22,
                                                23, 24, 25, 26, 27, 28, 29, 30, 31, 32};
};

template <size_t kEntries, bool kOther>
struct LookupOp {
  template <class D>
  static V<D> Run(D d, V<D> bits) {
    using T = hn::TFromD<D>;
    const hn::RebindToSigned<D> di;
    const auto index = hn::BitCast(di, bits);
    const T* values = TableValues<T, kEntries>::kValues;
    constexpr bool kRegisters = ox::simd_detail::TableInRegisters<D, kEntries>();
    if constexpr (!kOther) {
      return ox::Lookup(d, ox::LoadTable<kEntries>(d, values), index);
    } else if constexpr (kRegisters) {
      const auto masked =
          hn::And(index, hn::Set(di, static_cast<hn::TFromD<decltype(di)>>(kEntries - 1)));
      return hn::GatherIndex(d, values, masked);
    } else {
#if HWY_TARGET == HWY_AVX2
      // Doubles as pairs of floats: lane i reads floats 2 (i mod 4) and 2 (i mod 4) + 1 of each
      // register, and bits 2 and 3 (and 4) of the index pick the register.
      const __m256i i = index.raw;
      const __m256i low2 = _mm256_and_si256(i, _mm256_set1_epi64x(3));
      const __m256i pair =
          _mm256_or_si256(_mm256_or_si256(_mm256_slli_epi64(low2, 1), _mm256_slli_epi64(low2, 33)),
                          _mm256_set1_epi64x(int64_t{1} << 32));
      __m256d r[kEntries / 4];
      for (size_t k = 0; k < kEntries / 4; ++k) {
        r[k] = _mm256_castps_pd(
            _mm256_permutevar8x32_ps(_mm256_castpd_ps(_mm256_load_pd(values + 4 * k)), pair));
      }
      const __m256d bit2 = _mm256_castsi256_pd(_mm256_slli_epi64(i, 61));
      const __m256d bit3 = _mm256_castsi256_pd(_mm256_slli_epi64(i, 60));
      __m256d low = _mm256_blendv_pd(_mm256_blendv_pd(r[0], r[1], bit2),
                                     _mm256_blendv_pd(r[2], r[3], bit2), bit3);
      if constexpr (kEntries == 32) {
        const __m256d high = _mm256_blendv_pd(_mm256_blendv_pd(r[4], r[5], bit2),
                                              _mm256_blendv_pd(r[6], r[7], bit2), bit3);
        low = _mm256_blendv_pd(low, high, _mm256_castsi256_pd(_mm256_slli_epi64(i, 59)));
      }
      return V<D>{low};
#else
      return ox::Lookup(d, ox::LoadTable<kEntries>(d, values), index);
#endif
    }
  }
};

template <typename T>
void AddEntries(std::vector<Entry>& out) {
  constexpr int kBytes = sizeof(T);
  const auto add1 = [&](const char* helper, const char* variant, auto fn, double lo, double hi) {
    out.push_back({helper, variant, kBytes, fn, nullptr, lo, hi, 0, 0});
  };
  add1("GetExp", "oxl", &Loop1<GetExpOp<false>, T>, -1e6, 1e6);
  add1("GetExp", "portable", &Loop1<GetExpOp<true>, T>, -1e6, 1e6);
  add1("GetMant", "oxl", &Loop1<GetMantOp<false>, T>, 1e-6, 1e6);
  add1("GetMant", "portable", &Loop1<GetMantOp<true>, T>, 1e-6, 1e6);
  add1("RoundScale", "oxl", &Loop1<RoundScaleOp<false>, T>, -100, 100);
  add1("RoundScale", "portable", &Loop1<RoundScaleOp<true>, T>, -100, 100);
  out.push_back({"Scalef", "oxl", kBytes, nullptr, &Loop2<ScalefOp<false>, T>, 1, 2, -40, 40});
  out.push_back({"Scalef", "portable", kBytes, nullptr, &Loop2<ScalefOp<true>, T>, 1, 2, -40, 40});
  add1("RcpSeed<5>", "oxl", &Loop1<RcpSeedOp<false>, T>, 1, 2);
  add1("RcpSeed<5>", "division", &Loop1<RcpSeedOp<true>, T>, 1, 2);
  add1("Rcp14", "oxl", &Loop1<Rcp14Op, T>, 1e-3, 1e3);
  add1("Rcp14", "div", &Loop1<DivOp, T>, 1e-3, 1e3);
  add1("Rcp28", "oxl", &Loop1<Rcp28Op, T>, 1e-3, 1e3);
  add1("Rcp28", sizeof(T) == 4 ? "newton" : "div",
       sizeof(T) == 4 ? &Loop1<NewtonRcp28Op, T> : &Loop1<DivOp, T>, 1e-3, 1e3);
  add1("Rsqrt14", "oxl", &Loop1<Rsqrt14Op, T>, 1e-3, 1e3);
  add1("Rsqrt14", "sqrt+div", &Loop1<SqrtDivOp, T>, 1e-3, 1e3);
  add1("Rsqrt28", "oxl", &Loop1<Rsqrt28Op, T>, 1e-3, 1e3);
  add1("Rsqrt28", "sqrt+div", &Loop1<SqrtDivOp, T>, 1e-3, 1e3);
  if constexpr (sizeof(T) == 4) {
    add1("Exp", "Exp2Fast(x*log2e)", &Loop1<ExpEpOp, T>, -80, 80);
    add1("Exp", "LA-style degree 5", &Loop1<ExpLaOp, T>, -80, 80);
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
    add1("Exp", "sleef exp2 u35", &Loop1<SleefExp2Op, T>, -80, 80);
#endif
  }
  const bool registers16 = ox::simd_detail::TableInRegisters<hn::ScalableTag<T>, 16>();
  add1("Lookup16", "oxl", &Loop1<LookupOp<16, false>, T>, 0, 0);
  add1("Lookup16", registers16 ? "gather" : "permute", &Loop1<LookupOp<16, true>, T>, 0, 0);
  add1("Lookup32", "oxl", &Loop1<LookupOp<32, false>, T>, 0, 0);
  add1("Lookup32", registers16 ? "gather" : "permute", &Loop1<LookupOp<32, true>, T>, 0, 0);
}

const std::vector<Entry>* Entries() {
  static const std::vector<Entry> entries = [] {
    std::vector<Entry> v;
    AddEntries<float>(v);
    AddEntries<double>(v);
    return v;
  }();
  return &entries;
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl::bench::simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>

#include "simd/targets.h"

namespace oxl::bench::simd {

HWY_EXPORT(Entries);

// 2048 elements: the inputs and the output of a double helper take 48 KiB at most, which stays in
// the first cache levels, so that the helper's own cost is what shows.
constexpr size_t kElements = 2048;

std::vector<uint64_t> Inputs(int type_bytes, double lo, double hi, uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::vector<uint64_t> words(kElements * static_cast<size_t>(type_bytes) / 8);
  std::uniform_real_distribution<double> dist(lo, hi);
  for (size_t i = 0; i < kElements; ++i) {
    if (lo == hi) {
      const uint64_t bits = rng();
      std::memcpy(reinterpret_cast<char*>(words.data()) + i * type_bytes, &bits, type_bytes);
    } else if (type_bytes == 4) {
      const float v = static_cast<float>(dist(rng));
      std::memcpy(reinterpret_cast<char*>(words.data()) + i * 4, &v, 4);
    } else {
      const double v = dist(rng);
      std::memcpy(reinterpret_cast<char*>(words.data()) + i * 8, &v, 8);
    }
  }
  return words;
}

void RegisterAll() {
  for (const oxl::simd::Target target : oxl::simd::AvailableTargets()) {
    oxl::simd::Pin(target);
    const std::string target_name = oxl::simd::TargetName(target);
    for (const Entry& e : *OXL_DISPATCH(Entries)()) {
      const std::string name =
          e.helper + (e.type_bytes == 4 ? "/f32/" : "/f64/") + target_name + "/" + e.variant;
      auto in0 = Inputs(e.type_bytes, e.lo0, e.hi0, 1);
      auto in1 = Inputs(e.type_bytes, e.lo1, e.hi1, 2);
      benchmark::RegisterBenchmark(name.c_str(), [e, in0, in1](benchmark::State& state) {
        std::vector<uint64_t> out(in0.size());
        for (auto _ : state) {
          if (e.unary) {
            e.unary(in0.data(), out.data(), kElements);
          } else {
            e.binary(in0.data(), in1.data(), out.data(), kElements);
          }
          benchmark::DoNotOptimize(out.data());
          benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kElements));
      });
    }
  }
  oxl::simd::Pin(oxl::simd::Target::kDefault);
}

}  // namespace oxl::bench::simd

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  oxl::bench::simd::RegisterAll();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
#endif  // HWY_ONCE
