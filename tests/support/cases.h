// The input cases of an accuracy run, built from a Sweep, each labelled with the group it came
// from so that a report can say where its worst case lies.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/sweep.h"

namespace oxl::test {

template <class T>
struct Cases {
  int components = 1;
  std::vector<T> values;         // `components` per case, case after case
  std::vector<uint32_t> source;  // per case, an index into `labels`
  std::vector<std::string> labels;

  int64_t size() const { return static_cast<int64_t>(source.size()); }
  T at(int64_t i, int k) const { return values[i * components + k]; }
};

template <class T>
Cases<T> BuildCases(int components, const Sweep<T>& sweep);

}  // namespace oxl::test
