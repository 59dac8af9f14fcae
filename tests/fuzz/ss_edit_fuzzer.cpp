// The summary statistics task under any sequence of edits: every parameter code, integer fields
// of any value in either index width, pointers to the harness's arrays or to none through the
// single and grouped editors, with every compute entry run in between on any estimate mask and
// method. The editors must hold whatever they are given. A compute entry is run only while the
// integers the task points to stay within what the harness's arrays can honour (the caller's side
// of the contract: p dimensions of n observations, and counts of orders and parameters its arrays
// hold); the library must then stay inside them and its own memory, and keep the stream summaries
// it owns consistent across calls.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "oxl/ss.h"
#include "stats/task.h"
#include "support/fake_threads.h"

namespace {

constexpr int64_t kDims = 5;           // the most dimensions a compute entry is run on
constexpr int64_t kObservations = 40;  // the most observations
constexpr int64_t kOrders = 6;         // the most quantile orders
constexpr int64_t kParams = 4;         // the most parameters of a parameter array
// Every real array holds the largest result: the order statistics or a sorted copy (p n), or a
// full p-by-p matrix.
constexpr int64_t kReals = kDims * std::max(kObservations, kDims);

// An integer as an attacker would pick it, and a real: small multiples of 1/8, or one of the
// special values.
class Input : public oxl::fuzz::Input {
 public:
  using oxl::fuzz::Input::Input;
  int64_t Value() {
    static constexpr int64_t kEdges[] = {
        0,         -1,        1,         2,        kDims, kObservations, STORAGE_ROWS, STORAGE_COLS,
        INT32_MAX, INT32_MIN, INT64_MAX, INT64_MIN};
    return oxl::fuzz::Input::Value(kEdges, 144, 232);
  }
  double Real() { return oxl::fuzz::Input::Real(240, 1.0 / 8); }
};

// The harness's arrays: the caller's memory that the task may point into. Integer arrays are read
// in the task's index width: each holds kObservations integers of either width.
struct Arrays {
  static constexpr int kRealArrays = 12;
  static constexpr int kIntArrays = 8;
  std::array<std::vector<double>, kRealArrays> reals;
  std::array<std::vector<int64_t>, kIntArrays> ints;
  int32_t width;

  // The reals follow a pattern that one byte varies, with a few values from the input in it: the
  // input's bytes go to the task's shape and edits rather than to data.
  Arrays(Input& in, int32_t index_width) : width(index_width) {
    const int step = 1 + in.Byte() % 7;
    for (size_t k = 0; k < reals.size(); ++k) {
      reals[k].resize(kReals);
      for (int64_t i = 0; i < kReals; ++i) {
        reals[k][i] = static_cast<double>((i * step + static_cast<int64_t>(k)) % 11 - 5) / 4.0;
      }
    }
    const int planted = in.Byte() % 8;
    for (int k = 0; k < planted; ++k)
      reals[in.Byte() % reals.size()][in.Byte() % kReals] = in.Real();
    for (auto& v : ints) v.assign(kObservations, 0);
  }

