// Registry, stream records, chunks and the read-only table.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "oxl/platform.h"
#include "oxl/vrs.h"
#include "support/failing_allocator.h"
#include "support/stream_guard.h"
#include "vrs/generators/congruential.h"
#include "vrs/streams/ro_table.h"
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
namespace {

using Stream = test::StreamGuard;

TEST(Registry, IdArithmeticAndValidity) {
  const struct {
    int32_t id;
    bool new_table;
    int32_t row, offset;
    bool valid;
  } cases[] = {
      {0x100000, true, 0, 0, true},
      {0x500000 + 272, true, 4, 272, true},
      {0x500000 + 273, true, 4, 273, false},
      {0x900000 + 6023, true, 8, 6023, true},
      {0x900000 + 6024, true, 8, 6024, false},
      {0x1000000, true, 15, 0, true},
      {0x1100000, true, 16, 0, false},
      {0x300001, true, 2, 1, false},
      {3, false, 3, 0, true},
      {4, false, 4, 0, true},
      {276, false, 4, 272, true},
      {277, false, 277, 0, true},
      {280, false, 280, 0, true},
      {281, false, 281, 0, false},
      {-1, false, -1, 0, true},  // signed comparison: a negative id passes
  };
  for (const auto& c : cases) {
    int32_t row = -7;
    int32_t offset = -7;
    const BrngRecord* table = __vrsGetBrngBaseOffset(c.id, &row, &offset);
    EXPECT_EQ(table, c.new_table ? __RegBrngsNew : __RegBrngs) << std::hex << c.id;
    EXPECT_EQ(row, c.row) << std::hex << c.id;
    EXPECT_EQ(offset, c.offset) << std::hex << c.id;
    EXPECT_EQ(__vrsIsBrngValid(table, row, offset), c.valid ? 0 : StatusInvalidBrng)
        << std::hex << c.id;
  }
  // Properties come from the row, also for a member of a family.
  BrngRecord p{};
  ASSERT_EQ(__vrsGetBrngProperties(0x900000 + 6023, &p), 0);
  EXPECT_EQ(p.StateSize, 312);
}

TEST(Registry, OlderTableRows) {
  // Rows 0-3 are the new table's, 4-276 the MT2203 family's row, 277 and 278 the next two; the rest
  // are zero.
  const BrngRecord zero{};
  for (int row = 0; row < 512; ++row) {
    const int same = row < 4 ? row : row <= 276 ? 4 : row <= 278 ? row - 272 : -1;
    const BrngRecord* want = same < 0 ? &zero : &__RegBrngsNew[same];
    EXPECT_EQ(std::memcmp(&__RegBrngs[row], want, sizeof(BrngRecord)), 0) << row;
  }
  // The abstract generators exist, with creators of their own.
  for (int32_t id : {0xA00000, 0xB00000, 0xC00000}) {
    BrngRecord p{};
    EXPECT_EQ(__vrsGetBrngProperties(id, &p), 0);
  }
}

// Calls a caller should not make: their status, and no stream made or freed.
TEST(Streams, StatusesOfBadCalls) {
  StreamRecord* s = nullptr;
  // The zero rows pass the validity test but make no stream; nor do the abstract generators.
  for (int32_t id : {279, -1, 0xA00000, 0xB00000, 0xC00000})
    EXPECT_EQ(__vrsNewStreamEx(&s, id, 0, nullptr), StatusInvalidBrng) << std::hex << id;
  EXPECT_EQ(s, nullptr);
  BrngRecord p{};
  for (int32_t id : {0x1F00000, -5}) EXPECT_EQ(__vrsGetBrngProperties(id, &p), StatusInvalidBrng);
  const uint32_t seed = 1;
  ASSERT_EQ(__vrsNewStreamEx(&s, OXL_BRNG_MCG31, 1, &seed), 0);
  EXPECT_EQ(__vrsCopyStreamState(s, nullptr), StatusBadArgs);
  EXPECT_EQ(__vrsCopyStreamState(nullptr, s), StatusBadArgs);
  EXPECT_EQ(__vrsDeleteStream(&s), 0);
  EXPECT_EQ(__vrsDeleteStream(&s), StatusBadArgs);  // the first cleared the pointer
  EXPECT_EQ(__vrsDeleteStream(nullptr), StatusBadArgs);
  GlobRODataEntry* e = nullptr;
  const uint64_t zero_key[2] = {0, 0};
  EXPECT_EQ(__vrsFindGlobRODataTableEntry(&e, nullptr), StatusRONotFound);
  EXPECT_EQ(__vrsFindGlobRODataTableEntry(&e, zero_key), StatusRONotFound);
  // A row whose generator is not built yet: the stream is made, seeding fails, the caller deletes
  // it.
  EXPECT_EQ(__vrsNewStreamEx(&s, OXL_BRNG_WH, 1, &seed), StatusInvalidBrng);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(__vrsGetStreamStateBrng(s), OXL_BRNG_WH);
  EXPECT_EQ(__vrsDeleteStream(&s), 0);
  EXPECT_EQ(s, nullptr);
}

int32_t DummyInit(int32_t, StreamRecord*, int32_t, const uint32_t*) { return 0; }
int32_t DummyS(StreamRecord*, int32_t, float*, float, float) { return 0; }
int32_t DummyD(StreamRecord*, int32_t, double*, double, double) { return 0; }
int32_t DummyI(StreamRecord*, int32_t, uint32_t*) { return 0; }

TEST(Registry, RegistrationChecksInOrder) {
  EXPECT_EQ(__vrsGetNumRegBrngs(), 16);
  const BrngRecord good = {24, 1, 0, 4, 32, DummyInit, DummyS, DummyD, DummyI};
  // Each record fails two checks; the first one wins.
  const struct {
    BrngRecord record;
    int32_t status;
  } bad[] = {{{-1, 1, 0, 3, 32, DummyInit, DummyS, DummyD, DummyI}, StatusBadStateSize},
             {{24, 0, 0, 12, 32, DummyInit, DummyS, DummyD, DummyI}, StatusBadWordBytes},
             {{24, -2, 0, 4, 0, DummyInit, DummyS, DummyD, DummyI}, StatusBadSeedWords},
             {{24, 1, 0, 4, -1, DummyInit, nullptr, DummyD, DummyI}, StatusBadBits},
             {{24, 1, 0, 4, 32, nullptr, DummyS, DummyD, DummyI}, StatusNullBrngFunction}};
  for (const auto& b : bad) EXPECT_EQ(__vrsRegisterBrng(&b.record), b.status);
  EXPECT_EQ(__vrsGetNumRegBrngs(), 16);

  EXPECT_EQ(__vrsRegisterBrng(&good), 0x1100000);
  EXPECT_EQ(__vrsRegisterBrng(&good), 0x1200000);
  EXPECT_EQ(__vrsGetNumRegBrngs(), 18);
  BrngRecord p{};
  ASSERT_EQ(__vrsGetBrngProperties(0x1200000, &p), 0);
  EXPECT_EQ(p.InitStream, &DummyInit);
  EXPECT_EQ(__vrsGetBrngProperties(0x1200001, &p), StatusInvalidBrng);
  Stream made(0x1100000, {});

  // WH's shape: 4 seed words of 16 bytes, 64 bytes, against a 32-byte state. Copying the seed
  // words stays inside both records (the sanitizers watch).
  const BrngRecord wh_like = {48, 4, 1, 16, 24, DummyInit, DummyS, DummyD, DummyI};
  const int32_t id = __vrsRegisterBrng(&wh_like);
  ASSERT_EQ(id, 0x1300000);
  Stream from(id, {}), to(id, {});
  std::memset(StateOf<unsigned char>(from.s), 0x3C, 32);
  EXPECT_EQ(__vrsCopyStreamState(to.s, from.s), 0);
  EXPECT_EQ(StateOf<unsigned char>(to.s)[31], 0x3C);
}

void* Block(int32_t size, unsigned char fill) {
  void* p = oxl_serv_allocate(static_cast<size_t>(size), 128);
  std::memset(p, fill, static_cast<size_t>(size));
  return p;
}

TEST(Streams, HeaderAndCopies) {
  Stream st(OXL_BRNG_MCG31, {99});
  StreamRecord* s = st.s;
  EXPECT_EQ(s->Brng, OXL_BRNG_MCG31);
  EXPECT_EQ(s->Format, 1);
  EXPECT_EQ(s->Reserved[0] | s->Reserved[1] | s->Reserved[2], 0);
  EXPECT_EQ(s->Chunks, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(s) % 128, 0u);
  ASSERT_EQ(__vrsAddChunk(s, 5, nullptr, Block(64, 0xAB), 64), 0);

  Stream copy(st);
  EXPECT_EQ(std::memcmp(copy.s, s, 8), 0);
  EXPECT_EQ(std::memcmp(reinterpret_cast<char*>(copy.s) + 16, reinterpret_cast<char*>(s) + 16, 8),
            0);
  // Private chunk data is copied, not shared.
  auto* data = static_cast<unsigned char*>(__vrsSearchChunk(copy.s, 5));
  ASSERT_NE(data, nullptr);
  EXPECT_NE(data, __vrsSearchChunk(s, 5));
  EXPECT_EQ(data[63], 0xAB);

  // Only the seed words move: MCG31's X, not its multiplier.
  Stream other(OXL_BRNG_MCG31, {12345});
  ASSERT_EQ(__vrsLeapfrogStream(other.s, 0, 3), 0);
  const uint32_t other_a = StateOf<Mcg31State>(other.s)->A;
  ASSERT_EQ(__vrsCopyStreamState(other.s, s), 0);
  EXPECT_EQ(StateOf<Mcg31State>(other.s)->X, StateOf<Mcg31State>(s)->X);
  EXPECT_EQ(StateOf<Mcg31State>(other.s)->A, other_a);
  EXPECT_EQ(__vrsGetNumChunks(other.s), 1);
  // On itself it does nothing, chunks included.
  ChunkNode* head = s->Chunks;
  EXPECT_EQ(__vrsCopyStreamState(s, s), 0);
  EXPECT_EQ(s->Chunks, head);
}

// The seed words of one generator are not laid over a smaller state of another: a status, and
// nothing changed.
TEST(Streams, OverlongStateCopiesAreRefused) {
  const struct {
    int32_t destination, source, status;
  } pairs[] = {
      {OXL_BRNG_MCG31, OXL_BRNG_MT19937, StatusInvalidBrng},  // 2500 seed bytes into 8
      {OXL_BRNG_MCG59, OXL_BRNG_MRG32K3A, StatusInvalidBrng},
      {OXL_BRNG_MT19937, OXL_BRNG_MCG31, 0},             // the copy does not compare generators
      {OXL_BRNG_MT2203 + 5, OXL_BRNG_MT2203 + 4000, 0},  // members of one family
      {0, OXL_BRNG_MCG31, 0},                            // MCG31 in the older numbering
  };
  for (const auto& p : pairs) {
    Stream destination(p.destination, {7}), source(p.source, {7});
    StreamRecord* to = destination.s;
    ASSERT_EQ(__vrsAddChunk(to, 5, nullptr, Block(16, 0x11), 16), 0);
    BrngRecord row{};
    ASSERT_EQ(__vrsGetBrngProperties(p.destination, &row), 0);
    const std::vector<unsigned char> before(reinterpret_cast<unsigned char*>(to),
                                            reinterpret_cast<unsigned char*>(to) + row.StateSize);
    EXPECT_EQ(__vrsCopyStreamState(to, source.s), p.status) << std::hex << p.destination;
    if (p.status != 0) {
      EXPECT_EQ(std::memcmp(before.data(), to, before.size()), 0) << std::hex << p.destination;
      EXPECT_EQ(static_cast<unsigned char*>(__vrsSearchChunk(to, 5))[0], 0x11);
    }
  }
}

TEST(Chunks, ListOrderSearchAndDeleteById) {
  Stream st(OXL_BRNG_MCG31, {1}), lone(OXL_BRNG_MCG31, {2});
  StreamRecord* s = st.s;
  // Ids 1, 2, 2 holding 1, 2, 3.
  for (int k : {1, 2, 3}) ASSERT_EQ(__vrsAddChunk(s, std::min(k, 2), nullptr, Block(8, k), 8), 0);
  EXPECT_EQ(__vrsGetNumChunks(s), 3);
  EXPECT_EQ(*static_cast<unsigned char*>(__vrsSearchChunk(s, 2)), 3);  // newest first
  EXPECT_EQ(__vrsSearchChunk(s, 9), nullptr);

  // The copy's list is reversed.
  Stream copy(st);
  EXPECT_EQ(copy.s->Chunks->Id, 1u);
  EXPECT_EQ(*static_cast<unsigned char*>(__vrsSearchChunk(copy.s, 2)), 2);

  // The one chunk of an id, alone in the list: the list ends empty.
  ASSERT_EQ(__vrsAddChunk(lone.s, 6, nullptr, Block(8, 6), 8), 0);
  __vrsDeleteChunksById(lone.s, 6);
  EXPECT_EQ(lone.s->Chunks, nullptr);
  // Matching nodes in front of every kept one are released; the kept node becomes the head.
  __vrsDeleteChunksById(s, 2);
  ASSERT_EQ(__vrsGetNumChunks(s), 1);
  EXPECT_EQ(s->Chunks->Id, 1u);

  // Deleting the last id of a list keeps only the node before it: node 3 leaves the list
  // unfreed, and is the caller's to release here.
  for (int id : {6, 4, 3}) ASSERT_EQ(__vrsAddChunk(lone.s, id, nullptr, Block(8, id), 8), 0);
  ChunkNode* first = lone.s->Chunks;
  __vrsDeleteChunksById(lone.s, 6);
  ASSERT_EQ(__vrsGetNumChunks(lone.s), 1);
  EXPECT_EQ(lone.s->Chunks->Id, 4u);
  ASSERT_EQ(first->Id, 3u);
  first->Next = nullptr;
  StreamRecord holder{};
  holder.Chunks = first;
  __vrsDeleteChunks(&holder);
}

// The table is process-wide: every test leaves it as it found it.
class ROTable : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(_GlobRODataTableCount.load(), 0); }
  void TearDown() override { EXPECT_EQ(_GlobRODataTableCount.load(), 0); }
};

