// The task record: creation and its order of checks, the search table, edits, queries, deletion.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "df/df_test_util.h"
#include "support/failing_allocator.h"

namespace {

using oxl::test::TaskHolder;

std::vector<double> Knots(int64_t n) {
  std::vector<double> x(n);
  for (int64_t i = 0; i < n; ++i) x[i] = i * 0.5 + 0.001 * (i % 7);
  return x;
}

TEST(DfTask, CreationChecksInOrder) {
  const double x[3] = {0, 1, 2};
  const double y[3] = {1, 2, 3};
  struct Case {
    int64_t n;
    const double* x;
    int64_t hint;
    int64_t fc;
    const double* y;
    int64_t yhint;
    int32_t status;
  };
  const Case cases[] = {
      {1, nullptr, 99, 1, nullptr, 99, DF_STATUS_BAD_PARTITION_SIZE},
      {3, nullptr, 99, 1, nullptr, 99, DF_STATUS_NO_PARTITION},
      {3, x, 3, 1, nullptr, 99, DF_STATUS_BAD_PARTITION_HINT},
      {3, x, 1, 1, nullptr, 99, DF_STATUS_NO_VALUES},
      {3, x, 1, 0, y, 99, DF_STATUS_BAD_FUNCTION_COUNT},
      {3, x, 1, 1, y, 99, DF_STATUS_BAD_VALUES_HINT},
      {3, x, 1, 0, nullptr, 64, DF_STATUS_BAD_VALUES_HINT},
      // Counts the 32-bit slot count of the value rows cannot hold.
      {3, x, 1, int64_t{1} << 31, y, 0, DF_STATUS_BAD_FUNCTION_COUNT},
      {3, x, 1, (int64_t{1} << 61) + 1, y, 32, DF_STATUS_BAD_FUNCTION_COUNT},
  };
  for (const Case& c : cases) {
    df_task* task = nullptr;
    EXPECT_EQ(oxl_df_kernel_dNewTask1D(&task, c.n, c.x, c.hint, c.fc, c.y, c.yhint, 0), c.status);
    EXPECT_EQ(task, nullptr);
  }
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 3, x, 0, 0, nullptr, 0, 0), 0);
  EXPECT_EQ(t->value_rows, nullptr);
  EXPECT_EQ(t->task_tag, 4);
  EXPECT_EQ(t->is_double, 1);
  EXPECT_EQ(t->dimension, 1);
}

// Every bin's window [lower, upper] brackets the knots of that bin: a site s in bin b has
// x[lower] <= s < x[upper].
void ExpectTableBrackets(const df_task* task, const std::vector<double>& x) {
  const int64_t bins = task->bin_count;
  const int64_t* table = task->search_table;
  const double scale = task->bin_scale.d;
  for (int64_t b = 0; b <= bins; ++b) {
    EXPECT_LE(table[2 * b], table[2 * b + 1]) << b;
  }
  for (double s = x.front(); s < x.back(); s += (x.back() - x.front()) / 997) {
    const auto b = static_cast<int64_t>(scale * (s - x[0]));
    EXPECT_LE(x[table[2 * b]], s);
    EXPECT_GT(x[table[2 * b + 1]], s);
  }
}

TEST(DfTask, SearchTableBinCountsAndWindows) {
  const int64_t sizes[][2] = {{2, 16},       {271, 16},     {272, 17},    {5000, 312},
                              {16383, 1023}, {16384, 1024}, {40000, 1024}};
  for (const auto& s : sizes) {
    const std::vector<double> x = Knots(s[0]);
    TaskHolder t;
    ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, s[0], x.data(), 0, 0, nullptr, 0, 0), 0);
    EXPECT_EQ(t->bin_count, s[1]) << s[0];
    ExpectTableBrackets(t.task, x);
  }
  // Two knots: every bin is the one cell 0..1.
  const double two[2] = {1.0, 3.0};
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 2, two, 0, 0, nullptr, 0, 0), 0);
  EXPECT_EQ(t->search_table[0], 0);
  EXPECT_EQ(t->search_table[1], 1);
}

