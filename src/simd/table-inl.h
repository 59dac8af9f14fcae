// Lookups in tables of 8, 16 or 32 entries held in registers, in place of vpermps, vpermt2ps and
// vpermt2pd. A kernel loads its table once before the loop (LoadTable) and looks up a vector of
// indices per block (Lookup); only the low 3, 4 or 5 bits of each index lane count, so that the
// low mantissa bits of a shifted float or of a seed's bit pattern can serve directly. Tables of 48
// entries take indices below 48 only; their arrays hold 64 slots, and AVX3 keeps them in three
// (float) or six (double) registers.
//
// AVX3 permutes across one, two or four registers (0.08 to 0.28 ns per element, against 0.36 to
// 0.51 for a gather). AVX2 permutes 8 floats per register and blends on the index bits above
// (16 entries 0.22 ns, a gather 0.35; 32 entries about even with a gather on Intel, and gathers
// are slower on AMD). AVX2 has no variable 64-bit permute: a table of 16 doubles is kept as the
// low and the high 32-bit halves of its entries, 8 halves a register, so that 32-bit permutes
// fetch each half by the index as it stands (low halves) or moved into the upper half of the
// lane (high halves); on Zen 3 that beats two gathers of the same indices by a sixth. A table of
// 32 doubles is read by a gather. SCALAR reads the array. Numbers from bench/simd.

// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_SIMD_TABLE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_SIMD_TABLE_INL_H_
#undef OXL_SIMD_TABLE_INL_H_
#else
#define OXL_SIMD_TABLE_INL_H_
#endif

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace oxl {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
namespace simd_detail {

template <class D, size_t kEntries>
constexpr bool TableInRegisters() {
#if HWY_TARGET == HWY_AVX3
  return hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 64;
#elif HWY_TARGET == HWY_AVX2
  return hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 32 &&
         (sizeof(hn::TFromD<D>) == 4 ? kEntries <= 32 : kEntries <= 16);
#else
  return false;
#endif
}

// Stores a vector of indices for scalar loads to read back, behind a barrier that keeps the
// compiler from extracting each from the register instead (two or three operations a lane, where
// a load forwarded from the store is one). AVX3 stores 512 bits as two 256-bit halves: Cascade
// Lake does not forward a 512-bit store to the narrower loads that read it, and each then waits
// for the store to reach the cache (dAtan HA 2.47 against 1.27 ns per element, in one sitting).
template <class DI, class VI>
HWY_INLINE void StoreIndices(DI di, VI v, hn::TFromD<DI>* HWY_RESTRICT r) {
#if HWY_TARGET == HWY_AVX3
  if constexpr (sizeof(hn::TFromD<DI>) * hn::MaxLanes(DI()) == 64) {
    _mm256_store_si256(reinterpret_cast<__m256i*>(r), _mm512_castsi512_si256(v.raw));
    _mm256_store_si256(reinterpret_cast<__m256i*>(r) + 1, _mm512_extracti64x4_epi64(v.raw, 1));
    asm volatile("" : : "r"(r) : "memory");
    return;
  }
#endif
  hn::Store(v, di, r);
  asm volatile("" : : "r"(r) : "memory");
}

}  // namespace simd_detail

// GatherLanes(d, base, index): lane i gets base[index[i]], for lanes of 32 or 64 bits (floating
// point or integer), 16, 32 or 64 bytes a vector, and indices of the lanes' width. The same values
// as a gather, by one load a lane on AVX2 and AVX3. Intel processors with the microcode that guards
// gathers against data sampling (Skylake to Ice Lake) take about 45 cycles for a gather of four or
// eight lanes, where the scalar loads and their inserts take a few. On such a host (Cascade Lake),
// ns per element, AVX2: dPackV 2.49 -> 0.58, sCbrt 1.61 -> 0.99, dSin of large arguments 21.6 ->
// 13.1, float sin of large arguments 13.0 -> 5.9, Poisson by PTPE 17.8 -> 15.0; AVX3: dPackV 1.40
// -> 0.64, sPackV 1.51 -> 0.78, dSin of large arguments 10.9 -> 7.6, float 6.09 -> 3.93. AVX3
// stores the indices as two 256-bit halves (StoreIndices; eight loads lost to the gather with one
// 512-bit store). dErfInv's tail, which reads fifteen columns of one row, keeps its gathers on
// AVX2 (see LoadRows).
//
// GatherColumns<kCols>(d, base, index, out) reads kCols such vectors, out[c] lane i = base[index[i]
// + c], from one store of the indices: rows of any width that start anywhere (the double 2/pi
// windows, three words a row).
template <size_t kCols, class D, class VI>
HWY_API void GatherColumns(D d, const hn::TFromD<D>* HWY_RESTRICT base, VI index,
                           hn::VFromD<D>* HWY_RESTRICT out) {
  const hn::RebindToSigned<D> di;
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
  using T = hn::TFromD<D>;
  constexpr size_t kBytes = sizeof(T) * hn::MaxLanes(D());
  if constexpr (kBytes == 16 || kBytes == 32 || kBytes == 64) {
    using TI = hn::TFromD<decltype(di)>;
    HWY_ALIGN TI r[hn::MaxLanes(D())];
    simd_detail::StoreIndices(di, hn::BitCast(di, index), r);
    for (size_t c = 0; c < kCols; ++c) {
      const auto bytes = reinterpret_cast<const char*>(base + c);
      // Lanes first to first + 16 / sizeof(T) - 1: 16 bytes.
      const auto quarter = [&](size_t first) -> __m128 {
        if constexpr (sizeof(T) == 8) {
          const __m128d lo = _mm_load_sd(reinterpret_cast<const double*>(bytes + 8 * r[first]));
          return _mm_castpd_ps(
              _mm_loadh_pd(lo, reinterpret_cast<const double*>(bytes + 8 * r[first + 1])));
        } else {
          const auto at = [&](size_t k) {
            return _mm_load_ss(reinterpret_cast<const float*>(bytes + 4 * int64_t{r[k]}));
          };
          __m128 v = at(first);
          v = _mm_insert_ps(v, at(first + 1), 0x10);
          v = _mm_insert_ps(v, at(first + 2), 0x20);
          return _mm_insert_ps(v, at(first + 3), 0x30);
        }
      };
      const hn::Repartition<float, D> df;
      hn::VFromD<decltype(df)> v;
      constexpr size_t kPer = 16 / sizeof(T);
      const auto half = [&](size_t first) {
        return _mm256_insertf128_ps(_mm256_castps128_ps256(quarter(first)), quarter(first + kPer),
                                    1);
      };
      if constexpr (kBytes == 16) {
        v.raw = quarter(0);
      } else if constexpr (kBytes == 32) {
        v.raw = half(0);
      } else {
#if HWY_TARGET == HWY_AVX3
        v.raw =
            _mm512_castpd_ps(_mm512_insertf64x4(_mm512_castpd256_pd512(_mm256_castps_pd(half(0))),
                                                _mm256_castps_pd(half(2 * kPer)), 1));
#endif
      }
      out[c] = hn::BitCast(d, v);
    }
    return;
  }
#endif
  for (size_t c = 0; c < kCols; ++c) out[c] = hn::GatherIndex(d, base + c, hn::BitCast(di, index));
}

template <class D, class VI>
HWY_API hn::VFromD<D> GatherLanes(D d, const hn::TFromD<D>* HWY_RESTRICT base, VI index) {
  hn::VFromD<D> v;
  GatherColumns<1>(d, base, index, &v);
  return v;
}

// A table of kEntries (8, 16 or 32) values of D's lane type: registers, or the array itself where
// lookups read memory.
template <class D, size_t kEntries,
          bool kInRegisters = simd_detail::TableInRegisters<D, kEntries>()>
struct RegisterTable;

template <class D, size_t kEntries>
struct RegisterTable<D, kEntries, true> {
  static_assert(kEntries == 8 || kEntries == 16 || kEntries == 32 || kEntries == 48,
                "tables have 8, 16, 32 or 48 entries");
  // A table smaller than a register fills it with copies of itself.
  hn::VFromD<D> reg[(kEntries + hn::MaxLanes(D()) - 1) / hn::MaxLanes(D())];
};

template <class D, size_t kEntries>
struct RegisterTable<D, kEntries, false> {
  static_assert(kEntries == 8 || kEntries == 16 || kEntries == 32 || kEntries == 48,
                "tables have 8, 16, 32 or 48 entries");
  const hn::TFromD<D>* data;
};

// The table from `values`, kEntries numbers on a 64-byte boundary. Where lookups read memory the
// array must outlive the table.
template <size_t kEntries, class D>
HWY_API RegisterTable<D, kEntries> LoadTable(D d, const hn::TFromD<D>* HWY_RESTRICT values) {
  RegisterTable<D, kEntries> table;
  if constexpr (simd_detail::TableInRegisters<D, kEntries>()) {
    constexpr size_t kLanes = hn::MaxLanes(D());
    if constexpr (kEntries < kLanes) {
      // 8 floats in the 16 lanes of AVX3: the index's bit 3 reads the same entry either way.
      HWY_ALIGN hn::TFromD<D> copies[kLanes];
      for (size_t i = 0; i < kLanes; ++i) copies[i] = values[i % kEntries];
      table.reg[0] = hn::Load(d, copies);
      return table;
    }
    for (size_t i = 0; i < kEntries / kLanes; ++i) table.reg[i] = hn::Load(d, values + i * kLanes);
#if HWY_TARGET == HWY_AVX2
    if constexpr (sizeof(hn::TFromD<D>) == 8) {
      // Halves: the first kEntries / 8 registers hold the low 32 bits of entries 0-7 (and 8-15),
      // the others the high 32 bits.
      constexpr size_t kRegs = kEntries / kLanes;
      const __m256i gather_halves = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
      __m256 split[kRegs];
      for (size_t i = 0; i < kRegs; ++i) {
        split[i] = _mm256_permutevar8x32_ps(_mm256_castpd_ps(table.reg[i].raw), gather_halves);
      }
      for (size_t i = 0; i < kRegs / 2; ++i) {
        table.reg[i].raw =
            _mm256_castps_pd(_mm256_permute2f128_ps(split[2 * i], split[2 * i + 1], 0x20));
        table.reg[kRegs / 2 + i].raw =
            _mm256_castps_pd(_mm256_permute2f128_ps(split[2 * i], split[2 * i + 1], 0x31));
      }
    }
#endif
  } else {
    table.data = values;
  }
  return table;
}

// Lookup(d, table, index): lane i gets table[index[i] mod kEntries]. `index` is a vector of
// signed or unsigned integers of D's lane width.
template <class D, size_t kEntries, bool kInRegisters, class VI>
HWY_API hn::VFromD<D> Lookup(D d, const RegisterTable<D, kEntries, kInRegisters>& table, VI index) {
  using T = hn::TFromD<D>;
  const hn::RebindToSigned<D> di;
  const auto idx = hn::BitCast(di, index);
  if constexpr (!kInRegisters) {
    constexpr size_t kMask = kEntries == 48 ? 63 : kEntries - 1;
    const auto masked = hn::And(idx, hn::Set(di, static_cast<hn::TFromD<decltype(di)>>(kMask)));
    return GatherLanes(d, table.data, masked);
  } else {
#if HWY_TARGET == HWY_AVX3
    if constexpr (kEntries == 48) {
      // The first 32 entries by two-register permutes (low 5 bits for float, 4 for double), the
      // rest by the index's bit 5 (float) or bits 4 and 5 (double).
      if constexpr (sizeof(T) == 4) {
        const __mmask16 bit5 = _mm512_test_epi32_mask(idx.raw, _mm512_set1_epi32(32));
        const __m512 low = _mm512_permutex2var_ps(table.reg[0].raw, idx.raw, table.reg[1].raw);
        const __m512 high = _mm512_permutexvar_ps(idx.raw, table.reg[2].raw);
        return hn::VFromD<D>{_mm512_mask_blend_ps(bit5, low, high)};
      } else {
        const __mmask8 bit4 = _mm512_test_epi64_mask(idx.raw, _mm512_set1_epi64(16));
        const __mmask8 bit5 = _mm512_test_epi64_mask(idx.raw, _mm512_set1_epi64(32));
        const __m512d first = _mm512_permutex2var_pd(table.reg[0].raw, idx.raw, table.reg[1].raw);
        const __m512d second = _mm512_permutex2var_pd(table.reg[2].raw, idx.raw, table.reg[3].raw);
        const __m512d third = _mm512_permutex2var_pd(table.reg[4].raw, idx.raw, table.reg[5].raw);
        return hn::VFromD<D>{
            _mm512_mask_blend_pd(bit5, _mm512_mask_blend_pd(bit4, first, second), third)};
      }
    } else if constexpr (sizeof(T) == 4) {
      if constexpr (kEntries <= 16) {
        return hn::VFromD<D>{_mm512_permutexvar_ps(idx.raw, table.reg[0].raw)};
      } else {
        return hn::VFromD<D>{_mm512_permutex2var_ps(table.reg[0].raw, idx.raw, table.reg[1].raw)};
      }
    } else {
      if constexpr (kEntries == 8)
        return hn::VFromD<D>{_mm512_permutexvar_pd(idx.raw, table.reg[0].raw)};
      const __m512d low = _mm512_permutex2var_pd(table.reg[0].raw, idx.raw, table.reg[1].raw);
      if constexpr (kEntries == 16) {
        return hn::VFromD<D>{low};
      } else {
        const __m512d high = _mm512_permutex2var_pd(table.reg[2].raw, idx.raw, table.reg[3].raw);
        const __mmask8 upper = _mm512_test_epi64_mask(idx.raw, _mm512_set1_epi64(16));
        return hn::VFromD<D>{_mm512_mask_blend_pd(upper, low, high)};
      }
    }
#elif HWY_TARGET == HWY_AVX2
    if constexpr (sizeof(T) == 8) {
      // The low halves by the index in the low 32 bits of each lane, the high halves by the index
      // moved up; for 16 entries bit 3 of the index, copied to both halves and shifted to the
      // sign, picks the register.
      const __m256i up = _mm256_slli_epi64(idx.raw, 32);
      if constexpr (kEntries == 8) {
        const __m256 low = _mm256_permutevar8x32_ps(_mm256_castpd_ps(table.reg[0].raw), idx.raw);
        const __m256 high = _mm256_permutevar8x32_ps(_mm256_castpd_ps(table.reg[1].raw), up);
        return hn::VFromD<D>{_mm256_castps_pd(_mm256_blend_ps(low, high, 0xAA))};
      }
      const __m256 bit3 =
          _mm256_castsi256_ps(_mm256_slli_epi32(_mm256_shuffle_epi32(idx.raw, 0xA0), 28));
      const auto half = [&](size_t first, __m256i index) {
        return _mm256_blendv_ps(
            _mm256_permutevar8x32_ps(_mm256_castpd_ps(table.reg[first].raw), index),
            _mm256_permutevar8x32_ps(_mm256_castpd_ps(table.reg[first + 1].raw), index), bit3);
      };
      return hn::VFromD<D>{_mm256_castps_pd(_mm256_blend_ps(half(0, idx.raw), half(2, up), 0xAA))};
    } else {
      // vpermps uses the low three bits; bit 3 (and bit 4) shifted to the sign picks the register.
      if constexpr (kEntries == 8) {
        return hn::VFromD<D>{_mm256_permutevar8x32_ps(table.reg[0].raw, idx.raw)};
      }
      const __m256 bit3 = _mm256_castsi256_ps(_mm256_slli_epi32(idx.raw, 28));
      const __m256 low =
          _mm256_blendv_ps(_mm256_permutevar8x32_ps(table.reg[0].raw, idx.raw),
                           _mm256_permutevar8x32_ps(table.reg[1].raw, idx.raw), bit3);
      if constexpr (kEntries == 16) {
        return hn::VFromD<D>{low};
      } else {
        const __m256 high =
            _mm256_blendv_ps(_mm256_permutevar8x32_ps(table.reg[2].raw, idx.raw),
                             _mm256_permutevar8x32_ps(table.reg[3].raw, idx.raw), bit3);
        const __m256 bit4 = _mm256_castsi256_ps(_mm256_slli_epi32(idx.raw, 27));
        return hn::VFromD<D>{_mm256_blendv_ps(low, high, bit4)};
      }
    }
#else
    static_assert(sizeof(T) == 0, "no register tables on this target");
#endif
  }
}

// A table of 16 floats read into lanes of D's type: the entries are floats, widened exactly. For
// double lanes on AVX2 this avoids the gather: the floats sit in two registers, read by 32-bit
// permutes and widened. Elsewhere
// it is the RegisterTable of the widened values. A double with up to 48 significant bits is the
// sum of two such tables.
template <class D>
struct FloatTable {
  using T = hn::TFromD<D>;
  static constexpr bool kFloatPermutes =
      HWY_TARGET == HWY_AVX2 && sizeof(T) == 8 && hn::MaxLanes(D()) == 4;
  alignas(64) T values[16];
#if HWY_TARGET == HWY_AVX2
  __m256 floats[2];
#endif
  RegisterTable<D, 16> table;
};

template <class D>
HWY_API FloatTable<D> LoadFloatTable(D d, const float* HWY_RESTRICT values) {
  FloatTable<D> out;
  for (size_t i = 0; i < 16; ++i) out.values[i] = static_cast<hn::TFromD<D>>(values[i]);
#if HWY_TARGET == HWY_AVX2
  if constexpr (FloatTable<D>::kFloatPermutes) {
    out.floats[0] = _mm256_loadu_ps(values);
    out.floats[1] = _mm256_loadu_ps(values + 8);
    return out;
  }
#endif
  if constexpr (simd_detail::TableInRegisters<D, 16>()) out.table = LoadTable<16>(d, out.values);
  return out;
}

// Lookup(d, table, index): lane i gets table[index[i] mod 16], widened. Tables that read memory
// read the table's own copy, which must outlive the call.
template <class D, class VI>
HWY_API hn::VFromD<D> Lookup(D d, const FloatTable<D>& table, VI index) {
#if HWY_TARGET == HWY_AVX2
  if constexpr (FloatTable<D>::kFloatPermutes) {
    // The low 32 bits of each 64-bit index to the four low positions; bit 3 to the sign for the
    // blend between the two registers.
    const __m256i packed = _mm256_permutevar8x32_epi32(
        hn::BitCast(hn::RebindToSigned<D>(), index).raw, _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6));
    const __m256 bit3 = _mm256_castsi256_ps(_mm256_slli_epi32(packed, 28));
    const __m256 pick = _mm256_blendv_ps(_mm256_permutevar8x32_ps(table.floats[0], packed),
                                         _mm256_permutevar8x32_ps(table.floats[1], packed), bit3);
    return hn::VFromD<D>{_mm256_cvtps_pd(_mm256_castps256_ps128(pick))};
  }
#endif
  if constexpr (simd_detail::TableInRegisters<D, 16>()) {
    return Lookup(d, table.table, index);
  } else {
    const hn::RebindToSigned<D> di;
    const auto masked =
        hn::And(hn::BitCast(di, index), hn::Set(di, static_cast<hn::TFromD<decltype(di)>>(15)));
    return GatherLanes(d, table.values, masked);
  }
}

