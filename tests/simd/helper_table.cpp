// Per-target instantiation of the helper tables (tests/simd/helper_table.h).

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "simd/helper_table.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep

#include <hwy/highway.h>

#include <string>
#include <type_traits>
#include <utility>

#include "simd/helper_table.h"
#include "simd/ops-inl.h"
#include "simd/reference.h"
#include "simd/targets.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::test::simd {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
namespace ox = oxl::HWY_NAMESPACE;
namespace ref = oxl::simd::ref;
using oxl::simd::MantissaInterval;
using oxl::simd::MantissaSign;

template <class D>
using V = hn::VFromD<D>;

// Whole vectors, then the tail through the partial load and store, as a kernel runs them. Op is
// the type of a lambda (d, vectors...) -> vector calling the helper.
template <typename T, class Op>
void Apply1(const T* x, T* out, size_t n) {
  const hn::ScalableTag<T> d;
  const size_t lanes = hn::Lanes(d);
  size_t i = 0;
  for (; i + lanes <= n; i += lanes) hn::StoreU(Op()(d, hn::LoadU(d, x + i)), d, out + i);
  if (i < n) ox::StorePartial(d, Op()(d, ox::LoadPartial(d, x + i, n - i)), out + i, n - i);
}

// Partial loads and stores all along, for the helpers of several arguments.
template <typename T, class Op, class... Args>
void ApplyPartial(const Args*... in, T* out, size_t n) {
  const hn::ScalableTag<T> d;
  for (size_t i = 0; i < n; i += hn::Lanes(d)) {
    const size_t count = n - i;
    ox::StorePartial(d, Op()(d, ox::LoadPartial(d, in + i, count)...), out + i, count);
  }
}

// Lookups through a register table of kEntries of T, or of 16 floats widened to T.
template <typename T, size_t kEntries, bool kFloats = false>
void LookupArray(const std::conditional_t<kFloats, float, T>* table,
                 const oxl::simd::BitsOf<T>* index, T* out, size_t n) {
  const hn::ScalableTag<T> d;
  const hn::RebindToUnsigned<decltype(d)> du;
  const auto t = [&] {
    if constexpr (kFloats) {
      return ox::LoadFloatTable(d, table);
    } else {
      return ox::LoadTable<kEntries>(d, table);
    }
  }();
  for (size_t i = 0; i < n; i += hn::Lanes(d)) {
    const size_t count = n - i;
    ox::StorePartial(d, ox::Lookup(d, t, ox::LoadPartial(du, index + i, count)), out + i, count);
  }
}

template <typename T>
void Partial(const T* src, T* dst, T* lanes_out, size_t count) {
  const hn::ScalableTag<T> d;
  const auto v = ox::LoadPartial(d, src, count);
  hn::StoreU(v, d, lanes_out);
  ox::StorePartial(d, v, dst, count);
}

template <typename T, class Op>
void AddUnary(HelperTable<T>& t, std::string name, Op, std::type_identity_t<T (*)(T)> ref) {
  t.unary.push_back({std::move(name), &Apply1<T, Op>, ref});
}

template <typename T, int kInterval, int... kSign>
void AddGetMant(HelperTable<T>& t, std::integer_sequence<int, kSign...>) {
  (AddUnary(
       t, "GetMant<" + std::to_string(kInterval) + "," + std::to_string(kSign) + ">",
       [](auto d, auto x) {
         return ox::GetMant<MantissaInterval(kInterval), MantissaSign(kSign)>(d, x);
       },
       [](T x) { return ref::GetMant(x, MantissaInterval(kInterval), MantissaSign(kSign)); }),
   ...);
}

template <typename T, int... kImm>
void AddRoundScale(HelperTable<T>& t, std::integer_sequence<int, kImm...>) {
  (AddUnary(
       t, "RoundScale<" + std::to_string(kImm) + ">",
       [](auto d, auto x) { return ox::RoundScale<kImm>(d, x); },
       [](T x) { return ref::RoundScale(x, kImm); }),
   ...);
}

