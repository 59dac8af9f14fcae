// Statuses, errno and callback records of the element-loop kernels for every special value class,
// the C99 Annex G special values of the complex functions, the two frames (mode-driven B3 and the
// extended-precision EX), and Pack and Unpack.
#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <algorithm>
#include <limits>
#include <type_traits>
#include <string>
#include <vector>

#include "oxl/vek.h"
#include "oxl/vek_functions.h"
#include "platform/fp_control.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Every event of a call: code, index, name, first argument and result.
struct Event {
  int32_t code;
  int32_t index;
  std::string name;
  double arg1, arg2, res1;
};
std::vector<Event> events;

int32_t Record(oxl_vek_error_record* r) {
  events.push_back({r->code, r->index, std::string(r->func_name, r->func_name_len), r->arg1,
                    r->arg2, r->res1});
  return 0;
}

class Events : public testing::Test {
 protected:
  void SetUp() override {
    old_mode_ = oxl_vek_kernel_SetMode(OXL_VEK_MODE_ERRMODE_DEFAULT);
    old_callback_ = oxl_vek_kernel_SetErrorCallBack(Record);
    oxl_vek_kernel_ClearErrStatus();
    events.clear();
    errno = 0;
  }
  void TearDown() override {
    oxl_vek_kernel_SetErrorCallBack(old_callback_);
    oxl_vek_kernel_SetMode(old_mode_);
    oxl_vek_kernel_ClearErrStatus();
  }
  uint32_t old_mode_ = 0;
  oxl_vek_error_callback old_callback_ = nullptr;
};

// The same value (NaN matching NaN, zeros by sign).
bool Same(double got, double want) {
  if (std::isnan(want)) return std::isnan(got);
  return got == want && std::signbit(got) == std::signbit(want);
}

// The same up to a relative `tolerance` for finite non-zero values.
bool Close(double got, double want, double tolerance) {
  if (!std::isfinite(want) || want == 0) return Same(got, want);
  return std::fabs(got - want) <= tolerance * std::fabs(want);
}

// kLevel: within the error bound of the slot's accuracy level (1 ulp HA, 4 LA, 2^-11 and 2^-26
// relative EP).
enum Expect { kValue, kAnyFinite, kLevel };

struct RealCase {
  const char* func;
  double a, b;  // b only for binary functions
  int32_t status;
  double result;
  Expect expect = kValue;
};

// The tables of each function, so that every level's kernel is run.
struct RealFunction {
  const char* name;
  oxl_vek_s_UNARY_kernel* s = nullptr;
  oxl_vek_d_UNARY_kernel* d = nullptr;
  oxl_vek_s_BINARY_kernel* s2 = nullptr;
  oxl_vek_d_BINARY_kernel* d2 = nullptr;
};
#define UNARY(F) {#F, oxl_vek_kernel_s##F##_ttab, oxl_vek_kernel_d##F##_ttab}
#define BINARY(F) {#F, nullptr, nullptr, oxl_vek_kernel_s##F##_ttab, oxl_vek_kernel_d##F##_ttab}
const RealFunction kRealFunctions[] = {
    UNARY(Acos),    UNARY(Acosh),   UNARY(Asin),   UNARY(Atanh),      UNARY(Cos),
    UNARY(Sin),     UNARY(Tan),     UNARY(Cosh),   UNARY(Sinh),       UNARY(Exp),
    UNARY(Expm1),   UNARY(Ln),      UNARY(Log10),  UNARY(Log1p),      UNARY(Sqrt),
    UNARY(InvSqrt), UNARY(InvCbrt), UNARY(Inv),    UNARY(Cbrt),       UNARY(Pow3o2),
    UNARY(Pow2o3),
    UNARY(LGamma),  UNARY(TGamma),  UNARY(Erf),    UNARY(Erfc),       UNARY(CdfNorm),
    UNARY(ErfInv),  UNARY(ErfcInv), UNARY(CdfNormInv), UNARY(Floor), UNARY(Round),
    UNARY(NearbyInt), UNARY(Frac),  BINARY(Div),   BINARY(Pow),       BINARY(Hypot),
    BINARY(Atan2),
};
#undef UNARY
#undef BINARY

