#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <cstdarg>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "oxl/vek.h"
#include "oxl/vek_functions.h"
#include "vek/frame/frame.h"

namespace {

// What the library printed on this thread since the last clear: this test binary defines
// oxl_serv_print itself, so the archive's definition is never linked in.
struct PrintedLine {
  int dest;
  int number;
  int count;
  std::string name;  // messages 735 to 741
  int index;         // messages 735 and 742 to 753
  double value;      // messages 742 to 753
};

std::vector<PrintedLine>& PrintedLines() {
  thread_local std::vector<PrintedLine> lines;
  return lines;
}

std::vector<int> PrintedNumbers() {
  std::vector<int> numbers;
  for (const PrintedLine& line : PrintedLines()) numbers.push_back(line.number);
  return numbers;
}

}  // namespace

// The items of each message as the catalogue's contract in oxl/platform.h gives them.
extern "C" int oxl_serv_print(int dest, int number, int count, ...) {
  PrintedLine line{dest, number, count, {}, -1, 0.0};
  va_list items;
  va_start(items, count);
  if (number >= 735 && number <= 741 && count >= 1) {
    line.name = va_arg(items, const char*);
    if (number == 735 && count >= 2) line.index = va_arg(items, int);
  } else if (number >= 742 && number <= 753 && count == 2) {
    line.index = va_arg(items, int);
    line.value = va_arg(items, double);
  }
  va_end(items);
  PrintedLines().push_back(line);
  return 0;
}

namespace {

constexpr int kErrnoUntouched = 12345;

// What the scripted callback does, and what it saw.
struct Script {
  int calls = 0;
  oxl_vek_error_record seen{};
  bool write_results = false;
  double res1 = 0, res2 = 0, res1_im = 0, res2_im = 0;
  uint32_t set_mode = 0;
  int32_t returns = 0;
};
Script script;

int32_t Scripted(oxl_vek_error_record* record) {
  ++script.calls;
  script.seen = *record;
  if (script.write_results) {
    record->res1 = script.res1;
    record->res2 = script.res2;
    record->res1_im = script.res1_im;
    record->res2_im = script.res2_im;
  }
  if (script.set_mode != 0) oxl_vek_kernel_SetMode(script.set_mode);
  return script.returns;
}

class ErrorPath : public ::testing::Test {
 protected:
  void SetUp() override {
    saved_mode_ = oxl_vek_kernel_SetMode(0);
    Reset();
  }
  void TearDown() override {
    Reset();
    oxl_vek_kernel_SetMode(saved_mode_);
  }
  static void Reset() {
    oxl_vek_kernel_ClearErrorCallBack();
    oxl_vek_kernel_SetInterfInputVectorPointer(nullptr);
    oxl_vek_kernel_ClearErrStatus();
    PrintedLines().clear();
    errno = kErrnoUntouched;
    script = Script{};
  }
  // Installs the callback (if any) first, since installing it sets the CALLBACK bit.
  static void Arrange(uint32_t error_field, oxl_vek_error_callback callback) {
    Reset();
    if (callback != nullptr) oxl_vek_kernel_SetErrorCallBack(callback);
    oxl_vek_kernel_SetMode(error_field);
    ASSERT_EQ(oxl_vek_kernel_GetMode() & 0xFF00, error_field);
  }

