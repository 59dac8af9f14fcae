#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "oxl/vek.h"
#include "vek/frame/frame.h"
#include "vek/frame_test_util.h"

namespace {

using oxl::test::OnFreshThread;
using oxl::test::ScopedModeVariable;

int32_t NoOpCallback(oxl_vek_error_record*) { return 0; }

TEST(ThreadBlock, StartsZeroAndTakesTheDefaultModeOnFirstRead) {
  ScopedModeVariable unset(nullptr);
  OnFreshThread([] {
    EXPECT_EQ(oxl::vek::thread_block.vekMode, 0u);
    EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 0);
    EXPECT_EQ(oxl_vek_kernel_GetErrorCallBack(), nullptr);
    EXPECT_EQ(oxl::vek::thread_block.vekInterfInputVecorPointer, nullptr);
    EXPECT_EQ(oxl_vek_kernel_GetMode(), 0x1A02u);
    EXPECT_EQ(oxl::vek::thread_block.vekMode, 0x1A02u);
    EXPECT_EQ(oxl_vek_kernel_GetTTableIndex(), 1);
  });
}

// Each step: the argument, the old mode it returns, the mode after it.
struct SetModeStep {
  uint32_t argument;
  uint32_t returned;
  uint64_t after;
};

TEST(SetMode, ReplacesOnlyTheNonZeroFields) {
  const std::vector<SetModeStep> steps = {
      {0x0, 0x1A02, 0x1A02},             // reads only
      {0xF0, 0x1A02, 0x1A02},            // precision control is not settable
      {0x200, 0x1A02, 0x202},            // the whole error field is replaced
      {0x3, 0x202, 0x203},               // accuracy alone
      {0x140000, 0x203, 0x140203},       // floating-point mode
      {0x1A02, 0x140203, 0x141A02},      // a restore cannot clear a field it holds as zero
      {0x280000, 0x141A02, 0x281A02},    // replaced, not OR-ed
      {0xFFFFFFFF, 0x281A02, 0x3CFF0F},  // bits outside the three fields are dropped
  };
  ScopedModeVariable unset(nullptr);
  OnFreshThread([&] {
    for (const SetModeStep& step : steps) {
      SCOPED_TRACE(::testing::Message() << std::hex << step.argument);
      EXPECT_EQ(oxl_vek_kernel_SetMode(step.argument), step.returned);
      EXPECT_EQ(oxl_vek_kernel_GetMode(), step.after);
    }
  });
}

TEST(TTableIndex, IsAccuracyMinusOne) {
  const void* ignored = &ignored;
  EXPECT_EQ(oxl_vek_kernel_GetTTableIndexM(ignored, 0x1A03), 2);
  EXPECT_EQ(oxl_vek_kernel_GetTTableIndexM(nullptr, 0x1A01), 0);
  EXPECT_EQ(oxl_vek_kernel_GetTTableIndexM(nullptr, 0x1A00), -1);
  EXPECT_EQ(oxl_vek_kernel_GetTTableIndexM(nullptr, 0xFFFFFFFF00000F02ull), 1);
  ScopedModeVariable unset(nullptr);
  OnFreshThread([] {
    for (uint32_t accuracy : {1u, 2u, 3u}) {
      oxl_vek_kernel_SetMode(accuracy);
      EXPECT_EQ(oxl_vek_kernel_GetTTableIndex(), static_cast<int32_t>(accuracy) - 1);
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

TEST(FrameStubs, ForwardToTheAccessors) {
  ScopedModeVariable unset(nullptr);
  OnFreshThread([] {
    EXPECT_EQ(_vekGetMode(), 0x1A02u);
    EXPECT_EQ(_vekSetMode(0x201), 0x1A02u);
    EXPECT_EQ(oxl_vek_kernel_GetMode(), 0x201u);
    EXPECT_EQ(_vekSetErrStatus(4), 0);
    EXPECT_EQ(_vekSetErrStatus(-2), 4);
    EXPECT_EQ(_vekGetErrStatus(), -2);
    EXPECT_EQ(_vekClearErrStatus(), -2);
    EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 0);
    EXPECT_EQ(_vekSetErrorCallBack(NoOpCallback), nullptr);
    EXPECT_EQ(_vekGetErrorCallBack(), NoOpCallback);
    EXPECT_EQ(oxl_vek_kernel_GetMode(), 0x1201u);
    EXPECT_EQ(_vekClearErrorCallBack(), NoOpCallback);
    EXPECT_EQ(oxl_vek_kernel_GetErrorCallBack(), nullptr);
    int marker = 0;
    EXPECT_EQ(_vekSetInterfInputVectorPointer(&marker), &marker);
    EXPECT_EQ(oxl::vek::thread_block.vekInterfInputVecorPointer, &marker);
  });
}

}  // namespace
