// Radix sorts, copy, zero and set on every SIMD target. Sorts are checked against a stable
// std::stable_sort under an order computed another way (floats ranked as sign and magnitude), index
// sorts against a stable sort of positions; copies and fills against byte loops, with guard bytes
// around the destination. Every status row checks that nothing was written.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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
    const auto u = oxl::test::ToBits(v);
    const auto sign = oxl::test::kSignBit<T>;
    return (u & sign) ? -static_cast<__int128>(u & ~sign) - 1 : static_cast<__int128>(u);
  } else {
    return v;
  }
}

template <class T>
using IndexSortFn = int32_t (*)(const T*, int32_t, int32_t*, int32_t*, int32_t);

template <class T>
struct SortType {
  int32_t (*ascend)(T*, T*, int32_t);
  int32_t (*descend)(T*, T*, int32_t);
  // None for 64f, which has no index sort.
  IndexSortFn<T> index_ascend = nullptr, index_descend = nullptr;
};

enum class Pattern {
  kRandomBits,
  kValues,
  kSorted,
  kReversed,
  kConstant,
  kSignedZeros,
  kNarrow,
  kTwoExponents,
  kLowBits,
  kNormal
};

// Random bits hold NaNs, infinities and subnormals; values are NaN-free, with many repeats so that
// stability shows; signed zeros mix -0, +0 and a few units. Narrow values share their top and
// bottom bits and differ in the middle, so that the sorts skip the first and the last digits. Two
// exponents that differ in the lowest bit put every key in one top bucket, which splits again by
// that bit and the random bits below. Low bits differ only in the last five bits, so that every
// split but the last finds one bucket. Normal values put most keys in a few exponents of both
// signs: the first split of a long array spreads them over buckets of many prefixes and of parts of
// one.
template <class T>
std::vector<T> MakeData(Pattern pattern, size_t n, std::mt19937_64& rng) {
  std::vector<T> v(n);
  constexpr bool kFloat = std::is_floating_point_v<T>;
  std::normal_distribution<double> normal;
  for (T& x : v) {
    const uint64_t bits = rng();
    if (pattern == Pattern::kRandomBits) {
      std::memcpy(&x, &bits, sizeof(T));
    } else if (pattern == Pattern::kTwoExponents) {
      x = kFloat ? T(std::ldexp(1 + std::ldexp(static_cast<double>(bits >> 11), -53), 1 + bits % 2))
                 : T(bits % 8192 + 65536);
    } else if (pattern == Pattern::kNarrow) {
      x = kFloat ? T(1 + static_cast<double>(bits % 2048) / 4096) : T(bits % 4096 * 16 + 64);
    } else if (pattern == Pattern::kLowBits) {
      if constexpr (kFloat) {
        x = oxl::test::FromBits<T>(oxl::test::ToBits(T(1.75)) ^ (bits % 32));
      } else {
        x = T(0x55 ^ bits % 32);
      }
    } else if (pattern == Pattern::kNormal) {
      x = kFloat ? T(normal(rng)) : T(std::llround(normal(rng) * 1000));
    } else if (pattern == Pattern::kSignedZeros) {
      x = bits % 4 == 0 ? T(bits % 8 ? 1 : -1) : kFloat && bits % 8 > 4 ? T(-0.0) : T(0);
    } else {
      const int small = static_cast<int>(bits % 41) - 20;
      x = pattern == Pattern::kConstant ? T(7) : kFloat ? T(small * 0.375) : T(small * 3);
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
                const std::vector<Pattern>& patterns) {
  std::mt19937_64 rng(sizeof(T) * 1000 + std::is_signed_v<T>);
  for (Pattern pattern : patterns) {
    for (size_t n : lengths) {
      const std::vector<T> data = MakeData<T>(pattern, n, rng);
      for (bool descend : {false, true}) {
        SCOPED_TRACE(testing::Message() << "pattern " << static_cast<int>(pattern) << ", n " << n
                                        << (descend ? ", descend" : ", ascend"));
        std::vector<int32_t> order(n);
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
          return descend ? Rank(data[a]) > Rank(data[b]) : Rank(data[a]) < Rank(data[b]);
        });
        std::vector<T> expected(n);
        for (size_t i = 0; i < n; ++i) expected[i] = data[order[i]];
        // Keys spread at an odd stride, so that reads through the stride are unaligned.
        const int32_t stride = 2 * sizeof(T) + 1, len = static_cast<int32_t>(n);
        std::vector<unsigned char> strided(n * stride, 0xA5);
        for (size_t i = 0; i < n; ++i) std::memcpy(&strided[i * stride], &data[i], sizeof(T));
        ForEachTarget([&](const std::string&) {
          // Data and scratch start one element past a guard, so that they do not start on a cache
          // line: the partial first and last lines of a bucket must stay inside the array.
          std::vector<T> sorted(n + 2, T(5)), scratch(n + 2, T(5));
          std::copy(data.begin(), data.end(), sorted.begin() + 1);
          ASSERT_EQ(
              (descend ? type.descend : type.ascend)(sorted.data() + 1, scratch.data() + 1, len),
              0);
          EXPECT_TRUE(SameBits(std::vector<T>(sorted.begin() + 1, sorted.end() - 1), expected));
          EXPECT_EQ(sorted[0], T(5));
          EXPECT_EQ(sorted[n + 1], T(5));
          EXPECT_EQ(scratch[0], T(5));
          EXPECT_EQ(scratch[n + 1], T(5));
          if (type.index_ascend == nullptr) return;
          std::vector<int32_t> index(n, -1), index_scratch(n);
          ASSERT_EQ((descend ? type.index_descend : type.index_ascend)(
                        reinterpret_cast<const T*>(strided.data()), stride, index.data(),
                        index_scratch.data(), len),
                    0);
          EXPECT_EQ(index, order);
        });
      }
    }
  }
}

