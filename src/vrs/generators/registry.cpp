// The generator registry: __RegBrngsNew made from the rows of generators/brng_rows.def, the older
// numbering __RegBrngs, id arithmetic, validity, registration and properties.
#include <type_traits>

#include "vrs/generators/generators.h"
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
namespace {

template <class State>
constexpr bool RowFits(int state_size) {
  if constexpr (std::is_same_v<State, PendingState>) {
    return true;
  } else {
    return kStateSizeOf<State> == state_size;
  }
}

#define OXL_BRNG_ROW(family, State, state_size, seed_words, includes_zero, word_bytes, bits, \
                     num_offsets, init, s_fn, d_fn, i_fn)                                    \
  static_assert(RowFits<State>(state_size), "StateSize of row " #family " and its state");   \
  constexpr BrngRecord kRow##family = {.StateSize = state_size,                              \
                                       .SeedWords = seed_words,                              \
                                       .IncludesZero = includes_zero,                        \
                                       .WordBytes = word_bytes,                              \
                                       .Bits = bits,                                         \
                                       .InitStream = init,                                   \
                                       .sBRng = s_fn,                                        \
                                       .dBRng = d_fn,                                        \
                                       .iBRng = i_fn};
#include "vrs/generators/brng_rows.def"
#undef OXL_BRNG_ROW

#define OXL_BRNG_ROW(family, ...) +1
constexpr int kBuiltInRows = 0
#include "vrs/generators/brng_rows.def"
    ;
#undef OXL_BRNG_ROW

// The WH family fills rows 4 to 276 of the older table: 273 = 256 + 16 + 1 copies.
#define OXL_X2(r) r, r
#define OXL_X4(r) OXL_X2(r), OXL_X2(r)
#define OXL_X16(r) OXL_X4(r), OXL_X4(r), OXL_X4(r), OXL_X4(r)
#define OXL_X64(r) OXL_X16(r), OXL_X16(r), OXL_X16(r), OXL_X16(r)
#define OXL_X256(r) OXL_X64(r), OXL_X64(r), OXL_X64(r), OXL_X64(r)

}  // namespace

int32_t NumOffsets[kRegistryRows] = {
#define OXL_BRNG_ROW(family, State, state_size, seed_words, includes_zero, word_bytes, bits, \
                     num_offsets, ...)                                                       \
  num_offsets,
#include "vrs/generators/brng_rows.def"
#undef OXL_BRNG_ROW
};

int32_t NRegBrngsNew = kBuiltInRows;

const BrngRecord& RowOf(const StreamRecord* stream) {
  int32_t row = 0;
  int32_t offset = 0;
  return __vrsGetBrngBaseOffset(stream->Brng, &row, &offset)[row];
}

}  // namespace oxl::vrs

using namespace oxl::vrs;

extern "C" {

OXL_API BrngRecord __RegBrngsNew[kRegistryRows] = {
#define OXL_BRNG_ROW(family, ...) kRow##family,
#include "vrs/generators/brng_rows.def"
#undef OXL_BRNG_ROW
};

OXL_API BrngRecord __RegBrngs[kRegistryRows] = {
    // clang-format off
    kRowMCG31, kRowR250, kRowMRG32K3A, kRowMCG59,
    OXL_X256(kRowWH), OXL_X16(kRowWH), kRowWH,
    kRowSOBOL, kRowNIEDERREITER,
    // rows 279 and 280: zero, yet valid
    // clang-format on
};

OXL_API BrngRecord* __vrsGetBrngBaseOffset(int32_t id, int32_t* row, int32_t* offset) {
  if (id >= 0x100000) {
    *row = (id >> kIdRowShift) - 1;
    *offset = id & kIdOffsetMask;
    return __RegBrngsNew;
  }
  if (id >= 4 && id <= 276) {
    *row = 4;
    *offset = id - 4;
  } else {
    *row = id;
    *offset = 0;
  }
  return __RegBrngs;
}

OXL_API int32_t __vrsIsBrngValid(const BrngRecord* table, int32_t row, int32_t offset) {
  if (table == __RegBrngs) return row < kOldRegistryValidRows ? 0 : StatusInvalidBrng;
  return row < NRegBrngsNew && offset < NumOffsets[row] ? 0 : StatusInvalidBrng;
}

OXL_API int32_t __vrsGetNumRegBrngs(void) { return NRegBrngsNew; }

OXL_API int32_t __vrsRegisterBrng(const BrngRecord* brng) {
  if (brng->StateSize < 0) return StatusBadStateSize;
  if (brng->WordBytes != 4 && brng->WordBytes != 8 && brng->WordBytes != 16) {
    return StatusBadWordBytes;
  }
  if (brng->SeedWords <= 0) return StatusBadSeedWords;
  if (brng->Bits <= 0) return StatusBadBits;
  if (!brng->dBRng || !brng->sBRng || !brng->iBRng || !brng->InitStream) {
    return StatusNullBrngFunction;
  }
  const int32_t row = NRegBrngsNew;
  // The table's end is the caller's limit to keep; past it the registration is refused rather
  // than written out of bounds.
  if (row >= kRegistryRows) return StatusInvalidBrng;
  __RegBrngsNew[row] = *brng;
  NumOffsets[row] = 1;
  NRegBrngsNew = row + 1;
  return (row << kIdRowShift) + 0x100000;
}

OXL_API int32_t __vrsGetBrngProperties(int32_t id, BrngRecord* properties) {
  int32_t row = 0;
  int32_t offset = 0;
  const BrngRecord* table = __vrsGetBrngBaseOffset(id, &row, &offset);
  const int32_t status = __vrsIsBrngValid(table, row, offset);
  if (status != 0) return status;
  // A negative id passes the validity test; it still names no row that could be read.
  if (row < 0) return StatusInvalidBrng;
  *properties = table[row];
  return 0;
}

}  // extern "C"
