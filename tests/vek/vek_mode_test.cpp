#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "oxl/vek.h"
#include "vek/frame_test_util.h"

namespace {

using oxl::test::OnFreshThread;
using oxl::test::ScopedModeVariable;

int32_t NoOpCallback(oxl_vek_error_record*) { return 0; }

// Each step: the argument, the old mode it returns, the mode after it and the table slot it
// selects.
struct SetModeStep {
  uint32_t argument;
  uint32_t returned;
  uint64_t after;
  int32_t slot;
};

TEST(SetMode, ReplacesOnlyTheNonZeroFields) {
  const std::vector<SetModeStep> steps = {
      {0x0, 0x1A02, 0x1A02, 1},              // a fresh thread's first read: the default
      {0xF0, 0x1A02, 0x1A02, 1},             // precision control is not settable
      {0x200, 0x1A02, 0x202, 1},             // the whole error field is replaced
      {0x3, 0x202, 0x203, 2},                // accuracy alone
      {0x140001, 0x203, 0x140201, 0},        // floating-point mode
      {0x1A02, 0x140201, 0x141A02, 1},       // a restore cannot clear a field it holds as zero
      {0x280000, 0x141A02, 0x281A02, 1},     // replaced, not OR-ed
      {0xFFFFFFFF, 0x281A02, 0x3CFF0F, 14},  // bits outside the three fields are dropped
  };
  ScopedModeVariable unset(nullptr);
  OnFreshThread([&] {
    EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 0);
    EXPECT_EQ(oxl_vek_kernel_GetErrorCallBack(), nullptr);
    for (const SetModeStep& step : steps) {
      SCOPED_TRACE(::testing::Message() << std::hex << step.argument);
      EXPECT_EQ(oxl_vek_kernel_SetMode(step.argument), step.returned);
      EXPECT_EQ(oxl_vek_kernel_GetMode(), step.after);
      EXPECT_EQ(oxl_vek_kernel_GetTTableIndex(), step.slot);
    }
  });
}

TEST(ErrorCallBack, SettingAndClearingAdjustTheCallbackBit) {
  ScopedModeVariable unset(nullptr);
  OnFreshThread([] {
    EXPECT_EQ(oxl_vek_kernel_SetErrorCallBack(NoOpCallback), nullptr);
    EXPECT_EQ(oxl_vek_kernel_GetMode(), 0x1A02u);
    EXPECT_EQ(oxl_vek_kernel_ClearErrorCallBack(), NoOpCallback);
    EXPECT_EQ(oxl_vek_kernel_GetMode(), 0xA02u);
    EXPECT_EQ(oxl_vek_kernel_SetErrorCallBack(NoOpCallback), nullptr);
    EXPECT_EQ(oxl_vek_kernel_GetMode(), 0x1A02u);

    // With CALLBACK the only error bit, clearing computes an empty field, which SetMode skips.
    oxl_vek_kernel_SetMode(0x1000);
    EXPECT_EQ(oxl_vek_kernel_SetErrorCallBack(nullptr), NoOpCallback);
    EXPECT_EQ(oxl_vek_kernel_GetErrorCallBack(), nullptr);
    EXPECT_EQ(oxl_vek_kernel_GetMode(), 0x1002u);
  });
}

}  // namespace