template <typename T, int... K>
void AddRcpSeed(HelperTable<T>& t, std::integer_sequence<int, K...>) {
  (AddUnary(
       t, "RcpSeed<" + std::to_string(K) + ">", [](auto d, auto x) { return ox::RcpSeed<K>(d, x); },
       [](T x) { return ref::RcpSeed(x, K); }),
   ...);
}

template <typename T, class Op>
void AddTernary(HelperTable<T>& t, std::string name, Op, std::type_identity_t<T (*)(T, T, T)> ref) {
  t.ternary.push_back({std::move(name), &ApplyPartial<T, Op, T, T, T>, ref});
}

template <typename T>
HelperTable<T> MakeTable() {
  using Ints = std::integer_sequence<int, 0, 1, 2>;
  HelperTable<T> t;
  t.lanes = hn::Lanes(hn::ScalableTag<T>());
  AddUnary(
      t, "GetExp", [](auto d, auto x) { return ox::GetExp(d, x); }, &ref::GetExp);
  AddGetMant<T, 0>(t, Ints());
  AddGetMant<T, 1>(t, Ints());
  AddGetMant<T, 2>(t, Ints());
  AddGetMant<T, 3>(t, Ints());
  AddRoundScale(
      t, std::integer_sequence<int, 0x00, 0x01, 0x02, 0x03, 0x10, 0x11, 0x12, 0x13, 0x58, 0x50,
                               0x51, 0x52, 0x53, 0x90, 0x91, 0x92, 0x93, 0xF0, 0xF1, 0xF2, 0xF3>());
  AddRcpSeed(t, std::integer_sequence<int, 0, 1, 4, 5, 10, 12>());
  AddUnary(
      t, "Rcp14", [](auto d, auto x) { return ox::Rcp14(d, x); }, &ref::Rcp14);
  AddUnary(
      t, "Rcp28", [](auto d, auto x) { return ox::Rcp28(d, x); }, &ref::Rcp28);
  AddUnary(
      t, "Rsqrt14", [](auto d, auto x) { return ox::Rsqrt14(d, x); }, &ref::Rsqrt14);
  AddUnary(
      t, "Rsqrt28", [](auto d, auto x) { return ox::Rsqrt28(d, x); }, &ref::Rsqrt28);
  if constexpr (sizeof(T) == 4) {
    AddUnary(
        t, "Exp2Fast", [](auto d, auto x) { return ox::Exp2Fast(d, x); }, &ref::Exp2Fast);
  }
  const auto scalef = [](auto d, auto x, auto y) { return ox::Scalef(d, x, y); };
  t.binary.push_back({"Scalef", &ApplyPartial<T, decltype(scalef), T, T>,
                      [](T x, T y) { return ref::Scalef(x, y); }});
  AddTernary(
      t, "Fma", [](auto d, auto a, auto b, auto c) { return ox::Fma(d, a, b, c); }, &ref::Fma);
  AddTernary(
      t, "Fms", [](auto d, auto a, auto b, auto c) { return ox::Fms(d, a, b, c); }, &ref::Fms);
  AddTernary(
      t, "Fnma", [](auto d, auto a, auto b, auto c) { return ox::Fnma(d, a, b, c); }, &ref::Fnma);
  AddTernary(
      t, "Fnms", [](auto d, auto a, auto b, auto c) { return ox::Fnms(d, a, b, c); }, &ref::Fnms);
  t.lookups.push_back({8, &LookupArray<T, 8>});
  t.lookups.push_back({16, &LookupArray<T, 16>});
  t.lookups.push_back({32, &LookupArray<T, 32>});
  t.float_lookup = &LookupArray<T, 16, true>;
  t.partial = &Partial<T>;
  return t;
}

const HelperTable<float>* FloatTable() {
  static const HelperTable<float> table = MakeTable<float>();
  return &table;
}

const HelperTable<double>* DoubleTable() {
  static const HelperTable<double> table = MakeTable<double>();
  return &table;
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl::test::simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::test::simd {

HWY_EXPORT(FloatTable);
HWY_EXPORT(DoubleTable);

const HelperTable<float>& FloatHelpers() { return *OXL_DISPATCH(FloatTable)(); }
const HelperTable<double>& DoubleHelpers() { return *OXL_DISPATCH(DoubleTable)(); }

}  // namespace oxl::test::simd
#endif
