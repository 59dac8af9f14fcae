// Radix sorts, copy, zero and set on every SIMD target. Sorts are checked against a stable
// std::stable_sort under an order computed another way (floats ranked as sign and magnitude),
// index sorts against a stable sort of positions; copies and fills against byte loops, with guard
// bytes around the destination. Every status row checks that nothing was written.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "oxl/primitives.h"
#include "primitives/fill.h"
#include "support/float_bits.h"
#include "support/targets.h"

namespace {

using oxl::test::ForEachTarget;
using oxl::test::SameBits;

// The order the sorts promise, from the sign-and-magnitude reading of a float's bits: -NaN below
// -inf, -0 just below +0, +NaN above +inf.
template <class T>
__int128 Rank(T v) {
  if constexpr (std::is_floating_point_v<T>) {
    using U = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
    U u;
    std::memcpy(&u, &v, sizeof(T));
    const U sign = U{1} << (sizeof(T) * 8 - 1);
    return (u & sign) ? -static_cast<__int128>(u & ~sign) - 1 : static_cast<__int128>(u);
  } else {
    return v;
  }
}

template <class T>
using SortFn = int32_t (*)(T*, T*, int32_t);
template <class T>
using IndexSortFn = int32_t (*)(const T*, int32_t, int32_t*, int32_t*, int32_t);

template <class T>
struct SortType {
  SortFn<T> ascend, descend;
  IndexSortFn<T> index_ascend, index_descend;  // null for 64f, which has no index sort
};

enum class Pattern { kRandomBits, kValues, kSorted, kReversed, kConstant, kSignedZeros };
constexpr Pattern kPatterns[] = {Pattern::kRandomBits, Pattern::kValues,   Pattern::kSorted,
                                 Pattern::kReversed,   Pattern::kConstant, Pattern::kSignedZeros};

// Random bits hold NaNs, infinities and subnormals; values are NaN-free, with many repeats so that
// stability shows.
template <class T>
std::vector<T> MakeData(Pattern pattern, size_t n, std::mt19937_64& rng) {
  std::vector<T> v(n);
  std::uniform_int_distribution<int> small(-20, 20);
  for (T& x : v) {
    switch (pattern) {
      case Pattern::kRandomBits: {
        const uint64_t bits = rng();
        std::memcpy(&x, &bits, sizeof(T));
        break;
      }
      case Pattern::kSignedZeros:
        x = std::is_floating_point_v<T> ? (rng() % 2 ? T(-0.0) : T(0.0)) : T(rng() % 2);
        if (rng() % 4 == 0) x = T(rng() % 2 ? -1 : 1);
        break;
      case Pattern::kConstant:
        x = T(7);
        break;
      default:
        x = std::is_floating_point_v<T> ? T(small(rng) * 0.375) : T(small(rng) * 3);
    }
  }
  if (pattern == Pattern::kSorted || pattern == Pattern::kReversed) {
    std::stable_sort(v.begin(), v.end(), [](T a, T b) { return Rank(a) < Rank(b); });
    if (pattern == Pattern::kReversed) std::reverse(v.begin(), v.end());
  }
  return v;
}

template <class T>
void CheckSorts(const SortType<T>& type, const std::vector<size_t>& lengths,
                const std::vector<Pattern>& patterns = {std::begin(kPatterns),
                                                        std::end(kPatterns)}) {
  std::mt19937_64 rng(sizeof(T) * 1000 + std::is_signed_v<T>);
  for (Pattern pattern : patterns) {
    for (size_t n : lengths) {
      SCOPED_TRACE("pattern " + std::to_string(static_cast<int>(pattern)) + ", n " +
                   std::to_string(n));
      const std::vector<T> data = MakeData<T>(pattern, n, rng);
      for (bool descend : {false, true}) {
        SCOPED_TRACE(descend ? "descend" : "ascend");
        const auto before = [&](size_t a, size_t b) {
          return descend ? Rank(data[a]) > Rank(data[b]) : Rank(data[a]) < Rank(data[b]);
        };
        std::vector<int32_t> order(n);
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), before);
        std::vector<T> expected(n);
        for (size_t i = 0; i < n; ++i) expected[i] = data[order[i]];
        // Keys spread at an odd stride, so that reads through the stride are unaligned.
        const int32_t stride = 2 * sizeof(T) + 1;
        std::vector<unsigned char> strided(n * stride, 0xA5);
        for (size_t i = 0; i < n; ++i) std::memcpy(&strided[i * stride], &data[i], sizeof(T));
        ForEachTarget([&](const std::string&) {
          std::vector<T> sorted = data;
          std::vector<T> scratch(n);
          const int32_t len = static_cast<int32_t>(n);
          ASSERT_EQ((descend ? type.descend : type.ascend)(sorted.data(), scratch.data(), len), 0);
          EXPECT_TRUE(SameBits(sorted, expected));
          if (type.index_ascend == nullptr) return;
          std::vector<int32_t> index(n, -1), index_scratch(n);
          const IndexSortFn<T> index_sort = descend ? type.index_descend : type.index_ascend;
          ASSERT_EQ(index_sort(reinterpret_cast<const T*>(strided.data()), stride, index.data(),
                               index_scratch.data(), len),
                    0);
          EXPECT_EQ(index, order);
        });
      }
    }
  }
}