// Values given for double; each case runs for float too, with the value rounded to float, unless
// the case is only meaningful at one width (a threshold) and names it.
const RealCase kRealCases[] = {
    {"Acos", 1.5, 0, 1, kNaN},          {"Acos", -kInf, 0, 1, kNaN},
    {"Acos", kNaN, 0, 0, kNaN},         {"Acos", 1, 0, 0, 0},
    {"Acosh", 0.5, 0, 1, kNaN},         {"Acosh", kInf, 0, 0, kInf},
    {"Asin", -1.0000001, 0, 1, kNaN},   {"Asin", -0.0, 0, 0, -0.0},
    {"Atanh", 1, 0, 2, kInf},           {"Atanh", -1, 0, 2, -kInf},
    {"Atanh", 2, 0, 1, kNaN},
    {"Cos", kInf, 0, 1, kNaN},          {"Cos", 0, 0, 0, 1},
    {"Sin", -kInf, 0, 1, kNaN},         {"Sin", kNaN, 0, 0, kNaN},
    {"Sin", -0.0, 0, 0, -0.0},          {"Tan", kInf, 0, 1, kNaN},
    {"Tan", 1.5707963267948966, 0, 0, 0, kAnyFinite},
    {"Cosh", 1000, 0, 3, kInf},         {"Cosh", -kInf, 0, 0, kInf},
    {"Sinh", -1000, 0, 3, -kInf},
    {"Exp", 1000, 0, 3, kInf},          {"Exp", -1000, 0, 4, 0},
    {"Exp", -kInf, 0, 0, 0},            {"Exp", kInf, 0, 0, kInf},
    {"Exp", kNaN, 0, 0, kNaN},          {"Exp", 1e-300, 0, 0, 1},
    {"Expm1", 1000, 0, 3, kInf},        {"Expm1", -200, 0, 0, -1},
    {"Ln", 0, 0, 2, -kInf},             {"Ln", -0.0, 0, 2, -kInf},
    {"Ln", -1, 0, 1, kNaN},             {"Ln", -kInf, 0, 1, kNaN},
    {"Ln", kInf, 0, 0, kInf},           {"Ln", 1, 0, 0, 0},
    {"Ln", kNaN, 0, 0, kNaN},           {"Ln", 4.9406564584124654e-324, 0, 0, -744.44007192138126, kLevel},
    {"Ln", 0.5, 0, 0, -0.69314718055994531, kLevel},
    {"Log10", 0, 0, 2, -kInf},          {"Log10", 1000, 0, 0, 3, kLevel},
    {"Log10", -0.0, 0, 2, -kInf},       {"Log10", -1, 0, 1, kNaN},
    {"Log10", kInf, 0, 0, kInf},        {"Log10", 1, 0, 0, 0},
    {"Log1p", -1, 0, 2, -kInf},         {"Log1p", -2, 0, 1, kNaN},
    {"Log1p", -kInf, 0, 1, kNaN},       {"Log1p", kInf, 0, 0, kInf},
    {"Log1p", -0.0, 0, 0, -0.0},        {"Log1p", 1e-20, 0, 0, 1e-20, kLevel},
    {"Log1p", kNaN, 0, 0, kNaN},        {"Log1p", 1e308, 0, 0, 709.1962086421661, kLevel},
    {"Sqrt", -0.0, 0, 0, -0.0},         {"Sqrt", -1, 0, 1, kNaN},
    {"Sqrt", -kInf, 0, 1, kNaN},        {"Sqrt", kInf, 0, 0, kInf},
    {"Sqrt", kNaN, 0, 0, kNaN},         {"Sqrt", 4.9406564584124654e-324, 0, 0, 2.2227587494850775e-162, kLevel},
    {"Sqrt", -4.9406564584124654e-324, 0, 1, kNaN},
    {"InvSqrt", 0, 0, 2, kInf},         {"InvSqrt", -4, 0, 1, kNaN},
    {"InvSqrt", -0.0, 0, 2, -kInf},     {"InvSqrt", -kInf, 0, 1, kNaN},
    {"InvSqrt", kInf, 0, 0, 0},         {"InvSqrt", kNaN, 0, 0, kNaN},
    {"InvSqrt", 4.9406564584124654e-324, 0, 0, 4.4989137945431964e161, kLevel},
    {"InvSqrt", 0.25, 0, 0, 2},         {"Inv", 0, 0, 2, kInf},
    {"Inv", kInf, 0, 0, 0},             {"Inv", 1e-310, 0, 0, kInf},
    {"InvCbrt", 0, 0, 2, kInf},         {"InvCbrt", -0.0, 0, 2, -kInf},
    {"Inv", -0.0, 0, 2, -kInf},         {"Cbrt", -8, 0, 0, -2},
    {"Cbrt", -0.0, 0, 0, -0.0},         {"Cbrt", -kInf, 0, 0, -kInf},
    {"Cbrt", kNaN, 0, 0, kNaN},         {"Cbrt", -1e-310, 0, 0, -4.641588833612774e-104, kLevel},
    {"InvCbrt", -kInf, 0, 0, -0.0},     {"InvCbrt", -0.125, 0, 0, -2},
    {"InvCbrt", kNaN, 0, 0, kNaN},      {"Pow2o3", -8, 0, 0, 4},
    {"Pow2o3", -0.0, 0, 0, 0},          {"Pow2o3", -kInf, 0, 0, kInf},
    {"Pow2o3", kNaN, 0, 0, kNaN},       {"Pow2o3", 1e-310, 0, 0, 2.1544346900318794e-207, kLevel},
    {"Pow3o2", -1, 0, 1, kNaN},         {"Pow3o2", 4, 0, 0, 8},
    {"Pow3o2", -kInf, 0, 1, kNaN},      {"Pow3o2", -0.0, 0, 0, 0},
    {"Pow3o2", kInf, 0, 0, kInf},       {"Pow3o2", kNaN, 0, 0, kNaN},
    {"Pow3o2", 1e300, 0, 3, kInf},      {"Pow3o2", 1e-300, 0, 4, 0, kAnyFinite},
    {"Pow3o2", 1e-200, 0, 0, 1e-300, kLevel},
    {"LGamma", 0, 0, 2, kInf},          {"LGamma", -3, 0, 2, kInf},
    {"LGamma", -kInf, 0, 0, kInf},      {"LGamma", 1, 0, 0, 0},
    {"TGamma", 0, 0, 2, kInf},          {"TGamma", -0.0, 0, 2, -kInf},
    {"TGamma", -2, 0, 1, kNaN},         {"TGamma", -kInf, 0, 1, kNaN},
    {"TGamma", 200, 0, 3, kInf},        {"TGamma", 5, 0, 0, 24},
    {"TGamma", -200.5, 0, 4, -0.0},
    {"Erf", 6, 0, 0, 1},                {"Erf", -0.0, 0, 0, -0.0},
    {"Erfc", 30, 0, 4, 0},              {"Erfc", -30, 0, 0, 2},
    {"CdfNorm", -40, 0, 4, 0},          {"CdfNorm", kInf, 0, 0, 1},
    {"ErfInv", 1, 0, 2, kInf},          {"ErfInv", -1, 0, 2, -kInf},
    {"ErfInv", 1.5, 0, 1, kNaN},        {"ErfInv", 0, 0, 0, 0},
    {"ErfcInv", 0, 0, 2, kInf},         {"ErfcInv", 2, 0, 2, -kInf},
    {"ErfcInv", -0.5, 0, 1, kNaN},      {"ErfcInv", kInf, 0, 1, kNaN},
    {"ErfcInv", 1, 0, 0, 0},
    {"CdfNormInv", 0.5, 0, 0, 0},       {"CdfNormInv", 0, 0, 2, -kInf},
    {"CdfNormInv", 1, 0, 2, kInf},      {"CdfNormInv", 1.5, 0, 1, kNaN},
    {"CdfNormInv", 4.9406564584124654e-324, 0, 0, 0, kAnyFinite},
    {"Floor", -0.5, 0, 0, -1},          {"Round", 2.5, 0, 0, 3},
    {"Round", -0.5, 0, 0, -1},          {"NearbyInt", 2.5, 0, 0, 2},
    {"NearbyInt", -0.5, 0, 0, -0.0},    {"Frac", -2.75, 0, 0, -0.75},
    {"Frac", -3, 0, 0, -0.0},
    {"Div", 1, 0, 2, kInf},             {"Div", 0, 0, 2, kNaN},
    {"Div", -1, 0, 2, -kInf},           {"Div", 1e300, 1e-300, 0, kInf},
    {"Div", kNaN, -0.0, 2, kNaN},       {"Div", 1, kNaN, 0, kNaN},
    {"Div", kInf, kInf, 0, kNaN},       {"Div", -6, 3, 0, -2},
    {"Pow", -8, 1.0 / 3, 1, kNaN},      {"Pow", 0, -1, 2, kInf},
    {"Pow", -0.0, -3, 2, -kInf},        {"Pow", 10, 400, 3, kInf},
    {"Pow", 10, -400, 4, 0},            {"Pow", -2, 3, 0, -8},
    {"Pow", 0, -kInf, 0, kInf},         {"Pow", kNaN, 0, 0, 1},
    {"Pow", 2, 0.5, 0, 1.4142135623730951},
    {"Hypot", 1.5e308, 1.5e308, 3, kInf},   {"Hypot", kInf, kNaN, 0, kInf},
    {"Hypot", kNaN, -kInf, 0, kInf},        {"Hypot", kNaN, 0, 0, kNaN},
    {"Hypot", 0, kNaN, 0, kNaN},            {"Hypot", -0.0, -0.0, 0, 0},
    {"Hypot", 3, -4, 0, 5},                 {"Hypot", 3e-320, 4e-320, 0, 5e-320, kLevel},
    {"Atan2", 0, -0.0, 0, 3.141592653589793}, {"Atan2", -0.0, 0, 0, -0.0},
    {"Atan2", 1e-300, 1e300, 4, 0},
};

