// A basic generator for tests whose outputs are a script: output k is a + (b - a) script[k mod
// size], so that a test can feed a distribution exact uniforms (0, 1, the ends of an interval),
// and a generator that fails, to watch the error paths.
#pragma once

#include <cstdint>
#include <vector>

#include "oxl/vrs.h"
#include "vrs/streams/stream_record.h"

namespace oxl::test {

// The script of every scripted stream of the process.
inline std::vector<double>& Script() {
  static std::vector<double> script{0.5};
  return script;
}

// Outputs drawn from scripted streams so far, in all.
inline int64_t& ScriptedDraws() {
  static int64_t draws = 0;
  return draws;
}

template <class T>
int32_t ScriptedOutput(StreamRecord* s, int32_t n, T* r, T a, T b) {
  int64_t& next = *vrs::StateOf<int64_t>(s);  // the script's next output
  const auto& script = Script();
  for (int32_t i = 0; i < n; ++i) {
    const double u = script[static_cast<size_t>(next++) % script.size()];
    r[i] = u == 1.0 ? b : static_cast<T>(a + (b - a) * u);
  }
  if (n > 0) ScriptedDraws() += n;
  return 0;
}

inline int32_t ScriptedInit(int32_t, StreamRecord* s, int32_t, const uint32_t*) {
  *vrs::StateOf<int64_t>(s) = 0;
  return 0;
}
inline int32_t ScriptedI(StreamRecord*, int32_t, uint32_t*) { return 0; }

inline constexpr int32_t kFailingStatus = -1131;
template <class T>
int32_t Failing(StreamRecord*, int32_t, T*, T, T) {
  return kFailingStatus;
}

inline int32_t RegisterScripted(BrngSFn s, BrngDFn d) {
  const BrngRecord row = {vrs::kStateSizeOf<int64_t>, 1, 1, 4, 32, ScriptedInit, s, d, ScriptedI};
  return __vrsRegisterBrng(&row);
}

// Ids of the two generators, registered on first use.
inline int32_t ScriptedBrng() {
  static const int32_t id = RegisterScripted(ScriptedOutput<float>, ScriptedOutput<double>);
  return id;
}
inline int32_t FailingBrng() {
  static const int32_t id = RegisterScripted(Failing<float>, Failing<double>);
  return id;
}

}  // namespace oxl::test
