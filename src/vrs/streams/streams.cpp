// Stream records: allocation, creation, copies, deletion, and the skip-ahead and leapfrog entries.
#include <cstring>

#include "oxl/platform.h"
#include "platform/checked_size.h"
#include "vrs/streams/stream_record.h"

using namespace oxl::vrs;

namespace {

// A record holds StateSize bytes, and never fewer than the seed words that
// __vrsCopyStreamState moves: for WH those are 64 bytes against a 32-byte state, and the slack
// keeps that copy inside both records.
oxl::platform::CheckedSize RecordBytes(const BrngRecord& row) {
  const oxl::platform::CheckedSize seeds =
      oxl::platform::CheckedSize(row.WordBytes) * row.SeedWords + kStreamHeaderBytes;
  return !seeds.ok() || seeds.value() > static_cast<size_t>(row.StateSize) ? seeds : row.StateSize;
}

bool IsAbstract(int32_t id) {
  return id == OXL_BRNG_IABSTRACT || id == OXL_BRNG_DABSTRACT || id == OXL_BRNG_SABSTRACT;
}

}  // namespace

extern "C" {

OXL_API int32_t __vrsAllocateStream(StreamRecord** stream, const BrngRecord* table, int32_t id,
                                    int32_t row, int32_t offset) {
  const int32_t status = __vrsIsBrngValid(table, row, offset);
  if (status != 0) return status;
  // Negative ids and the two zero rows of the older table pass the validity test; a record of
  // their size could not even hold the header, so they stop here.
  if (row < 0 || table[row].StateSize < kStreamHeaderBytes) return StatusInvalidBrng;
  auto* record = static_cast<StreamRecord*>(
      oxl::platform::AllocateChecked(RecordBytes(table[row]), kRecordAlignment));
  *stream = record;
  if (!record) return StatusNoMemory;
  record->Brng = id;
  record->Format = 1;
  std::memset(record->Reserved, 0, sizeof record->Reserved);
  record->Chunks = nullptr;
  return 0;
}

OXL_API int32_t __vrsNewStreamEx(StreamRecord** stream, int32_t id, int32_t n,
                                 const uint32_t* seeds) {
  if (IsAbstract(id)) return StatusInvalidBrng;
  int32_t row = 0;
  int32_t offset = 0;
  const BrngRecord* table = __vrsGetBrngBaseOffset(id, &row, &offset);
  const int32_t status = __vrsAllocateStream(stream, table, id, row, offset);
  if (status != 0) return status;
  if (!table[row].InitStream) return StatusInvalidBrng;
  return table[row].InitStream(OXL_BRNG_INIT_SEED, *stream, n, seeds);
}

OXL_API int32_t __vrsCopyStream(StreamRecord** copy, const StreamRecord* source) {
  int32_t row = 0;
  int32_t offset = 0;
  const BrngRecord* table = __vrsGetBrngBaseOffset(source->Brng, &row, &offset);
  const int32_t status = __vrsAllocateStream(copy, table, source->Brng, row, offset);
  if (status != 0) return status;
  const auto size = static_cast<size_t>(table[row].StateSize);
  oxl_serv_memcpy_s(*copy, size, source, size);
  (*copy)->Chunks = nullptr;
  return __vrsCopyChunks(*copy, source);
}

OXL_API int32_t __vrsCopyStreamState(StreamRecord* destination, const StreamRecord* source) {
  if (destination == nullptr || source == nullptr) return StatusBadArgs;
  if (destination == source) return 0;
  const BrngRecord& row = RowOf(source);
  const auto bytes = static_cast<size_t>(row.WordBytes) * static_cast<size_t>(row.SeedWords);
  // The copy is meant for streams of one generator and does not compare their ids; but seed words
  // that would run past the destination's record are refused.
  const oxl::platform::CheckedSize room = RecordBytes(RowOf(destination));
  if (!room.ok() || bytes > room.value() - kStreamHeaderBytes) return StatusInvalidBrng;
  oxl_serv_memcpy_s(StateOf<unsigned char>(destination), bytes, StateOf<unsigned char>(source),
                    bytes);
  __vrsDeleteChunks(destination);
  return __vrsCopyChunks(destination, source);
}

OXL_API int32_t __vrsDeleteStream(StreamRecord** stream) {
  // A create that failed leaves a null stream; deleting it must be harmless.
  if (stream == nullptr || *stream == nullptr) return StatusBadArgs;
  __vrsDeleteChunks(*stream);
  oxl_serv_deallocate(*stream);
  *stream = nullptr;
  return 0;
}

OXL_API int32_t __vrsGetStreamStateBrng(const StreamRecord* stream) { return stream->Brng; }

OXL_API int32_t __vrsLeapfrogStream(StreamRecord* stream, int32_t k, int32_t nstreams) {
  // Sign-extended and read as unsigned, every negative count is at least 0xFFFFFFFF.
  if (static_cast<uint64_t>(static_cast<int64_t>(nstreams)) >= 0xFFFFFFFFu) {
    return StatusBadLeapfrogCount;
  }
  const auto index = static_cast<uint32_t>(k);
  return RowOf(stream).InitStream(OXL_BRNG_INIT_LEAPFROG, stream, nstreams, &index);
}

OXL_API int32_t __vrsSkipAheadStream(StreamRecord* stream, int64_t nskip) {
  uint32_t count[2];
  std::memcpy(count, &nskip, sizeof count);
  return RowOf(stream).InitStream(OXL_BRNG_INIT_SKIPAHEAD, stream, 2, count);
}

}  // extern "C"