const std::vector<size_t> kLengths = {1, 2, 3, 7, 8, 33, 255, 1000, 4099, 100003};

TEST(RadixSort, AgainstStableSort) {
  CheckSorts<uint8_t>(
      {oxl_dft_avx2_pvksSortRadixAscend_8u_I, oxl_dft_avx2_pvksSortRadixDescend_8u_I,
       oxl_dft_avx2_pvksSortRadixIndexAscend_8u, oxl_dft_avx2_pvksSortRadixIndexDescend_8u},
      kLengths);
  CheckSorts<int16_t>(
      {oxl_dft_avx2_pvksSortRadixAscend_16s_I, oxl_dft_avx2_pvksSortRadixDescend_16s_I,
       oxl_dft_avx2_pvksSortRadixIndexAscend_16s, oxl_dft_avx2_pvksSortRadixIndexDescend_16s},
      kLengths);
  CheckSorts<uint16_t>(
      {oxl_dft_avx2_pvksSortRadixAscend_16u_I, oxl_dft_avx2_pvksSortRadixDescend_16u_I,
       oxl_dft_avx2_pvksSortRadixIndexAscend_16u, oxl_dft_avx2_pvksSortRadixIndexDescend_16u},
      kLengths);
  CheckSorts<int32_t>(
      {oxl_dft_avx2_pvksSortRadixAscend_32s_I, oxl_dft_avx2_pvksSortRadixDescend_32s_I,
       oxl_dft_avx2_pvksSortRadixIndexAscend_32s, oxl_dft_avx2_pvksSortRadixIndexDescend_32s},
      kLengths);
  CheckSorts<uint32_t>(
      {oxl_dft_avx2_pvksSortRadixAscend_32u_I, oxl_dft_avx2_pvksSortRadixDescend_32u_I,
       oxl_dft_avx2_pvksSortRadixIndexAscend_32u, oxl_dft_avx2_pvksSortRadixIndexDescend_32u},
      kLengths);
  CheckSorts<float>(
      {oxl_dft_avx2_pvksSortRadixAscend_32f_I, oxl_dft_avx2_pvksSortRadixDescend_32f_I,
       oxl_dft_avx2_pvksSortRadixIndexAscend_32f, oxl_dft_avx2_pvksSortRadixIndexDescend_32f},
      kLengths);
  CheckSorts<double>({oxl_dft_avx2_pvksSortRadixAscend_64f_I,
                      oxl_dft_avx2_pvksSortRadixDescend_64f_I, nullptr, nullptr},
                     kLengths);
}

// The lengths the statistics sort, on the two types they sort (label long: 40 s).
TEST(RadixSort, LongFloatArrays) {
  CheckSorts<float>({oxl_dft_avx2_pvksSortRadixAscend_32f_I,
                     oxl_dft_avx2_pvksSortRadixDescend_32f_I, nullptr, nullptr},
                    {1000000, 10000000}, {Pattern::kRandomBits, Pattern::kValues});
  CheckSorts<double>({oxl_dft_avx2_pvksSortRadixAscend_64f_I,
                      oxl_dft_avx2_pvksSortRadixDescend_64f_I, nullptr, nullptr},
                     {1000000, 10000000}, {Pattern::kRandomBits, Pattern::kValues});
}