 private:
  uint32_t saved_mode_ = 0;
};

// What one overflow does under an error field and a callback: errno, the messages, the callback
// and its result. Every combination of errno, stderr and callback, then the cases of ignore, of a
// callback's non-zero answer, and of a callback that changes the mode for the steps after it.
struct FieldCase {
  uint32_t field;
  bool installed;
  int32_t returns = 0;
  uint32_t set_mode = 0;
};

TEST_F(ErrorPath, ErrorFieldAndCallbackSteps) {
  std::vector<FieldCase> cases;
  for (uint32_t bits = 0; bits < 8; ++bits) {
    // An error field cannot be set to 0; EXCEPT alone stands in for "none of the three".
    const uint32_t field =
        (bits & 1 ? 0x200 : 0) | (bits & 2 ? 0x400 : 0) | (bits & 4 ? 0x1000 : 0);
    cases.push_back({field != 0 ? field : 0x800, false});
    cases.push_back({field != 0 ? field : 0x800, true});
  }
  // IGNORE counts only as the whole field.
  cases.insert(cases.end(), {{0x100, true}, {0x1100, true}, {0x300, true}});
  cases.insert(cases.end(), {{0x1600, true, 1}, {0x1600, true, -1}});
  cases.insert(cases.end(), {{0x1200, true, 0, 0x400}, {0x1600, true, 0, 0x100}});
  for (const FieldCase& c : cases) {
    SCOPED_TRACE(::testing::Message()
                 << "field " << std::hex << c.field << " callback " << c.installed << " returns "
                 << c.returns << " sets " << c.set_mode);
    Arrange(c.field, c.installed ? Scripted : nullptr);
    script.write_results = true;
    script.res1 = script.res2 = 42;
    script.returns = c.returns;
    script.set_mode = c.set_mode;
    const double a[2] = {1, 2};
    double r[2] = {5, 7};
    oxl_vek_kernel_dError(vek_status_overflow, 1, a, a, r, r, "vdExp");

    const bool ignore = c.field == 0x100;
    const bool called = c.installed && (c.field & 0x1000) != 0 && !ignore;
    const bool go_on = !called || c.returns == 0;
    const uint32_t after = c.set_mode != 0 && called ? c.set_mode : c.field;
    EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), vek_status_overflow);
    EXPECT_EQ(script.calls, called ? 1 : 0);
    EXPECT_EQ(r[1], called && go_on ? 42 : 7);
    EXPECT_EQ(r[0], 5);
    EXPECT_EQ(errno, go_on && after != 0x100 && (after & 0x200) ? ERANGE : kErrnoUntouched);
    if (go_on && after != 0x100 && (after & 0x400)) {
      EXPECT_EQ(PrintedNumbers(), (std::vector<int>{739, 742, 743}));
      EXPECT_EQ(PrintedLines()[0].name, "vdExp");
      EXPECT_EQ(PrintedLines()[1].value, 2);
      EXPECT_EQ(PrintedLines()[2].value, called ? 42 : 7);
    } else {
      EXPECT_TRUE(PrintedLines().empty());
    }
  }
}

// The errno and the messages of each status, the callback seeing every one (the interface statuses
// too, though they have no elements), and the form of the value lines, which the values choose: a
// second argument or result counts when it differs from the first (zero counts as absent, and NaN
// differs from itself).
TEST_F(ErrorPath, ErrnoMessagesAndValueLinesOfEachStatus) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Case {
    int32_t status;
    int expected_errno;
    std::vector<int> messages;
    double arg1 = 3, arg2 = 3, res1 = 8, res2 = 8;
    std::vector<double> values = {3, 8};
  };
  const std::vector<Case> cases = {
      {-2, EACCES, {736}, 0, 0, 0, 0, {}},
      {-1, EINVAL, {735}, 0, 0, 0, 0, {}},
      {0, 0, {}},
      {1, EDOM, {737, 742, 743}},
      {2, ERANGE, {738, 742, 743}},
      {3, ERANGE, {739, 742, 743}},
      {4, ERANGE, {740, 742, 743}},
      {7, EFAULT, {741, 742, 743}},
      {-3, EFAULT, {741, 742, 743}},
      {1, EDOM, {737, 742, 743}, 1, 0, 5, 0, {1, 5}},
      {1, EDOM, {737, 747, 748, 749}, 1, 2, 5, 5, {1, 2, 5}},
      {1, EDOM, {737, 744, 745, 746}, 1, 1, 5, 6, {1, 5, 6}},
      {1, EDOM, {737, 750, 751, 752, 753}, 1, 2, 5, 6, {1, 2, 5, 6}},
      {1, EDOM, {737, 747, 748, 749}, nan, nan, 5, 5, {nan, nan, 5}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message()
                 << c.status << " " << c.arg1 << " " << c.arg2 << " " << c.res1 << " " << c.res2);
    Arrange(0x1600, Scripted);
    double a1[6] = {}, a2[6] = {}, r1[6] = {}, r2[6] = {};
    a1[4] = c.arg1;
    a2[4] = c.arg2;
    r1[4] = c.res1;
    r2[4] = c.res2;
    // The interface statuses must not touch the arrays, which are null here.
    const bool elements = c.status != -1 && c.status != -2;
    oxl_vek_kernel_dError(c.status, 4, elements ? a1 : nullptr, elements ? a2 : nullptr,
                          elements ? r1 : nullptr, elements ? r2 : nullptr, "vdPow");
    EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), c.status);
    EXPECT_EQ(errno, c.expected_errno);
    EXPECT_EQ(script.calls, 1);
    EXPECT_EQ(script.seen.code, c.status);
    EXPECT_EQ(script.seen.index, 4);
    EXPECT_EQ(r1[4], c.res1);
    ASSERT_EQ(PrintedNumbers(), c.messages);
    for (size_t k = 0; k < c.messages.size(); ++k) {
      const auto& line = PrintedLines()[k];
      EXPECT_EQ(line.dest, 1);
      if (line.number <= 741) {
        EXPECT_EQ(line.name, "vdPow");
      }
      if (line.number == 735 || line.number >= 742) {
        EXPECT_EQ(line.index, 4);
      }
      if (line.number >= 742) {
        const double want = c.values[k - 1];
        EXPECT_EQ(line.count, 2);
        EXPECT_TRUE(line.value == want || (std::isnan(line.value) && std::isnan(want)));
      }
    }
  }
}

