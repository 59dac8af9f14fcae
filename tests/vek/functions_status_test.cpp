// Statuses, errno and callback records of every kernel of the list for every special value class
// (on every SIMD target, in a block and in the tail, in place), the C99 Annex G special values of
// the complex functions, complex arithmetic's infinities and overflows, denormals under the mode
// and NaN payloads through every vector kernel, and the x87 control word of the extended frame.
#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <algorithm>
#include <limits>
#include <map>
#include <string_view>
#include <type_traits>
#include <string>
#include <utility>
#include <vector>

#include "oxl/vek.h"
#include "oxl/vek_functions.h"
#include "support/targets.h"
#include "vek/frame/scalar_layer.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.141592653589793;

// Every event of a call: code, index, name, first argument and result.
struct Event {
  int32_t code;
  int32_t index;
  std::string name;
  double arg1, arg2, res1;
};
std::vector<Event> events;

int32_t Record(oxl_vek_error_record* r) {
  events.push_back(
      {r->code, r->index, std::string(r->func_name, r->func_name_len), r->arg1, r->arg2, r->res1});
  return 0;
}

class Events : public testing::Test {
 protected:
  void SetUp() override {
    old_mode_ = oxl_vek_kernel_SetMode(OXL_VEK_MODE_ERRMODE_DEFAULT | OXL_VEK_MODE_FTZ_DAZ_OFF);
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

// The same up to a relative `tolerance` for finite non-zero values; below `normal` the tolerance
// is relative to it, as ulps of the subnormals are.
bool Close(double got, double want, double tolerance, double normal = 0) {
  if (!std::isfinite(want) || want == 0) return Same(got, want);
  return std::fabs(got - want) <= tolerance * std::max(std::fabs(want), normal);
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
  char only = 0;  // 's' or 'd': a threshold of one width
  uint32_t mode = OXL_VEK_MODE_FTZ_DAZ_OFF;
};

// The tables of each function of the list, so that every level's kernel is run.
struct Tables {
  std::string simd;  // the type letters of the SIMD rows, whose kernels are vector kernels
  // Of those, the type letters whose HA slot is an element loop of the extended-precision frame
  // (patterns L9 and E9), which reads no mode.
  std::string loop_ha;
  oxl_vek_s_UNARY_kernel* s = nullptr;
  oxl_vek_d_UNARY_kernel* d = nullptr;
  oxl_vek_s_BINARY_kernel* s2 = nullptr;
  oxl_vek_d_BINARY_kernel* d2 = nullptr;
  oxl_vek_c_UNARY_kernel* c = nullptr;
  oxl_vek_z_UNARY_kernel* z = nullptr;
  oxl_vek_c_BINARY_kernel* c2 = nullptr;
  oxl_vek_z_BINARY_kernel* z2 = nullptr;
};

template <class K>
void Put(Tables& t, K* table, char type, bool simd, std::string_view slots) {
  if (simd) t.simd += type;
  if (simd && (slots == "L9" || slots == "E9")) t.loop_ha += type;
  if constexpr (std::is_same_v<K, oxl_vek_s_UNARY_kernel>) t.s = table;
  if constexpr (std::is_same_v<K, oxl_vek_d_UNARY_kernel>) t.d = table;
  if constexpr (std::is_same_v<K, oxl_vek_s_BINARY_kernel>) t.s2 = table;
  if constexpr (std::is_same_v<K, oxl_vek_d_BINARY_kernel>) t.d2 = table;
  if constexpr (std::is_same_v<K, oxl_vek_c_UNARY_kernel>) t.c = table;
  if constexpr (std::is_same_v<K, oxl_vek_z_UNARY_kernel>) t.z = table;
  if constexpr (std::is_same_v<K, oxl_vek_c_BINARY_kernel>) t.c2 = table;
  if constexpr (std::is_same_v<K, oxl_vek_z_BINARY_kernel>) t.z2 = table;
}

const std::map<std::string, Tables>& Functions() {
  static const std::map<std::string, Tables> all = [] {
    std::map<std::string, Tables> m;
#define OXL_VEK_FUNCTION(t, F, form, slots, impl, cost_la, cost_ha, cost_ep) \
  Put(m[#F], oxl_vek_kernel_##t##F##_ttab, #t[0], std::string_view(#impl) == "SIMD", #slots);
#include "oxl/vek_functions.def"
#undef OXL_VEK_FUNCTION
    return m;
  }();
  return all;
}

// Values given for double; each case runs for float too, with the value rounded to float, unless
// the case is only meaningful at one width (a threshold) and names it.
// clang-format off
const RealCase kRealCases[] = {
    {"Acos", 1.5, 0, 1, kNaN}, {"Acos", -kInf, 0, 1, kNaN}, {"Acos", kNaN, 0, 0, kNaN},
    {"Acosh", 0.5, 0, 1, kNaN}, {"Acosh", kInf, 0, 0, kInf}, {"Asin", -1.0000001, 0, 1, kNaN},
    {"Atanh", 1, 0, 2, kInf}, {"Atanh", -1, 0, 2, -kInf}, {"Atanh", 2, 0, 1, kNaN},
    {"Cos", kInf, 0, 1, kNaN}, {"Sin", -kInf, 0, 1, kNaN}, {"Sin", kNaN, 0, 0, kNaN},
    {"Tan", kInf, 0, 1, kNaN}, {"Tan", 1.5707963267948966, 0, 0, 0, kAnyFinite},
    {"Tan", -0.0, 0, 0, -0.0},
    {"Cosh", 1000, 0, 3, kInf}, {"Cosh", -kInf, 0, 0, kInf}, {"Sinh", -1000, 0, 3, -kInf},
    {"Exp", 1000, 0, 3, kInf}, {"Exp", -1000, 0, 4, 0}, {"Exp", -kInf, 0, 0, 0},
    {"Exp", kInf, 0, 0, kInf}, {"Exp", 709.79, 0, 3, kInf}, {"Exp", -745.14, 0, 4, 0},
    {"Exp", -740, 0, 4, std::exp(-740.0), kLevel},
    // The float thresholds: overflow, denormal results and the rounding up to the smallest
    // denormal.
    {"Exp", 88.7228394, 0, 3, kInf, kValue, 's'}, {"Exp", -88, 0, 4, std::exp(-88.0f), kLevel, 's'},
    {"Exp", -103.98, 0, 4, 0, kValue, 's'}, {"Exp", -0x1.9fe368p+6, 0, 4, 0x1p-149, kValue, 's'},
    {"Exp", -200, 0, 4, 0, kValue, 's'}, {"Expm1", 1000, 0, 3, kInf}, {"Expm1", -200, 0, 0, -1},
    {"Expm1", -kInf, 0, 0, -1}, {"Expm1", kInf, 0, 0, kInf}, {"Expm1", 710, 0, 3, kInf},
    {"Expm1", 89, 0, 3, kInf, kValue, 's'}, {"Mul", 1e300, 1e300, 0, kInf},
    {"Mul", -1e300, 1e300, 0, -kInf}, {"Ln", 0, 0, 2, -kInf}, {"Ln", -0.0, 0, 2, -kInf},
    {"Ln", -1, 0, 1, kNaN}, {"Ln", -kInf, 0, 1, kNaN}, {"Ln", kInf, 0, 0, kInf},
    {"Ln", 4.9406564584124654e-324, 0, 0, -744.44007192138126, kLevel}, {"Log10", 0, 0, 2, -kInf},
    {"Log10", -0.0, 0, 2, -kInf}, {"Log10", -1, 0, 1, kNaN}, {"Log10", kInf, 0, 0, kInf},
    {"Log1p", -1, 0, 2, -kInf}, {"Log1p", -2, 0, 1, kNaN}, {"Log1p", -kInf, 0, 1, kNaN},
    {"Log1p", kInf, 0, 0, kInf}, {"Log1p", -0.0, 0, 0, -0.0}, {"Sqrt", -0.0, 0, 0, -0.0},
    {"Sqrt", -1, 0, 1, kNaN}, {"Sqrt", -kInf, 0, 1, kNaN}, {"Sqrt", kInf, 0, 0, kInf},
    {"InvSqrt", 0, 0, 2, kInf}, {"InvSqrt", -4, 0, 1, kNaN}, {"InvCbrt", 0, 0, 2, kInf},
    {"InvCbrt", -0.0, 0, 2, -kInf}, {"Inv", -0.0, 0, 2, -kInf}, {"Pow3o2", -1, 0, 1, kNaN},
    {"LGamma", 0, 0, 2, kInf}, {"LGamma", -3, 0, 2, kInf}, {"LGamma", -kInf, 0, 0, kInf},
    {"TGamma", 0, 0, 2, kInf}, {"TGamma", -0.0, 0, 2, -kInf}, {"TGamma", -2, 0, 1, kNaN},
    {"TGamma", -kInf, 0, 1, kNaN}, {"TGamma", 200, 0, 3, kInf}, {"TGamma", -200.5, 0, 4, -0.0},
    {"Erf", 6, 0, 0, 1}, {"Erfc", 30, 0, 4, 0}, {"Erfc", -30, 0, 0, 2}, {"CdfNorm", -40, 0, 4, 0},
    {"CdfNorm", kInf, 0, 0, 1}, {"ErfInv", 1, 0, 2, kInf}, {"ErfInv", -1, 0, 2, -kInf},
    {"ErfInv", 1.5, 0, 1, kNaN}, {"ErfcInv", 0, 0, 2, kInf}, {"ErfcInv", 2, 0, 2, -kInf},
    {"ErfcInv", -0.5, 0, 1, kNaN}, {"ErfcInv", kInf, 0, 1, kNaN}, {"CdfNormInv", 0, 0, 2, -kInf},
    {"CdfNormInv", 1, 0, 2, kInf}, {"CdfNormInv", 1.5, 0, 1, kNaN},
    {"CdfNormInv", 4.9406564584124654e-324, 0, 0, 0, kAnyFinite}, {"Div", 1, 0, 2, kInf},
    {"Div", 0, 0, 2, kNaN}, {"Div", -1, 0, 2, -kInf}, {"Div", 1e300, 1e-300, 0, kInf},
    {"Pow", -8, 1.0 / 3, 1, kNaN}, {"Pow", 0, -1, 2, kInf}, {"Pow", -0.0, -3, 2, -kInf},
    {"Pow", 10, 400, 3, kInf}, {"Pow", 10, -400, 4, 0}, {"Pow", 0, -kInf, 0, kInf},
    {"Pow", kNaN, 0, 0, 1}, {"Hypot", 1.5e308, 1.5e308, 3, kInf}, {"Hypot", kInf, kNaN, 0, kInf},
    {"Atan2", 0, -0.0, 0, 3.141592653589793}, {"Atan2", -0.0, 0, 0, -0.0},
    {"Atan2", 1e-300, 1e300, 4, 0},
    // Roots, reciprocals and quotients: the rare lanes and the ends of the normal range.
    {"Sqrt", -4.9406564584124654e-324, 0, 1, kNaN}, {"InvSqrt", -0.0, 0, 2, -kInf},
    {"InvSqrt", -kInf, 0, 1, kNaN}, {"InvSqrt", kInf, 0, 0, 0}, {"Inv", 0, 0, 2, kInf},
    {"Inv", kInf, 0, 0, 0}, {"Inv", 1e-310, 0, 0, kInf}, {"Cbrt", -0.0, 0, 0, -0.0},
    {"Cbrt", -kInf, 0, 0, -kInf}, {"InvCbrt", -kInf, 0, 0, -0.0}, {"Pow2o3", -0.0, 0, 0, 0},
    {"Pow2o3", -kInf, 0, 0, kInf}, {"Pow3o2", -kInf, 0, 1, kNaN}, {"Pow3o2", -0.0, 0, 0, 0},
    {"Pow3o2", kInf, 0, 0, kInf}, {"Pow3o2", 1e300, 0, 3, kInf},
    {"Pow3o2", 1e-300, 0, 4, 0, kAnyFinite}, {"Div", kNaN, -0.0, 2, kNaN},
    {"Div", 1, kNaN, 0, kNaN}, {"Div", kInf, kInf, 0, kNaN}, {"Hypot", kNaN, -kInf, 0, kInf},
    {"Hypot", kNaN, 0, 0, kNaN}, {"Hypot", 0, kNaN, 0, kNaN}, {"Hypot", -0.0, -0.0, 0, 0},
    // Pow off its fast path: negative bases take the sign of an integer exponent's parity (a
    // huge exponent is even), the special pairs of C99 Annex F, denormal bases, and results at
    // and beyond the ends of the range; on it, w = b ln a near the fast bound and a near 1 with a
    // huge b, where the logarithm's error is multiplied most.
    {"Pow", -4, 0.5, 1, kNaN}, {"Pow", -4, -2.5, 1, kNaN}, {"Pow", -2, 1e300, 3, kInf},
    {"Pow", -0.5, 1100, 4, 0}, {"Pow", -0.5, 1101, 4, -0.0}, {"Pow", -1, kInf, 0, 1},
    {"Pow", -1, -kInf, 0, 1}, {"Pow", 1, kNaN, 0, 1}, {"Pow", 1, -kInf, 0, 1},
    {"Pow", kNaN, -0.0, 0, 1}, {"Pow", kNaN, 1, 0, kNaN}, {"Pow", -0.0, 3, 0, -0.0},
    {"Pow", -0.0, 0.5, 0, 0}, {"Pow", -kInf, 3, 0, -kInf}, {"Pow", -kInf, -3, 0, -0.0},
    {"Pow", kInf, -0.5, 0, 0}, {"Pow", 0.5, kInf, 0, 0},
    {"Pow", 4.9406564584124654e-324, 0.5, 0, 2.2227587494850775e-162, kLevel},
    {"Pow", 4.9406564584124654e-324, -1, 3, kInf}, {"Pow", 2, 1023, 0, 0x1p1023, kValue, 'd'},
    {"Pow", 2, 1024, 3, kInf, kValue, 'd'}, {"Pow", 2, -1022, 0, 0x1p-1022, kValue, 'd'},
    {"Pow", 2, -1022.5, 4, 0x0.b504f333f9de6p-1022, kValue, 'd'},
    {"Pow", 2, -1074, 4, 0x1p-1074, kValue, 'd'}, {"Pow", 0.5, 1074.5, 4, 0x1p-1074, kValue, 'd'},
    {"Pow", 2, -1075, 4, 0, kValue, 'd'},
    {"Pow", 2, -1021.5, 0, 0x1.6a09e667f3bcdp-1022, kLevel, 'd'},
    {"Pow", 2, 1021.5, 0, 0x1.6a09e667f3bcdp+1021, kLevel, 'd'},
    {"Pow", 1 + 0x1p-52, 0x1p52, 0, static_cast<double>(std::pow(1 + 0x1p-52L, 0x1p52L)), kLevel,
     'd'},
    {"Pow", 1 - 0x1p-53, -0x1p62, 0, static_cast<double>(std::pow(1 - 0x1p-53L, -0x1p62L)), kLevel,
     'd'},
    {"Pow", 2, 127, 0, 0x1p127, kValue, 's'}, {"Pow", 2, 128, 3, kInf, kValue, 's'},
    {"Pow", 2, -126, 0, 0x1p-126, kValue, 's'}, {"Pow", 2, -149, 4, 0x1p-149, kValue, 's'},
    {"Pow", 2, -150, 4, 0, kValue, 's'},
    {"Pow", 1 + 0x1p-23, 0x1p29, 0, static_cast<double>(std::pow(1 + 0x1p-23L, 0x1p29L)), kLevel,
     's'},
    // Under FTZ/DAZ a denormal argument is a zero, and a denormal result is flushed but is still
    // an underflow.
    {"Ln", 4.9406564584124654e-324, 0, 2, -kInf, kValue, 'd', OXL_VEK_MODE_FTZ_DAZ_ON},
    {"Exp", -740, 0, 4, 0, kValue, 'd', OXL_VEK_MODE_FTZ_DAZ_ON},
    // Sines and cosines: a denormal and -0 pass through Sin, cos 0 is 1 exactly, and the
    // largest arguments reduce in the vector code to full accuracy, without a status.
    {"Sin", 4.9406564584124654e-324, 0, 0, 4.9406564584124654e-324},
    {"Sin", -0x1p-1022, 0, 0, -0x1p-1022}, {"Cos", -0.0, 0, 0, 1}, {"Cos", kNaN, 0, 0, kNaN},
    {"Cos", -kInf, 0, 1, kNaN}, {"Sin", 1e300, 0, 0, -0.8178819121159085, kLevel, 'd'},
    {"Cos", 0x1.fffffffffffffp+1023, 0, 0, -0.99998768942655991, kLevel, 'd'},
    // Tiny arguments, whose odd series round to x while their powers go denormal (float below
    // 2^-20, double below 2^-120): the odd functions give x, Cos 1 and Acos pi/2 rounded (from
    // float 1.6e-8 and double 5e-17 down), without a status; under DAZ a denormal is the zero of
    // its sign.
    {"Sin", -1e-30, 0, 0, -1e-30}, {"Sin", 0x1.fffffp-21, 0, 0, 0x1.fffffp-21, kValue, 's'},
    {"Sin", 0x1p-20, 0, 0, 0x1p-20, kValue, 's'},
    {"Sin", -0x1.fffffp-121, 0, 0, -0x1.fffffp-121, kValue, 'd'},
    {"Tan", 1e-25, 0, 0, 1e-25}, {"Tan", -0x1.fffffp-21, 0, 0, -0x1.fffffp-21, kValue, 's'},
    {"Tan", 3e-300, 0, 0, 3e-300, kValue, 'd'}, {"Cos", 1e-30, 0, 0, 1},
    {"Atan", -3e-20, 0, 0, -3e-20}, {"Atan", 0x1.fffffp-121, 0, 0, 0x1.fffffp-121, kValue, 'd'},
    {"Asin", 2e-37, 0, 0, 2e-37}, {"Asin", -0x1.fffffp-21, 0, 0, -0x1.fffffp-21, kValue, 's'},
    {"Asin", -1e-200, 0, 0, -1e-200, kValue, 'd'}, {"Acos", -1e-30, 0, 0, kPi / 2},
    {"Acos", 0x1.fffffp-27, 0, 0, kPi / 2, kValue, 's'},
    {"Acos", -0x1.fffffp-56, 0, 0, kPi / 2, kValue, 'd'},
    {"Sin", -0x1p-140, 0, 0, -0x1p-140, kValue, 's'},
    {"Sin", -0x1p-140, 0, 0, -0.0, kValue, 's', OXL_VEK_MODE_FTZ_DAZ_ON},
    {"Tan", 4.9406564584124654e-324, 0, 0, 0, kValue, 'd', OXL_VEK_MODE_FTZ_DAZ_ON},
    {"Atan", 0x1p-140, 0, 0, 0, kValue, 's', OXL_VEK_MODE_FTZ_DAZ_ON},
    {"Asin", -4.9406564584124654e-324, 0, 0, -0.0, kValue, 'd', OXL_VEK_MODE_FTZ_DAZ_ON},
    {"Asin", -0x1p-140, 0, 0, -0x1p-140, kValue, 's'},
    {"Acos", 0x1p-140, 0, 0, kPi / 2, kValue, 's', OXL_VEK_MODE_FTZ_DAZ_ON},
    // Error functions: signed zeros and limits, NaN without a status, and Erfc's underflow from
    // the first argument whose result rounds below the normal range (double, then float).
    {"Erf", -0.0, 0, 0, -0.0}, {"Erf", -kInf, 0, 0, -1}, {"Erf", kInf, 0, 0, 1},
    {"Erf", kNaN, 0, 0, kNaN}, {"Erfc", -kInf, 0, 0, 2}, {"Erfc", kInf, 0, 0, 0},
    {"Erfc", kNaN, 0, 0, kNaN}, {"Erfc", 27.3, 0, 4, 0},
    {"Erfc", 0x1.a8b12fc6e4891p+4, 0, 0, 0, kAnyFinite, 'd'},
    {"Erfc", 0x1.a8b12fc6e4892p+4, 0, 4, 0, kAnyFinite, 'd'},
    {"Erfc", 0x1.2639ap+3, 0, 0, 0, kAnyFinite, 's'},
    {"Erfc", 0x1.2639cp+3, 0, 4, 0, kAnyFinite, 's'},
    {"CdfNorm", -kInf, 0, 0, 0}, {"CdfNorm", kNaN, 0, 0, kNaN}, {"CdfNorm", -0.0, 0, 0, 0.5},
    {"CdfNorm", -0x1.2c27b05bf1a0ap+5, 0, 0, 0, kAnyFinite, 'd'},
    {"CdfNorm", -0x1.2c27b05bf1a0bp+5, 0, 4, 0, kAnyFinite, 'd'},
    {"CdfNorm", -0x1.9e6602p+3, 0, 0, 0, kAnyFinite, 's'},
    {"CdfNorm", -0x1.9e6604p+3, 0, 4, 0, kAnyFinite, 's'},
    // Inverse trigonometric functions: the ends of the domains and beyond, signed zeros, a
    // denormal through Atan, and Atan2 on the signed zeros and infinities of C99 Annex F, with
    // results below the normal range (status 4 unless an argument is itself denormal).
    {"Asin", -0.0, 0, 0, -0.0}, {"Asin", 1, 0, 0, kPi / 2}, {"Asin", -1, 0, 0, -kPi / 2},
    {"Asin", kInf, 0, 1, kNaN}, {"Asin", kNaN, 0, 0, kNaN}, {"Acos", 1, 0, 0, 0},
    {"Acos", -1, 0, 0, kPi}, {"Acos", -0.0, 0, 0, kPi / 2}, {"Acos", 1.0000001, 0, 1, kNaN},
    {"Atan", -0.0, 0, 0, -0.0}, {"Atan", -4.9406564584124654e-324, 0, 0, -4.9406564584124654e-324},
    {"Atan", kInf, 0, 0, kPi / 2}, {"Atan", -kInf, 0, 0, -kPi / 2}, {"Atan", kNaN, 0, 0, kNaN},
    {"Atan2", 0, 0, 0, 0}, {"Atan2", -0.0, -0.0, 0, -kPi}, {"Atan2", 0, -3, 0, kPi},
    {"Atan2", -0.0, -3, 0, -kPi}, {"Atan2", -0.0, 3, 0, -0.0}, {"Atan2", 2, 0, 0, kPi / 2},
    {"Atan2", -2, -0.0, 0, -kPi / 2}, {"Atan2", 2, kInf, 0, 0}, {"Atan2", -2, kInf, 0, -0.0},
    {"Atan2", 2, -kInf, 0, kPi}, {"Atan2", -2, -kInf, 0, -kPi}, {"Atan2", kInf, -2, 0, kPi / 2},
    {"Atan2", -kInf, 2, 0, -kPi / 2}, {"Atan2", kInf, kInf, 0, kPi / 4},
    {"Atan2", kInf, -kInf, 0, 3 * kPi / 4, kLevel}, {"Atan2", -kInf, -kInf, 0, -3 * kPi / 4, kLevel},
    {"Atan2", kNaN, 1, 0, kNaN}, {"Atan2", 1, kNaN, 0, kNaN}, {"Atan2", -1e-300, 1e300, 4, -0.0},
    {"Atan2", 1e-300, 1e10, 4, 1e-310, kLevel, 'd'}, {"Atan2", 1e-300, -1e10, 0, kPi},
    {"Atan2", 4.9406564584124654e-324, 2, 0, 0, kValue, 'd'},
    {"Atan2", 4.9406564584124654e-324, 0.5, 0, 9.8813129168249309e-324, kValue, 'd'},
    {"Atan2", 1e-30, 1e10, 4, 1e-40, kLevel, 's'}, {"Atan2", 1e-30, 1e20, 4, 0, kValue, 's'},
    // The inverse error functions: zeros keep their sign, a zero p is a pole, the ends of the
    // vector path's tail (q = 2^-62) on both sides, p near 1 by its exact complement.
    {"ErfInv", -0.0, 0, 0, -0.0}, {"ErfInv", -kInf, 0, 1, kNaN}, {"ErfInv", kNaN, 0, 0, kNaN},
    {"ErfcInv", 1, 0, 0, 0}, {"ErfcInv", 2.5, 0, 1, kNaN}, {"ErfcInv", -kInf, 0, 1, kNaN},
    {"CdfNormInv", -0.0, 0, 2, -kInf}, {"CdfNormInv", 0.5, 0, 0, 0},
    {"CdfNormInv", -kInf, 0, 1, kNaN}, {"CdfNormInv", kNaN, 0, 0, kNaN},
    {"ErfcInv", 0x1p-62, 0, 0, 6.3670751087853672, kLevel, 'd'},
    {"ErfcInv", 0x1.fffffffffffffp-63, 0, 0, 6.3670751087853672, kLevel, 'd'},
    {"CdfNormInv", 0x1p-1074, 0, 0, -38.467405617144344, kLevel, 'd'},
    {"CdfNormInv", 1 - 0x1p-53, 0, 0, 8.2095361516013874, kLevel, 'd'},
    // Gamma family: each side of where the vector lanes end (TGamma from 171 on, overflowing from
    // 171.62; float 35.04; LGamma from 2^1000 on, overflowing from 2.55e305; arguments below
    // 2^-54, whose TGamma overflows below 5.6e-309), +inf and a denormal pole under DAZ.
    {"TGamma", 170.5, 0, 0, static_cast<double>(std::tgamma(170.5L)), kLevel, 'd'},
    {"TGamma", 171.5, 0, 0, static_cast<double>(std::tgamma(171.5L)), kLevel, 'd'},
    {"TGamma", 171.7, 0, 3, kInf, kValue, 'd'}, {"TGamma", 35.1, 0, 3, kInf, kValue, 's'},
    {"TGamma", 1e-310, 0, 3, kInf, kValue, 'd'}, {"TGamma", -1e-310, 0, 3, -kInf, kValue, 'd'},
    {"TGamma", kInf, 0, 0, kInf}, {"LGamma", kInf, 0, 0, kInf},
    {"LGamma", 1e305, 0, 0, static_cast<double>(std::lgamma(1e305L)), kLevel, 'd'},
    {"LGamma", 3e305, 0, 3, kInf, kValue, 'd'}, {"LGamma", 5e36, 0, 3, kInf, kValue, 's'},
    {"TGamma", -4.9406564584124654e-324, 0, 2, -kInf, kValue, 'd', OXL_VEK_MODE_FTZ_DAZ_ON},
    // Hyperbolic functions: signed zeros and limits, NaN without a status, and overflow from
    // the first argument whose result rounds beyond the largest value (double, then float),
    // with the last one before it finite.
    {"Sinh", -0.0, 0, 0, -0.0}, {"Sinh", kInf, 0, 0, kInf}, {"Sinh", -kInf, 0, 0, -kInf},
    {"Sinh", kNaN, 0, 0, kNaN}, {"Cosh", -0.0, 0, 0, 1}, {"Cosh", kInf, 0, 0, kInf},
    {"Cosh", kNaN, 0, 0, kNaN}, {"Tanh", -0.0, 0, 0, -0.0}, {"Tanh", kInf, 0, 0, 1},
    {"Tanh", -kInf, 0, 0, -1}, {"Tanh", kNaN, 0, 0, kNaN}, {"Tanh", -30, 0, 0, -1},
    {"Sinh", 0x1.633ce8fb9f87dp+9, 0, 0, 0, kAnyFinite, 'd'},
    {"Sinh", -0x1.633ce8fb9f87ep+9, 0, 3, -kInf, kValue, 'd'},
    {"Cosh", 0x1.633ce8fb9f87dp+9, 0, 0, 0, kAnyFinite, 'd'},
    {"Cosh", -0x1.633ce8fb9f87ep+9, 0, 3, kInf, kValue, 'd'},
    {"Sinh", 0x1.65a9f8p+6, 0, 0, 0, kAnyFinite, 's'},
    {"Sinh", 0x1.65a9fap+6, 0, 3, kInf, kValue, 's'},
    {"Cosh", -0x1.65a9f8p+6, 0, 0, 0, kAnyFinite, 's'},
    {"Cosh", -0x1.65a9fap+6, 0, 3, kInf, kValue, 's'},
    // The inverses: signed zeros and infinities, NaN without a status, the ends of the domains.
    {"Asinh", -0.0, 0, 0, -0.0}, {"Asinh", -kInf, 0, 0, -kInf}, {"Asinh", kNaN, 0, 0, kNaN},
    {"Acosh", 1, 0, 0, 0}, {"Acosh", -0.0, 0, 1, kNaN}, {"Acosh", -kInf, 0, 1, kNaN},
    {"Acosh", kNaN, 0, 0, kNaN}, {"Atanh", -0.0, 0, 0, -0.0}, {"Atanh", kNaN, 0, 0, kNaN},
    {"Atanh", -kInf, 0, 1, kNaN}, {"Atanh", -1.0000001, 0, 1, kNaN},
};
// clang-format on

// Runs a case at one element of a vector of 37 (so that block and tail both hold it), through the
// given stub, and checks the stored result, the status, the single event and errno.
template <class T, class Call>
void CheckRealCase(const RealCase& c, Call call, const char* type, int slot) {
  SCOPED_TRACE(std::string(type) + c.func + "(" + std::to_string(c.a) + ", " + std::to_string(c.b) +
               ")");
  constexpr int kN = 37;
  for (int at : {5, 35}) {
    // Other elements hold a value inside every domain (Acosh's starts at 1).
    const T filler = std::string(c.func) == "Acosh" ? T(1.5) : T(0.25);
    std::vector<T> a(kN, filler), b(kN, T(1)), r(kN, T(-7));
    a[at] = static_cast<T>(c.a);
    b[at] = static_cast<T>(c.b);
    std::vector<T> in_place = a;
    call(kN, in_place.data(), b.data(), in_place.data());
    events.clear();
    errno = 0;
    oxl_vek_kernel_ClearErrStatus();
    call(kN, a.data(), b.data(), r.data());
    const double got = r[at];
    // In place, the result array being the argument's, the results are the same.
    EXPECT_EQ(0, std::memcmp(in_place.data(), r.data(), kN * sizeof(T)));
    if (c.expect == kAnyFinite) {
      EXPECT_TRUE(std::isfinite(got)) << got;
    } else if (c.expect == kLevel) {
      constexpr double kEps = std::numeric_limits<T>::epsilon();
      const double relative[3] = {4 * kEps, kEps, sizeof(T) == 4 ? 0x1p-11 : 0x1p-26};
      EXPECT_TRUE(
          Close(got, static_cast<T>(c.result), relative[slot], std::numeric_limits<T>::min()))
          << "got " << got;
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

TEST_F(Events, RealStatusesThroughEveryLevelOnEveryTarget) {
  oxl::test::ForEachTarget([&](const std::string& target) {
    for (const RealCase& c : kRealCases) {
      const Tables& f = Functions().at(c.func);
      oxl_vek_kernel_SetMode(c.mode);
      // Values beyond float's range stand for double only.
      auto beyond_float = [](double x) {
        return std::fabs(x) > 1e38 || (std::fabs(x) < 1e-38 && x != 0);
      };
      const bool run_float = c.only != 'd' && !beyond_float(c.a) && !beyond_float(c.b);
      for (int slot = 0; slot < 3; ++slot) {
        SCOPED_TRACE(target + " slot " + std::to_string(slot));
        if (c.only != 's') {
          CheckRealCase<double>(
              c,
              [&](int n, const double* a, const double* b, double* r) {
                f.d != nullptr ? f.d[slot](n, a, r) : f.d2[slot](n, a, b, r);
              },
              "d", slot);
        }
        // Float Exp's EP kernel is the bare 2^x approximation: it saturates without reporting.
        if (!run_float || (slot == 2 && std::string(c.func) == "Exp" && c.status != 0)) continue;
        CheckRealCase<float>(
            c,
            [&](int n, const float* a, const float* b, float* r) {
              f.s != nullptr ? f.s[slot](n, a, r) : f.s2[slot](n, a, b, r);
            },
            "s", slot);
      }
    }
  });
}

// --- Complex special values: C99 Annex G where it fixes the result, branch cuts by the sign of a
// zero, and the statuses. ---

struct ComplexCase {
  const char* func;
  oxl_complex16 a;
  int32_t status;
  oxl_complex16 result;
};

// Finite values on the branch cuts are the accuracy sweep's (it takes the finite special values in
// all pairs); here the infinities, NaNs, poles and overflows, and the cut of Sqrt by a zero's sign.
// clang-format off
const ComplexCase kComplexCases[] = {
    {"Exp", {-kInf, 2}, 0, {-0.0, 0}},  // +0 cis(2): cos 2 < 0, sin 2 > 0
    {"Exp", {kInf, 0}, 0, {kInf, 0}}, {"Exp", {kNaN, 0}, 0, {kNaN, 0}},
    {"Exp", {1, kInf}, 0, {kNaN, kNaN}}, {"Exp", {1000, 1}, 3, {kInf, kInf}},
    {"Ln", {0, 0}, 2, {-kInf, 0}}, {"Ln", {-0.0, 0}, 2, {-kInf, kPi}},
    {"Ln", {-0.0, -0.0}, 2, {-kInf, -kPi}}, {"Ln", {-kInf, 1}, 0, {kInf, kPi}},
    {"Ln", {1, kInf}, 0, {kInf, kPi / 2}}, {"Ln", {kNaN, kInf}, 0, {kInf, kNaN}},
    {"Sqrt", {-4, -0.0}, 0, {0, -2}}, {"Sqrt", {-0.0, -0.0}, 0, {0, -0.0}},
    {"Sqrt", {1, kInf}, 0, {kInf, kInf}}, {"Sqrt", {kNaN, kInf}, 0, {kInf, kInf}},
    {"Sqrt", {-kInf, 1}, 0, {0, kInf}}, {"Sqrt", {kInf, -1}, 0, {kInf, -0.0}},
    {"Acos", {1, kInf}, 0, {kPi / 2, -kInf}}, {"Atanh", {1, 0}, 0, {kInf, 0}},
    {"Atanh", {kInf, 1}, 0, {0, kPi / 2}}, {"Sinh", {1000, 1}, 3, {kInf, kInf}},
    {"Cosh", {1000, 0}, 0, {kInf, 0}},  // a zero part: not an overflow of finite non-zero parts
    {"Cosh", {kInf, 0}, 0, {kInf, 0}}, {"Tanh", {kInf, 1}, 0, {1, 0}},
};
// clang-format on

TEST_F(Events, ComplexSpecialValuesAndBranchCuts) {
  for (const ComplexCase& c : kComplexCases) {
    const Tables& f = Functions().at(c.func);
    for (int slot = 0; slot < 3; ++slot) {
      SCOPED_TRACE(std::string(c.func) + "(" + std::to_string(c.a.re) + ", " +
                   std::to_string(c.a.im) + ") slot " + std::to_string(slot));
      std::vector<oxl_complex16> a(19, oxl_complex16{0.5, 0.25}), r(19);
      a[17] = c.a;
      events.clear();
      oxl_vek_kernel_ClearErrStatus();
      f.z[slot](19, a.data(), r.data());
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
      f.c[slot](19, af.data(), rf.data());
      EXPECT_TRUE(Close(rf[3].re, static_cast<float>(c.result.re), 1.2e-7)) << rf[3].re;
      EXPECT_TRUE(Close(rf[3].im, static_cast<float>(c.result.im), 1.2e-7)) << rf[3].im;
    }
  }
}

// Complex arithmetic in every slot, with infinities, NaNs, zero divisors and overflowing results
// in all pairs. A sum or difference is the format's rounding of each part, and a part's overflow
// from parts none of which is infinite is reported, but not at EP; products and quotients are what
// the scalar layer of the element loops gives, an infinite result of finite parts reported (their
// finite results are the accuracy sweep's: the layer rounds them twice).
enum class Op { kAdd, kSub, kMul, kMulByConj, kDiv };

template <class E>
bool Finite(const E& z) {
  return std::isfinite(z.re) && std::isfinite(z.im);
}

template <class E>
bool AnyInfinite(const E& z) {
  return std::isinf(z.re) || std::isinf(z.im);
}

template <class E>
E Expected(Op op, const E& a, const E& b, int32_t& status) {
  using T = decltype(E::re);
  status = 0;
  if (op == Op::kAdd || op == Op::kSub) {
    const T sign = op == Op::kAdd ? T(1) : T(-1);
    const E r{a.re + sign * b.re, a.im + sign * b.im};
    if (!AnyInfinite(a) && !AnyInfinite(b) && AnyInfinite(r)) status = 3;
    return r;
  }
  namespace scalar = oxl::vek::scalar;
  const scalar::CLD x = scalar::MakeC(a.re, a.im), y = scalar::MakeC(b.re, b.im);
  const scalar::CLD r = op == Op::kMul         ? scalar::Mul::Eval(x, y, status)
                        : op == Op::kMulByConj ? scalar::MulByConj::Eval(x, y, status)
                                               : scalar::Div::Eval(x, y, status);
  const E out{static_cast<T>(__real__ r), static_cast<T>(__imag__ r)};
  if (status == 0 && Finite(a) && Finite(b) && !Finite(out)) status = 3;
  return out;
}

template <class E, class Table>
void CheckComplexArithmetic(const std::string& name, Op op, Table table) {
  using T = decltype(E::re);
  const T inf = std::numeric_limits<T>::infinity(), nan = std::numeric_limits<T>::quiet_NaN();
  const T max = std::numeric_limits<T>::max(), big = max / 4;
  const std::vector<T> values = {T(0), -T(0), T(1), T(-2.5), inf, -inf, nan, big, -big, max};
  std::vector<E> a, b;
  for (T p : values) {
    for (T q : values) {
      for (T s : {T(0), T(1), -inf, big}) {
        for (T t : {-T(0), T(3), nan, inf, big}) {
          a.push_back({p, q});
          b.push_back({s, t});
        }
      }
    }
  }
  const int n = static_cast<int>(a.size());
  for (int slot = 0; slot < 3; ++slot) {
    SCOPED_TRACE(name + " slot " + std::to_string(slot));
    const bool reports = slot != 2 || (op != Op::kAdd && op != Op::kSub);
    std::vector<E> r(n);
    events.clear();
    table[slot](n, a.data(), b.data(), r.data());
    size_t next_event = 0;
    for (int i = 0; i < n; ++i) {
      int32_t status;
      const E want = Expected(op, a[i], b[i], status);
      const bool finite_in = Finite(a[i]) && Finite(b[i]);
      ASSERT_TRUE((finite_in && Finite(want)) || (Same(r[i].re, want.re) && Same(r[i].im, want.im)))
          << std::hexfloat << i << ": (" << a[i].re << ", " << a[i].im << ") (" << b[i].re << ", "
          << b[i].im << ") gives (" << r[i].re << ", " << r[i].im << ") want (" << want.re << ", "
          << want.im << ")";
      if (status == 0 || !reports) continue;
      ASSERT_LT(next_event, events.size()) << i;
      EXPECT_EQ(events[next_event].index, i);
      EXPECT_EQ(events[next_event].code, status);
      EXPECT_EQ(events[next_event].name, "v" + name);
      ++next_event;
    }
    EXPECT_EQ(next_event, events.size());
  }
}

TEST_F(Events, ComplexArithmeticAsTheScalarLayer) {
  oxl::test::ForEachTarget([&](const std::string& target) {
    SCOPED_TRACE(target);
    for (const auto& [func, op] :
         {std::pair{"Add", Op::kAdd}, std::pair{"Sub", Op::kSub}, std::pair{"Mul", Op::kMul},
          std::pair{"MulByConj", Op::kMulByConj}, std::pair{"Div", Op::kDiv}}) {
      const Tables& f = Functions().at(func);
      CheckComplexArithmetic<oxl_complex8>(std::string("c") + func, op, f.c2);
      CheckComplexArithmetic<oxl_complex16>(std::string("z") + func, op, f.z2);
    }
  });
}

// The magnitude reports its overflow through the error function of its complex input; the cis of
// an infinity is a domain error.
TEST_F(Events, ComplexMagnitudeAndCis) {
  const oxl_complex16 huge{1.5e308, 1.5e308};
  double m;
  _vekzAbs(1, &huge, &m);
  EXPECT_EQ(m, kInf);
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 3);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].name, "vzAbs");
  EXPECT_EQ(events[0].arg1, 1.5e308);
  EXPECT_EQ(events[0].res1, kInf);
  const double angles[2] = {0, kInf};
  oxl_complex16 cis[2];
  _vekzCIS(2, angles, cis);
  EXPECT_TRUE(cis[0].re == 1 && Same(cis[0].im, 0));
  EXPECT_TRUE(std::isnan(cis[1].re) && std::isnan(cis[1].im));
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 1);
}

// --- The two frames. ---

uint16_t X87Control() {
  uint16_t cw;
  __asm__ volatile("fnstcw %0" : "=m"(cw));
  return cw;
}
void SetX87Control(uint16_t cw) { __asm__ volatile("fldcw %0" : : "m"(cw)); }

// The extended-precision frame gives the caller's x87 control word back and ignores its rounding
// and precision.
TEST_F(Events, CallersX87ControlWordIsRestoredAndIgnored) {
  const oxl_complex16 z{1, 1};
  oxl_complex16 want, got;
  _vekzSin(1, &z, &want);
  const uint16_t cw = X87Control();
  // Round down at double precision.
  const uint16_t odd_cw = static_cast<uint16_t>((cw & ~0x0F00) | 0x0600);
  SetX87Control(odd_cw);
  _vekzSin(1, &z, &got);
  const uint16_t cw_after = X87Control();
  SetX87Control(cw);
  EXPECT_EQ(cw_after, odd_cw);
  EXPECT_EQ(got.re, want.re);
  EXPECT_EQ(got.im, want.im);
}

// Rint raises inexact for a value that is not an integer, as rint does; NearbyInt and the other
// roundings raise nothing.
TEST_F(Events, RintAloneRaisesInexact) {
  const double x[3] = {2.5, -0.5, 7};
  double r[3];
  std::feclearexcept(FE_ALL_EXCEPT);
  _vekdNearbyInt(3, x, r);
  _vekdFloor(3, x, r);
  _vekdRound(3, x, r);
  _vekdFrac(3, x, r);
  _vekdRint(1, x + 2, r);
  EXPECT_FALSE(std::fetestexcept(FE_INEXACT));
  _vekdRint(3, x, r);
  EXPECT_TRUE(std::fetestexcept(FE_INEXACT));
  EXPECT_TRUE(r[0] == 2 && Same(r[1], -0.0));
}

// An element of a real or complex array from its parts.
template <class E, class T>
E Element(T re, T im) {
  if constexpr (std::is_floating_point_v<E>) {
    return re;
  } else {
    return E{re, im};
  }
}

// Every kernel of the SIMD rows, unary and binary (both arguments one array), in a block and in the
// tail, on every target: under FTZ/DAZ a denormal part reads as the zero of its sign, result and
// status alike (but for the magnitude and the conjugate, bit operations that leave every input as
// it is).
template <class E, class T, class Table>
void CheckDenormalsReadAsZero(const std::string& name, Table table, bool loop_ha) {
  constexpr int kN = 37;
  const T d = std::numeric_limits<T>::denorm_min() * 3;
  std::vector<E> denormals(kN, Element<E>(T(2), T(2))), zeros = denormals;
  denormals[4] = Element<E>(d, T(2));
  denormals[33] = Element<E>(-d, -d);
  zeros[4] = Element<E>(T(0), T(2));
  zeros[33] = Element<E>(-T(0), -T(0));
  for (int slot = 0; slot < 3; ++slot) {
    if (loop_ha && slot == 1) continue;
    SCOPED_TRACE(name + " slot " + std::to_string(slot));
    auto run = [&](int n, const std::vector<E>& x, std::vector<E>& r) {
      if constexpr (std::is_invocable_v<decltype(table[0]), int, const E*, E*>) {
        table[slot](n, x.data(), r.data());
      } else {
        table[slot](n, x.data(), x.data(), r.data());
      }
    };
    std::vector<E> r(kN), want(kN);
    oxl_vek_kernel_ClearErrStatus();
    run(kN, zeros, want);
    const int32_t status = oxl_vek_kernel_GetErrStatus();
    oxl_vek_kernel_ClearErrStatus();
    run(kN, denormals, r);
    EXPECT_EQ(0, std::memcmp(r.data(), want.data(), kN * sizeof(E)));
    EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), status);
    // A count of zero or less touches nothing.
    run(0, denormals, r);
    run(-3, denormals, r);
    EXPECT_EQ(0, std::memcmp(r.data(), want.data(), kN * sizeof(E)));
  }
}

// E is the element, T its part.
template <class E, class T, class Table>
void CheckDenormalsIfSimd(const Tables& f, char type, const std::string& row, Table table) {
  if (table != nullptr && f.simd.find(type) != std::string::npos) {
    CheckDenormalsReadAsZero<E, T>(type + row, table, f.loop_ha.find(type) != std::string::npos);
  }
}

// A NaN comes out quieted with its payload, whatever bits the payload has (low bits must not
// reach a table index or an exponent), from every kernel of the SIMD rows on every target, and
// raises no status. The
// magnitude is a bit operation: it clears the sign and nothing else, a signalling NaN stays one.
template <class T, class U, class Table>
void CheckPayloads(const std::string& name, Table table, std::initializer_list<U> payloads) {
  constexpr U kQuiet = U{1} << (std::numeric_limits<T>::digits - 2);
  const bool abs = name.starts_with("sAbs ") || name.starts_with("dAbs ");
  for (int slot = 0; slot < 3; ++slot) {
    // Float Exp's EP kernel is the bare 2^x approximation.
    if (name.starts_with("sExp ") && slot == 2) continue;
    for (U bits : payloads) {
      SCOPED_TRACE(name + " slot " + std::to_string(slot) + " bits " + std::to_string(bits));
      const U want = abs ? bits & (~U{0} >> 1) : bits | kQuiet;
      // The other elements inside every function's domain (acosh's begins at 1).
      const bool acosh = name.starts_with("sAcosh ") || name.starts_with("dAcosh ");
      std::vector<T> a(37, acosh ? T(2) : T(0.5)), r(37);
      a[3] = a[35] = std::bit_cast<T>(bits);
      oxl_vek_kernel_ClearErrStatus();
      table[slot](37, a.data(), r.data());
      EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 0);
      EXPECT_EQ(std::bit_cast<U>(r[3]), want);
      EXPECT_EQ(std::bit_cast<U>(r[35]), want);
    }
  }
}