// Runs a case at one element of a vector of 37 (so that block and tail both hold it), through the
// given stub, and checks the stored result, the status, the single event and errno.
template <class T, class Call>
void CheckRealCase(const RealCase& c, Call call, const char* type, int slot) {
  SCOPED_TRACE(std::string(type) + c.func + "(" + std::to_string(c.a) + ", " +
               std::to_string(c.b) + ")");
  constexpr int kN = 37;
  for (int at : {5, 35}) {
    // Other elements hold a value inside every domain (Acosh's starts at 1).
    const T filler = std::string(c.func) == "Acosh" ? T(1.5) : T(0.25);
    std::vector<T> a(kN, filler), b(kN, T(1)), r(kN, T(-7));
    a[at] = static_cast<T>(c.a);
    b[at] = static_cast<T>(c.b);
    events.clear();
    errno = 0;
    oxl_vek_kernel_ClearErrStatus();
    call(kN, a.data(), b.data(), r.data());
    const double got = r[at];
    if (c.expect == kAnyFinite) {
      EXPECT_TRUE(std::isfinite(got)) << got;
    } else if (c.expect == kLevel) {
      constexpr double kEps = std::numeric_limits<T>::epsilon();
      const double relative[3] = {4 * kEps, kEps, sizeof(T) == 4 ? 0x1p-11 : 0x1p-26};
      EXPECT_TRUE(Close(got, static_cast<T>(c.result), relative[slot])) << "got " << got;
    } else {
      EXPECT_TRUE(Same(got, static_cast<T>(c.result))) << "got " << got;
    }
    EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), c.status);
    if (c.status == 0) {
      EXPECT_TRUE(events.empty());
      EXPECT_EQ(errno, 0);
      continue;
    }
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].code, c.status);
    EXPECT_EQ(events[0].index, at);
    EXPECT_EQ(events[0].name, std::string("v") + type + c.func);
    EXPECT_TRUE(Same(events[0].arg1, static_cast<T>(c.a)));
    EXPECT_TRUE(Same(events[0].res1, got));
    EXPECT_EQ(errno, c.status == 1 ? EDOM : ERANGE);
  }
}

