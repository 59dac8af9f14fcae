// The thread's mode word and its accessors, the mode variable read on a thread's first call, and
// thread blocks kept apart.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "oxl/vek.h"

namespace {

constexpr const char* kModeVariable = "OXL_VEK_MODE";

// Runs `body` on a new thread and waits for it, so that the body sees a thread block that no call
// has touched.
template <class Body>
void OnFreshThread(Body body) {
  std::thread thread(body);
  thread.join();
}

// Sets (or, for nullptr, removes) the mode variable. Each test sets it as it needs it, and only
// while no other thread of the test reads the environment.
void PutModeVariable(const char* value) {
  if (value != nullptr) {
    setenv(kModeVariable, value, 1);
  } else {
    unsetenv(kModeVariable);
  }
}

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
  PutModeVariable(nullptr);
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
  PutModeVariable(nullptr);
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

std::string Repeat(const std::string& token, int times) {
  std::string s;
  for (int i = 0; i < times; ++i) s += token;
  return s;
}

struct ParseCase {
  std::string value;
  int64_t expected;
};

TEST(ModeVariable, ParsesKeywordListsAndRefusesAnyFault) {
  // Values up to 255 bytes come through whole; a longer one is cut there, and a cut keyword fails.
  const std::string fits = Repeat("VEK_LA,", 33) + "VEK_ERRMODE_ERRNO,VEK_HA";
  const std::string cut = Repeat("VEK_LA,", 34) + "VEK_ERRMODE_STDERR";
  ASSERT_EQ(fits.size(), 255u);
  ASSERT_EQ(cut.size(), 256u);
  // Keywords are OR-ed without a conflict check; "VEK_HAX" fails since "HA" matched first and no
  // later keyword is tried; the empty last token of "VEK_EP," lacks the prefix.
  const std::vector<ParseCase> cases = {
      {"VEK_LA", 0x1},
      {"VEK_HA", 0x2},
      {"VEK_EP", 0x3},
      {"VEK_FLOAT_CONSISTENT", 0x10},
      {"VEK_DOUBLE_CONSISTEN", 0x20},
      {"VEK_RESTORE", 0x30},
      {"VEK_ERRMODE_IGNORE", 0x100},
      {"VEK_ERRMODE_ERRNO", 0x200},
      {"VEK_ERRMODE_STDERR", 0x400},
      {"VEK_ERRMODE_EXCEPT", 0x800},
      {"VEK_ERRMODE_CALLBACK", 0x1000},
      {"VEK_ERRMODE_DEFAULT", 0x1A00},
      {"VEK_EP,VEK_ERRMODE_STDERR", 0x403},
      {"VEK_LA,VEK_HA", 0x3},
      {"VEK_ERRMODE_DEFAULT,VEK_FLOAT_CONSISTENT,VEK_RESTORE", 0x1A30},
      {fits, 0x203},
      {"VEK_EP,", -1},
      {"VEK_DOUBLE_CONSISTENT", -1},
      {"VEK_HAX", -1},
      {"VEK_HA,,VEK_LA", -1},
      {"VEK_ha", -1},
      {" VEK_HA", -1},
      {"", -1},
      {cut, -1}};

  for (const ParseCase& c : cases) {
    PutModeVariable(c.value.c_str());
    EXPECT_EQ(oxl_vek_kernel_ReadEnvVarMode(), c.expected) << c.value;
  }
  PutModeVariable(nullptr);
  EXPECT_EQ(oxl_vek_kernel_ReadEnvVarMode(), -1);
}

// A fresh thread's first read takes the variable (a fault in it: the default), and reads it again
// later only while the mode it took is zero and no mode was stored.
TEST(ModeVariable, GivesAFreshThreadItsFirstMode) {
  struct Case {
    const char* value;
    uint64_t mode;
    int32_t slot;
    uint64_t mode_later;  // after the variable says VEK_LA
  };
  for (const Case& c :
       {Case{"VEK_EP,VEK_ERRMODE_STDERR", 0x403, 2, 0x403}, Case{"VEK_EP,", 0x1A02, 1, 0x1A02},
        Case{nullptr, 0x1A02, 1, 0x1A02}, Case{"VEK_DEFAULT_PRECISION", 0, -1, 1}}) {
    PutModeVariable(c.value);
    OnFreshThread([&] {
      SCOPED_TRACE(c.value ? c.value : "unset");
      EXPECT_EQ(oxl_vek_kernel_GetMode(), c.mode);
      EXPECT_EQ(oxl_vek_kernel_GetTTableIndex(), c.slot);
      PutModeVariable("VEK_LA");
      EXPECT_EQ(oxl_vek_kernel_GetMode(), c.mode_later);
    });
  }
  PutModeVariable("VEK_DEFAULT_PRECISION");
  OnFreshThread([] {
    EXPECT_EQ(oxl_vek_kernel_SetMode(0x200), 0u);
    PutModeVariable("VEK_LA");
    EXPECT_EQ(oxl_vek_kernel_GetMode(), 0x200u);
  });
}

TEST(ModeVariable, NameIsNotPlainTextInTheLibrary) {
  std::ifstream file(OXL_SHARED_LIBRARY, std::ios::binary);
  ASSERT_TRUE(file) << OXL_SHARED_LIBRARY;
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_EQ(bytes.find(kModeVariable), std::string::npos);
}

// Each thread works on its own block while the others change theirs; any sharing would show as a
// foreign value (and as a race under the thread sanitizer).
TEST(ThreadBlocks, AreSeparate) {
  PutModeVariable("VEK_LA,VEK_ERRMODE_IGNORE");
  oxl_vek_kernel_SetMode(0x280003);
  oxl_vek_kernel_SetErrStatus(3);
  const uint64_t main_mode = oxl_vek_kernel_GetMode();

  constexpr int kThreads = 4;
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  std::vector<int> faults(kThreads, 0);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      ++ready;
      while (ready.load() < kThreads) std::this_thread::yield();
      // Concurrent first calls each read the environment into their own block.
      if (oxl_vek_kernel_GetMode() != 0x101 || oxl_vek_kernel_GetErrStatus() != 0) ++faults[t];
      const float a[1] = {0};
      float r[1] = {0};
      for (int i = 0; i < 2000; ++i) {
        const int32_t status = 1 + (t + i) % 4;
        oxl_vek_kernel_SetMode(1 + (t % 3));
        oxl_vek_kernel_sError(status, 0, a, a, r, r, "vsLn");  // ignore mode: status only
        if (oxl_vek_kernel_GetErrStatus() != status) ++faults[t];
        if (oxl_vek_kernel_GetTTableIndex() != t % 3) ++faults[t];
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(faults, std::vector<int>(kThreads, 0));
  EXPECT_EQ(oxl_vek_kernel_GetMode(), main_mode);
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 3);
  oxl_vek_kernel_ClearErrStatus();
}

}  // namespace
