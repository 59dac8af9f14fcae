// The data fitting task under any sequence of edits: every parameter code and value, pointer
// edits to the harness's arrays or to none, indexed edits, spline edits and queries, with the
// construction, search, interpolation and integration entries run in between. The editors and
// queries must hold whatever they are given. A compute entry is run only while the task declares
// what the harness's arrays can honour (the caller's side of the contract: the knots, rows and
// coefficients it names are there); the library must then stay inside them and its own memory.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "df/task.h"
#include "fuzz/fuzz_input.h"
#include "oxl/df.h"
#include "support/fake_threads.h"

namespace {

constexpr int64_t kKnots = 48;      // the most knots a compute entry is run on
constexpr int64_t kFunctions = 3;   // the most functions
constexpr int64_t kMaxOrder = 6;    // the highest spline order
constexpr int64_t kMaxSites = 40;   // sites or limit pairs per call
constexpr int64_t kMaxResults = 4;  // derivative orders asked for

// A value as an attacker would pick it: small, at a boundary, or any 64 bits.
class Input : public oxl::fuzz::Input {
 public:
  using oxl::fuzz::Input::Input;
  int64_t Value() {
    static constexpr int64_t kBit31 = int64_t{1} << 31, kBit61 = int64_t{1} << 61;
    static constexpr int64_t kEdges[] = {
        0,         -1,       1,   2,         4,      16,         32,
        64,        128,      256, INT32_MAX, kBit31, kBit61 + 1, 2 * kBit61 + 1,
        INT64_MAX, INT64_MIN};
    return oxl::fuzz::Input::Value(kEdges);
  }
};

// The harness's arrays: the caller's memory that the task may point into.
struct Arrays {
  std::vector<double> knots = std::vector<double>(kKnots);
  std::vector<double> ends = std::vector<double>(2);  // exactly two: a uniform partition
  std::vector<double> values = std::vector<double>(kKnots * kFunctions);
  std::vector<double> coefficients = std::vector<double>(kKnots * kFunctions * kMaxOrder);
  std::vector<double> internal = std::vector<double>(kKnots);
  std::vector<double> boundary = std::vector<double>(2);

  explicit Arrays(Input& in) {
    double x = -3.0;
    for (int64_t i = 0; i < kKnots; ++i) {
      knots[i] = x;
      x += 0.125 * (in.Byte() % 9);  // steps of 0 make duplicate knots
      internal[i] = knots[i] + 0.0625;
    }
    ends = {knots[0], knots[kKnots - 1]};
    for (double& v : values) v = static_cast<int8_t>(in.Byte()) / 16.0;
    boundary = {0.5, -0.25};
  }

  const double* Pick(uint8_t choice) const {
    const double* const kPointers[] = {
        knots.data(),    ends.data(),     values.data(), coefficients.data(),
        internal.data(), boundary.data(), nullptr};
    return kPointers[choice % 7];
  }