TEST_F(Events, RealStatusesThroughEveryLevelStub) {
  for (const RealCase& c : kRealCases) {
    const RealFunction* f = nullptr;
    for (const RealFunction& g : kRealFunctions) {
      if (std::string(g.name) == c.func) f = &g;
    }
    ASSERT_NE(f, nullptr) << c.func;
    // Values beyond float's range stand for double only.
    auto beyond_float = [](double x) {
      return std::fabs(x) > 1e38 || (std::fabs(x) < 1e-38 && x != 0);
    };
    const bool double_only = beyond_float(c.a) || beyond_float(c.b);
    for (int slot = 0; slot < 3; ++slot) {
      SCOPED_TRACE("slot " + std::to_string(slot));
      if (f->d != nullptr) {
        CheckRealCase<double>(
            c, [&](int n, const double* a, const double*, double* r) { f->d[slot](n, a, r); },
            "d", slot);
      } else {
        CheckRealCase<double>(
            c, [&](int n, const double* a, const double* b, double* r) {
              f->d2[slot](n, a, b, r);
            },
            "d", slot);
      }
      if (double_only) continue;
      // Float Exp's EP kernel is the bare 2^x approximation: it saturates without reporting.
      if (slot == 2 && std::string(c.func) == "Exp" && c.status != 0) continue;
      if (f->s != nullptr) {
        CheckRealCase<float>(
            c, [&](int n, const float* a, const float*, float* r) { f->s[slot](n, a, r); }, "s",
            slot);
      } else {
        CheckRealCase<float>(
            c, [&](int n, const float* a, const float* b, float* r) { f->s2[slot](n, a, b, r); },
            "s", slot);
      }
    }
  }
}

// --- Complex special values: C99 Annex G where it fixes the result, branch cuts by the sign of a
// zero, and the statuses. ---

struct ComplexCase {
  const char* func;
  oxl_complex16 a;
  int32_t status;
  oxl_complex16 result;
};

using ZUnary = void (*)(int, const oxl_complex16*, oxl_complex16*);
struct ComplexFunction {
  const char* name;
  oxl_vek_z_UNARY_kernel* z;
  oxl_vek_c_UNARY_kernel* c;
};
#define CUNARY(F) {#F, oxl_vek_kernel_z##F##_ttab, oxl_vek_kernel_c##F##_ttab}
const ComplexFunction kComplexFunctions[] = {
    CUNARY(Exp),  CUNARY(Ln),    CUNARY(Sqrt), CUNARY(Acos), CUNARY(Asin), CUNARY(Atanh),
    CUNARY(Sinh), CUNARY(Cosh),  CUNARY(Tanh), CUNARY(Log10), CUNARY(Sin), CUNARY(Atan),
};
#undef CUNARY

constexpr double kPi = 3.141592653589793;
constexpr double kAcosh2 = 1.3169578969248166;
constexpr double kAtanh2 = 0.5493061443340549;  // Re atanh(2)