TEST_F(Events, DenormalsAndNaNPayloadsThroughEverySimdKernel) {
  oxl_vek_kernel_SetMode(OXL_VEK_MODE_FTZ_DAZ_ON | OXL_VEK_MODE_ERRMODE_IGNORE);
  oxl::test::ForEachTarget([&](const std::string& target) {
    for (const auto& [name, f] : Functions()) {
      const std::string row = name + " " + target;
      if (f.s != nullptr && f.simd.find('s') != std::string::npos) {
        CheckPayloads<float, uint32_t>("s" + row, f.s,
                                       {0x7FC12345u, 0x7F800001u, 0xFFFFFFFFu, 0x7FC0001Fu});
      }
      if (f.d != nullptr && f.simd.find('d') != std::string::npos) {
        CheckPayloads<double, uint64_t>(
            "d" + row, f.d,
            {0x7FF8000000012345u, 0x7FF0000000000001u, 0xFFFFFFFFFFFFFFFFu, 0x7FF800000000FFF3u});
      }
      if (name == "Abs" || name == "Conj") continue;
      CheckDenormalsIfSimd<float, float>(f, 's', row, f.s);
      CheckDenormalsIfSimd<double, double>(f, 'd', row, f.d);
      CheckDenormalsIfSimd<float, float>(f, 's', row, f.s2);
      CheckDenormalsIfSimd<double, double>(f, 'd', row, f.d2);
      CheckDenormalsIfSimd<oxl_complex8, float>(f, 'c', row, f.c);
      CheckDenormalsIfSimd<oxl_complex16, double>(f, 'z', row, f.z);
      CheckDenormalsIfSimd<oxl_complex8, float>(f, 'c', row, f.c2);
      CheckDenormalsIfSimd<oxl_complex16, double>(f, 'z', row, f.z2);
    }
  });
}