TEST_F(ErrorPath, FunctionNameIsCutAtSixtyFourBytes) {
  for (int length : {0, 5, 63, 64, 70}) {
    SCOPED_TRACE(length);
    Arrange(0x1400, Scripted);
    std::string name(length, 'x');
    for (int i = 0; i < length; ++i) name[i] = static_cast<char>('A' + i % 26);
    const double a[1] = {1};
    double r[1] = {2};
    oxl_vek_kernel_dError(vek_status_domain, 0, a, a, r, r, name.c_str());
    const int kept = length < 64 ? length : 64;
    EXPECT_EQ(script.seen.func_name_len, kept);
    EXPECT_EQ(std::string(script.seen.func_name, kept), name.substr(0, kept));
    if (kept < 64) {
      EXPECT_EQ(script.seen.func_name[kept], '\0');
    }
    EXPECT_EQ(PrintedLines()[0].name, name.substr(0, kept));
  }
}

// The logarithm callbacks put the logarithm of the smallest denormal in place of a pole's
// result, the AnyStatus form in place of any error's, through every slot's kernel, in a block and
// in the tail.
TEST_F(ErrorPath, LogarithmCallbacksReplacePoleResults) {
  constexpr uint32_t kFloatLn = 0xC2CE8ED0u;           // ln 2^-149
  constexpr uint64_t kDoubleLn = 0xC0874385446D71C3u;  // ln 2^-1074
  for (int slot = 0; slot < 3; ++slot) {
    SCOPED_TRACE(slot);
    float f[35] = {}, pole_only[35], any[35];
    double d[35] = {}, dr[35];
    f[1] = f[33] = -1;
    Arrange(0x1000, _vsLnCallBack);
    oxl_vek_kernel_sLn_ttab[slot](35, f, pole_only);
    Arrange(0x1000, _vsLnCallBackAnyStatus);
    oxl_vek_kernel_sLn_ttab[slot](35, f, any);
    Arrange(0x1000, _vdLnCallBack);
    oxl_vek_kernel_dLn_ttab[slot](35, d, dr);
    for (int at : {0, 1, 33, 34}) {
      EXPECT_EQ(std::bit_cast<uint32_t>(pole_only[at]) == kFloatLn, f[at] == 0) << at;
      EXPECT_EQ(std::bit_cast<uint32_t>(any[at]), kFloatLn) << at;
      EXPECT_EQ(std::bit_cast<uint64_t>(dr[at]), kDoubleLn) << at;
    }
  }
}

// The four element types: how to build an element from its parts.
template <class E>
E Make(double re, double im) {
  if constexpr (std::is_floating_point_v<E>) {
    return static_cast<E>(re);
  } else {
    return {static_cast<decltype(E::re)>(re), static_cast<decltype(E::re)>(im)};
  }
}

template <class T>
class ErrorPathTyped : public ErrorPath {};
using ElementTypes = ::testing::Types<float, double, oxl_complex8, oxl_complex16>;
TYPED_TEST_SUITE(ErrorPathTyped, ElementTypes);

