// Task creation, the editors' code ranges and null statuses, grouped editors and deletion.
#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>
#include <vector>

#include "oxl/ss.h"
#include "stats/task.h"
#include "support/failing_allocator.h"

namespace oxl::test {
namespace {

TEST(SSTask, CreationChecks) {
  int32_t p = 3, n = 10, rows = STORAGE_ROWS, bad = 5, zero = 0;
  double x[30] = {};
  const std::tuple<const int32_t*, const int32_t*, const int32_t*, int> checks[] = {
      {nullptr, &n, &rows, -4001}, {&zero, &n, &rows, -4001},   {&p, &n, nullptr, -4044},
      {&p, &n, &bad, -4003},       {&p, nullptr, &rows, -4002}, {&p, &zero, &rows, -4002}};
  SSTask* task = reinterpret_cast<SSTask*>(1);
  for (const auto& [dims, count, storage, status] : checks) {
    EXPECT_EQ(__vrsdSSNewTask(&task, dims, count, storage, x, nullptr, nullptr, 0), status);
  }
  // Without x, n and the storage are not looked at.
  ASSERT_EQ(__vrsdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  EXPECT_EQ(__vrsSSDeleteTask(&task), 0);
  EXPECT_EQ(task, nullptr);
  EXPECT_EQ(__vrsSSDeleteTask(&task), -4031);
  EXPECT_EQ(__vrsSSDeleteTask(nullptr), -4031);

  // 64-bit integers: only a 64-bit read sees -1 as negative.
  int64_t p64 = -1;
  EXPECT_EQ(__vrssSSNewTask(&task, &p64, nullptr, nullptr, nullptr, nullptr, nullptr, 1), -4001);

  // Allocation failure stores null.
  AllocationScope fail(1);
  task = reinterpret_cast<SSTask*>(1);
  EXPECT_EQ(__vrsdSSNewTask(&task, &p, &n, &rows, x, nullptr, nullptr, 0), -4000);
  EXPECT_EQ(task, nullptr);
}

// Each code belongs to one editor; the other returns -3; a null value gives the field's status and
// keeps the old pointer.
TEST(SSTask, EditorCodesAndNullStatuses) {
  int32_t p = 2;
  SSTask* task = nullptr;
  ASSERT_EQ(__vrsdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  const std::tuple<int64_t, bool, int> codes[] = {
      {1, true, -4001},   {2, true, -4002},   {3, false, -4032},  {4, true, -4044},
      {5, true, -4004},   {6, false, -4005},  {7, false, -4006},  {10, false, -4009},
      {13, false, -4012}, {16, false, -4015}, {18, false, -4017}, {19, false, -4018},
      {20, true, -4044},  {23, false, -4020}, {24, true, -4022},  {28, true, -4038},
      {32, true, -4038},  {39, false, -4028}, {40, false, -4027}, {45, true, -4045},
      {58, true, -4061},  {60, false, -4071}, {62, true, -4066},  {66, false, -4070},
      {67, false, -4006}, {68, false, -4075}, {73, false, -4080}, {74, false, -4081},
      {75, true, -4044},  {77, false, -4083}, {78, false, -4084}, {79, true, -4044}};
  double d[4] = {};
  float f[4] = {};
  int64_t ints[4] = {};
  for (const auto& [code, integer, status] : codes) {
    SCOPED_TRACE(code);
    if (integer) {
      EXPECT_EQ(__vrsiSSEditTask(task, code, nullptr), status);
      EXPECT_EQ(__vrsiSSEditTask(task, code, ints), 0);
      EXPECT_EQ(__vrsiSSEditTask(task, code, nullptr), status);
      EXPECT_EQ(__vrsdSSEditTask(task, code, d), -3);
      EXPECT_EQ(__vrssSSEditTask(task, code, f), -3);
    } else {
      EXPECT_EQ(__vrsdSSEditTask(task, code, nullptr), status);
      EXPECT_EQ(__vrssSSEditTask(task, code, f), 0);
      EXPECT_EQ(__vrsdSSEditTask(task, code, d), 0);
      EXPECT_EQ(__vrsdSSEditTask(task, code, nullptr), status);
      EXPECT_EQ(__vrsiSSEditTask(task, code, ints), -3);
    }
  }
  for (int64_t code : {0, -1, 80, 1000}) {
    EXPECT_EQ(__vrsdSSEditTask(task, code, d), -3);
    EXPECT_EQ(__vrsiSSEditTask(task, code, ints), -3);
  }
  // The pointers landed in their fields and survived the null edits.
  EXPECT_EQ(task->dimensionPtr, ints);
  EXPECT_EQ(task->sum, d);
  EXPECT_EQ(task->sortedStorage, ints);
  EXPECT_EQ(task->accumWeights, d);
  EXPECT_EQ(task->centralMoment2, nullptr);  // code 11 was not set
  EXPECT_EQ(__vrsdSSEditTask(nullptr, 7, d), -4031);
  EXPECT_EQ(__vrsiSSEditTask(nullptr, 1, ints), -4031);

  // Grouped editors store their non-null arguments and leave the other fields.
  double a[2], b[2], c[2];
  EXPECT_EQ(__vrsdSSEditMoments(task, a, b, nullptr, nullptr, c, nullptr, nullptr), 0);
  EXPECT_EQ(__vrsdSSEditMoments(task, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, b), 0);
  EXPECT_TRUE(task->mean == a && task->rawMoment2 == b && task->centralMoment2 == c);
  EXPECT_TRUE(task->rawMoment3 == nullptr && task->centralMoment4 == b);
  EXPECT_EQ(__vrsdSSEditQuantiles(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), -4031);
  EXPECT_EQ(__vrssSSEditRCov(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), -4031);
  EXPECT_EQ(__vrsSSDeleteTask(&task), 0);
}

// Deletion frees the prior mean and runs the clean-up list.
int cleanups = 0;
TEST(SSTask, DeleteFreesWhatTheTaskOwns) {
  AllocationScope scope;
  int32_t p = 2, n = 20, rows = STORAGE_ROWS;
  std::vector<double> x(40, 1.0), mean = {1.0, 1.0}, c2(2), r2(2);
  SSTask* task = nullptr;
  ASSERT_EQ(__vrsdSSNewTask(&task, &p, &n, &rows, x.data(), nullptr, nullptr, 0), 0);
  __vrsdSSEditMoments(task, mean.data(), r2.data(), nullptr, nullptr, c2.data(), nullptr, nullptr);
  ASSERT_EQ(_vrsdSSBasic(task, EST_CENTRAL2, METHOD_GIVEN_MEAN, nullptr), 0);
  ASSERT_NE(task->priorMean, nullptr);
  task->cleanupCount = 1;
  task->cleanup[0] = [](SSTask*) { ++cleanups; };
  EXPECT_EQ(__vrsSSDeleteTask(&task), 0);
  EXPECT_EQ(cleanups, 1);
  EXPECT_EQ(scope.live(), 0);
}

}  // namespace
}  // namespace oxl::test