const ComplexCase kComplexCases[] = {
    {"Exp", {0, 0}, 0, {1, 0}},
    {"Exp", {-0.0, -0.0}, 0, {1, -0.0}},
    {"Exp", {-kInf, 2}, 0, {-0.0, 0}},  // +0 cis(2): cos 2 < 0, sin 2 > 0
    {"Exp", {kInf, 0}, 0, {kInf, 0}},
    {"Exp", {kNaN, 0}, 0, {kNaN, 0}},
    {"Exp", {1, kInf}, 0, {kNaN, kNaN}},
    {"Exp", {1000, 1}, 3, {kInf, kInf}},
    {"Ln", {0, 0}, 2, {-kInf, 0}},
    {"Ln", {-0.0, 0}, 2, {-kInf, kPi}},
    {"Ln", {-0.0, -0.0}, 2, {-kInf, -kPi}},
    {"Ln", {-1, 0}, 0, {0, kPi}},
    {"Ln", {-1, -0.0}, 0, {0, -kPi}},
    {"Ln", {-kInf, 1}, 0, {kInf, kPi}},
    {"Ln", {1, kInf}, 0, {kInf, kPi / 2}},
    {"Ln", {kNaN, kInf}, 0, {kInf, kNaN}},
    {"Sqrt", {-4, 0}, 0, {0, 2}},
    {"Sqrt", {-4, -0.0}, 0, {0, -2}},
    {"Sqrt", {0, 0}, 0, {0, 0}},
    {"Sqrt", {-0.0, -0.0}, 0, {0, -0.0}},
    {"Sqrt", {1, kInf}, 0, {kInf, kInf}},
    {"Sqrt", {kNaN, kInf}, 0, {kInf, kInf}},
    {"Sqrt", {-kInf, 1}, 0, {0, kInf}},
    {"Sqrt", {kInf, -1}, 0, {kInf, -0.0}},
    {"Acos", {0, 0}, 0, {kPi / 2, -0.0}},
    {"Acos", {2, 0}, 0, {0, -kAcosh2}},
    {"Acos", {2, -0.0}, 0, {0, kAcosh2}},
    {"Acos", {-2, 0}, 0, {kPi, -kAcosh2}},
    {"Acos", {1, kInf}, 0, {kPi / 2, -kInf}},
    {"Asin", {2, 0}, 0, {kPi / 2, kAcosh2}},
    {"Asin", {2, -0.0}, 0, {kPi / 2, -kAcosh2}},
    {"Asin", {-0.0, 0}, 0, {-0.0, 0}},
    {"Atanh", {2, 0}, 0, {kAtanh2, kPi / 2}},
    {"Atanh", {2, -0.0}, 0, {kAtanh2, -kPi / 2}},
    {"Atanh", {1, 0}, 0, {kInf, 0}},
    {"Atanh", {kInf, 1}, 0, {0, kPi / 2}},
    {"Atan", {0, 2}, 0, {kPi / 2, kAtanh2}},
    {"Atan", {-0.0, 2}, 0, {-kPi / 2, kAtanh2}},
    {"Sinh", {0, 0}, 0, {0, 0}},
    {"Sinh", {1000, 1}, 3, {kInf, kInf}},
    {"Cosh", {0, 0}, 0, {1, 0}},
    {"Cosh", {1000, 0}, 0, {kInf, 0}},  // a zero part: not an overflow of finite non-zero parts
    {"Cosh", {kInf, 0}, 0, {kInf, 0}},
    {"Tanh", {kInf, 1}, 0, {1, 0}},
    {"Tanh", {-0.0, 0}, 0, {-0.0, 0}},
    {"Sin", {-0.0, 0}, 0, {-0.0, 0}},
    {"Log10", {-100, 0}, 0, {2, 1.3643763538418414}},
};

TEST_F(Events, ComplexSpecialValuesAndBranchCuts) {
  for (const ComplexCase& c : kComplexCases) {
    const ComplexFunction* f = nullptr;
    for (const ComplexFunction& g : kComplexFunctions) {
      if (std::string(g.name) == c.func) f = &g;
    }
    ASSERT_NE(f, nullptr) << c.func;
    for (int slot = 0; slot < 3; ++slot) {
      SCOPED_TRACE(std::string(c.func) + "(" + std::to_string(c.a.re) + ", " +
                   std::to_string(c.a.im) + ") slot " + std::to_string(slot));
      std::vector<oxl_complex16> a(19, oxl_complex16{0.5, 0.25}), r(19);
      a[17] = c.a;
      events.clear();
      oxl_vek_kernel_ClearErrStatus();
      f->z[slot](19, a.data(), r.data());
      EXPECT_TRUE(Close(r[17].re, c.result.re, 3e-16)) << r[17].re;
      EXPECT_TRUE(Close(r[17].im, c.result.im, 3e-16)) << r[17].im;
      EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), c.status);
      ASSERT_EQ(events.size(), c.status != 0 ? 1u : 0u);
      if (c.status != 0) {
        EXPECT_EQ(events[0].index, 17);
        EXPECT_EQ(events[0].name, std::string("vz") + c.func);
      }
      // The float twin where the values stand for float too.
      if (std::fabs(c.a.re) > 1e38 || std::fabs(c.a.im) > 1e38 || c.status == 3) continue;
      std::vector<oxl_complex8> af(19, oxl_complex8{0.5f, 0.25f}), rf(19);
      af[3] = {static_cast<float>(c.a.re), static_cast<float>(c.a.im)};
      f->c[slot](19, af.data(), rf.data());
      EXPECT_TRUE(Close(rf[3].re, static_cast<float>(c.result.re), 1.2e-7)) << rf[3].re;
      EXPECT_TRUE(Close(rf[3].im, static_cast<float>(c.result.im), 1.2e-7)) << rf[3].im;
    }
  }
}

