// Uniform bits in words of a fixed width: 32 bits per output (UniformBits32) or 64 (UniformBits64),
// by the generator's row. Generators whose words carry 32 uniform bits give them unchanged, two
// words for a 64-bit output; MCG59 gives the top 32 of its 59 bits; generators whose words are not
// uniform over all 32 bits (MCG31, R250, MRG32K3A, WH, the quasi-random and the abstract ones)
// refuse.
#include <cstdint>
#include <cstring>

#include "vrs/distributions/discrete.h"
#include "vrs/streams/stream_record.h"

using namespace oxl::vrs;
using namespace oxl::vrs::dist;

namespace {

template <class Word>
using BitsWorker = int32_t (*)(int32_t method, StreamRecord* stream, int32_t n, Word* r);

template <class Word>
int32_t Unsupported(int32_t, StreamRecord*, int32_t, Word*) {
  return StatusBitsUnsupported;
}

// MCG59's 64-bit words hold 59 bits; the top 32 of them are the uniform bits of one 32-bit
// output, and two such halves, the first low, make a 64-bit output.
constexpr int kMcg59Drop = 59 - 32;

template <class Word>
int32_t Mcg59(int32_t, StreamRecord* s, int32_t n, Word* r) {
  constexpr int32_t kPerOutput = sizeof(Word) / 4;
  constexpr int32_t kOutputs = kIntBlock / kPerOutput;
  uint64_t words[kIntBlock];
  for (int32_t done = 0; done < n; done += kOutputs) {
    const int32_t m = std::min(kOutputs, n - done);
    const int32_t status = RowOf(s).iBRng(s, m * kPerOutput, reinterpret_cast<uint32_t*>(words));
    if (status < 0) return status;
    for (int32_t i = 0; i < m; ++i) {
      Word out = static_cast<uint32_t>(words[kPerOutput * i] >> kMcg59Drop);
      if constexpr (kPerOutput == 2) out |= (words[2 * i + 1] >> kMcg59Drop) << 32;
      std::memcpy(r + done + i, &out, sizeof out);
    }
  }
  return 0;
}

// Words of 32 uniform bits as the generator gives them, two per 64-bit output, the first low
// (the little-endian order of the array). A long request of 64-bit outputs is taken in pieces
// whose count of words cannot overflow; every generator gives the same words however a request
// is cut. A count below 1 goes to the generator as it is.
template <class Word>
int32_t Words(int32_t method, StreamRecord* s, int32_t n, Word* r) {
  constexpr int32_t kPerOutput = sizeof(Word) / 4;
  constexpr int32_t kPiece = 1 << 29;
  auto* words = reinterpret_cast<uint32_t*>(r);
  if (n <= 0) return _vrsiRngUniformBits(method, s, n, words);
  int32_t status = 0;
  for (int64_t done = 0; done < n; done += kPiece) {
    const auto m = static_cast<int32_t>(std::min<int64_t>(kPiece, n - done));
    status = _vrsiRngUniformBits(method, s, kPerOutput * m, words + kPerOutput * done);
    if (status < 0) return status;
  }
  return status;
}

// Indexed by the generator's row (its id shifted right by 20) less 1.
template <class Word>
constexpr BitsWorker<Word> kRows[16] = {
    Unsupported<Word>,  // MCG31
    Unsupported<Word>,  // R250
    Unsupported<Word>,  // MRG32K3A
    Mcg59<Word>,        // MCG59
    Unsupported<Word>,  // WH
    Unsupported<Word>,  // SOBOL
    Unsupported<Word>,  // NIEDERREITER
    Words<Word>,        // MT19937
    Words<Word>,        // MT2203
    Unsupported<Word>,  // IABSTRACT
    Unsupported<Word>,  // DABSTRACT
    Unsupported<Word>,  // SABSTRACT
    Words<Word>,        // SFMT19937
    Words<Word>,        // NONDETERM
    Words<Word>,        // ARS5
    Words<Word>,        // PHILOX4X32X10
};

template <class Word>
int32_t UniformBits(int32_t method, StreamRecord* s, int32_t n, Word* r) {
  // Rows past the built-in generators (registered ones) promise nothing about their bits.
  const int32_t row = s->Brng >> kIdRowShift;
  if (row < 1 || row > 16) return StatusBitsUnsupported;
  return kRows<Word>[row - 1](method, s, n, r);
}

}  // namespace

extern "C" {

OXL_API int32_t _vrsiRngUniformBits32(int32_t method, StreamRecord* stream, int32_t n,
                                      uint32_t* r) {
  return UniformBits(method, stream, n, r);
}

OXL_API int32_t _vrsiRngUniformBits64(int32_t method, StreamRecord* stream, int32_t n,
                                      uint64_t* r) {
  return UniformBits(method, stream, n, r);
}

}  // extern "C"