TEST_F(ROTable, SharingReferenceCountsAndCompaction) {
  uint64_t k1[2], k2[2], k3[2];
  ASSERT_EQ(__vrsGenerateNewGlobalRODataTableEntryId(k1, 1), 0);
  EXPECT_EQ(k1[1], 1u);
  __vrsGenerateNewGlobalRODataTableEntryId(k2, 2);
  __vrsGenerateNewGlobalRODataTableEntryId(k3, 3);
  Stream sa(OXL_BRNG_MCG31, {1}), b(OXL_BRNG_MCG31, {2});
  StreamRecord*& a = sa.s;
  void* block1 = Block(256, 1);
  ASSERT_EQ(__vrsAddChunk(a, 9, k1, block1, 256), 0);
  ASSERT_EQ(__vrsAddChunk(a, 10, k2, Block(256, 2), 256), 0);
  ASSERT_EQ(__vrsAddChunk(b.s, 13, k3, Block(256, 3), 256), 0);
  EXPECT_EQ(_GlobRODataTableCount.load(), 3);

  // A second chunk of a known key takes the table's block; the caller keeps its own.
  void* mine = Block(256, 7);
  ASSERT_EQ(__vrsAddChunk(b.s, 9, k1, mine, 256), 0);
  EXPECT_EQ(__vrsSearchChunk(b.s, 9), block1);
  oxl_serv_deallocate(mine);
  GlobRODataEntry* e = nullptr;
  ASSERT_EQ(__vrsFindGlobRODataTableEntry(&e, k1), 0);
  EXPECT_EQ(e->RefCount, 2);

  // Copies share and count.
  Stream c(sa);
  EXPECT_EQ(__vrsSearchChunk(c.s, 9), block1);
  EXPECT_EQ(e->RefCount, 3);

  // Deleting the last holder of k1's row... a and c hold k1 and k2, b holds k1 and k3.
  __vrsDeleteStream(&c.s);
  __vrsDeleteStream(&a);
  ASSERT_EQ(__vrsFindGlobRODataTableEntry(&e, k2), StatusRONotFound);
  // ... frees k2's block and moves the last row (k3) into its hole.
  EXPECT_EQ(_GlobRODataTableCount.load(), 2);
  EXPECT_EQ(_GlobRODataTable[1].Key[1], 3u);
  ASSERT_EQ(__vrsFindGlobRODataTableEntry(&e, k1), 0);
  EXPECT_EQ(e->RefCount, 1);
}

