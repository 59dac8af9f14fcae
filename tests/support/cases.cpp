#include "support/cases.h"

#include <gtest/gtest.h>

#include "support/input_gen.h"

namespace oxl::test {
namespace {

enum class Stream : uint64_t { kRandom = 1, kBinade = 2, kThreshold = 3 };

uint64_t StreamSeed(uint64_t seed, Stream stream) {
  return SplitMix64(seed ^ (static_cast<uint64_t>(stream) * 0x9E3779B97F4A7C15u)).Next();
}

template <class T>
class Builder {
 public:
  Builder(int components, const Sweep<T>& sweep) : sweep_(sweep), tuple_(components) {
    cases_.components = components;
  }

  uint32_t Label(std::string text) {
    cases_.labels.push_back(std::move(text));
    return static_cast<uint32_t>(cases_.labels.size() - 1);
  }

  void Add(const T* components, uint32_t label) {
    cases_.values.insert(cases_.values.end(), components, components + cases_.components);
    cases_.source.push_back(label);
  }

  // A case with the first component given and the others drawn from `gen`.
  void AddFirst(T first, SplitMix64& gen, uint32_t label) {
    tuple_[0] = first;
    for (int k = 1; k < cases_.components; ++k) tuple_[k] = Random(gen, k);
    Add(tuple_.data(), label);
  }

  void AddRandom(SplitMix64& gen, uint32_t label) {
    for (int k = 0; k < cases_.components; ++k) tuple_[k] = Random(gen, k);
    Add(tuple_.data(), label);
  }

  // Every tuple of values from `set`, the last component varying fastest.
  void AddProducts(const std::vector<T>& set, uint32_t label) {
    std::vector<size_t> index(cases_.components, 0);
    for (;;) {
      for (int k = 0; k < cases_.components; ++k) tuple_[k] = set[index[k]];
      Add(tuple_.data(), label);
      int k = cases_.components - 1;
      while (k >= 0 && ++index[k] == set.size()) index[k--] = 0;
      if (k < 0) return;
    }
  }

  Cases<T> Take() { return std::move(cases_); }

 private:
  T Random(SplitMix64& gen, int k) const {
    return static_cast<size_t>(k) < sweep_.ranges.size() ? RandomIn(gen, sweep_.ranges[k])
                                                         : RandomPattern<T>(gen);
  }

  const Sweep<T>& sweep_;
  Cases<T> cases_;
  std::vector<T> tuple_;
};

std::string ThresholdLabel(const char* name, int offset) {
  if (offset == 0) return name;
  return std::string(name) + (offset > 0 ? "+" : "") + std::to_string(offset);
}

}  // namespace

template <class T>
Cases<T> BuildCases(int components, const Sweep<T>& sweep) {
  Builder<T> b(components, sweep);
  if (sweep.specials) {
    const uint32_t label = b.Label("special");
    if (components == 1) {
      for (const T x : SpecialValues<T>()) b.Add(&x, label);
      for (const T x : PowersOfTwo<T>()) b.Add(&x, label);
    } else {
      b.AddProducts(components == 2 ? SpecialValues<T>() : CoreSpecialValues<T>(), label);
    }
  }

  SplitMix64 threshold_gen(StreamSeed(sweep.seed, Stream::kThreshold));
  for (const Threshold<T>& t : sweep.thresholds) {
    for (int k = -sweep.threshold_ulps; k <= sweep.threshold_ulps; ++k) {
      b.AddFirst(StepUlps(t.value, k), threshold_gen, b.Label(ThresholdLabel(t.name, k)));
    }
  }

  if (!sweep.extra.empty()) {
    EXPECT_EQ(sweep.extra.size() % components, 0u)
        << "extra cases need " << components << " components each";
    const uint32_t label = b.Label("extra");
    for (size_t i = 0; i + components <= sweep.extra.size(); i += components) {
      b.Add(&sweep.extra[i], label);
    }
  }

  SplitMix64 random_gen(StreamSeed(sweep.seed, Stream::kRandom));
  const uint32_t random_label = b.Label("random");
  for (int64_t i = 0; i < sweep.random; ++i) b.AddRandom(random_gen, random_label);

  if (sweep.per_binade > 0) {
    const uint64_t seed = StreamSeed(sweep.seed, Stream::kBinade);
    SplitMix64 rest_gen(seed + 1);
    const Range<T> range = sweep.ranges.empty() ? WholeLine<T>() : sweep.ranges[0];
    const uint32_t label = b.Label("binade");
    for (const T x : PerBinade(sweep.per_binade, range, seed)) b.AddFirst(x, rest_gen, label);
  }
  return b.Take();
}

template Cases<float> BuildCases(int, const Sweep<float>&);
template Cases<double> BuildCases(int, const Sweep<double>&);

}  // namespace oxl::test