  double* Real(uint8_t choice) {
    choice %= kRealArrays + 1;
    return choice == kRealArrays ? nullptr : reals[choice].data();
  }
  // Integer array `choice` with its first integers set from the input, in the index width.
  void* Int(uint8_t choice, Input& in) {
    choice %= kIntArrays + 1;
    if (choice == kIntArrays) return nullptr;
    std::vector<int64_t>& v = ints[choice];
    const int count = 1 + in.Byte() % 3;
    for (int k = 0; k < count; ++k) {
      // Mostly the first two: the shape, the counts and the storage codes.
      const int64_t at = (in.Byte() & 0x80) != 0 ? in.Byte() % kObservations : in.Byte() % 2;
      Set(v, at, in.Value());
    }
    return v.data();
  }
  void Set(std::vector<int64_t>& v, int64_t at, int64_t value) const {
    if (width != 0) {
      v[at] = value;
    } else {
      reinterpret_cast<int32_t*>(v.data())[at] = static_cast<int32_t>(value);
    }
  }
};

// An integer field of the task, or `absent` when it points nowhere.
int64_t Field(const SSTask* t, const void* p, int64_t absent) {
  return p == nullptr ? absent : oxl::stats::ReadIndex(*t, p);
}

// Whether the caller's side holds: the shape and every count the task names fit the arrays.
bool Honoured(const SSTask* t) {
  const int64_t p = Field(t, t->dimensionPtr, 0), n = Field(t, t->observationsPtr, 0);
  if (p > kDims || n > kObservations) return false;
  // Counts the entries read before checking them against anything of ours.
  for (const void* count : {t->quantileCount, t->streamOrderCount}) {
    if (Field(t, count, 0) > kOrders) return false;
  }
  for (const void* count : {t->streamParamCount, t->robustParamCount, t->outlierParamCount,
                            t->imputeParamCount, t->imputeInitCount, t->imputePriorCount,
                            t->imputeSimulatedCount, t->imputeEstimatesCount}) {
    if (Field(t, count, 0) > kParams) return false;
  }
  return true;
}

uint64_t Estimates(Input& in) {
  uint64_t mask = 0;
  const int bits = in.Byte() % 6;
  for (int k = 0; k < bits; ++k) mask |= uint64_t{1} << (in.Byte() % 40);
  return (in.Byte() & 7) == 0 ? static_cast<uint64_t>(in.Wide()) : mask;
}

uint64_t Method(Input& in) {
  static constexpr uint64_t kMethods[] = {METHOD_SUMS,      METHOD_ONE_PASS,  METHOD_GIVEN_MEAN,
                                          METHOD_CONVERT_A, METHOD_CONVERT_B, METHOD_STREAM_A,
                                          METHOD_STREAM_B,  METHOD_RADIX,     0};
  const uint8_t kind = in.Byte();
  if (kind < 224) return kMethods[kind % 9];
  return static_cast<uint64_t>(in.Wide());
}

void Compute(SSTask* task, Input& in) {
  if (!Honoured(task)) return;
  const SSThreadServices* services =
      (in.Byte() & 1) != 0 ? oxl::test::FakeThreads::StatsTable(1 + in.Byte() % 4) : nullptr;
  const uint64_t estimates = Estimates(in), method = Method(in);
  switch (in.Byte() % 6) {
    case 0:
      _vrsdSSBasic(task, estimates, method, services);
      break;
    case 1:
      _vrsdSSMinmax(task, estimates, method, services);
      break;
    case 2:
      _vrsdSSQuantiles(task, estimates, method, services);
      break;
    case 3:
      _vrsdSSStreamQuantiles(task, estimates, method, services);
      break;
    case 4:
      _vrsdSSMAD(task, estimates, method, services);
      break;
    default:
      _vrsdSSSort(task, estimates, method, services);
      break;
  }
}

void Edit(SSTask* task, Arrays& a, Input& in) {
  const int64_t code = (in.Byte() & 1) != 0 ? in.Byte() % 100 : in.Value();
  auto R = [&] { return a.Real(in.Byte()); };
  auto I = [&] { return a.Int(in.Byte(), in); };
  switch (in.Byte() % 8) {
    case 0:
      __vrsiSSEditTask(task, code, I());
      break;
    case 1:
      __vrsdSSEditTask(task, code, R());
      break;
    case 2:
      __vrsdSSEditMoments(task, R(), R(), R(), R(), R(), R(), R());
      __vrsdSSEditSums(task, R(), R(), R(), R(), R(), R(), R());
      break;
    case 3:
      __vrsdSSEditCovCor(task, R(), R(), I(), R(), I());
      __vrsdSSEditCP(task, R(), R(), R(), I());
      break;
    case 4:
      __vrsdSSEditQuantiles(task, I(), R(), R(), R(), I());
      break;
    case 5:
      __vrsdSSEditStreamQuantiles(task, I(), R(), R(), I(), R());
      break;
    case 6:
      __vrsdSSEditPartialCovCor(task, I(), R(), I(), R(), I(), R(), I(), R(), I());
      __vrsdSSEditRCov(task, I(), I(), R(), R(), R());
      __vrsdSSEditOutDetect(task, I(), R(), R());
      break;
    default:
      __vrsdSSEditMissingVals(task, I(), R(), I(), R(), I(), R(), I(), R(), I(), R());
      __vrsdSSEditMtxParametrz(task, R(), I(), R(), I());
      __vrsdSSEditPooledCovariance(task, I(), R(), R(), I(), R(), R());
      break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input in(data, size);
  const int32_t index_width = in.Byte() & 1;
  Arrays arrays(in, index_width);
  // Creation with a shape the harness honours or any other, and any of the arrays or none.
  void* p = arrays.Int(in.Byte(), in);
  void* n = arrays.Int(in.Byte(), in);
  void* storage = arrays.Int(in.Byte(), in);
  SSTask* task = nullptr;
  __vrsdSSNewTask(&task, p, n, storage, arrays.Real(in.Byte()), arrays.Real(in.Byte()),
                  arrays.Int(in.Byte(), in), index_width);
  if (task == nullptr) return 0;
  for (int step = 0; step < 24 && !in.empty(); ++step) {
    if (in.Byte() % 3 == 0) {
      Compute(task, in);
    } else {
      Edit(task, arrays, in);
    }
  }
  __vrsSSDeleteTask(&task);
  return 0;
}