// A uniform partition is two reals: no edit builds the table from them. Hint 1 leaves the table
// unfilled (the hybrid search then takes the whole partition as one bin); once a whole partition
// comes, hint 1 builds the table.
TEST(DfTask, UniformTableIsNeverBuiltFromTheTwoEnds) {
  const std::vector<double> ends = {0.0, 399.0};  // on the heap, exactly two: ASan watches
  TaskHolder t;
  ASSERT_EQ(
      oxl_df_kernel_dNewTask1D(&t.task, 400, ends.data(), PARTITION_UNIFORM, 0, nullptr, 0, 1), 0);
  ASSERT_NE(t->search_table, nullptr);
  EXPECT_EQ(t->bin_count, 0);
  for (int64_t hint : {0, 2}) {
    EXPECT_EQ(oxl_df_kernel_iEditVal(t.task, VAL_PARTITION_HINT, hint), 0);
    EXPECT_EQ(t->bin_count, 0);
  }
  EXPECT_EQ(oxl_df_kernel_iEditVal(t.task, VAL_PARTITION_HINT, PARTITION_UNIFORM), 0);
  EXPECT_EQ(oxl_df_kernel_iEditVal(t.task, VAL_PARTITION_HINT, PARTITION_NONUNIFORM), 0);
  EXPECT_EQ(t->bin_count, 0);
  const std::vector<double> x = Knots(400);
  ASSERT_EQ(oxl_df_kernel_dEditPtr(t.task, PTR_PARTITION, x.data()), 0);
  EXPECT_EQ(t->bin_count, 0);
  EXPECT_EQ(oxl_df_kernel_iEditVal(t.task, VAL_PARTITION_HINT, PARTITION_NONUNIFORM), 0);
  EXPECT_EQ(t->bin_count, 25);
  ExpectTableBrackets(t.task, x);
}

TEST(DfTask, SingleTaskKeepsFloatScale) {
  std::vector<float> x(300);
  for (size_t i = 0; i < x.size(); ++i) x[i] = static_cast<float>(i);
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_sNewTask1D(&t.task, 300, x.data(), 0, 0, nullptr, 0, 0), 0);
  EXPECT_EQ(t->is_double, 0);
  EXPECT_EQ(t->bin_count, 18);
  EXPECT_FLOAT_EQ(t->bin_scale.s, 18.0f / 299.0f);
}

TEST(DfTask, ValueAttachmentByStorageForm) {
  const std::vector<double> x = Knots(5);
  std::vector<double> y(15);
  struct Case {
    int64_t hint;
    ptrdiff_t offsets[3];
  };
  for (const Case& c :
       {Case{0, {0, 5, 10}}, Case{16, {0, 5, 10}}, Case{32, {0, -1, -1}}, Case{128, {0, -1, -1}}}) {
    TaskHolder t;
    ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 5, x.data(), 0, 3, y.data(), c.hint, 0), 0);
    for (int f = 0; f < 3; ++f) {
      if (c.offsets[f] < 0) continue;
      EXPECT_EQ(static_cast<double*>(t->value_rows[f]), y.data() + c.offsets[f]);
    }
    const double* out = nullptr;
    if (c.hint == 32) {
      EXPECT_EQ(oxl_df_kernel_dEditIdxPtr(t.task, PTR_VALUES, 99, y.data()),
                DF_STATUS_BAD_VALUES_HINT);
      EXPECT_EQ(oxl_df_kernel_dQueryIdxPtr(t.task, PTR_VALUES, 0, &out), DF_STATUS_BAD_VALUES_HINT);
    } else {
      EXPECT_EQ(oxl_df_kernel_dEditIdxPtr(t.task, PTR_VALUES, 2, y.data() + 1), 0);
      EXPECT_EQ(oxl_df_kernel_dQueryIdxPtr(t.task, PTR_VALUES, 2, &out), 0);
      EXPECT_EQ(out, y.data() + 1);
      EXPECT_EQ(oxl_df_kernel_dEditIdxPtr(t.task, PTR_VALUES, 3, y.data()), DF_STATUS_BAD_INDEX);
      // The query allows the index equal to the count.
      EXPECT_EQ(oxl_df_kernel_dQueryIdxPtr(t.task, PTR_VALUES, 3, &out), 0);
      EXPECT_EQ(oxl_df_kernel_dQueryIdxPtr(t.task, PTR_VALUES, 4, &out), DF_STATUS_BAD_INDEX);
    }
  }
}