// Copy, zero and set of one type at every length and offset of the table, both fill forms.
template <class T>
void CheckBlocks(int32_t (*copy)(const T*, T*, int32_t), int32_t (*zero)(T*, int32_t),
                 int32_t (*set)(T, T*, int32_t)) {
  constexpr unsigned char kGuard = 0xA5;
  std::mt19937_64 rng(sizeof(T));
  const size_t large = oxl::primitives::kCachedFillBytes / sizeof(T) + 37;
  for (size_t n :
       {size_t{1}, size_t{2}, size_t{3}, size_t{15}, size_t{16}, size_t{17}, size_t{1000}, large}) {
    for (size_t offset : {0, 1}) {
      SCOPED_TRACE("n " + std::to_string(n) + ", offset " + std::to_string(offset));
      std::vector<unsigned char> value_bytes(sizeof(T)), src_bytes(n * sizeof(T));
      for (auto& b : value_bytes) b = static_cast<unsigned char>(rng());
      for (auto& b : src_bytes) b = static_cast<unsigned char>(rng());
      T value;
      std::memcpy(&value, value_bytes.data(), sizeof(T));
      std::vector<T> src(n);
      std::memcpy(src.data(), src_bytes.data(), n * sizeof(T));
      const int32_t len = static_cast<int32_t>(n);
      ForEachTarget([&](const std::string&) {
        std::vector<T> buffer(n + 2);
        unsigned char* bytes = reinterpret_cast<unsigned char*>(buffer.data());
        unsigned char* dst = bytes + offset * sizeof(T);
        const auto run = [&](auto call, auto expect_byte) {
          std::memset(bytes, kGuard, buffer.size() * sizeof(T));
          ASSERT_EQ(call(reinterpret_cast<T*>(dst)), 0);
          for (size_t i = 0; i < buffer.size() * sizeof(T); ++i) {
            const bool inside = i >= offset * sizeof(T) && i < (offset + n) * sizeof(T);
            const size_t k = i - offset * sizeof(T);
            ASSERT_EQ(bytes[i], inside ? expect_byte(k) : kGuard) << "byte " << i;
          }
        };
        run([&](T* d) { return copy(src.data(), d, len); }, [&](size_t k) { return src_bytes[k]; });
        run([&](T* d) { return zero(d, len); }, [](size_t) { return 0; });
        run([&](T* d) { return set(value, d, len); },
            [&](size_t k) { return value_bytes[k % sizeof(T)]; });
      });
    }
  }
}

