// The stream record and the registry as the generators see them.
//
// A stream is one allocation: the 16-byte StreamRecord header (generator id, format byte, chunk
// list) and the generator's state right after it, StateSize bytes in all, where StateSize is the
// registry row's. A generator lays its state out as a plain struct `S` and reaches it with
// StateOf<S>(stream); its row in generators/brng_rows.def names `S`, and the registry checks at
// compile time that 16 + sizeof(S) is the row's StateSize, so a row can never be too small for
// the struct that the generator writes.
//
// Every generator function has one of the BrngInitStreamFn, BrngSFn, BrngDFn, BrngIFn shapes of
// oxl/vrs.h. InitStream must set every byte of the state: allocation leaves it uninitialised.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "oxl/vrs.h"

namespace oxl::vrs {

inline constexpr int kStreamHeaderBytes = 16;
static_assert(sizeof(StreamRecord) == kStreamHeaderBytes);
static_assert(offsetof(StreamRecord, Chunks) == 8);
static_assert(sizeof(ChunkNode) == 40 && offsetof(ChunkNode, Key) == 24);
static_assert(sizeof(BrngRecord) == 56 && offsetof(BrngRecord, InitStream) == 24);

inline constexpr int kRegistryRows = 512;
inline constexpr int kOldRegistryValidRows = 281;  // rows 279 and 280 are zero and still valid
inline constexpr int kIdRowShift = 20;
inline constexpr int32_t kIdOffsetMask = 0xFFFFF;

// Alignment of stream records, chunk nodes and chunk data.
inline constexpr int kRecordAlignment = 128;

template <class State>
inline State* StateOf(StreamRecord* stream) {
  return reinterpret_cast<State*>(reinterpret_cast<unsigned char*>(stream) + kStreamHeaderBytes);
}
template <class State>
inline const State* StateOf(const StreamRecord* stream) {
  return reinterpret_cast<const State*>(reinterpret_cast<const unsigned char*>(stream) +
                                        kStreamHeaderBytes);
}

// The bytes a generator whose state is `State` needs in its row.
template <class State>
inline constexpr int kStateSizeOf = kStreamHeaderBytes + static_cast<int>(sizeof(State));

// The 64-bit skip count or 32-bit stream index that methods 2 and 1 of InitStream find at params.
inline uint64_t SkipCountParam(const uint32_t* params) {
  uint64_t count;
  std::memcpy(&count, params, sizeof count);
  return count;
}

// Number of members of each row of __RegBrngsNew, and the rows in use.
extern int32_t NumOffsets[kRegistryRows];
extern int32_t NRegBrngsNew;

// The row of `stream`'s generator (the stream must hold a valid id).
const BrngRecord& RowOf(const StreamRecord* stream);

}  // namespace oxl::vrs
