// The task record: creation and its order of checks, the search table, edits, queries, deletion.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <tuple>
#include <vector>

#include "df/df_test_util.h"
#include "support/failing_allocator.h"

namespace {

using namespace oxl::test;

TEST(DfTask, CreationChecksInOrder) {
  const double x[3] = {0, 1, 2}, y[3] = {1, 2, 3};
  const std::tuple<int64_t, const double*, int64_t, int64_t, const double*, int64_t, int32_t>
      cases[] = {
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
  for (const auto& [n, xs, hint, fc, ys, yhint, status] : cases) {
    TaskHolder t;
    EXPECT_EQ(NewTask(t, n, xs, hint, fc, ys, yhint), status);
    EXPECT_EQ(t.task, nullptr);
  }
}

// The editors and queries: tables of calls and their statuses, in order on one task.
TEST(DfTask, EditAndQueryStatuses) {
  const std::vector<double> x = Knots(4, 1);
  std::vector<double> y(8), c(100), ic(5);
  TaskHolder t;
  ASSERT_EQ(NewTask(t, 4, x.data(), 0, 2, y.data()), 0);
  df_task* task = t.task;
  // The spline editor checks in order; fields that passed stay stored.
  const std::tuple<int64_t, int64_t, int64_t, int64_t, const double*, int32_t> splines[] = {
      {-1, 0, 0, 0, nullptr, DF_STATUS_BAD_ORDER},
      {2, -1, 0, 0, nullptr, DF_STATUS_BAD_TYPE},
      {4, 2, 4, 0, nullptr, DF_STATUS_NO_BOUNDARY},
      {4, 2, 64, 1, nullptr, DF_STATUS_NO_INTERNAL},
      {4, 2, 2, 0, ic.data(), DF_STATUS_BAD_INTERNAL_TYPE}};
  for (const auto& [order, type, bc, ic_type, id, status] : splines) {
    EXPECT_EQ(EditSpline<double>(task, nullptr, order, type, bc, nullptr, ic_type, id), status)
        << order << " " << type << " " << bc;
  }
  EXPECT_EQ(t->spline_order, 4);
  EXPECT_EQ(t->boundary_type, 2);
  EXPECT_EQ(EditSpline<double>(nullptr, nullptr, 2, 0), DF_STATUS_NO_TASK);
  ASSERT_EQ(EditSpline(task, c.data(), 2, 0), 0);  // row pointers: only slot 0
  // Pointer edits and queries, plain (index -1) or indexed; a query reads back `p` if given.
  const std::tuple<bool, int64_t, int64_t, const double*, int32_t> pointers[] = {
      {false, PTR_VALUES, 1, y.data() + 1, 0},
      {true, PTR_VALUES, 1, y.data() + 1, 0},
      {false, PTR_VALUES, 2, y.data(), DF_STATUS_BAD_INDEX},
      {true, PTR_VALUES, 2, nullptr, 0},  // the query allows the index equal to the count
      {true, PTR_VALUES, 3, nullptr, DF_STATUS_BAD_INDEX},
      {false, PTR_COEFFICIENTS, 1, c.data() + 50, 0},
      {true, PTR_COEFFICIENTS, 1, c.data() + 50, 0},
      {false, PTR_COEFFICIENTS, 0, nullptr, DF_STATUS_NO_COEFFICIENTS},
      {false, PTR_PARTITION, -1, nullptr, DF_STATUS_NO_PARTITION},
      {false, PTR_VALUES, -1, nullptr, DF_STATUS_NO_VALUES},
      {false, PTR_INTERNAL, -1, nullptr, DF_STATUS_NO_INTERNAL},
      {false, PTR_BOUNDARY, -1, nullptr, DF_STATUS_NO_BOUNDARY},
      {false, PTR_COEFFICIENTS, -1, nullptr, DF_STATUS_NO_COEFFICIENTS},
      {false, 6, -1, x.data(), DF_STATUS_BAD_CODE},
      {true, PTR_PARTITION, -1, x.data(), 0},
  };
  for (const auto& [query, code, index, p, status] : pointers) {
    const double* out = nullptr;
    const int32_t got = query ? (index < 0 ? oxl_df_kernel_dQueryPtr(task, code, &out)
                                           : oxl_df_kernel_dQueryIdxPtr(task, code, index, &out))
                              : (index < 0 ? oxl_df_kernel_dEditPtr(task, code, p)
                                           : oxl_df_kernel_dEditIdxPtr(task, code, index, p));
    EXPECT_EQ(got, status) << query << " " << code << " " << index;
    EXPECT_TRUE(!query || p == nullptr || out == p) << code << " " << index;
  }
  EXPECT_EQ(oxl_df_kernel_iEditVal(task, 13, 0), DF_STATUS_BAD_CODE);
  EXPECT_EQ(oxl_df_kernel_iEditVal(task, 24, 0), DF_STATUS_BAD_CODE);
  EXPECT_EQ(oxl_df_kernel_iQueryVal(task, VAL_SPLINE_ORDER, nullptr), DF_STATUS_NO_OUTPUT);
  EXPECT_EQ(oxl_df_kernel_iEditVal(nullptr, VAL_SPLINE_ORDER, 0), DF_STATUS_NO_TASK);
  // Values in columns are one block: no indexed rows.
  ASSERT_EQ(oxl_df_kernel_iEditVal(task, VAL_VALUES_HINT, VALUES_COLUMNS), 0);
  const double* out = nullptr;
  EXPECT_EQ(oxl_df_kernel_dEditIdxPtr(task, PTR_VALUES, 99, y.data()), DF_STATUS_BAD_VALUES_HINT);
  EXPECT_EQ(oxl_df_kernel_dQueryIdxPtr(task, PTR_VALUES, 0, &out), DF_STATUS_BAD_VALUES_HINT);
  const auto edit = [&](int64_t code, int64_t v) { return oxl_df_kernel_iEditVal(task, code, v); };
  // Value fields: a good value is stored and read back in either width; a bad one is refused.
  const int64_t values[][4] = {
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
  for (const auto& [code, good, bad, status] : values) {
    EXPECT_EQ(edit(code, good), 0) << code;
    EXPECT_EQ(edit(code, bad), status) << code;
    int64_t wide = -7;
    int32_t narrow = -7;
    EXPECT_EQ(oxl_df_kernel_iQueryVal(task, code, &narrow), 0);
    t->int_flag = 1;
    EXPECT_EQ(oxl_df_kernel_iQueryVal(task, code, &wide), 0);
    t->int_flag = 0;
    EXPECT_EQ(narrow, good) << code;
    EXPECT_EQ(wide, good) << code;
  }
  // A task of another dimension answers every edit and query with 0 and changes nothing.
  t->dimension = 2;
  out = nullptr;
  EXPECT_EQ(edit(VAL_SPLINE_ORDER, -5) | oxl_df_kernel_dEditPtr(task, 99, nullptr) |
                oxl_df_kernel_dEditIdxPtr(task, 99, -1, nullptr) |
                oxl_df_kernel_dQueryPtr(task, PTR_PARTITION, &out),
            0);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(t->spline_order, 0);
  t->dimension = 1;
}

// Rows attached for one function (one column block), then the count raised and the storage form
// turned to row pointers: the slots of the other functions do not exist, and no edit, query or
// compute entry reaches for them.
TEST(DfTask, RowsAttachedForFewerFunctionsAreNeverReadPast) {
  const std::vector<double> x = Knots(6, 1);
  std::vector<double> y(18, 1.0), c(60, 0.0), r(6, -1.0);
  TaskHolder t;
  ASSERT_EQ(NewTask(t, 6, x.data(), 0, 1, y.data(), VALUES_COLUMNS), 0);
  ASSERT_EQ(EditSpline(t.task, c.data(), 2, 0), 0);
  ASSERT_EQ(oxl_df_kernel_iEditVal(t.task, VAL_FUNCTION_COUNT, 3), 0);
  ASSERT_EQ(oxl_df_kernel_iEditVal(t.task, VAL_VALUES_HINT, VALUES_ROW_POINTERS), 0);
  EXPECT_EQ(oxl_df_kernel_dEditIdxPtr(t.task, PTR_VALUES, 2, y.data()), DF_STATUS_BAD_INDEX);
  EXPECT_EQ(oxl_df_kernel_dEditIdxPtr(t.task, PTR_COEFFICIENTS, 2, c.data()), DF_STATUS_BAD_INDEX);
  const double* out = x.data();
  EXPECT_EQ(oxl_df_kernel_dQueryIdxPtr(t.task, PTR_VALUES, 2, &out), 0);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(Construct<double>(t.task), DF_STATUS_NO_VALUES);
  const double sites[2] = {0.3, 1.2};
  EXPECT_EQ(Interpolate(t.task, 2, sites, 0, nullptr, r.data()), DF_STATUS_NO_COEFFICIENTS);
  EXPECT_EQ(Integrate(t.task, 2, sites, sites, r.data()), DF_STATUS_NO_COEFFICIENTS);
  EXPECT_EQ(r, std::vector<double>(6, -1.0));
}

TEST(DfTask, DeleteAndAllocationFailures) {
  df_task* none = nullptr;
  EXPECT_EQ(oxl_df_kernel_DeleteTask(&none), DF_STATUS_NO_TASK);
  const std::vector<double> x = Knots(40, 1);
  std::vector<double> y(80), c(200);
  ForEachAllocationFailure(
      [&] {
        TaskHolder t;
        int32_t status = NewTask(t, 40, x.data(), 0, 2, y.data());
        if (status == 0) status = EditSpline(t.task, c.data(), 2, 0);
        if (status == 0) status = oxl_df_kernel_dEditPtr(t.task, PTR_VALUES, y.data());
        if (t.task != nullptr) {
          EXPECT_EQ(oxl_df_kernel_DeleteTask(&t.task), 0);
          EXPECT_EQ(t.task, nullptr);
        }
        return status;
      },
      [](int32_t status, bool failed) { EXPECT_EQ(status, failed ? DF_STATUS_NO_MEMORY : 0); });
}

}  // namespace