#define OXL_BLOCK_ROW(tag) \
  CheckBlocks(oxl_dft_avx2_pvksCopy_##tag, oxl_dft_avx2_pvksZero_##tag, oxl_dft_avx2_pvksSet_##tag)

TEST(Blocks, CopyZeroSetEveryType) {
  OXL_BLOCK_ROW(8u);
  OXL_BLOCK_ROW(16s);
  OXL_BLOCK_ROW(16sc);
  OXL_BLOCK_ROW(32f);
  OXL_BLOCK_ROW(32fc);
  OXL_BLOCK_ROW(32s);
  OXL_BLOCK_ROW(32sc);
  OXL_BLOCK_ROW(64f);
  OXL_BLOCK_ROW(64fc);
  OXL_BLOCK_ROW(64s);
  OXL_BLOCK_ROW(64sc);
}

// A copy larger than a 32-bit byte count goes in pieces; here with small pieces.
TEST(Blocks, CopyInPieces) {
  std::vector<unsigned char> src(1000), dst(1000, 0);
  std::iota(src.begin(), src.end(), 0);
  oxl::primitives::CopyInPieces(src.data(), dst.data(), src.size(), 96);
  EXPECT_EQ(dst, src);
}

// Every status, and that nothing was written: each call gets arrays of 4 elements filled with 1.
TEST(Primitives, Statuses) {
  std::vector<double> data(4, 1.0), scratch(4, 1.0);
  std::vector<float> keys(4, 1.0f);
  std::vector<int32_t> index(4, 1), index_scratch(4, 1);
  struct Row {
    const char* name;
    int32_t status;
    int32_t (*call)(double*, double*, float*, int32_t*, int32_t*);
  };
  const Row rows[] = {
      {"sort null data", -8,
       [](double*, double* s, float*, int32_t*, int32_t*) {
         return oxl_dft_avx2_pvksSortRadixAscend_64f_I(nullptr, s, 4);
       }},
      {"sort null scratch", -8,
       [](double* d, double*, float*, int32_t*, int32_t*) {
         return oxl_dft_avx2_pvksSortRadixDescend_64f_I(d, nullptr, 4);
       }},
      {"sort length 0", -6,
       [](double* d, double* s, float*, int32_t*, int32_t*) {
         return oxl_dft_avx2_pvksSortRadixAscend_64f_I(d, s, 0);
       }},
      {"sort length -1", -6,
       [](double* d, double* s, float*, int32_t*, int32_t*) {
         return oxl_dft_avx2_pvksSortRadixAscend_64f_I(d, s, -1);
       }},
      {"index null keys", -8,
       [](double*, double*, float*, int32_t* i, int32_t* s) {
         return oxl_dft_avx2_pvksSortRadixIndexAscend_32f(nullptr, 4, i, s, 4);
       }},
      {"index null output", -8,
       [](double*, double*, float* k, int32_t*, int32_t* s) {
         return oxl_dft_avx2_pvksSortRadixIndexAscend_32f(k, 4, nullptr, s, 4);
       }},
      {"index null scratch", -8,
       [](double*, double*, float* k, int32_t* i, int32_t*) {
         return oxl_dft_avx2_pvksSortRadixIndexDescend_32f(k, 4, i, nullptr, 4);
       }},
      {"index stride below key size", -6,
       [](double*, double*, float* k, int32_t* i, int32_t* s) {
         return oxl_dft_avx2_pvksSortRadixIndexAscend_32f(k, 3, i, s, 4);
       }},
      {"index length 0", -6,
       [](double*, double*, float* k, int32_t* i, int32_t* s) {
         return oxl_dft_avx2_pvksSortRadixIndexAscend_32f(k, 4, i, s, 0);
       }},
      {"copy null source", -8,
       [](double* d, double*, float*, int32_t*, int32_t*) {
         return oxl_dft_avx2_pvksCopy_64f(nullptr, d, 4);
       }},
      {"copy null destination", -8,
       [](double* d, double*, float*, int32_t*, int32_t*) {
         return oxl_dft_avx2_pvksCopy_64f(d, nullptr, 4);
       }},
      {"copy length 0", -6,
       [](double* d, double* s, float*, int32_t*, int32_t*) {
         return oxl_dft_avx2_pvksCopy_64f(s, d, 0);
       }},
      {"byte copy length -1", -6,
       [](double* d, double* s, float*, int32_t*, int32_t*) {
         return oxl_dft_avx2_pvksCopy_8u(reinterpret_cast<uint8_t*>(s),
                                         reinterpret_cast<uint8_t*>(d), -1);
       }},
      {"zero null", -8,
       [](double*, double*, float*, int32_t*, int32_t*) {
         return oxl_dft_avx2_pvksZero_32s(nullptr, 4);
       }},
      {"zero length 0", -6,
       [](double* d, double*, float*, int32_t*, int32_t*) {
         return oxl_dft_avx2_pvksZero_64f(d, 0);
       }},
      {"set null", -8,
       [](double*, double*, float*, int32_t*, int32_t*) {
         return oxl_dft_avx2_pvksSet_64fc({1, 2}, nullptr, 4);
       }},
      {"set length -1", -6,
       [](double* d, double*, float*, int32_t*, int32_t*) {
         return oxl_dft_avx2_pvksSet_64f(2.0, d, -1);
       }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(
        row.call(data.data(), scratch.data(), keys.data(), index.data(), index_scratch.data()),
        row.status);
    EXPECT_EQ(data, std::vector<double>(4, 1.0));
    EXPECT_EQ(scratch, std::vector<double>(4, 1.0));
    EXPECT_EQ(index, std::vector<int32_t>(4, 1));
    EXPECT_EQ(index_scratch, std::vector<int32_t>(4, 1));
  }
}

}  // namespace