TEST(DfTask, SplineEditAttachesCoefficientRows) {
  const std::vector<double> x = Knots(6);
  std::vector<double> y(12), c(100), bc(2), ic(5);
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 6, x.data(), 0, 2, y.data(), 0, 0), 0);
  // Stride: (n-1) x order, and n x order for the Subbotin type.
  ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 3, 0, 128, bc.data(), 0, nullptr, c.data(), 0),
            0);
  EXPECT_EQ(static_cast<double*>(t->coefficient_rows[1]), c.data() + 15);
  ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 3, 1, 12, bc.data(), IC_SUBGRID, ic.data(),
                                          c.data(), 0),
            0);
  EXPECT_EQ(static_cast<double*>(t->coefficient_rows[1]), c.data() + 18);
  // Editing the order later does not move the rows.
  EXPECT_EQ(oxl_df_kernel_iEditVal(t.task, VAL_SPLINE_ORDER, 2), 0);
  EXPECT_EQ(static_cast<double*>(t->coefficient_rows[1]), c.data() + 18);

  // Checks in order; fields that passed stay stored.
  EXPECT_EQ(oxl_df_kernel_dEditPPSpline1D(nullptr, 2, 0, 0, nullptr, 0, nullptr, nullptr, 0),
            DF_STATUS_NO_TASK);
  EXPECT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, -1, 0, 0, nullptr, 0, nullptr, nullptr, 0),
            DF_STATUS_BAD_ORDER);
  EXPECT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 2, -1, 0, nullptr, 0, nullptr, nullptr, 0),
            DF_STATUS_BAD_TYPE);
  EXPECT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 4, 2, 4, nullptr, 0, nullptr, nullptr, 0),
            DF_STATUS_NO_BOUNDARY);
  EXPECT_EQ(t->spline_order, 4);
  EXPECT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 4, 2, 64, nullptr, 1, nullptr, nullptr, 0),
            DF_STATUS_NO_INTERNAL);
  EXPECT_EQ(t->boundary_type, 64);
  EXPECT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 4, 2, 2, nullptr, 0, ic.data(), nullptr, 0),
            DF_STATUS_BAD_INTERNAL_TYPE);
  // Row pointers: only slot 0, the rest by indexed edits.
  ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 2, 0, 0, nullptr, 0, nullptr, c.data(), 128), 0);
  EXPECT_EQ(oxl_df_kernel_dEditIdxPtr(t.task, PTR_COEFFICIENTS, 1, c.data() + 50), 0);
  const double* out = nullptr;
  EXPECT_EQ(oxl_df_kernel_dQueryIdxPtr(t.task, PTR_COEFFICIENTS, 1, &out), 0);
  EXPECT_EQ(out, c.data() + 50);
  EXPECT_EQ(oxl_df_kernel_dEditIdxPtr(t.task, PTR_COEFFICIENTS, 0, nullptr),
            DF_STATUS_NO_COEFFICIENTS);
}