// A table of 16 doubles, each the exact sum first + second of two floats (up to 48 significant
// bits). AVX2 reads the two float tables and adds them; elsewhere one table of the sums spares
// the second permute and the addition. The sums are exact, so every target gives the same values.
template <class D>
struct FloatSumTable {
  static constexpr bool kTwoTables = FloatTable<D>::kFloatPermutes;
  struct None {};
  std::conditional_t<kTwoTables, FloatTable<D>, None> first, second;
  alignas(64) hn::TFromD<D> sums[16];
  RegisterTable<D, 16> table;
};

template <class D>
HWY_API FloatSumTable<D> LoadFloatSumTable(D d, const float* HWY_RESTRICT first,
                                           const float* HWY_RESTRICT second) {
  FloatSumTable<D> out;
  if constexpr (FloatSumTable<D>::kTwoTables) {
    out.first = LoadFloatTable(d, first);
    out.second = LoadFloatTable(d, second);
  } else {
    using T = hn::TFromD<D>;
    for (size_t i = 0; i < 16; ++i)
      out.sums[i] = static_cast<T>(first[i]) + static_cast<T>(second[i]);
    out.table = LoadTable<16>(d, out.sums);
  }
  return out;
}

// Lookup(d, table, index): lane i gets the sum at index[i] mod 16. Tables that read memory read
// the table's own copy, which must outlive the call.
template <class D, class VI>
HWY_API hn::VFromD<D> Lookup(D d, const FloatSumTable<D>& table, VI index) {
  if constexpr (FloatSumTable<D>::kTwoTables) {
    return hn::Add(Lookup(d, table.first, index), Lookup(d, table.second, index));
  } else {
    return Lookup(d, table.table, index);
  }
}