TEST_F(Events, ComplexArithmeticStatuses) {
  const oxl_complex16 big{1e300, 1e300}, one{1, 0}, zero{0, 0};
  oxl_complex16 r;
  _vekzDiv(1, &one, &zero, &r);
  EXPECT_TRUE(std::isinf(r.re) || std::isinf(r.im));
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 2);
  oxl_vek_kernel_ClearErrStatus();
  const oxl_complex16 tiny{1e-300, 1e-300};
  _vekzDiv(1, &big, &tiny, &r);
  EXPECT_EQ(r.re, kInf);
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 3);
  oxl_vek_kernel_ClearErrStatus();
  _vekzMul(1, &big, &big, &r);
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 3);
  oxl_vek_kernel_ClearErrStatus();
  _vekzMulByConj(1, &big, &big, &r);  // |a|^2: real part only
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 3);
  EXPECT_EQ(r.im, 0);
  oxl_vek_kernel_ClearErrStatus();
  double m;
  _vekzAbs(1, &big, &m);
  EXPECT_EQ(m, std::hypot(1e300, 1e300));
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 0);
  const oxl_complex16 huge{1.5e308, 1.5e308};
  _vekzAbs(1, &huge, &m);
  EXPECT_EQ(m, kInf);
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 3);
  ASSERT_FALSE(events.empty());
  EXPECT_EQ(events.back().name, "vzAbs");
  EXPECT_EQ(events.back().arg1, 1.5e308);
  EXPECT_EQ(events.back().res1, kInf);
  oxl_vek_kernel_ClearErrStatus();
  const double angles[2] = {0, kInf};
  oxl_complex16 cis[2];
  _vekzCIS(2, angles, cis);
  EXPECT_EQ(cis[0].re, 1);
  EXPECT_TRUE(Same(cis[0].im, 0));
  EXPECT_TRUE(std::isnan(cis[1].re) && std::isnan(cis[1].im));
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 1);
  const oxl_complex16 args[2] = {{-1, 0}, {-1, -0.0}};
  double arg[2];
  _vekzArg(2, args, arg);
  EXPECT_EQ(arg[0], kPi);
  EXPECT_EQ(arg[1], -kPi);
}

// --- The two frames. ---

uint16_t X87Control() {
  uint16_t cw;
  __asm__ volatile("fnstcw %0" : "=m"(cw));
  return cw;
}
void SetX87Control(uint16_t cw) { __asm__ volatile("fldcw %0" : : "m"(cw)); }

TEST_F(Events, CallersControlWordsAreRestoredAndIgnored) {
  const double x[3] = {0.1, 2.5, -7.25};
  double want[3], got[3];
  _vekdExp(3, x, want);
  const uint16_t cw = X87Control();
  const uint32_t mxcsr = oxl::platform::ReadMxcsr();
  // Round down at double precision on the x87 unit, round down in MXCSR.
  const uint16_t odd_cw = static_cast<uint16_t>((cw & ~0x0F00) | 0x0600);
  SetX87Control(odd_cw);
  oxl::platform::WriteMxcsr((mxcsr & ~0x6000u) | 0x2000u);
  _vekdExp(3, x, got);
  oxl_complex16 z{1, 1}, zr;
  _vekzSin(1, &z, &zr);  // an extended-precision kernel
  const uint16_t cw_after = X87Control();
  const uint32_t mxcsr_after = oxl::platform::ReadMxcsr();
  SetX87Control(cw);
  oxl::platform::WriteMxcsr(mxcsr);
  EXPECT_EQ(cw_after, odd_cw);
  EXPECT_EQ(mxcsr_after & 0xFFC0u, ((mxcsr & ~0x6000u) | 0x2000u) & 0xFFC0u);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(got[i], want[i]);
  oxl_complex16 zr_default;
  _vekzSin(1, &z, &zr_default);
  EXPECT_EQ(zr.re, zr_default.re);
  EXPECT_EQ(zr.im, zr_default.im);
}

TEST_F(Events, FlushToZeroModeReachesElementLoops) {
  const double denormal = 4.9406564584124654e-324;
  double r;
  oxl_vek_kernel_SetMode(OXL_VEK_MODE_FTZ_DAZ_ON);
  _vekdLn(1, &denormal, &r);
  EXPECT_EQ(r, -kInf);
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 2);
  const double minus_740 = -740;
  _vekdExp(1, &minus_740, &r);
  EXPECT_TRUE(Same(r, 0));  // a denormal result flushed, still an underflow
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 4);
  oxl_vek_kernel_ClearErrStatus();
  oxl_vek_kernel_SetMode(OXL_VEK_MODE_FTZ_DAZ_OFF);
  _vekdLn(1, &denormal, &r);
  EXPECT_NEAR(r, -744.44007192138126, 1e-12);
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 0);
}

