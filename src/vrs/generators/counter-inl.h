// Per-target driver of the counter-based generators: the words left in Buffer, whole blocks by
// the generator's vector kernel, and a last partial block kept in Buffer.
//
// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_VRS_COUNTER_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VRS_COUNTER_INL_H_
#undef OXL_VRS_COUNTER_INL_H_
#else
#define OXL_VRS_COUNTER_INL_H_
#endif

#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>

#include "vrs/generators/counter.h"
#include "vrs/generators/twister-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {

// Gives `total` words of the stream in `s` to `sink`. Gen has
//   Blocks(ctr, blocks, sink, at): the words of `blocks` blocks from counter ctr on, to sink
//                                  positions at, at + 1, ...;
//   Block(ctr, out):               the four words of one block.
// A Pos outside 0..4 (an image from elsewhere) is taken as an empty Buffer, never read past.
template <class State, class Gen, class Sink>
HWY_INLINE void CounterProduce(State& s, size_t total, const Gen& gen, const Sink& sink) {
  if (static_cast<uint32_t>(s.Pos) > 4) s.Pos = 0;
  size_t done = 0;
  for (; done < total && s.Pos > 0; --s.Pos) sink.One(s.Buffer[4 - s.Pos], done++);
  if (done == total) return;
  Counter128 ctr = LoadCounter(s);
  const size_t blocks = (total - done) / 4;
  gen.Blocks(ctr, blocks, sink, done);
  ctr = ctr + blocks;
  done += 4 * blocks;
  if (done < total) {
    gen.Block(ctr, s.Buffer);
    ctr = ctr + 1;
    const size_t rest = total - done;
    for (size_t k = 0; k < rest; ++k) sink.One(s.Buffer[k], done + k);
    s.Pos = static_cast<int32_t>(4 - rest);
  }
  StoreCounter(s, ctr);
}

// The three output forms of a counter-based generator Gen.
template <class State, class Gen>
HWY_INLINE void CounterWords(State* s, size_t n, uint32_t* r, const Gen& gen) {
  CounterProduce(*s, n, gen, WordSink{r});
}
template <class State, class Gen>
HWY_INLINE void CounterDoubles(State* s, size_t n, double* r, double a, double b, const Gen& gen) {
  CounterProduce(*s, n, gen, SignedDoubleSink{r, CentredScale(a, b), Centre(a, b)});
}
template <class State, class Gen>
HWY_INLINE void CounterFloats(State* s, size_t n, float* r, float a, float b, const Gen& gen) {
  CounterProduce(
      *s, n, gen,
      SignedFloatSink{r, static_cast<float>(CentredScale(a, b)), static_cast<float>(Centre(a, b))});
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl::vrs
HWY_AFTER_NAMESPACE();

#endif  // include guard