TEST_F(ROTable, FullTableLeavesChunksPrivate) {
  // Fill rows directly up to the sharing limit of 127.
  GlobRODataEntry* e = nullptr;
  for (uint64_t i = 1; i <= kROTableShareLimit; ++i)
    ASSERT_EQ(
        __vrsCreateGlobRODataTableEntry(&e, std::array<uint64_t, 2>{0xF00D, i}.data(), nullptr), 0);
  Stream s(OXL_BRNG_MCG31, {1});
  const uint64_t fresh[2] = {0xBEEF, 1};
  ASSERT_EQ(__vrsAddChunk(s.s, 9, fresh, Block(16, 9), 16), 0);
  EXPECT_EQ(s.s->Chunks->Key[0] | s.s->Chunks->Key[1], 0u);
  EXPECT_EQ(_GlobRODataTableCount.load(), kROTableShareLimit);
  // The table's own limit is one row more.
  ASSERT_EQ(__vrsCreateGlobRODataTableEntry(&e, fresh, nullptr), 0);
  EXPECT_EQ(__vrsCreateGlobRODataTableEntry(&e, fresh, nullptr), StatusROTableFull);
  __vrsUnregisterGlobRODataReference(fresh);
  for (uint64_t i = 1; i <= kROTableShareLimit; ++i)
    __vrsUnregisterGlobRODataReference(std::array<uint64_t, 2>{0xF00D, i}.data());
}

