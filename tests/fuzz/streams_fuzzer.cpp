// Streams of the basic generators under any sequence of calls: creation with any id and seed
// count, copies of the record and of the state, deletion, leapfrog, skip-ahead (both entries),
// reseeding through InitStream with any method, and every output entry with any count, interval
// and 4-byte offset into the caller's array. Besides staying in bounds, the library must write
// exactly the outputs asked for and nothing for a count of 0 or less, and leave the state alone
// then. (Copies and skips against stepping are the generators' unit tests'.)
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "oxl/platform.h"
#include "oxl/vrs.h"
#include "vrs/streams/stream_record.h"

using oxl::vrs::kIdOffsetMask;
using oxl::vrs::RowOf;

namespace {

constexpr int kSlots = 4;
constexpr int32_t kSeeds = 700;     // more than any generator's seed words
constexpr int32_t kOutputs = 2500;  // past a twister's 624-word state several times
constexpr uint32_t kCanary = 0xA5C3E1F7u;

class Input : public oxl::fuzz::Input {
 public:
  using oxl::fuzz::Input::Input;
  int64_t Value() {
    // clang-format off
    static constexpr int64_t kEdges[] = {0, -1, 1, 2, 3, 4, 5, 16, 623, 624, 625, 19937, 6023, 6024,
                                         kOutputs, INT32_MAX, INT32_MIN, INT64_MAX, INT64_MIN,
                                         int64_t{1} << 32, int64_t{1} << 62};
    // clang-format on
    return oxl::fuzz::Input::Value(kEdges);
  }
  // A count as the C interface takes it.
  int32_t Count() { return static_cast<int32_t>(Value()); }
  // An id: a generator (an MT2203 member by offset), an abstract or pending row, or any value.
  int32_t Id() {
    static constexpr int32_t kIds[] = {
        OXL_BRNG_MCG31,     OXL_BRNG_R250,      OXL_BRNG_MRG32K3A,     OXL_BRNG_MCG59,
        OXL_BRNG_WH,        OXL_BRNG_SOBOL,     OXL_BRNG_NIEDERREITER, OXL_BRNG_MT19937,
        OXL_BRNG_MT2203,    OXL_BRNG_IABSTRACT, OXL_BRNG_DABSTRACT,    OXL_BRNG_SABSTRACT,
        OXL_BRNG_SFMT19937, OXL_BRNG_NONDETERM, OXL_BRNG_ARS5,         OXL_BRNG_PHILOX4X32X10};
    const uint8_t kind = Byte();
    if (kind < 200) return kIds[kind % std::size(kIds)];
    if (kind < 240) return static_cast<int32_t>(OXL_BRNG_MT2203 + static_cast<uint32_t>(Value()));
    return static_cast<int32_t>(Value());
  }
  double Real() { return oxl::fuzz::Input::Real(224, 1.0 / 4); }
};

// The float entries' bounds: a double beyond float's range becomes an infinity, without the
// undefined conversion.
float Narrow(double v) {
  constexpr double kMax = std::numeric_limits<float>::max();
  if (v > kMax) return std::numeric_limits<float>::infinity();
  if (v < -kMax) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(v);
}

struct Slot {
  StreamRecord* s = nullptr;
  // RDRAND's words cannot be compared; neither can a stream whose seeding failed.
  bool comparable = false;
};

void Fail(const char* what) {
  std::fprintf(stderr, "streams fuzzer: %s\n", what);
  __builtin_trap();
}

// `n` raw words of the generator, each widened to 64 bits; false when the generator refuses.
bool Words(StreamRecord* s, int32_t n, std::vector<uint64_t>& out) {
  const bool wide = RowOf(s).WordBytes == 8;
  out.assign(static_cast<size_t>(n), 0);
  std::vector<uint32_t> raw(2 * static_cast<size_t>(n) + 1);
  if (_vrsiRngUniformBits(0, s, n, raw.data()) != 0) return false;
  for (int32_t i = 0; i < n; ++i) {
    if (wide) {
      std::memcpy(&out[i], &raw[2 * i], sizeof(uint64_t));
    } else {
      out[i] = raw[i];
    }
  }
  return true;
}

void Delete(Slot& slot) {
  if (slot.s != nullptr && __vrsDeleteStream(&slot.s) != 0) Fail("delete of a stream failed");
  if (slot.s != nullptr) Fail("delete left the handle set");
  slot.comparable = false;
}

void Seeds(Input& in, std::array<uint32_t, kSeeds>& seeds) {
  const uint32_t step = static_cast<uint32_t>(in.Wide());
  for (int32_t i = 0; i < kSeeds; ++i) seeds[i] = step * static_cast<uint32_t>(i + 1);
  const int given = in.Byte() % 5;
  for (int k = 0; k < given; ++k) seeds[in.Byte() % 8] = static_cast<uint32_t>(in.Value());
}

void Create(Slot& slot, Input& in) {
  Delete(slot);
  std::array<uint32_t, kSeeds> seeds;
  Seeds(in, seeds);
  const int32_t id = in.Id();
  const int32_t n = in.Count();
  if (n > kSeeds) return;  // the caller gives n seed words
  const int32_t status = __vrsNewStreamEx(&slot.s, id, n, seeds.data());
  // A stream whose seeding failed stays allocated, and is the caller's to delete.
  slot.comparable = status == 0 && (id & ~kIdOffsetMask) != OXL_BRNG_NONDETERM;
  if (status != 0) Delete(slot);
}

void Copy(Slot& from, Slot& to) {
  if (from.s == nullptr || &from == &to) return;
  Delete(to);
  if (__vrsCopyStream(&to.s, from.s) != 0) {
    Delete(to);
    return;
  }
  to.comparable = from.comparable;
}

// Either skip-ahead entry with any count; the wide one reads as many words as the caller gives.
void SkipAhead(Slot& slot, Input& in) {
  const int64_t skip = in.Value();
  if (in.Byte() & 1) {
    __vrsSkipAheadStream(slot.s, skip);
    return;
  }
  // The count in four 32-bit words, low first.
  std::array<uint32_t, 8> words{};
  std::memcpy(words.data(), &skip, sizeof skip);
  words[2] = static_cast<uint32_t>(in.Value());
  const int32_t n = in.Count();
  if (n <= 8) RowOf(slot.s).InitStream(OXL_BRNG_INIT_SKIPAHEAD, slot.s, n, words.data());
}

// Any InitStream call on a live stream: reseeding, leapfrog or skip-ahead, or a bad method. The
// stream's words stay comparable only where it was reseeded or skipped.
void Init(Slot& slot, Input& in) {
  std::array<uint32_t, kSeeds> seeds;
  Seeds(in, seeds);
  const int64_t method = in.Byte() < 200 ? in.Byte() % 3 : in.Value();
  const int32_t n = in.Count();
  // The caller gives n words, except to leapfrog, which reads one index word whatever n says.
  if (n > kSeeds && method != OXL_BRNG_INIT_LEAPFROG) return;
  const int32_t status =
      RowOf(slot.s).InitStream(static_cast<int32_t>(method), slot.s, n, seeds.data());
  if (status != 0 || method == OXL_BRNG_INIT_LEAPFROG) slot.comparable = false;
}

void Leapfrog(Slot& slot, Input& in) {
  const int32_t k = in.Count(), nstreams = in.Count();
  if (__vrsLeapfrogStream(slot.s, k, nstreams) == 0) slot.comparable = false;
}

// One output call of any kind at any 4-byte offset (8 for 64-bit words and doubles), with the
// words past the request watched; a count of 0 or less must write nothing and draw nothing
// (MCG31 aside).
void Output(Slot& slot, Input& in) {
  const uint8_t kind = in.Byte() % 8;
  const int32_t n = in.Count();
  if (n > kOutputs) return;
  const bool wide_words = RowOf(slot.s).WordBytes == 8 && (kind == 0 || kind == 3);
  const int per = kind == 1 || kind == 5 || wide_words ? 2 : 1;  // 32-bit words per output
  const size_t shift = (in.Byte() % 8) & (per == 2 ? ~size_t{1} : ~size_t{0});
  std::vector<uint32_t> buffer(shift + 2 * kOutputs + 16, kCanary);
  uint32_t* r = buffer.data() + shift;
  const double a = in.Real(), b = in.Real();
  const int32_t method = in.Byte() & 1 ? OXL_RNG_METHOD_ACCURATE : 0;
  // MCG31 writes its first value before it looks at the count, and steps once past it (into the
  // integer form's own block, which the caller does not see).
  const bool mcg31 = RowOf(slot.s).iBRng == &__vrsiBRngMCG31M1;
  const int64_t outputs = n > 0 ? n : (mcg31 && kind != 4 ? 1 : 0);
  StreamRecord* before = nullptr;
  if (n <= 0 && !mcg31 && slot.comparable && __vrsCopyStream(&before, slot.s) != 0)
    before = nullptr;
  int32_t status = 0;
  const BrngRecord& row = RowOf(slot.s);
  switch (kind) {
    case 0:
      status = row.iBRng(slot.s, n, r);
      break;
    case 1:
      status = row.dBRng(slot.s, n, reinterpret_cast<double*>(r), a, b);
      break;
    case 2:
      status = row.sBRng(slot.s, n, reinterpret_cast<float*>(r), Narrow(a), Narrow(b));
      break;
    case 3:
      status = _vrsiRngUniformBits(0, slot.s, n, r);
      break;
    case 4: {
      const int32_t lo = in.Count(), hi = in.Count();
      status = _vrsiRngUniform(0, slot.s, n, reinterpret_cast<int32_t*>(r), lo, hi);
      break;
    }
    case 5:
      status = _vrsdRngUniform(method, slot.s, n, reinterpret_cast<double*>(r), a, b);
      break;
    default:
      status =
          _vrssRngUniform(method, slot.s, n, reinterpret_cast<float*>(r), Narrow(a), Narrow(b));
      break;
  }
  // A refused call may have drawn part of the request: its words are not compared any more.
  if (status != 0) slot.comparable = false;
  const size_t written = static_cast<size_t>(outputs) * per;
  for (size_t i = 0; i < buffer.size(); ++i) {
    if ((i < shift || i >= shift + written) && buffer[i] != kCanary) {
      std::fprintf(stderr, "generator 0x%x, call %d for %d outputs at offset %zu: word %zu\n",
                   slot.s->Brng, kind, n, shift, i);
      Fail("an output call wrote outside its request");
    }
  }
  if (before != nullptr) {
    std::vector<uint64_t> x, y;
    if (slot.comparable && (Words(before, 11, x) != Words(slot.s, 11, y) || x != y)) {
      std::fprintf(stderr, "generator 0x%x, call %d for %d outputs\n", slot.s->Brng, kind, n);
      Fail("a call for no outputs moved the stream");
    }
    __vrsDeleteStream(&before);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input in(data, size);
  std::array<Slot, kSlots> slots;
  for (int step = 0; step < 32 && !in.empty(); ++step) {
    const uint8_t op = in.Byte();
    Slot& slot = slots[in.Byte() % kSlots];
    if (op % 8 == 0 || slot.s == nullptr) {
      Create(slot, in);
      continue;
    }
    switch (op % 8) {
      case 1:
        Copy(slot, slots[in.Byte() % kSlots]);
        break;
      case 2: {
        // Within one generator the state words move; across generators the call refuses or
        // stays inside both records. The words are then the source's seeds in another record.
        Slot& to = slots[in.Byte() % kSlots];
        if (to.s != nullptr && __vrsCopyStreamState(to.s, slot.s) == 0 && &to != &slot)
          to.comparable = false;
        break;
      }
      case 3:
        Delete(slot);
        break;
      case 4:
        Leapfrog(slot, in);
        break;
      case 5:
        SkipAhead(slot, in);
        break;
      case 6:
        Init(slot, in);
        break;
      default:
        Output(slot, in);
        break;
    }
  }
  for (Slot& slot : slots) Delete(slot);
  return 0;
}
