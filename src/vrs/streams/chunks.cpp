// The chunk list: auxiliary data hung on a stream by id, newest first, shared through the
// read-only table when its key is there.
#include <cstring>

#include "oxl/platform.h"
#include "platform/checked_size.h"
#include "vrs/streams/ro_table.h"
#include "vrs/streams/stream_record.h"

using namespace oxl::vrs;

namespace {

// Gives up the node's data: a reference to a table row, or the node's own block.
void ReleaseChunk(ChunkNode* node) {
  GlobRODataEntry* entry = nullptr;
  if (__vrsFindGlobRODataTableEntry(&entry, node->Key) == 0) {
    __vrsUnregisterGlobRODataReference(node->Key);
  } else if (node->Data) {
    oxl_serv_deallocate(node->Data);
  }
  oxl_serv_deallocate(node);
}

}  // namespace

extern "C" {

OXL_API int32_t __vrsAddChunk(StreamRecord* stream, uint32_t id, const uint64_t* key, void* data,
                              int32_t size) {
  auto* node = static_cast<ChunkNode*>(oxl_serv_allocate(sizeof(ChunkNode), kRecordAlignment));
  if (!node) return StatusNoMemory;
  node->Id = id;
  node->Size = size;
  node->Data = data;
  node->Key[0] = key ? key[0] : 0;
  node->Key[1] = key ? key[1] : 0;
  GlobRODataEntry* entry = nullptr;
  if (__vrsFindGlobRODataTableEntry(&entry, node->Key) == 0) {
    // The table's block replaces the caller's, which stays the caller's.
    __vrsRegisterGlobRODataReference(node, node->Key);
  } else if (_GlobRODataTableCount.load(std::memory_order_relaxed) >= kROTableShareLimit) {
    node->Key[0] = node->Key[1] = 0;
  } else if (!IsZeroKey(node->Key)) {
    // A row that cannot be made (another thread filled the table) leaves the block private; a
    // key without a row would later be taken for a shared one.
    if (__vrsCreateGlobRODataTableEntry(&entry, node->Key, data) != 0) {
      node->Key[0] = node->Key[1] = 0;
    }
  }
  node->Next = stream->Chunks;
  stream->Chunks = node;
  return 0;
}

OXL_API void* __vrsSearchChunk(const StreamRecord* stream, uint32_t id) {
  for (const ChunkNode* node = stream->Chunks; node; node = node->Next) {
    if (node->Id == id) return node->Data;
  }
  return nullptr;
}

OXL_API int32_t __vrsGetNumChunks(const StreamRecord* stream) {
  int32_t count = 0;
  for (const ChunkNode* node = stream->Chunks; node; node = node->Next) ++count;
  return count;
}

OXL_API int32_t __vrsCopyChunks(StreamRecord* destination, const StreamRecord* source) {
  for (const ChunkNode* node = source->Chunks; node; node = node->Next) {
    GlobRODataEntry* entry = nullptr;
    void* data = node->Data;
    bool own_copy = false;
    if (__vrsFindGlobRODataTableEntry(&entry, node->Key) != 0 && node->Data) {
      // The size is the caller's, given to __vrsAddChunk: a negative one is no size at all.
      data = oxl::platform::AllocateChecked(node->Size, kRecordAlignment);
      if (!data) {
        __vrsDeleteChunks(destination);
        return StatusNoMemory;
      }
      std::memcpy(data, node->Data, static_cast<size_t>(node->Size));
      own_copy = true;
    }
    const int32_t status = __vrsAddChunk(destination, node->Id, node->Key, data, node->Size);
    if (status != 0) {
      if (own_copy) oxl_serv_deallocate(data);
      __vrsDeleteChunks(destination);
      return status;
    }
  }
  return 0;
}

OXL_API void __vrsDeleteChunks(StreamRecord* stream) {
  ChunkNode* node = stream->Chunks;
  while (node) {
    ChunkNode* next = node->Next;
    ReleaseChunk(node);
    node = next;
  }
  stream->Chunks = nullptr;
}

OXL_API void __vrsDeleteChunksById(StreamRecord* stream, uint32_t id) {
  // The head becomes the last node kept, not the first: nodes kept in front of it leave the list
  // without being freed. With one chunk of the id and nothing else, as the Hypergeometric
  // generator has it, the list simply ends empty.
  ChunkNode* kept = nullptr;
  ChunkNode* node = stream->Chunks;
  while (node) {
    ChunkNode* next = node->Next;
    if (node->Id == id) {
      ReleaseChunk(node);
      if (kept) kept->Next = next;
    } else {
      kept = node;
    }
    node = next;
  }
  stream->Chunks = kept;
}

}  // extern "C"