// Every allocation of every stream entry fails in turn: StatusNoMemory, nothing left allocated,
// and the streams a failed call does not create (the source, the stream a chunk is added to) as
// they were.
TEST_F(ROTable, EveryAllocationFailureIsCleanAndReported) {
  // A stream with a private and a shared chunk, copied while each allocation in turn fails.
  uint64_t key[2];
  __vrsGenerateNewGlobalRODataTableEntryId(key, 77);
  Stream st(OXL_BRNG_MCG31, {5}), other_stream(OXL_BRNG_MCG31, {6});
  StreamRecord* s = st.s;
  ASSERT_EQ(__vrsAddChunk(s, 9, key, Block(64, 9), 64), 0);
  ASSERT_EQ(__vrsAddChunk(s, 5, nullptr, Block(64, 5), 64), 0);
  StreamRecord* other = other_stream.s;
  const std::pair<const void*, size_t> source(s, 24), heads(other, 24);
  const std::vector<test::FailureSweepRow> rows = {
      {"copy",
       [&]() -> int64_t {
         StreamRecord* copy = nullptr;
         const int32_t status = __vrsCopyStream(&copy, s);
         if (copy) __vrsDeleteStream(&copy);
         return status;
       },
       StatusNoMemory,
       {source}},
      {"new",
       [&]() -> int64_t {
         StreamRecord* t = nullptr;
         const uint32_t seed = 3;
         const int32_t status = __vrsNewStreamEx(&t, OXL_BRNG_MRG32K3A, 1, &seed);
         if (t) __vrsDeleteStream(&t);
         return status;
       },
       StatusNoMemory,
       {}},
      {"add a chunk",
       [&]() -> int64_t {
         // No data: a block of the test's own would be one more allocation to fail.
         const int32_t status = __vrsAddChunk(other, 3, nullptr, nullptr, 0);
         __vrsDeleteChunksById(other, 3);
         return status;
       },
       StatusNoMemory,
       {heads}},
      {"copy the state",
       [&]() -> int64_t {
         const int32_t status = __vrsCopyStreamState(other, s);
         __vrsDeleteChunks(other);
         return status;
       },
       StatusNoMemory,
       {source}},
  };
  const std::vector<int64_t> counts = test::SweepAllocationFailures(rows);
  EXPECT_EQ(counts, (std::vector<int64_t>{4, 1, 1, 3}));  // copy: record, private data, two nodes
  GlobRODataEntry* e = nullptr;
  ASSERT_EQ(__vrsFindGlobRODataTableEntry(&e, key), 0);
  EXPECT_EQ(e->RefCount, 1);
}

}  // namespace
}  // namespace oxl::vrs