  // The reals from p to the end of `v`, or 0 when p does not point into it.
  static int64_t RoomIn(const std::vector<double>& v, const double* p) {
    const auto at = reinterpret_cast<uintptr_t>(p);
    const auto begin = reinterpret_cast<uintptr_t>(v.data());
    const uintptr_t end = begin + v.size() * sizeof(double);
    return at >= begin && at < end ? static_cast<int64_t>((end - at) / sizeof(double)) : 0;
  }
  // The same for whichever harness array holds p.
  int64_t Room(const double* p) const {
    int64_t room = 0;
    for (const std::vector<double>* v :
         {&knots, &ends, &values, &coefficients, &internal, &boundary}) {
      room = std::max(room, RoomIn(*v, p));
    }
    return room;
  }
};

// Whether the caller's side holds: every array the task names has the room its declared sizes
// ask for, and the knots ascend. The harness reads the record itself, since the queries give 32
// bits when int_flag is 0 and would hide a size past them.
// The partition alone, which is all a search reads: two ends of a uniform partition of any
// size, or the harness's ascending knots.
bool PartitionHonoured(const df_task* t, const Arrays& a) {
  const auto* x = static_cast<const double*>(t->partition);
  if (t->partition_hint == PARTITION_UNIFORM) return a.Room(x) >= 2;
  return x == a.knots.data() && t->partition_size <= kKnots;
}

bool Honoured(const df_task* t, const Arrays& a) {
  const int64_t n = t->partition_size, fc = t->function_count, order = t->spline_order;
  if (n < 2 || n > kKnots || fc < 0 || fc > kFunctions || order < 0 || order > kMaxOrder) {
    return false;
  }
  if (!PartitionHonoured(t, a)) return false;
  const auto* internal = static_cast<const double*>(t->internal_data);
  const auto* boundary = static_cast<const double*>(t->boundary_data);
  if (internal != nullptr && a.Room(internal) < n) return false;
  if (boundary != nullptr && a.Room(boundary) < 2) return false;
  // Value rows: each function's row holds n reals, or the one column block n times fc.
  const bool columns = t->values_hint == VALUES_COLUMNS;
  const int64_t value_rows = std::min(columns ? 1 : fc, t->value_slots);
  for (int64_t f = 0; f < value_rows; ++f) {
    const auto* row = static_cast<const double*>(t->value_rows[f]);
    if (row != nullptr && a.Room(row) < (columns ? n * fc : n)) return false;
  }
  // Coefficient rows, which the constructors write: inside the coefficient array, with n cells
  // (a Subbotin spline has n) of the larger of the order and the four a cubic constructor writes.
  const int64_t coefficient_rows = std::min(fc, t->coefficient_slots);
  for (int64_t f = 0; f < coefficient_rows; ++f) {
    const auto* row = static_cast<const double*>(t->coefficient_rows[f]);
    if (row == nullptr) continue;
    if (Arrays::RoomIn(a.coefficients, row) < n * std::max<int64_t>(order, 4)) return false;
  }
  return true;
}

// Whether the caller's arrays can back rows attached now: the values or coefficients of every
// declared function, each row n cells of `order` reals. Counts that the task refuses are fine to
// send; a count it accepts asks for a slot per function, and the arrays must hold them all.
bool MayAttach(const df_task* t, int64_t order) {
  const int64_t fc = t->function_count;
  if (fc <= 0 || fc > INT32_MAX) return true;
  return fc <= kFunctions && t->partition_size <= kKnots && order >= 0 && order <= kMaxOrder;
}

void Compute(df_task* task, const Arrays& a, int32_t int_flag, Input& in) {
  const uint8_t entry = in.Byte() % 6;
  if (entry == 0 ? !PartitionHonoured(task, a) : !Honoured(task, a)) return;
  const int64_t n = task->partition_size;
  const thread_services* services =
      (in.Byte() & 1) != 0 ? oxl::test::FakeThreads::Table() : nullptr;
  const int64_t nsite = in.Byte() % (kMaxSites + 1);
  std::vector<double> sites(kMaxSites);
  for (double& s : sites) s = a.knots[0] - 1.0 + static_cast<int8_t>(in.Byte()) / 16.0 + 4.0;
  if ((in.Byte() & 1) != 0) std::sort(sites.begin(), sites.end());
  const int64_t hints[] = {SITES_NO_HINT, SITES_UNIFORM, SITES_SORTED, in.Value()};
  const int64_t site_hint = hints[in.Byte() % 4];
  // The data hint: entry 1 declares a peak at entry 4, any value.
  const double data_hint[5] = {0, static_cast<double>(in.Byte() % 3), 0, 0,
                               static_cast<double>(static_cast<int8_t>(in.Byte()))};
  const double* dh = (in.Byte() & 1) != 0 ? data_hint : nullptr;
  std::vector<int64_t> cells(kMaxSites, 1);
  std::vector<double> results(kMaxSites * kFunctions * kMaxResults);
  switch (entry) {
    case 0:
      oxl_df_kernel_dDFSearch1D(task, 0, nsite, sites.data(), site_hint, dh, cells.data(), nullptr,
                                nullptr, services);
      break;
    case 1: {
      // Cells given by the caller must be cells of this partition, 0 to n.
      for (int64_t& c : cells) c = in.Byte() % (n + 1);
      if (int_flag == 0) {
        auto* narrow = reinterpret_cast<int32_t*>(cells.data());
        for (int64_t i = 0; i < kMaxSites; ++i) narrow[i] = static_cast<int32_t>(cells[i]);
      }
      const int64_t types[] = {0, INTERP_CELLS_WANTED, INTERP_CELLS_GIVEN, in.Value()};
      const int64_t layouts[] = {0, INTERP_RESULTS_BY_DERIVATIVE, INTERP_RESULTS_BY_SITE,
                                 INTERP_RESULTS_BY_SITE_DERIVATIVE, in.Value()};
      int64_t dorder64[kMaxResults];
      int32_t dorder32[kMaxResults];
      for (int k = 0; k < kMaxResults; ++k) {
        dorder64[k] = in.Byte() % 2;
        dorder32[k] = static_cast<int32_t>(dorder64[k]);
      }
      const void* dorder = int_flag != 0 ? static_cast<const void*>(dorder64) : dorder32;
      oxl_df_kernel_dDFInterpolate1D(task, types[in.Byte() % 4], 0, nsite, sites.data(), site_hint,
                                     in.Byte() % (kMaxResults + 1), dorder, dh, results.data(),
                                     layouts[in.Byte() % 5], cells.data(), nullptr, nullptr,
                                     nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                     services);
      break;
    }
    case 2: {
      std::vector<double> right(kMaxSites);
      for (double& s : right) s = a.knots[0] + static_cast<int8_t>(in.Byte()) / 16.0 + 3.0;
      const int64_t right_hint = hints[in.Byte() % 4];
      const int64_t layouts[] = {0, INTEGR_RESULTS_BY_LIMIT, in.Value()};
      oxl_df_kernel_dDFIntegrate1D(task, 0, nsite, sites.data(), site_hint, right.data(),
                                   right_hint, dh, nullptr, results.data(), layouts[in.Byte() % 3],
                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                   nullptr, services);
      break;
    }
    case 3:
      oxl_df_kernel_dDFLinearSpline1D(task, 0, in.Value(), services);
      break;
    case 4:
      oxl_df_kernel_dDFQuadraticSpline1D(task, 0, in.Value(), services);
      break;
    default:
      oxl_df_kernel_dDFNaturalCubicSpline1D(task, 0, in.Value(), services);
      break;
  }
}

void Edit(df_task* task, const Arrays& a, Input& in) {
  const int64_t code = (in.Byte() & 1) != 0 ? in.Byte() % 30 : in.Value();
  switch (in.Byte() % 7) {
    case 0: {
      const int64_t value = in.Value();
      // Hint 1 builds the search table from the knots the task declares: the caller's array
      // must hold them (unless it is still taken for the two ends of a uniform partition).
      const bool builds = code == VAL_PARTITION_HINT && value == PARTITION_NONUNIFORM &&
                          task->partition_hint != PARTITION_UNIFORM;
      if (builds && (task->partition_size > kKnots ||
                     a.Room(static_cast<const double*>(task->partition)) < task->partition_size)) {
        break;
      }
      oxl_df_kernel_iEditVal(task, code, value);
      break;
    }
    case 1: {
      const double* pointer = a.Pick(in.Byte());
      const bool attaches = code == PTR_VALUES || code == PTR_COEFFICIENTS;
      if (attaches && !MayAttach(task, task->spline_order)) break;
      oxl_df_kernel_dEditPtr(task, code, pointer);
      break;
    }
    case 2:
      oxl_df_kernel_dEditIdxPtr(task, code, in.Value(), a.Pick(in.Byte()));
      break;
    case 3: {
      const int64_t order = in.Value();
      const int64_t type = in.Value();
      const int64_t boundary_type = in.Value();
      const double* boundary = a.Pick(in.Byte());
      const int64_t internal_type = in.Value();
      const double* internal = a.Pick(in.Byte());
      auto* coefficients = const_cast<double*>(a.Pick(in.Byte()));
      if (!MayAttach(task, order)) coefficients = nullptr;
      oxl_df_kernel_dEditPPSpline1D(task, order, type, boundary_type, boundary, internal_type,
                                    internal, coefficients, in.Value());
      break;
    }
    case 4: {
      int64_t out = 0;
      oxl_df_kernel_iQueryVal(task, code, &out);
      const double* p = nullptr;
      oxl_df_kernel_dQueryPtr(task, code, &p);
      oxl_df_kernel_dQueryIdxPtr(task, code, in.Value(), &p);
      break;
    }
    default:
      break;  // the choices below compute
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input in(data, size);
  const Arrays arrays(in);
  const int32_t int_flag = in.Byte() & 1;
  const int64_t partition_hints[] = {PARTITION_NO_HINT, PARTITION_NONUNIFORM,
                                     PARTITION_QUASIUNIFORM, PARTITION_UNIFORM, in.Value()};
  const int64_t hint = partition_hints[in.Byte() % 5];
  const int64_t values_hints[] = {VALUES_NO_HINT, VALUES_ROWS, VALUES_COLUMNS, VALUES_ROW_POINTERS,
                                  in.Value()};
  // Creation builds the search table from n knots, unless the partition is uniform.
  const int64_t n =
      (in.Byte() & 1) != 0 || hint != PARTITION_UNIFORM ? 2 + in.Byte() % (kKnots - 1) : in.Value();
  // A count the task accepts gets a row slot each: within what the values array holds.
  int64_t fc = (in.Byte() & 1) != 0 ? in.Byte() % (kFunctions + 1) : in.Value();
  if (fc > kFunctions && fc <= INT32_MAX) fc %= kFunctions + 1;
  if (n > kKnots && fc > 0 && fc <= INT32_MAX) fc = 0;
  df_task* task = nullptr;
  oxl_df_kernel_dNewTask1D(
      &task, n, hint == PARTITION_UNIFORM ? arrays.ends.data() : arrays.knots.data(), hint, fc,
      fc != 0 ? arrays.values.data() : nullptr, values_hints[in.Byte() % 5], int_flag);
  if (task == nullptr) return 0;
  for (int step = 0; step < 24 && !in.empty(); ++step) {
    if (in.Byte() % 4 == 0) {
      Compute(task, arrays, int_flag, in);
    } else {
      Edit(task, arrays, in);
    }
  }
  oxl_df_kernel_DeleteTask(&task);
  return 0;
}