// Every kernel of the logarithms, in a block and in the tail: under FTZ/DAZ a denormal reads as
// zero (Ln and Log10 of it are a pole; Log1p of it is 0), otherwise it is honoured.
template <class T, class Table>
void CheckDenormalModes(const char* func, Table table) {
  constexpr int kN = 37;
  const T denormal = std::numeric_limits<T>::denorm_min() * 3;
  const bool log1p = std::string(func) == "Log1p";
  for (int slot = 0; slot < 3; ++slot) {
    for (const uint32_t mode : {OXL_VEK_MODE_FTZ_DAZ_ON, OXL_VEK_MODE_FTZ_DAZ_OFF}) {
      SCOPED_TRACE(std::string(func) + " slot " + std::to_string(slot) + " mode " +
                   std::to_string(mode) + (sizeof(T) == 4 ? " float" : " double"));
      const bool daz = mode == OXL_VEK_MODE_FTZ_DAZ_ON;
      std::vector<T> a(kN, T(2)), r(kN);
      a[4] = a[33] = denormal;
      oxl_vek_kernel_SetMode(mode);
      oxl_vek_kernel_ClearErrStatus();
      events.clear();
      table[slot](kN, a.data(), r.data());
      for (int at : {4, 33}) {
        if (log1p) {
          EXPECT_EQ(r[at], daz ? T(0) : denormal);
        } else if (daz) {
          EXPECT_EQ(r[at], -std::numeric_limits<T>::infinity());
        } else {
          EXPECT_TRUE(std::isfinite(r[at]) && r[at] < T(-40)) << r[at];
        }
      }
      EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), daz && !log1p ? 2 : 0);
      EXPECT_EQ(events.size(), daz && !log1p ? 2u : 0u);
    }
  }
}

TEST_F(Events, LogarithmsOfDenormalsFollowTheMode) {
  CheckDenormalModes<double>("Ln", oxl_vek_kernel_dLn_ttab);
  CheckDenormalModes<double>("Log10", oxl_vek_kernel_dLog10_ttab);
  CheckDenormalModes<double>("Log1p", oxl_vek_kernel_dLog1p_ttab);
  CheckDenormalModes<float>("Ln", oxl_vek_kernel_sLn_ttab);
  CheckDenormalModes<float>("Log10", oxl_vek_kernel_sLog10_ttab);
  CheckDenormalModes<float>("Log1p", oxl_vek_kernel_sLog1p_ttab);
}

TEST_F(Events, ErrnoOnlyFromTheErrorPath) {
  oxl_vek_kernel_SetMode(OXL_VEK_MODE_ERRMODE_IGNORE);
  errno = 0;
  const double x[2] = {1000, -1};
  double r[2];
  _vekdExp(1, x, r);
  _vekdLn(1, x + 1, r + 1);
  EXPECT_EQ(errno, 0);
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 1);
}

// Events of a vector come in ascending order; a callback's replacement stands in the result; the
// results do not depend on how the vector is cut.
int32_t ReplaceBy42(oxl_vek_error_record* r) {
  Record(r);
  r->res1 = 42;
  return 0;
}

TEST_F(Events, EventsInOrderReplacementsStandAndCutsAgree) {
  std::vector<double> a(45);
  for (size_t i = 0; i < a.size(); ++i) a[i] = 0.37 * static_cast<double>(i) + 0.1;
  a[2] = 0;
  a[20] = -1;
  a[41] = -0.0;
  std::vector<double> whole(a.size()), pieces(a.size());
  oxl_vek_kernel_SetErrorCallBack(ReplaceBy42);
  oxl_vek_kernel_dLn_ttab[0](static_cast<int>(a.size()), a.data(), whole.data());
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].index, 2);
  EXPECT_EQ(events[1].index, 20);
  EXPECT_EQ(events[2].index, 41);
  EXPECT_EQ(events[1].code, 1);
  EXPECT_EQ(whole[2], 42);
  EXPECT_EQ(whole[20], 42);
  EXPECT_EQ(whole[41], 42);
  for (size_t from = 0; from < a.size();) {
    const size_t len = std::min<size_t>(from % 7 + 1, a.size() - from);
    oxl_vek_kernel_dLn_ttab[0](static_cast<int>(len), a.data() + from, pieces.data() + from);
    from += len;
  }
  EXPECT_EQ(0, std::memcmp(whole.data(), pieces.data(), whole.size() * sizeof(double)));
  double untouched = 5;
  oxl_vek_kernel_dLn_ttab[1](0, a.data(), &untouched);
  oxl_vek_kernel_dLn_ttab[1](-3, a.data(), &untouched);
  EXPECT_EQ(untouched, 5);
}