// The columns of a table of rows of kWidth doubles (2, 4 or 16, rows aligned to their size, or to
// 64 bytes for 16) at `row`:
// out[c] lane i = table[kWidth row[i] + c], where only the low 32 bits of a row lane count, so
// that an index read off a float's low mantissa bits needs no mask. AVX2 and AVX3 load each lane's
// row whole (rows of 4) or as 16-byte pairs and take the rows apart by unpacks and lane shuffles,
// in place of a gather a column (Cascade Lake: dErf HA 2.93 against 4.58 ns per element; Zen 4
// gathers cost a dozen simple operations: 1.21 against 0.92 ns per element for Atan HA on
// AVX-512, 1.53 against 1.24 on AVX2). The indices go through memory: the barrier keeps the
// compiler from extracting each from the register instead, two or three operations a lane where a
// load forwarded from the store is one (AVX3 stores them as halves: StoreIndices). SCALAR reads
// the array.
// Rows of 16 are read so on AVX3 only: two 64-byte loads a lane and two 8 x 8 transposes (24
// shuffles each) in place of a gather a column (dErfInv's tail, whose rows hold a polynomial of 15
// coefficients, on arguments near +-1 only: 33.6 against 15.2 ns per element on Cascade Lake, and
// unchanged on uniform arguments). AVX2 keeps the gathers: with the rows read as four 4 x 4
// transposes its tail takes half the time (63 against 33 ns), but uniform arguments, which
// seldom reach the tail, lose a fifth (10.2 against 12.2 ns), as with loads a lane.
template <size_t kWidth, class D, class VI, class V = hn::VFromD<D>>
HWY_API void LoadRows(D d, const double* HWY_RESTRICT table, VI row, V* HWY_RESTRICT out) {
  static_assert(kWidth == 2 || kWidth == 4 || kWidth == 16, "rows of 2, 4 or 16 doubles");
  [[maybe_unused]] constexpr size_t kLanes = hn::MaxLanes(D());
  constexpr int kRowShift = kWidth == 2 ? 4 : kWidth == 4 ? 5 : 7;
#if HWY_TARGET == HWY_AVX3
  if constexpr (kWidth == 16 && kLanes == 8) {
    HWY_ALIGN int64_t r[kLanes];
    simd_detail::StoreIndices(hn::RebindToSigned<D>(), hn::ShiftLeft<kRowShift>(row), r);
    const char* bytes = reinterpret_cast<const char*>(table);
    for (size_t half = 0; half < 2; ++half) {
      __m512d rows[8], pairs[8];
      for (size_t i = 0; i < 8; ++i) {
        rows[i] = _mm512_load_pd(
            reinterpret_cast<const double*>(bytes + static_cast<uint32_t>(r[i])) + 8 * half);
      }
      // pairs[2k] holds columns 0, 2, 4, 6 of rows 2k and 2k + 1, a 128-bit lane each;
      // pairs[2k + 1] columns 1, 3, 5, 7.
      for (size_t k = 0; k < 4; ++k) {
        pairs[2 * k] = _mm512_unpacklo_pd(rows[2 * k], rows[2 * k + 1]);
        pairs[2 * k + 1] = _mm512_unpackhi_pd(rows[2 * k], rows[2 * k + 1]);
      }
      // For the even columns (odd = 0) and the odd ones: the 128-bit lanes of columns c and
      // c + 4 of rows 0-3 and 4-7, then each column's four lanes in the rows' order.
      for (size_t odd = 0; odd < 2; ++odd) {
        const __m512d c04_low = _mm512_shuffle_f64x2(pairs[odd], pairs[2 + odd], 0x88);
        const __m512d c26_low = _mm512_shuffle_f64x2(pairs[odd], pairs[2 + odd], 0xDD);
        const __m512d c04_high = _mm512_shuffle_f64x2(pairs[4 + odd], pairs[6 + odd], 0x88);
        const __m512d c26_high = _mm512_shuffle_f64x2(pairs[4 + odd], pairs[6 + odd], 0xDD);
        V* col = out + 8 * half + odd;
        col[0].raw = _mm512_shuffle_f64x2(c04_low, c04_high, 0x88);
        col[4].raw = _mm512_shuffle_f64x2(c04_low, c04_high, 0xDD);
        col[2].raw = _mm512_shuffle_f64x2(c26_low, c26_high, 0x88);
        col[6].raw = _mm512_shuffle_f64x2(c26_low, c26_high, 0xDD);
      }
    }
    return;
  }
#endif
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
  if constexpr (kWidth != 16 && (kLanes == 4 || kLanes == 8)) {
    // Byte offsets, scaled in the vector: one shift for all lanes where the address of each
    // would cost a shift or two.
    HWY_ALIGN int64_t r[kLanes];
    simd_detail::StoreIndices(hn::RebindToSigned<D>(), hn::ShiftLeft<kRowShift>(row), r);
    const char* bytes = reinterpret_cast<const char*>(table);
    const auto at_row = [&](size_t lane) {
      return reinterpret_cast<const double*>(bytes + static_cast<uint32_t>(r[lane]));
    };
    if constexpr (kWidth == 4) {
      // Whole rows: one 32-byte load a lane, then unpacks pair the columns of two rows and
      // 128-bit lane shuffles gather the pairs: half the loads of the 16-byte pairs.
      const auto whole = [&](size_t lane) { return _mm256_load_pd(at_row(lane)); };
      // a, b and c, e hold rows side by side in their 128-bit lanes; the unpacks give [f0, f0',
      // f2, f2'] and [f1, f1', f3, f3'] a lane, and `lower` and `upper` gather those lanes'
      // halves in the lanes' order.
      const auto columns = [&](V a, V b, V c, V e, auto lower, auto upper) {
        const V even_ab = hn::InterleaveLower(d, a, b), even_ce = hn::InterleaveLower(d, c, e);
        const V odd_ab = hn::InterleaveUpper(d, a, b), odd_ce = hn::InterleaveUpper(d, c, e);
        out[0].raw = lower(even_ab.raw, even_ce.raw);
        out[1].raw = lower(odd_ab.raw, odd_ce.raw);
        out[2].raw = upper(even_ab.raw, even_ce.raw);
        out[3].raw = upper(odd_ab.raw, odd_ce.raw);
      };
      if constexpr (kLanes == 4) {
        columns(
            V{whole(0)}, V{whole(1)}, V{whole(2)}, V{whole(3)},
            [](__m256d p, __m256d q) { return _mm256_permute2f128_pd(p, q, 0x20); },
            [](__m256d p, __m256d q) { return _mm256_permute2f128_pd(p, q, 0x31); });
      } else {
#if HWY_TARGET == HWY_AVX3
        // Rows 0 and 2 in one register, 1 and 3, 4 and 6, 5 and 7, so that the 128-bit lanes
        // of the unpacks hold rows 0-3 and 4-7 in order.
        const auto two_rows = [&](size_t a, size_t b) {
          return V{_mm512_insertf64x4(_mm512_castpd256_pd512(whole(a)), whole(b), 1)};
        };
        columns(
            two_rows(0, 2), two_rows(1, 3), two_rows(4, 6), two_rows(5, 7),
            [](__m512d p, __m512d q) { return _mm512_shuffle_f64x2(p, q, 0x88); },
            [](__m512d p, __m512d q) { return _mm512_shuffle_f64x2(p, q, 0xDD); });
#endif
      }
      return;
    }
    // Lanes k and k + 2 of a 256-bit half: columns c and c + 1 of rows r[k] and r[k + 2].
    const auto two = [&](size_t k, size_t c) {
      return _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_load_pd(at_row(k) + c)),
                                  _mm_load_pd(at_row(k + 2) + c), 1);
    };
    for (size_t c = 0; c < kWidth; c += 2) {
      if constexpr (kLanes == 4) {
        const __m256d even = two(0, c), odd = two(1, c);
        out[c].raw = _mm256_unpacklo_pd(even, odd);
        out[c + 1].raw = _mm256_unpackhi_pd(even, odd);
      } else {
#if HWY_TARGET == HWY_AVX3
        const __m512d even = _mm512_insertf64x4(_mm512_castpd256_pd512(two(0, c)), two(4, c), 1);
        const __m512d odd = _mm512_insertf64x4(_mm512_castpd256_pd512(two(1, c)), two(5, c), 1);
        out[c].raw = _mm512_unpacklo_pd(even, odd);
        out[c + 1].raw = _mm512_unpackhi_pd(even, odd);
#endif
      }
    }
    return;
  }
#endif
  const auto low = hn::And(row, hn::Set(hn::RebindToSigned<D>(), int64_t{0xFFFFFFFF}));
  const auto idx = hn::ShiftLeft<kRowShift - 3>(low);
  for (size_t c = 0; c < kWidth; ++c) out[c] = hn::GatherIndex(d, table + c, idx);
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl
HWY_AFTER_NAMESPACE();

#endif  // OXL_SIMD_TABLE_INL_H_