#define OXL_SORTS(tag) \
  oxl_dft_avx2_pvksSortRadixAscend_##tag##_I, oxl_dft_avx2_pvksSortRadixDescend_##tag##_I
#define OXL_INDEX_SORTS(tag)                                   \
  OXL_SORTS(tag), oxl_dft_avx2_pvksSortRadixIndexAscend_##tag, \
      oxl_dft_avx2_pvksSortRadixIndexDescend_##tag

TEST(RadixSort, AgainstStableSort) {
  // Lengths around the 2048 buckets of an 11-bit digit, where whole buffered lines start, around
  // the 16 keys left to an insertion sort and the 2048 that a 64-bit sort splits in the caches at
  // once; the longest splits by its top digit through the line buffers.
  const std::vector<size_t> lengths = {1,   2,    3,    7,    8,    16,   17,    33,
                                       255, 1000, 2047, 2048, 2049, 4099, 100003};
  const std::vector<Pattern> all = {
      Pattern::kRandomBits, Pattern::kValues,      Pattern::kSorted, Pattern::kReversed,
      Pattern::kConstant,   Pattern::kSignedZeros, Pattern::kNarrow, Pattern::kTwoExponents,
      Pattern::kLowBits,    Pattern::kNormal};
  CheckSorts<uint8_t>({OXL_INDEX_SORTS(8u)}, lengths, all);
  CheckSorts<int16_t>({OXL_INDEX_SORTS(16s)}, lengths, all);
  CheckSorts<uint16_t>({OXL_INDEX_SORTS(16u)}, lengths, all);
  CheckSorts<int32_t>({OXL_INDEX_SORTS(32s)}, lengths, all);
  CheckSorts<uint32_t>({OXL_INDEX_SORTS(32u)}, lengths, all);
  CheckSorts<float>({OXL_INDEX_SORTS(32f)}, lengths, all);
  CheckSorts<double>({OXL_SORTS(64f)}, lengths, all);
}

// The lengths the statistics sort, on the two types they sort (label long). Two exponents leave a
// bucket long enough for the widest second split of doubles; normal values at 10^7 leave buckets of
// one prefix too long for the last split.
TEST(RadixSort, LongFloatArrays) {
  const std::vector<Pattern> patterns = {Pattern::kRandomBits, Pattern::kValues,
                                         Pattern::kTwoExponents, Pattern::kNormal};
  CheckSorts<float>({OXL_SORTS(32f)}, {1000000, 10000000}, patterns);
  CheckSorts<double>({OXL_SORTS(64f)}, {1000000, 10000000}, patterns);
}