TEST_F(Events, TwoResultsAndScalarArgument) {
  const double x[2] = {kInf, -2.5};
  double s[2], c[2];
  _vekdSinCos(2, x, s, c);
  EXPECT_TRUE(std::isnan(s[0]) && std::isnan(c[0]));
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].code, 1);
  EXPECT_EQ(s[1], std::sin(-2.5));
  double ip[2], fp[2];
  _vekdModf(2, x, ip, fp);
  EXPECT_EQ(ip[0], kInf);
  EXPECT_TRUE(Same(fp[0], 0));
  EXPECT_EQ(ip[1], -2);
  EXPECT_EQ(fp[1], -0.5);

  events.clear();
  const float bases[3] = {4, -8, 0};
  float r[3];
  _veksPowx(3, bases, 0.5f, r);
  EXPECT_EQ(r[0], 2);
  EXPECT_TRUE(std::isnan(r[1]));
  EXPECT_EQ(r[2], 0);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].index, 1);
  EXPECT_EQ(events[0].name, "vsPowx");
  _veksPowx(3, bases, -1.0f, r);
  EXPECT_EQ(r[2], std::numeric_limits<float>::infinity());
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 2);
  const oxl_complex8 zb[2] = {{0, 1}, {-4, 0}};
  oxl_complex8 zr[2];
  _vekcPowx(2, zb, oxl_complex8{2, 0}, zr);
  EXPECT_NEAR(zr[0].re, -1, 1e-6);
  EXPECT_NEAR(zr[1].re, 16, 1e-5);
}

// --- Pack and Unpack: bit copies, for every type. ---

template <class E>
E Element(int k) {
  if constexpr (std::is_floating_point_v<E>) {
    return static_cast<E>(k) + E(0.5);
  } else {
    return E{static_cast<decltype(E::re)>(k), static_cast<decltype(E::re)>(-k)};
  }
}

template <class E, class PI, class PV, class PM, class UI, class UV, class UM>
void CheckPackUnpack(PI pack_i, PV pack_v, PM pack_m, UI unpack_i, UV unpack_v, UM unpack_m) {
  std::vector<E> a(30);
  for (int k = 0; k < 30; ++k) a[k] = Element<E>(k);
  // A signalling NaN's bits survive the copy.
  using Part = std::conditional_t<sizeof(E) % 8 == 0 && sizeof(E) != 8, double, float>;
  const uint64_t snan_bits = sizeof(Part) == 8 ? 0x7FF0000000000001ull : 0x7F800001ull;
  std::memcpy(&a[6], &snan_bits, sizeof(Part));

  std::vector<E> y(10);
  pack_i(10, a.data(), 3, y.data());
  for (int k = 0; k < 10; ++k) EXPECT_EQ(0, std::memcmp(&y[k], &a[3 * k], sizeof(E))) << k;
  const std::vector<int64_t> index = {29, 0, 6, 7, 7, 1, 15, 2, 3, 4};
  pack_v(10, a.data(), index.data(), y.data());
  for (int k = 0; k < 10; ++k) EXPECT_EQ(0, std::memcmp(&y[k], &a[index[k]], sizeof(E))) << k;
  std::vector<int64_t> mask(30, 0);
  mask[1] = mask[6] = mask[29] = -5;
  std::vector<E> packed(3);
  pack_m(30, a.data(), mask.data(), packed.data());
  EXPECT_EQ(0, std::memcmp(&packed[1], &a[6], sizeof(E)));
  EXPECT_EQ(0, std::memcmp(&packed[2], &a[29], sizeof(E)));

  std::vector<E> z(30, Element<E>(-1));
  unpack_i(10, a.data(), z.data(), 3);
  for (int k = 0; k < 10; ++k) EXPECT_EQ(0, std::memcmp(&z[3 * k], &a[k], sizeof(E)));
  const E filler = Element<E>(-1);
  EXPECT_EQ(0, std::memcmp(&z[1], &filler, sizeof(E)));
  std::vector<E> w(30, filler);
  unpack_v(3, a.data(), w.data(), index.data());
  EXPECT_EQ(0, std::memcmp(&w[29], &a[0], sizeof(E)));
  EXPECT_EQ(0, std::memcmp(&w[6], &a[2], sizeof(E)));
  std::vector<E> m(30, filler);
  unpack_m(30, a.data(), m.data(), mask.data());
  EXPECT_EQ(0, std::memcmp(&m[1], &a[0], sizeof(E)));
  EXPECT_EQ(0, std::memcmp(&m[6], &a[1], sizeof(E)));
  EXPECT_EQ(0, std::memcmp(&m[29], &a[2], sizeof(E)));
  EXPECT_EQ(0, std::memcmp(&m[2], &filler, sizeof(E)));
  pack_i(0, a.data(), 1, nullptr);
  unpack_m(0, a.data(), nullptr, nullptr);
}

TEST(PackUnpack, EveryTypeThroughItsStubs) {
  CheckPackUnpack<float>(_veksPackI, _veksPackV, _veksPackM, _veksUnpackI, _veksUnpackV,
                         _veksUnpackM);
  CheckPackUnpack<double>(_vekdPackI, _vekdPackV, _vekdPackM, _vekdUnpackI, _vekdUnpackV,
                          _vekdUnpackM);
  CheckPackUnpack<oxl_complex8>(_vekcPackI, _vekcPackV, _vekcPackM, _vekcUnpackI, _vekcUnpackV,
                                _vekcUnpackM);
  CheckPackUnpack<oxl_complex16>(_vekzPackI, _vekzPackV, _vekzPackM, _vekzUnpackI, _vekzUnpackV,
                                 _vekzUnpackM);
}

}  // namespace
