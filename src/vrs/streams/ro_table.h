// The process-wide table of shared read-only blocks, such as direction tables that many streams
// use: a chunk whose key names a row refers to the row's block instead of owning a copy.
#pragma once

#include <atomic>
#include <cstdint>

#include "oxl/vrs.h"

namespace oxl::vrs {

inline constexpr int kROTableRows = 128;
// __vrsAddChunk stops sharing one row before the table is full.
inline constexpr int kROTableShareLimit = 127;

extern GlobRODataEntry _GlobRODataTable[kROTableRows];
// Read outside the lock by __vrsAddChunk, so its count test is approximate: two threads may both
// miss a key and both create a row.
extern std::atomic<int32_t> _GlobRODataTableCount;

// The table's one spin lock.
void _vrsGlobRODataTableLock();
void _vrsGlobRODataTableUnLock();

inline bool IsZeroKey(const uint64_t* key) { return key[0] == 0 && key[1] == 0; }

}  // namespace oxl::vrs
