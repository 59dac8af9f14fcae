// Every SIMD helper on every available target, bit for bit against its scalar definition, in both
// floating-point modes of the kernels; partial loads and stores against guard pages; register
// table lookups against plain indexing. Built twice: as the unit test, and with
// OXL_SIMD_LONG_SWEEP as the long sweep over many more random inputs.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "platform/fp_control.h"
#include "simd/float_bits.h"
#include "simd/helper_table.h"
#include "simd/inputs.h"
#include "support/targets.h"

namespace oxl::test::simd {
namespace {

using oxl::simd::BitsOf;
using oxl::simd::FloatBits;
using oxl::simd::ToBits;

#ifdef OXL_SIMD_LONG_SWEEP
constexpr size_t kRandom = size_t{1} << 21;
#else
constexpr size_t kRandom = size_t{1} << 16;
#endif

constexpr uint32_t kFlushDenormals = platform::kMxcsrFtz | platform::kMxcsrDaz;
constexpr uint32_t kModes[] = {0, kFlushDenormals};

template <typename T>
std::string Hex(T x) {
  char text[64];
  std::snprintf(text, sizeof(text), "%a [0x%0*" PRIx64 "]", static_cast<double>(x),
                static_cast<int>(2 * sizeof(T)), static_cast<uint64_t>(ToBits(x)));
  return text;
}

std::string ModeName(uint32_t mode) { return mode ? "FTZ+DAZ" : "IEEE"; }

// Compares got and want bit for bit, printing the first mismatches with their inputs. Lanes whose
// inputs hold two or more NaNs only need a NaN: which of them propagates is left open.
template <typename T, size_t kArity>
void ExpectSameBits(const std::string& what, const std::array<const T*, kArity>& in,
                    const std::vector<T>& got, const std::vector<T>& want) {
  size_t mismatches = 0;
  for (size_t i = 0; i < want.size(); ++i) {
    int nans = 0;
    for (const T* input : in) nans += std::isnan(input[i]);
    const bool same =
        nans >= 2 ? std::isnan(got[i]) && std::isnan(want[i]) : ToBits(got[i]) == ToBits(want[i]);
    if (same) continue;
    if (++mismatches <= 5) {
      std::string args;
      for (const T* input : in) args += Hex(input[i]) + " ";
      ADD_FAILURE() << what << " (" << args << "): got " << Hex(got[i]) << ", want "
                    << Hex(want[i]);
    }
  }
  EXPECT_EQ(mismatches, 0u) << what << ": lanes that differ of " << want.size();
}

// Runs each helper of a list (the unary, binary or ternary ones) over the inputs on every target
// and compares with its scalar definition, in both modes. The definition is evaluated once per mode
// and helper; the lists have the same order on every target.
template <typename T, size_t kArity, class List>
void ExpectHelpersMatch(List list, const std::array<const std::vector<T>*, kArity>& in) {
  const size_t n = in[0]->size();
  std::array<const T*, kArity> args;
  for (size_t k = 0; k < kArity; ++k) args[k] = in[k]->data();
  std::vector<T> want(n), got(n);
  for (const uint32_t mode : kModes) {
    platform::MxcsrScope scope(mode);
    for (size_t h = 0; h < list().size(); ++h) {
      const auto ref = list()[h].ref;
      for (size_t i = 0; i < n; ++i) {
        if constexpr (kArity == 1) want[i] = ref(args[0][i]);
        if constexpr (kArity == 2) want[i] = ref(args[0][i], args[1][i]);
        if constexpr (kArity == 3) want[i] = ref(args[0][i], args[1][i], args[2][i]);
      }
      ForEachTarget([&](const std::string& target) {
        const auto& helper = list()[h];
        if constexpr (kArity == 1) helper.vec(args[0], got.data(), n);
        if constexpr (kArity == 2) helper.vec(args[0], args[1], got.data(), n);
        if constexpr (kArity == 3) helper.vec(args[0], args[1], args[2], got.data(), n);
        ExpectSameBits<T, kArity>(helper.name + " " + target + " " + ModeName(mode), args, got,
                                  want);
      });
    }
  }
}

template <typename T>
class SimdHelpers : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SimdHelpers, Types);

TYPED_TEST(SimdHelpers, UnaryHelpersMatchDefinition) {
  using T = TypeParam;
  const std::vector<T> x =
      Join<T>({SpecialValues<T>(), RandomBits<T>(kRandom, 1), RandomPerBinade<T>(kRandom, 2),
               RandomUniform<T>(kRandom, T(-140), T(140), 3),
               RandomUniform<T>(kRandom / 4, T(0.5), T(2.5), 4)});
  ExpectHelpersMatch<T, 1>([]() -> const auto& { return Helpers<T>().unary; }, {&x});
}

TYPED_TEST(SimdHelpers, ScalefMatchesDefinition) {
  using T = TypeParam;
  // Every special value against every scale exponent, then random pairs.
  std::vector<T> x, y;
  for (const T a : SpecialValues<T>()) {
    for (const T b : ScaleExponents<T>()) {
      x.push_back(a);
      y.push_back(b);
    }
  }
  const T range = T(FloatBits<T>::kMaxBiased + 200);
  for (const auto& part : {RandomPerBinade<T>(kRandom, 5), RandomBits<T>(kRandom, 6)}) {
    x.insert(x.end(), part.begin(), part.end());
  }
  for (const auto& part :
       {RandomUniform<T>(kRandom, -range, range, 7), RandomBits<T>(kRandom, 8)}) {
    y.insert(y.end(), part.begin(), part.end());
  }
  ExpectHelpersMatch<T, 2>([]() -> const auto& { return Helpers<T>().binary; }, {&x, &y});
}

TYPED_TEST(SimdHelpers, FusedMultiplyAddMatchesDefinition) {
  using T = TypeParam;
  std::vector<T> a, b, c;
  // Special triples, a subset of the special values taken three ways.
  std::vector<T> special = SpecialValues<T>();
  special.resize(std::min<size_t>(special.size(), 40));
  for (const T u : special) {
    for (const T v : special) {
      for (const T w : special) {
        a.push_back(u);
        b.push_back(v);
        c.push_back(w);
      }
    }
  }
  // Random triples whose sum nearly cancels the product, so that the single rounding shows.
  std::mt19937_64 rng(9);
  const auto u = RandomUniform<T>(kRandom, T(-4), T(4), 10);
  const auto v = RandomUniform<T>(kRandom, T(-4), T(4), 11);
  for (size_t i = 0; i < kRandom; ++i) {
    a.push_back(u[i]);
    b.push_back(v[i]);
    c.push_back(-u[i] * v[i] * (T(1) + std::ldexp(T(int(rng() % 64) - 32), -30)));
  }
  const auto bits = RandomBits<T>(3 * kRandom, 12);
  a.insert(a.end(), bits.begin(), bits.begin() + kRandom);
  b.insert(b.end(), bits.begin() + kRandom, bits.begin() + 2 * kRandom);
  c.insert(c.end(), bits.begin() + 2 * kRandom, bits.end());
  ExpectHelpersMatch<T, 3>([]() -> const auto& { return Helpers<T>().ternary; }, {&a, &b, &c});
}

#ifndef OXL_SIMD_LONG_SWEEP

// Register tables against plain indexing, by the low index bits: tables of T moving bits (NaN
// payloads included), and tables of floats widened exactly (AVX2 reads double lanes with float
// permutes, the others as a register table).
TYPED_TEST(SimdHelpers, LookupsReadTheLowIndexBits) {
  using T = TypeParam;
  alignas(64) std::array<T, 32> table;
  const auto entries = RandomBits<T>(table.size(), 13);
  std::copy(entries.begin(), entries.end(), table.begin());
  alignas(64) std::array<float, 16> floats;
  std::mt19937_64 rng(14);
  for (auto& v : floats) v = std::ldexp(float(rng() % 1000000) + 1, int(rng() % 60) - 40);
  std::vector<BitsOf<T>> index(1000);
  for (auto& i : index) i = static_cast<BitsOf<T>>(rng());
  std::vector<T> got(index.size());
  ForEachTarget([&](const std::string& target) {
    for (const auto& lookup : Helpers<T>().lookups) {
      lookup.vec(table.data(), index.data(), got.data(), index.size());
      for (size_t i = 0; i < index.size(); ++i) {
        ASSERT_EQ(ToBits(got[i]), ToBits(table[index[i] % lookup.entries]))
            << target << " table of " << lookup.entries << ", index " << index[i];
      }
    }
    Helpers<T>().float_lookup(floats.data(), index.data(), got.data(), index.size());
    for (size_t i = 0; i < index.size(); ++i) {
      ASSERT_EQ(got[i], static_cast<T>(floats[index[i] % 16])) << target << ", index " << index[i];
    }
  });
}

// A buffer whose end touches an inaccessible page, so that any access past it faults.
class GuardedPage {
 public:
  GuardedPage() : size_(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
    void* p = mmap(nullptr, 2 * size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(p, MAP_FAILED);
    base_ = static_cast<unsigned char*>(p);
    EXPECT_EQ(mprotect(base_ + size_, size_, PROT_NONE), 0);
    std::memset(base_, kCanary, size_);
  }
  ~GuardedPage() { munmap(base_, 2 * size_); }
  GuardedPage(const GuardedPage&) = delete;
  GuardedPage& operator=(const GuardedPage&) = delete;

  template <typename T>
  T* EndMinus(size_t count) {
    return reinterpret_cast<T*>(base_ + size_) - count;
  }
  // True if no byte of the page before `first` was written.
  bool UntouchedBefore(const void* first) const {
    for (const unsigned char* p = base_; p < first; ++p) {
      if (*p != kCanary) return false;
    }
    return true;
  }

  static constexpr unsigned char kCanary = 0xA5;

 private:
  size_t size_;
  unsigned char* base_;
};

TYPED_TEST(SimdHelpers, PartialLoadAndStoreStayInsideTheCount) {
  using T = TypeParam;
  size_t wider = SIZE_MAX;
  ForEachTarget([&](const std::string& target) {
    const auto& helpers = Helpers<T>();
    const size_t lanes = helpers.lanes;
    // Dispatch runs the code of the target pinned: each target, best first, has fewer lanes.
    ASSERT_LT(lanes, wider) << target;
    wider = lanes;
    for (size_t count = 0; count <= lanes + 1; ++count) {
      SCOPED_TRACE("count " + std::to_string(count));
      // A count beyond the lanes loads a whole vector, which must then exist.
      const size_t valid = std::min(count, lanes);
      GuardedPage source, destination;
      T* src = source.template EndMinus<T>(valid);
      const auto values = RandomBits<T>(valid, 15 + count);
      std::copy(values.begin(), values.end(), src);
      T* dst = destination.template EndMinus<T>(valid);
      std::vector<T> lanes_out(lanes);
      helpers.partial(src, dst, lanes_out.data(), count);
      for (size_t i = 0; i < lanes; ++i) {
        const BitsOf<T> want = i < valid ? ToBits(values[i]) : 0;
        EXPECT_EQ(ToBits(lanes_out[i]), want) << target << " lane " << i;
      }
      for (size_t i = 0; i < valid; ++i) EXPECT_EQ(ToBits(dst[i]), ToBits(values[i])) << target;
      EXPECT_TRUE(destination.UntouchedBefore(dst)) << target;
    }
  });
}

#endif  // OXL_SIMD_LONG_SWEEP

}  // namespace
}  // namespace oxl::test::simd