// SinCos's sines and cosines are, bit for bit, what the Sin and Cos kernels of its level give, on
// the fast path, at the switch to the large-argument reduction (and for floats to the double
// one), far beyond it, and on the rare lanes; on every target. The double Cos's EP slot repeats
// LA's, so there SinCos's cosines are its own.
template <class T, class SinCosKernel, class Kernel>
void ExpectSinCosIsSinAndCos(const std::vector<T>& x, SinCosKernel* const* sincos,
                             Kernel* const* sin, Kernel* const* cos) {
  constexpr int kCosineSlots = sizeof(T) == 8 ? 2 : 3;
  const int n = static_cast<int>(x.size());
  oxl::test::ForEachTarget([&](const std::string& target) {
    for (int slot = 0; slot < 3; ++slot) {
      SCOPED_TRACE(target + " slot " + std::to_string(slot));
      std::vector<T> s(n), c(n), s1(n), c1(n);
      sincos[slot](n, x.data(), s.data(), c.data());
      sin[slot](n, x.data(), s1.data());
      cos[slot](n, x.data(), c1.data());
      EXPECT_EQ(std::memcmp(s.data(), s1.data(), n * sizeof(T)), 0);
      if (slot < kCosineSlots) {
        EXPECT_EQ(std::memcmp(c.data(), c1.data(), n * sizeof(T)), 0);
      }
    }
  });
}