TEST(DfTask, ValueEditsAndQueries) {
  const std::vector<double> x = Knots(4);
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 4, x.data(), 0, 0, nullptr, 0, 0), 0);
  struct Case {
    int64_t code;
    int64_t good;
    int64_t bad;
    int32_t status;
  };
  const Case cases[] = {
      {VAL_PARTITION_SIZE, 2, 1, DF_STATUS_BAD_PARTITION_SIZE},
      {VAL_PARTITION_HINT, 2, 3, DF_STATUS_BAD_PARTITION_HINT},
      {VAL_FUNCTION_COUNT, 1, 0, DF_STATUS_BAD_FUNCTION_COUNT},
      {VAL_FUNCTION_COUNT, 2, (int64_t{1} << 61) + 1, DF_STATUS_BAD_FUNCTION_COUNT},
      {VAL_VALUES_HINT, 128, 64, DF_STATUS_BAD_VALUES_HINT},
      {VAL_SPLINE_ORDER, 0, -1, DF_STATUS_BAD_ORDER},
      {VAL_SPLINE_TYPE, 9, 6, DF_STATUS_BAD_TYPE},
      {VAL_SPLINE_TYPE, 5, 8, DF_STATUS_BAD_TYPE},
      {VAL_INTERNAL_TYPE, IC_SUBGRID | IC_SUBGRID_UNIFORM, 4, DF_STATUS_BAD_INTERNAL_TYPE},
      {VAL_BOUNDARY_TYPE, 48, -1, DF_STATUS_BAD_BOUNDARY_TYPE},
      {VAL_COEFFICIENTS_HINT, 32, 8, DF_STATUS_BAD_COEFFICIENTS_HINT},
      {VAL_AUXILIARY_SWITCH, 1, 2, DF_STATUS_BAD_SWITCH},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(oxl_df_kernel_iEditVal(t.task, c.code, c.good), 0) << c.code;
    EXPECT_EQ(oxl_df_kernel_iEditVal(t.task, c.code, c.bad), c.status) << c.code;
    int64_t wide = -7;
    int32_t narrow = -7;
    EXPECT_EQ(oxl_df_kernel_iQueryVal(t.task, c.code, &narrow), 0);
    EXPECT_EQ(narrow, c.good) << c.code;
    t->int_flag = 1;
    EXPECT_EQ(oxl_df_kernel_iQueryVal(t.task, c.code, &wide), 0);
    EXPECT_EQ(wide, c.good) << c.code;
    t->int_flag = 0;
  }
  EXPECT_EQ(oxl_df_kernel_iEditVal(t.task, 13, 0), DF_STATUS_BAD_CODE);
  EXPECT_EQ(oxl_df_kernel_iEditVal(t.task, 24, 0), DF_STATUS_BAD_CODE);
  EXPECT_EQ(oxl_df_kernel_iQueryVal(t.task, VAL_SPLINE_ORDER, nullptr), DF_STATUS_NO_OUTPUT);
  EXPECT_EQ(oxl_df_kernel_iEditVal(nullptr, VAL_SPLINE_ORDER, 0), DF_STATUS_NO_TASK);

  // Pointer edits: null statuses by code.
  const int32_t null_status[] = {DF_STATUS_NO_PARTITION, DF_STATUS_NO_VALUES, DF_STATUS_NO_INTERNAL,
                                 DF_STATUS_NO_BOUNDARY, DF_STATUS_NO_COEFFICIENTS};
  for (int code = 1; code <= 5; ++code) {
    EXPECT_EQ(oxl_df_kernel_dEditPtr(t.task, code, nullptr), null_status[code - 1]);
  }
  EXPECT_EQ(oxl_df_kernel_dEditPtr(t.task, 6, x.data()), DF_STATUS_BAD_CODE);
  const double* out = nullptr;
  EXPECT_EQ(oxl_df_kernel_dQueryPtr(t.task, PTR_PARTITION, &out), 0);
  EXPECT_EQ(out, x.data());

  // A task of another dimension answers every edit and query with 0 and changes nothing.
  t->dimension = 2;
  EXPECT_EQ(oxl_df_kernel_iEditVal(t.task, VAL_SPLINE_ORDER, -5), 0);
  EXPECT_EQ(oxl_df_kernel_dEditPtr(t.task, 99, nullptr), 0);
  EXPECT_EQ(oxl_df_kernel_dEditIdxPtr(t.task, 99, -1, nullptr), 0);
  out = nullptr;
  EXPECT_EQ(oxl_df_kernel_dQueryPtr(t.task, PTR_PARTITION, &out), 0);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(t->spline_order, 0);
  t->dimension = 1;
}

