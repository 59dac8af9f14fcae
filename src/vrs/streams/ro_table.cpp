// The read-only data table: rows of (key, reference count, block) under one spin lock.
#include "vrs/streams/ro_table.h"

#include <x86intrin.h>

#include "oxl/platform.h"

namespace oxl::vrs {

GlobRODataEntry _GlobRODataTable[kROTableRows];
std::atomic<int32_t> _GlobRODataTableCount{0};

namespace {

std::atomic<uint32_t> _VRS_GLOB_RO_DATA_TABLE_LOCKER_1{0};

bool SameKey(const GlobRODataEntry& entry, const uint64_t* key) {
  return entry.Key[0] == key[0] && entry.Key[1] == key[1];
}

// Linear search from row 0; the caller holds the lock.
GlobRODataEntry* FindLocked(const uint64_t* key) {
  const int32_t count = _GlobRODataTableCount.load(std::memory_order_relaxed);
  for (int32_t i = 0; i < count; ++i) {
    if (SameKey(_GlobRODataTable[i], key)) return &_GlobRODataTable[i];
  }
  return nullptr;
}

}  // namespace

void _vrsGlobRODataTableLock() {
  uint32_t expected = 0;
  while (!_VRS_GLOB_RO_DATA_TABLE_LOCKER_1.compare_exchange_weak(expected, 1,
                                                                 std::memory_order_acquire)) {
    expected = 0;
    _mm_pause();
  }
}

void _vrsGlobRODataTableUnLock() {
  _VRS_GLOB_RO_DATA_TABLE_LOCKER_1.store(0, std::memory_order_release);
}

}  // namespace oxl::vrs

using namespace oxl::vrs;

extern "C" {

OXL_API int32_t __vrsCreateGlobRODataTableEntry(GlobRODataEntry** entry, const uint64_t* key,
                                                void* data) {
  _vrsGlobRODataTableLock();
  const int32_t count = _GlobRODataTableCount.load(std::memory_order_relaxed);
  int32_t status = StatusROTableFull;
  if (count < kROTableRows) {
    GlobRODataEntry& row = _GlobRODataTable[count];
    row.Key[0] = key[0];
    row.Key[1] = key[1];
    row.RefCount = 1;
    row.Data = data;
    _GlobRODataTableCount.store(count + 1, std::memory_order_relaxed);
    *entry = &row;
    status = 0;
  }
  _vrsGlobRODataTableUnLock();
  return status;
}

OXL_API int32_t __vrsFindGlobRODataTableEntry(GlobRODataEntry** entry, const uint64_t* key) {
  if (!key || IsZeroKey(key)) return StatusRONotFound;
  _vrsGlobRODataTableLock();
  GlobRODataEntry* found = FindLocked(key);
  _vrsGlobRODataTableUnLock();
  if (!found) return StatusRONotFound;
  *entry = found;
  return 0;
}

OXL_API int32_t __vrsGenerateNewGlobalRODataTableEntryId(uint64_t* key, uint64_t second) {
  key[1] = second;
  GlobRODataEntry* entry = nullptr;
  do {
    key[0] = __rdtsc();
  } while (__vrsFindGlobRODataTableEntry(&entry, key) == 0);
  return 0;
}

OXL_API void __vrsRegisterGlobRODataReference(ChunkNode* node, const uint64_t* key) {
  _vrsGlobRODataTableLock();
  if (GlobRODataEntry* row = FindLocked(key)) {
    ++row->RefCount;
    node->Data = row->Data;
  }
  _vrsGlobRODataTableUnLock();
}

OXL_API void __vrsUnregisterGlobRODataReference(const uint64_t* key) {
  _vrsGlobRODataTableLock();
  for (int32_t i = 0; i < _GlobRODataTableCount.load(std::memory_order_relaxed); ++i) {
    GlobRODataEntry& row = _GlobRODataTable[i];
    if (!SameKey(row, key) || --row.RefCount != 0) continue;
    if (row.Data) oxl_serv_deallocate(row.Data);
    const int32_t last = _GlobRODataTableCount.load(std::memory_order_relaxed) - 1;
    _GlobRODataTableCount.store(last, std::memory_order_relaxed);
    // Keep the rows in use contiguous: the last row moves into the hole.
    if (i != last) row = _GlobRODataTable[last];
  }
  _vrsGlobRODataTableUnLock();
}

}  // extern "C"