TEST_F(Events, SinCosIsSinAndCosOfItsSlot) {
  std::vector<double> x = {0,
                           -0.0,
                           4.9406564584124654e-324,
                           0.5,
                           -2.5,
                           0x1.921fb54442d18p+0,
                           0x1p24,
                           std::nextafter(0x1p24, 0.0),
                           std::nextafter(0x1p24, kInf),
                           1e22,
                           -0x1.6ac5b262ca1ffp+849,
                           0x1.fffffffffffffp+1023,
                           -kInf,
                           kNaN,
                           1e-200,
                           -0x1p-121,
                           0x1.fffffffffffffp-121};
  std::vector<float> xf = {0.0f,
                           -0.0f,
                           0x1p-149f,
                           0.5f,
                           -2.5f,
                           0x1.921fb6p+0f,
                           0x1p12f,
                           std::nextafter(0x1p12f, 0.0f),
                           -std::nextafter(0x1p12f, 1e9f),
                           1e22f,
                           0x1.fffffep+127f,
                           -std::numeric_limits<float>::infinity(),
                           std::numeric_limits<float>::quiet_NaN(),
                           1e-30f,
                           -0x1p-21f,
                           0x1.fffffep-21f};
  for (int k = 0; k < 220; ++k) {
    x.push_back(std::ldexp((k % 2 ? -1.0 : 1.0) + k / 256.0, 5 * k - 80));
    xf.push_back(std::ldexp((k % 2 ? -1.0f : 1.0f) + k / 256.0f, (k % 60) - 40));
  }
  ExpectSinCosIsSinAndCos(x, oxl_vek_kernel_dSinCos_ttab, oxl_vek_kernel_dSin_ttab,
                          oxl_vek_kernel_dCos_ttab);
  ExpectSinCosIsSinAndCos(xf, oxl_vek_kernel_sSinCos_ttab, oxl_vek_kernel_sSin_ttab,
                          oxl_vek_kernel_sCos_ttab);
}

// The two-result and scalar-argument forms report with the element's index and name.
TEST_F(Events, TwoResultsAndScalarArgument) {
  const double x[2] = {-2.5, kInf};
  double s[2], c[2];
  _vekdSinCos(2, x, s, c);
  EXPECT_TRUE(std::isnan(s[1]) && std::isnan(c[1]));
  const float bases[3] = {4, -8, 0};
  float r[3];
  _veksPowx(3, bases, 0.5f, r);
  EXPECT_TRUE(std::isnan(r[1]));
  _veksPowx(3, bases, -1.0f, r);
  EXPECT_EQ(r[2], std::numeric_limits<float>::infinity());
  ASSERT_EQ(events.size(), 3u);
  EXPECT_TRUE(events[0].code == 1 && events[0].index == 1 && events[0].name == "vdSinCos");
  EXPECT_TRUE(events[1].code == 1 && events[1].index == 1 && events[1].name == "vsPowx");
  EXPECT_TRUE(events[2].code == 2 && events[2].index == 2 && events[2].name == "vsPowx");
}

}  // namespace