// Copy, zero and set of one type at every length and offset of the table, both fill forms.
template <class T>
void CheckBlocks(int32_t (*copy)(const T*, T*, int32_t), int32_t (*zero)(T*, int32_t),
                 int32_t (*set)(T, T*, int32_t)) {
  constexpr unsigned char kGuard = 0xA5;
  std::independent_bits_engine<std::mt19937_64, 8, unsigned> bytes_of(sizeof(T));
  const size_t large = oxl::primitives::kCachedFillBytes / sizeof(T) + 37;
  for (size_t n :
       {size_t{1}, size_t{2}, size_t{3}, size_t{15}, size_t{16}, size_t{17}, size_t{1000}, large}) {
    for (size_t offset : {0, 1}) {
      SCOPED_TRACE("n " + std::to_string(n) + ", offset " + std::to_string(offset));
      std::vector<unsigned char> value_bytes(sizeof(T)), src_bytes(n * sizeof(T));
      std::generate(value_bytes.begin(), value_bytes.end(), bytes_of);
      std::generate(src_bytes.begin(), src_bytes.end(), bytes_of);
      T value;
      std::memcpy(&value, value_bytes.data(), sizeof(T));
      std::vector<T> src(n);
      std::memcpy(src.data(), src_bytes.data(), n * sizeof(T));
      const int32_t len = static_cast<int32_t>(n);
      ForEachTarget([&](const std::string&) {
        std::vector<T> buffer(n + 2);
        unsigned char* bytes = reinterpret_cast<unsigned char*>(buffer.data());
        T* dst = buffer.data() + offset;
        const auto run = [&](int32_t status, auto expect_byte) {
          ASSERT_EQ(status, 0);
          for (size_t i = 0; i < buffer.size() * sizeof(T); ++i) {
            const size_t k = i - offset * sizeof(T);
            ASSERT_EQ(bytes[i], k < n * sizeof(T) ? expect_byte(k) : kGuard) << "byte " << i;
          }
          std::memset(bytes, kGuard, buffer.size() * sizeof(T));
        };
        std::memset(bytes, kGuard, buffer.size() * sizeof(T));
        run(copy(src.data(), dst, len), [&](size_t k) { return src_bytes[k]; });
        run(zero(dst, len), [](size_t) { return 0; });
        run(set(value, dst, len), [&](size_t k) { return value_bytes[k % sizeof(T)]; });
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
  // A copy larger than a 32-bit byte count goes in pieces; here with small pieces.
  std::vector<unsigned char> src(1000), dst(1000, 0);
  std::iota(src.begin(), src.end(), 0);
  oxl::primitives::CopyInPieces(src.data(), dst.data(), src.size(), 96);
  EXPECT_EQ(dst, src);
}

// Every status, and that nothing was written: each call gets arrays of 4 elements filled with 1.
struct Arrays {
  double d[4] = {1, 1, 1, 1}, s[4] = {1, 1, 1, 1};
  float k[4] = {1, 1, 1, 1};
  int32_t i[4] = {1, 1, 1, 1}, is[4] = {1, 1, 1, 1};
};
#define OXL_STATUS_ROW(status, call)                          \
  {                                                           \
#call, status, [](Arrays & a) -> int32_t { return call; } \
  }

TEST(Primitives, Statuses) {
  const struct {
    const char* call;
    int32_t status;
    int32_t (*run)(Arrays&);
  } rows[] = {
      OXL_STATUS_ROW(-8, oxl_dft_avx2_pvksSortRadixAscend_64f_I(nullptr, a.s, 4)),
      OXL_STATUS_ROW(-8, oxl_dft_avx2_pvksSortRadixDescend_64f_I(a.d, nullptr, 4)),
      OXL_STATUS_ROW(-6, oxl_dft_avx2_pvksSortRadixAscend_64f_I(a.d, a.s, 0)),
      OXL_STATUS_ROW(-6, oxl_dft_avx2_pvksSortRadixAscend_64f_I(a.d, a.s, -1)),
      OXL_STATUS_ROW(-8, oxl_dft_avx2_pvksSortRadixIndexAscend_32f(nullptr, 4, a.i, a.is, 4)),
      OXL_STATUS_ROW(-8, oxl_dft_avx2_pvksSortRadixIndexAscend_32f(a.k, 4, nullptr, a.is, 4)),
      OXL_STATUS_ROW(-8, oxl_dft_avx2_pvksSortRadixIndexDescend_32f(a.k, 4, a.i, nullptr, 4)),
      OXL_STATUS_ROW(-6, oxl_dft_avx2_pvksSortRadixIndexAscend_32f(a.k, 3, a.i, a.is, 4)),
      OXL_STATUS_ROW(-6, oxl_dft_avx2_pvksSortRadixIndexAscend_32f(a.k, 4, a.i, a.is, 0)),
      OXL_STATUS_ROW(-8, oxl_dft_avx2_pvksCopy_64f(nullptr, a.d, 4)),
      OXL_STATUS_ROW(-8, oxl_dft_avx2_pvksCopy_64f(a.d, nullptr, 4)),
      OXL_STATUS_ROW(-6, oxl_dft_avx2_pvksCopy_64f(a.s, a.d, 0)),
      OXL_STATUS_ROW(-6, oxl_dft_avx2_pvksCopy_8u(reinterpret_cast<uint8_t*>(a.s),
                                                  reinterpret_cast<uint8_t*>(a.d), -1)),
      OXL_STATUS_ROW(-8, oxl_dft_avx2_pvksZero_32s(nullptr, 4)),
      OXL_STATUS_ROW(-6, oxl_dft_avx2_pvksZero_64f(a.d, 0)),
      OXL_STATUS_ROW(-8, oxl_dft_avx2_pvksSet_64fc({1, 2}, nullptr, 4)),
      OXL_STATUS_ROW(-6, oxl_dft_avx2_pvksSet_64f(2.0, a.d, -1)),
  };
  const Arrays fresh;
  for (const auto& row : rows) {
    Arrays a;
    EXPECT_EQ(row.run(a), row.status) << row.call;
    EXPECT_EQ(std::memcmp(&a, &fresh, sizeof a), 0) << row.call << " wrote to its arrays";
  }
}

}  // namespace
