// Polynomial skip-ahead drivers and the state callbacks of MT19937 and SFMT19937.
//
// A working state is the generator's own state struct, read circularly from its index: the
// word (MT19937) or 128-bit group (SFMT19937) at the index is the oldest, the next to be
// replaced. One step of the recurrence there is the linear map T whose characteristic
// polynomial P the exponent tables hold, so for g = x^nskip mod P, g(T) s = T^nskip s.
#include "vrs/generators/skipahead_poly.h"

#include <cstring>

#include "oxl/platform.h"
#include "vrs/generators/twister.h"
#include "vrs/streams/gf2_poly.h"
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {

#include "vrs/generators/twister_polys.inc"

const uint32_t _vrs_mt19937_poly[] = {OXL_MT19937_POLY_EXPONENTS};
const uint32_t _vrs_sfmt19937_poly[] = {OXL_SFMT19937_POLY_EXPONENTS};
const int32_t kMt19937PolyCount = OXL_MT19937_POLY_COUNT;
const int32_t kSfmt19937PolyCount = OXL_SFMT19937_POLY_COUNT;

namespace {

void* StreamState(StreamRecord* stream) {
  return reinterpret_cast<unsigned char*>(stream) + kStreamHeaderBytes;
}

inline bool PolyBit(const uint64_t* p, int i) { return ((p[i >> 6] >> (i & 63)) & 1u) != 0; }

int TopBit(const uint64_t* p, size_t words) {
  for (size_t w = words; w-- > 0;)
    if (p[w] != 0) return static_cast<int>(w * 64) + 63 - __builtin_clzll(p[w]);
  return -1;
}

unsigned char* StateAt(unsigned char* base, int bytes, int k) {
  return base + static_cast<size_t>(k) * static_cast<size_t>(bytes);
}

// ---- MT19937: one step is one 32-bit word of 624.

int MtIndex(const Mt19937State* s) { return s->Index % kMtN; }

void MtZero(void* state) { std::memset(state, 0, sizeof(Mt19937State)); }

void MtCopy1(void* target, const void* source) { std::memcpy(target, source, sizeof(Mt19937State)); }

void MtAdd(void* accumulator, const void* other) {
  auto* a = static_cast<Mt19937State*>(accumulator);
  const auto* o = static_cast<const Mt19937State*>(other);
  int ia = MtIndex(a), io = MtIndex(o);
  // Walk both circles in runs that wrap neither.
  for (int left = kMtN; left > 0;) {
    int run = left;
    if (kMtN - ia < run) run = kMtN - ia;
    if (kMtN - io < run) run = kMtN - io;
    for (int k = 0; k < run; ++k) a->Words[ia + k] ^= o->Words[io + k];
    ia = (ia + run) % kMtN;
    io = (io + run) % kMtN;
    left -= run;
  }
}

void MtUpdate(void* state) {
  auto* s = static_cast<Mt19937State*>(state);
  const int i = MtIndex(s);
  MtStepAt(s->Words, i);
  s->Index = i + 1 == kMtN ? 0 : i + 1;
}

void MtCopy2(StreamRecord* stream, const void* working, int32_t /*tail*/) {
  auto* s = StateOf<Mt19937State>(stream);
  const auto* w = static_cast<const Mt19937State*>(working);
  const int iw = MtIndex(w);
  std::memcpy(s->Words, w->Words + iw, static_cast<size_t>(kMtN - iw) * sizeof(uint32_t));
  std::memcpy(s->Words + (kMtN - iw), w->Words, static_cast<size_t>(iw) * sizeof(uint32_t));
  s->Index = kMtN;
}

int MtProcessIdx(StreamRecord* stream, uint64_t* nskip, int32_t* tail) {
  auto* s = StateOf<Mt19937State>(stream);
  *tail = 0;
  const uint64_t left = static_cast<uint64_t>(kMtN - s->Index);
  if (*nskip <= left) {
    s->Index += static_cast<int32_t>(*nskip);
    return 1;
  }
  *nskip -= left;
  s->Index = kMtN;
  return 0;
}

// ---- SFMT19937: one step is one 128-bit group of 156; Index counts 32-bit words.

int SfmtGroup(const Sfmt19937State* s) { return (s->Index / 4) % kSfmtGroups; }

void SfmtZero(void* state) { std::memset(state, 0, sizeof(Sfmt19937State)); }

void SfmtCopy1(void* target, const void* source) {
  std::memcpy(target, source, sizeof(Sfmt19937State));
}

void SfmtAdd(void* accumulator, const void* other) {
  auto* a = static_cast<Sfmt19937State*>(accumulator);
  const auto* o = static_cast<const Sfmt19937State*>(other);
  int ia = 4 * SfmtGroup(a), io = 4 * SfmtGroup(o);
  for (int left = kSfmtWords; left > 0;) {
    int run = left;
    if (kSfmtWords - ia < run) run = kSfmtWords - ia;
    if (kSfmtWords - io < run) run = kSfmtWords - io;
    for (int k = 0; k < run; ++k) a->Words[ia + k] ^= o->Words[io + k];
    ia = (ia + run) % kSfmtWords;
    io = (io + run) % kSfmtWords;
    left -= run;
  }
}

void SfmtUpdate(void* state) {
  auto* s = static_cast<Sfmt19937State*>(state);
  const int g = SfmtGroup(s);
  const int j = (g + kSfmtPos1) % kSfmtGroups;
  const int g1 = (g + kSfmtGroups - 1) % kSfmtGroups;
  const int g2 = (g + kSfmtGroups - 2) % kSfmtGroups;
  uint32_t* w = s->Words;
  SfmtRecursion(w + 4 * g, w + 4 * g, w + 4 * j, w + 4 * g2, w + 4 * g1);
  s->Index = 4 * ((g + 1) % kSfmtGroups);
}

void SfmtCopy2(StreamRecord* stream, const void* working, int32_t tail) {
  auto* s = StateOf<Sfmt19937State>(stream);
  const auto* w = static_cast<const Sfmt19937State*>(working);
  const int iw = 4 * SfmtGroup(w);
  std::memcpy(s->Words, w->Words + iw, static_cast<size_t>(kSfmtWords - iw) * sizeof(uint32_t));
  std::memcpy(s->Words + (kSfmtWords - iw), w->Words, static_cast<size_t>(iw) * sizeof(uint32_t));
  s->Index = kSfmtWords;
  if (tail != 0) {
    // The last group made was only partly skipped: its other words are the next outputs.
    s->TailPos = 0;
    s->TailLen = 4 - tail;
    for (int k = 0; k < s->TailLen; ++k) s->Tail[k] = s->Words[kSfmtWords - 4 + tail + k];
  } else {
    s->TailPos = s->TailLen;
  }
}

int SfmtProcessIdx(StreamRecord* stream, uint64_t* nskip, int32_t* tail) {
  auto* s = StateOf<Sfmt19937State>(stream);
  *tail = 0;
  const uint64_t in_tail = static_cast<uint64_t>(s->TailLen - s->TailPos);
  if (*nskip <= in_tail) {
    s->TailPos += static_cast<int32_t>(*nskip);
    return 1;
  }
  *nskip -= in_tail;
  s->TailPos = s->TailLen;
  const uint64_t left = static_cast<uint64_t>(kSfmtWords - s->Index);
  if (*nskip > left) {
    // Past this vector: count in groups, the last one possibly partly.
    const uint64_t beyond = *nskip - left;  // v - 624
    *tail = static_cast<int32_t>(beyond & 3);
    *nskip = (beyond >> 2) + (*tail != 0 ? 1 : 0);
    s->Index = kSfmtWords;
    return 0;
  }
  const int v = s->Index + static_cast<int>(*nskip);
  if ((v & 3) != 0) {
    const int end = (v | 3) + 1;
    s->TailPos = 0;
    s->TailLen = end - v;
    for (int k = v; k < end; ++k) s->Tail[k - v] = s->Words[k];
    s->Index = end;
  } else {
    s->TailPos = s->TailLen;
    s->Index = v;
  }
  return 1;
}

const SkipCallbacks kMtCallbacks = {MtZero, MtAdd, MtCopy1, MtUpdate, MtCopy2, MtProcessIdx, nullptr};
const SkipCallbacks kSfmtCallbacks = {SfmtZero, SfmtAdd,      SfmtCopy1, SfmtUpdate,
                                      SfmtCopy2, SfmtProcessIdx, nullptr};

// Allocations of a driver, freed together.
struct Blocks {
  void* p[4] = {nullptr, nullptr, nullptr, nullptr};
  ~Blocks() {
    for (void* q : p)
      if (q != nullptr) oxl_serv_deallocate(q);
  }
};

}  // namespace

int32_t __vrs_SkipAheadHorner(StreamRecord* stream, const SkipCallbacks& cb, uint64_t nskip,
                              int /*state_words*/, int degree, int state_bytes, int count,
                              const uint32_t* exponents) {
  int32_t tail = 0;
  if (cb.process_idx(stream, &nskip, &tail)) return 0;
  const size_t words = PolyWords(degree);
  Blocks b;
  b.p[0] = oxl_serv_allocate(words * sizeof(uint64_t), 128);
  b.p[1] = oxl_serv_allocate(static_cast<size_t>(state_bytes), 128);
  if (b.p[0] == nullptr || b.p[1] == nullptr) return StatusNoMemory;
  auto* poly = static_cast<uint64_t*>(b.p[0]);
  void* work = b.p[1];
  if (const int32_t st = __vrsPolyRem(nskip, degree, count, exponents, poly); st != 0) return st;
  const void* s = StreamState(stream);
  const int d = TopBit(poly, words);
  cb.copy1(work, s);
  for (int bit = d - 1; bit >= 0; --bit) {
    cb.update(work);
    if (PolyBit(poly, bit)) cb.add(work, s);
  }
  cb.copy2(stream, work, tail);
  return 0;
}

int32_t __vrs_SkipAheadSWin(StreamRecord* stream, const SkipCallbacks& cb, uint64_t nskip,
                            int /*state_words*/, int degree, int state_bytes, int count,
                            const uint32_t* exponents) {
  int32_t tail = 0;
  if (cb.process_idx(stream, &nskip, &tail)) return 0;
  const size_t words = PolyWords(degree);
  const size_t sb = static_cast<size_t>(state_bytes);
  Blocks b;
  b.p[0] = oxl_serv_allocate(words * sizeof(uint64_t), 128);
  b.p[1] = oxl_serv_allocate(sb, 128);       // accumulator
  b.p[2] = oxl_serv_allocate(8 * sb, 128);   // s, T s, ..., T^7 s
  b.p[3] = oxl_serv_allocate(128 * sb, 128);  // the window table
  for (void* q : b.p)
    if (q == nullptr) return StatusNoMemory;
  auto* poly = static_cast<uint64_t*>(b.p[0]);
  void* acc = b.p[1];
  auto* pow = static_cast<unsigned char*>(b.p[2]);
  auto* table = static_cast<unsigned char*>(b.p[3]);
  if (const int32_t st = __vrsPolyRem(nskip, degree, count, exponents, poly); st != 0) return st;
  const void* s = StreamState(stream);
  const int d = TopBit(poly, words);

  cb.copy1(pow, s);
  for (int j = 1; j < 8; ++j) {
    cb.copy1(StateAt(pow, state_bytes, j), StateAt(pow, state_bytes, j - 1));
    cb.update(StateAt(pow, state_bytes, j));
  }
  // Entry w holds (x^7 + the low seven coefficients w)(T) s; in Gray-code order each entry is
  // its neighbour plus one power.
  cb.copy1(table, StateAt(pow, state_bytes, 7));
  for (int i = 1; i < 128; ++i) {
    const int g = i ^ (i >> 1), prev = (i - 1) ^ ((i - 1) >> 1);
    const int j = __builtin_ctz(static_cast<unsigned>(g ^ prev));
    cb.copy1(StateAt(table, state_bytes, g), StateAt(table, state_bytes, prev));
    cb.add(StateAt(table, state_bytes, g), StateAt(pow, state_bytes, j));
  }
  auto window = [&](int pos) {  // coefficients pos-1 .. pos-7 as a 7-bit number
    int w = 0;
    for (int k = 1; k <= 7; ++k) w |= (PolyBit(poly, pos - k) ? 1 : 0) << (7 - k);
    return w;
  };
  int pos;
  if (d >= 7) {
    cb.copy1(acc, StateAt(table, state_bytes, window(d)));
    pos = d - 8;
    while (pos >= 7) {
      if (!PolyBit(poly, pos)) {
        cb.update(acc);
        --pos;
        continue;
      }
      for (int k = 0; k < 8; ++k) cb.update(acc);
      cb.add(acc, StateAt(table, state_bytes, window(pos)));
      pos -= 8;
    }
  } else {
    cb.copy1(acc, s);
    pos = d - 1;
  }
  for (; pos >= 0; --pos) {
    cb.update(acc);
    if (PolyBit(poly, pos)) cb.add(acc, s);
  }
  cb.copy2(stream, acc, tail);
  return 0;
}

namespace {

int32_t PolySkip(StreamRecord* stream, uint64_t nskip, const SkipCallbacks& cb, int state_bytes,
                 int degree, int state_words, int count, const uint32_t* exponents) {
  // Short skips have no table worth building.
  if (static_cast<int64_t>(nskip) < degree)
    return __vrs_SkipAheadHorner(stream, cb, nskip, state_words, degree, state_bytes, count,
                                 exponents);
  return __vrs_SkipAheadSWin(stream, cb, nskip, state_words, degree, state_bytes, count, exponents);
}

}  // namespace

const SkipCallbacks& Mt19937SkipCallbacks() { return kMtCallbacks; }
const SkipCallbacks& Sfmt19937SkipCallbacks() { return kSfmtCallbacks; }

int32_t Mt19937SkipAhead(StreamRecord* stream, uint64_t nskip) {
  return PolySkip(stream, nskip, kMtCallbacks, sizeof(Mt19937State), 19937, kMtN,
                  kMt19937PolyCount, _vrs_mt19937_poly);
}

int32_t Sfmt19937SkipAhead(StreamRecord* stream, uint64_t nskip) {
  return PolySkip(stream, nskip, kSfmtCallbacks, sizeof(Sfmt19937State), 19968, kSfmtWords,
                  kSfmt19937PolyCount, _vrs_sfmt19937_poly);
}

}  // namespace oxl::vrs