TYPED_TEST(ErrorPathTyped, RecordWidensAndStoreRounds) {
  const TypeParam a[2] = {Make<TypeParam>(0, 0), Make<TypeParam>(0.25, -1.5)};
  const TypeParam b[2] = {Make<TypeParam>(0, 0), Make<TypeParam>(3, 4)};
  TypeParam r1[2] = {Make<TypeParam>(0, 0), Make<TypeParam>(0x1p100, -0.0)};
  TypeParam r2[2] = {Make<TypeParam>(0, 0), Make<TypeParam>(-7, 8)};
  // A callback that only inspects leaves the results as they were, bit for bit.
  this->Arrange(0x1000, Scripted);
  const TypeParam before[2] = {r1[1], r2[1]};
  oxl::vek::Error(vek_status_domain, 1, a, b, r1, r2, "vxTest");
  EXPECT_EQ(std::memcmp(&r1[1], &before[0], sizeof(TypeParam)), 0);
  EXPECT_EQ(std::memcmp(&r2[1], &before[1], sizeof(TypeParam)), 0);

  script.write_results = true;
  const double fine = 1 + std::ldexp(1.0, -40);  // rounds to 1 in float, exact in double
  script.res1 = fine;
  script.res1_im = -fine;
  script.res2 = 0.1;
  script.res2_im = 0.2;
  oxl::vek::Error(vek_status_domain, 1, a, b, r1, r2, "vxTest");

  const auto& seen = script.seen;
  EXPECT_EQ(seen.arg1, 0.25);
  EXPECT_EQ(seen.arg2, 3);
  EXPECT_EQ(seen.res1, 0x1p100);
  EXPECT_EQ(seen.res2, -7);
  if constexpr (!std::is_floating_point_v<TypeParam>) {
    EXPECT_EQ(seen.arg1_im, -1.5);
    EXPECT_EQ(seen.arg2_im, 4);
    EXPECT_TRUE(seen.res1_im == 0 && std::signbit(seen.res1_im));
    EXPECT_EQ(seen.res2_im, 8);
  }
  const TypeParam want1 = Make<TypeParam>(fine, -fine), want2 = Make<TypeParam>(0.1, 0.2);
  EXPECT_EQ(std::memcmp(&r1[1], &want1, sizeof(TypeParam)), 0);
  EXPECT_EQ(std::memcmp(&r2[1], &want2, sizeof(TypeParam)), 0);
  // Both results in one array: the first wins.
  oxl::vek::Error(vek_status_domain, 1, a, b, r2, r2, "vxTest");
  EXPECT_EQ(std::memcmp(&r2[1], &want1, sizeof(TypeParam)), 0);
}

TYPED_TEST(ErrorPathTyped, IndexCountsFromTheInterfaceVector) {
  TypeParam whole[12], r[12];
  for (int i = 0; i < 12; ++i) {
    whole[i] = Make<TypeParam>(i, -i);
    r[i] = Make<TypeParam>(100 + i, 0);
  }
  this->Arrange(0x1400, Scripted);
  oxl_vek_kernel_SetInterfInputVectorPointer(whole);
  oxl::vek::Error(vek_status_domain, 3, whole + 5, whole + 5, r + 5, r + 5, "vxTest");
  EXPECT_EQ(script.seen.index, 8);
  EXPECT_EQ(script.seen.arg1, 8);  // the element itself is found by the block-local index
  EXPECT_EQ(script.seen.res1, 108);
  EXPECT_EQ(PrintedLines()[1].index, 8);

  // A start behind the block: the distance wraps as an unsigned number.
  oxl_vek_kernel_SetInterfInputVectorPointer(whole + 7);
  oxl::vek::Error(vek_status_domain, 3, whole + 5, whole + 5, r + 5, r + 5, "vxTest");
  EXPECT_EQ(script.seen.index, 1);
  // Half an element behind: unsigned division gives one less than a signed one would.
  oxl_vek_kernel_SetInterfInputVectorPointer(reinterpret_cast<const char*>(whole + 5) +
                                             sizeof(TypeParam) / 2);
  oxl::vek::Error(vek_status_domain, 3, whole + 5, whole + 5, r + 5, r + 5, "vxTest");
  EXPECT_EQ(script.seen.index, 2);
}

}  // namespace