// Rows attached for one function (one column block), then the count raised and the storage form
// turned to row pointers: the slots of the other functions do not exist, and no edit, query or
// compute entry reaches for them.
TEST(DfTask, RowsAttachedForFewerFunctionsAreNeverReadPast) {
  const std::vector<double> x = Knots(6);
  std::vector<double> y(18, 1.0), c(60, 0.0);
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 6, x.data(), 0, 1, y.data(), VALUES_COLUMNS, 0), 0);
  ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 2, 0, 0, nullptr, 0, nullptr, c.data(), 0), 0);
  ASSERT_EQ(oxl_df_kernel_iEditVal(t.task, VAL_FUNCTION_COUNT, 3), 0);
  ASSERT_EQ(oxl_df_kernel_iEditVal(t.task, VAL_VALUES_HINT, VALUES_ROW_POINTERS), 0);
  EXPECT_EQ(oxl_df_kernel_dEditIdxPtr(t.task, PTR_VALUES, 2, y.data()), DF_STATUS_BAD_INDEX);
  EXPECT_EQ(oxl_df_kernel_dEditIdxPtr(t.task, PTR_COEFFICIENTS, 2, c.data()), DF_STATUS_BAD_INDEX);
  const double* out = x.data();
  EXPECT_EQ(oxl_df_kernel_dQueryIdxPtr(t.task, PTR_VALUES, 2, &out), 0);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(oxl_df_kernel_dDFLinearSpline1D(t.task, 0, 0, nullptr), DF_STATUS_NO_VALUES);
  const double sites[2] = {0.3, 1.2};
  std::vector<double> r(6, -1.0);
  EXPECT_EQ(oxl_df_kernel_dDFInterpolate1D(t.task, 0, 0, 2, sites, 0, 0, nullptr, nullptr, r.data(),
                                           0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, nullptr, nullptr, nullptr),
            DF_STATUS_NO_COEFFICIENTS);
  EXPECT_EQ(oxl_df_kernel_dDFIntegrate1D(t.task, 0, 2, sites, 0, sites, 0, nullptr, nullptr,
                                         r.data(), 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                                         nullptr, nullptr, nullptr, nullptr),
            DF_STATUS_NO_COEFFICIENTS);
  EXPECT_EQ(r, std::vector<double>(6, -1.0));
}

TEST(DfTask, DeleteAndAllocationFailures) {
  df_task* none = nullptr;
  EXPECT_EQ(oxl_df_kernel_DeleteTask(&none), DF_STATUS_NO_TASK);
  const std::vector<double> x = Knots(40);
  std::vector<double> y(80), c(200);
  oxl::test::ForEachAllocationFailure(
      [&] {
        df_task* task = nullptr;
        int32_t status = oxl_df_kernel_dNewTask1D(&task, 40, x.data(), 0, 2, y.data(), 0, 0);
        if (status == 0) {
          status = oxl_df_kernel_dEditPPSpline1D(task, 2, 0, 0, nullptr, 0, nullptr, c.data(), 0);
        }
        if (status == 0) status = oxl_df_kernel_dEditPtr(task, PTR_VALUES, y.data());
        if (task != nullptr) {
          EXPECT_EQ(oxl_df_kernel_DeleteTask(&task), 0);
          EXPECT_EQ(task, nullptr);
        }
        return status;
      },
      [](int32_t status, bool failed) { EXPECT_EQ(status, failed ? DF_STATUS_NO_MEMORY : 0); });
}

}  // namespace
