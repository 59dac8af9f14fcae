// Every kernel of every function in the list against MPFR and MPC: special values (all pairs for
// two components, so signed zeros, infinities and the complex branch cuts are met), random bit
// patterns, values in ordinary ranges and the hard cases of each vector family, within the bound
// of the kernel's level (element loops hold the HA bound of 1 ulp in every slot), with the same
// bits on every SIMD target and in every cut of the array.
//
// With OXL_ACCURACY_TABLE=<file> the measured rows are written there (tools/accuracy_table.sh
// makes docs/accuracy.md from them).
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "oxl/vek_functions.h"
#include "support/input_gen.h"
#include "support/oracles.h"
#include "support/runner.h"

namespace oxl::test {
namespace {

// --- Oracles by function name. ---

// MPFR's and MPC's functions, correctly rounded, as oracles of any arity.
template <auto F>
const auto Mpfr = [](auto r, auto... a) { F(r, a..., MPFR_RNDN); };
template <auto F>
const auto Mpc = [](auto r, auto... a) { F(r, a..., MPC_RNDNN); };

// The fractional part of an infinity is a zero of its sign.
void FracOracle(mpfr_ptr r, mpfr_srcptr a) {
  if (mpfr_inf_p(a)) {
    mpfr_set_zero(r, mpfr_signbit(a) ? -1 : 1);
  } else {
    mpfr_frac(r, a, MPFR_RNDN);
  }
}
// 1/sqrt(-0) is -inf, as the quotient it stands for.
void InvSqrtOracle(mpfr_ptr r, mpfr_srcptr a) {
  if (mpfr_zero_p(a)) {
    mpfr_set_inf(r, mpfr_signbit(a) ? -1 : 1);
  } else {
    mpfr_rec_sqrt(r, a, MPFR_RNDN);
  }
}
void InvOracle(mpfr_ptr r, mpfr_srcptr a) { mpfr_ui_div(r, 1, a, MPFR_RNDN); }
void LGammaOracle(mpfr_ptr r, mpfr_srcptr a) {
  int sign;
  mpfr_lgamma(r, &sign, a, MPFR_RNDN);
}

// clang-format off
const std::map<std::string, RealFn>& RealOracles() {
  static const std::map<std::string, RealFn> m = {
      {"Acos", Mpfr<mpfr_acos>}, {"Acosh", Mpfr<mpfr_acosh>}, {"Asin", Mpfr<mpfr_asin>},
      {"Asinh", Mpfr<mpfr_asinh>}, {"Atan", Mpfr<mpfr_atan>}, {"Atanh", Mpfr<mpfr_atanh>},
      {"Cbrt", Mpfr<mpfr_cbrt>}, {"CdfNorm", oracle::CdfNorm}, {"CdfNormInv", oracle::CdfNormInv},
      {"Ceil", Mpfr<mpfr_rint_ceil>}, {"Cos", Mpfr<mpfr_cos>}, {"Cosh", Mpfr<mpfr_cosh>},
      {"ErfInv", oracle::ErfInv}, {"Erf", oracle::Erf}, {"ErfcInv", oracle::ErfcInv},
      {"Erfc", oracle::Erfc}, {"Exp", oracle::Exp}, {"Expm1", oracle::Expm1},
      {"Floor", Mpfr<mpfr_rint_floor>}, {"Frac", FracOracle}, {"InvCbrt", oracle::InvCbrt},
      {"InvSqrt", InvSqrtOracle}, {"Inv", InvOracle}, {"LGamma", LGammaOracle},
      {"Ln", Mpfr<mpfr_log>}, {"Log10", Mpfr<mpfr_log10>}, {"Log1p", Mpfr<mpfr_log1p>},
      {"NearbyInt", Mpfr<mpfr_rint_roundeven>}, {"Rint", Mpfr<mpfr_rint_roundeven>},
      {"Round", Mpfr<mpfr_rint_round>}, {"Pow2o3", oracle::Pow2o3}, {"Pow3o2", oracle::Pow3o2},
      {"Sin", Mpfr<mpfr_sin>}, {"Sinh", Mpfr<mpfr_sinh>}, {"Sqr", oracle::Sqr},
      {"Sqrt", Mpfr<mpfr_sqrt>}, {"Abs", oracle::Abs}, {"TGamma", Mpfr<mpfr_gamma>},
      {"Tan", Mpfr<mpfr_tan>}, {"Tanh", Mpfr<mpfr_tanh>}, {"Trunc", Mpfr<mpfr_rint_trunc>},
  };
  return m;
}
// clang-format on

const std::map<std::string, RealFn2>& RealOracles2() {
  static const std::map<std::string, RealFn2> m = {
      {"Add", oracle::Add},    {"Sub", oracle::Sub},        {"Mul", oracle::Mul},
      {"Div", Mpfr<mpfr_div>}, {"Atan2", Mpfr<mpfr_atan2>}, {"Hypot", Mpfr<mpfr_hypot>},
      {"Pow", Mpfr<mpfr_pow>}, {"Powx", Mpfr<mpfr_pow>}};
  return m;
}

const std::map<std::string, RealPairFn>& PairOracles() {
  static const std::map<std::string, RealPairFn> m = {
      {"SinCos", [](mpfr_ptr s, mpfr_ptr c, mpfr_srcptr a) { mpfr_sin_cos(s, c, a, MPFR_RNDN); }},
      {"Modf",
       [](mpfr_ptr i, mpfr_ptr f, mpfr_srcptr a) {
         mpfr_modf(i, f, a, MPFR_RNDN);
         if (mpfr_inf_p(a)) mpfr_set_zero(f, mpfr_signbit(a) ? -1 : 1);
       }},
  };
  return m;
}

const std::map<std::string, ComplexFn>& ComplexOracles() {
  static const std::map<std::string, ComplexFn> m = {
      {"Acos", Mpc<mpc_acos>},   {"Acosh", Mpc<mpc_acosh>}, {"Asin", Mpc<mpc_asin>},
      {"Asinh", Mpc<mpc_asinh>}, {"Atan", Mpc<mpc_atan>},   {"Atanh", Mpc<mpc_atanh>},
      {"Conj", oracle::CConj},   {"Cos", Mpc<mpc_cos>},     {"Cosh", Mpc<mpc_cosh>},
      {"Exp", oracle::CExp},     {"Ln", Mpc<mpc_log>},      {"Log10", Mpc<mpc_log10>},
      {"Sin", Mpc<mpc_sin>},     {"Sinh", Mpc<mpc_sinh>},   {"Sqrt", Mpc<mpc_sqrt>},
      {"Tan", Mpc<mpc_tan>},     {"Tanh", Mpc<mpc_tanh>}};
  return m;
}

const std::map<std::string, ComplexFn2>& ComplexOracles2() {
  static const std::map<std::string, ComplexFn2> m = {
      {"Add", oracle::CAdd},  {"Sub", oracle::CSub},
      {"Mul", oracle::CMul},  {"MulByConj", oracle::CMulByConj},
      {"Div", Mpc<mpc_div>},  {"Pow", Mpc<mpc_pow>},
      {"Powx", Mpc<mpc_pow>},
  };
  return m;
}

// --- Sweeps. ---

// Random bit patterns reach every binade but put few values where most functions change course;
// each function also gets values of ordinary size. Complex functions take the finite special
// values in all pairs (the branch cuts with both signs of zero among them); their infinities and
// NaNs are checked against the C99 Annex G table in functions_status_test, since MPC fixes signs
// that the Annex leaves open. The complex powers keep to a range where the result is neither far
// beyond the format nor an angle of more turns than the format can count.
template <class T>
std::vector<T> FiniteSpecials(bool few) {
  const T m = std::numeric_limits<T>::max(), d = std::numeric_limits<T>::denorm_min();
  if (few) return {T(0), -T(0), T(1), T(-1), d, m};
  const T n = std::numeric_limits<T>::min();
  return {T(0), -T(0), d, -d, n, -n, T(1), T(-1), T(2), T(-2), T(0.5), T(-0.5), m, -m};
}

// Where the vector kernels of a family change course or cancel, by function: values met with
// their neighbours, ranges of ordinary values met at random, and every binade (denormals
// included). The thresholds are given for double and rounded for float.
struct HardCase {
  std::vector<double> thresholds;
  std::vector<Range<double>> near;
  // Regions of (a, b) for functions of two arguments, each component from its own range.
  std::vector<std::array<Range<double>, 2>> regions = {};
  std::vector<double> pairs = {};  // further (a, b) cases
};

const std::map<std::string, HardCase>& HardCases() {
  static const std::map<std::string, HardCase> m = [] {
    // The logarithms cancel around 1, switch table halves at 3/4 and 3/2 (double) and change
    // interval at 1 - 2^-6, 1 + 2^-5, 1 + 15/32 (where the power of two counts one more) and
    // 2 - 2^-5 (float), take a second pass outside [2^-126, 2^126] (float; double 2^+-1022),
    // and meet the denormals; the float Ln HA kernel's worst argument over all floats (0.875
    // ulp), and the double LA kernels' worst found, just above 1 + 2^-5, where -ln c
    // cancels against r (Ln 2.76 ulp, Log10 2.62).
    HardCase log = {{1.0, 0.75, 1.5, 2.0, 0x1p-126, 0x1p126, 0x1p-1022, 0x1p1022, 10.0, 1000.0,
                     0x1.f8p-1, 0x1.08p+0, 0x1.78p+0, 0x1.f8p+0, 0x1.66e6ep-1, 0x1.4b2bcep+0,
                     0x1.08022adb02ab8p+0, 0x1.0800000000139p+0},
                    {{0.9, 1.1}, {0.999, 1.001}, {0.5, 2.0}}};
    // The float LA and EP kernels split at sqrt(1/2) and sqrt(2), Log10 HA at 0x1.668p-1 and
    // 0x1.668p+0; their worst arguments over all floats (Ln, Log10; EP in ulp and in bits; Log10
    // HA 0.918 ulp).
    log.thresholds.insert(
        log.thresholds.end(),
        {0x1.6a09e6p-1, 0x1.6a09e6p+0, 0x1.6aab7p+11, 0x1.92444ep+1, 0x1.8ecp-1, 0x1.2481c4p+0,
         0x1.5555e4p+0, 0x1.246eb8p+0, 0x1.668p-1, 0x1.668p+0, 0x1.53bc74p+0});
    // Log1p: where 1 + x rounds (2^-24, 2^-53), where x alone is the answer (2^24, 2^53), where
    // 1 + x leaves the interval around 1 (-2^-6, 2^-5), where the float kernels stop scaling the
    // rounding error of 1 + x (2^64), the ends of the second pass, the float HA kernel's worst
    // arguments over all floats (0.66 ulp where 1 + x rounds, 0.879 at 0x1.9a8364p-2), and the
    // double kernels' worst found (HA 0.66 ulp where 1 + x rounds, LA 2.73 just above 2^-5).
    HardCase log1p = {
        {0.0, -1.0, -0.5, 0x1p-24, 0x1p-53, 1.0, 0x1p24, 0x1p53, 0x1p126, 0x1p1022, -0x1p-6, 0x1p-5,
         0x1p64, 0x1.ap-24, 0x1.9a8364p-2, -0x1.9ff2fbf833108p-53, 0x1.000000000b78p-5},
        {{-0.01, 0.01}, {-1.0, -0.9}, {-0.3, 0.5}}};
    // Where 1 + x leaves [sqrt(1/2), sqrt(2)) (the float LA and EP kernels), and their worst
    // arguments (LA; EP in ulp and in bits).
    log1p.thresholds.insert(log1p.thresholds.end(), {-0x1.2bec34p-2, 0x1.a8279ap-2, -0x1.3555c6p-2,
                                                     -0x1.c50362p-3, 0x1.a827ccp-2});
    // The exponentials leave the fast path beyond the bound of each width (float 87.34, double
    // 707.7), overflow, give denormals and underflow, switch table halves at ln 2 / 64 (float)
    // and ln 2 / 32 (double), and Expm1 saturates at -1 (float -17.3, double -37.4).
    const HardCase exp = {
        {87.33654, -87.33654, 88.72283172607422, -87.33654022216797, -103.97207641601562,
         707.7032713517042, -707.7032713517042, 709.782712893384, -708.3964185322641,
         -745.1332191019411, 0.0108304247, 0.021660849392498291, 0x1p-54, 0.0},
        {{-104, 89}, {-746, 710}}};
    const HardCase expm1 = {
        {86.64339447021484, 87.33654, 88.72283172607422, -17.328679, 707.7032713517042,
         709.782712893384, -37.42994775023705, 0.0108304247, 0.021660849392498291, 0.0},
        {{-60, 89}, {-60, 710}}};
    // The roots and quotients are single instructions; their cases are the ends of the normal
    // range, where a Newton step's intermediate products or a quotient leave it.
    const HardCase root = {{1.0, 4.0, 0x1p-126, 0x1p-1022, 0x1p127, 0x1p1023},
                           {{0.25, 4.0}, {1e-300, 1e-290}, {1e290, 1e300}}};
    const HardCase quotient = {{1.0, 0x1p126, 0x1p1022, 0x1p-126, 0x1p-1022},
                               {{0.5, 2.0}, {-2.0, -0.5}}};
    // Hypot scales its arguments by powers of two beyond 2^+-40 (float) and 2^+-500 (double).
    const HardCase hypot = {
        {0x1p-40, 0x1p40, 0x1p-500, 0x1p500, 0x1p-126, 0x1p-1022, 0x1p127, 0x1p1023},
        {{0.5, 2.0}, {-1e-300, 1e-300}, {1e300, 1.7e308}}};
    // The cube roots switch the power of two of u at the exponents' residues mod 3, and Cbrt's
    // table its row at each sixteenth of the mantissa; its worst arguments over all floats
    // (0.62 ulp) and over 5 * 10^7 doubles (0.54 ulp).
    const HardCase cube = {
        {1.0, 2.0, 4.0, 8.0, 0x1p-126, 0x1p-1022, 0x1p127, 0x1p1023, 1.0625, 0x1.fffffffffffffp+2,
         0x1.fffffep+2, 0x1.cf86c2p-124, 0x1.4fa72abb3f34cp-439, 0x1.0e6156ae7975ap+2},
        {{-8.0, 8.0}, {0.999, 1.001}, {1.0, 1.125}, {7.9, 8.0}}};
    // Pow3o2 leaves the fast path where its result leaves the normal range: the fast path's ends,
    // underflow and overflow for float, then for double.
    const HardCase pow3o2 = {{1.0, 0x1p-68, 0x1p-84, 0x1p85, 0x1p-646, 0x1p-681, 0x1p682,
                              0x1.428a30p+85, 0x1.965fea53d6e3dp+682},
                             {{0.5, 2.0}, {0.0, 1e-200}}};
    // Pow multiplies the logarithm's error by |b ln a|: the hard regions are those where that is
    // large (a near 1 with a huge b, results near overflow and underflow) and where the fast path
    // ends (|b ln a| near 707.7 for double, 87 for float); negative bases with integer exponents
    // take the sign of the parity on the rare path.
    HardCase pow = {{}, {}};
    pow.regions = {{{{0.5, 2.0}, {-1100.0, 1100.0}}},
                   {{{0.5, 2.0}, {-150.0, 150.0}}},
                   {{{0.999, 1.001}, {-7e5, 7e5}}},
                   {{{0.99, 1.01}, {-9e3, 9e3}}},
                   {{{1 - 1e-8, 1 + 1e-8}, {-7e10, 7e10}}},
                   {{{1e-300, 1e300}, {-2.4, 2.4}}},
                   {{{1e-30, 1e30}, {-3.0, 3.0}}},
                   {{{-8.0, -0.125}, {-40.0, 40.0}}},
                   // Bases next to 1 +- 2^-5 with |b ln a| from 300 to 1400: a table entry's
                   // rounding there is multiplied into ulps of the result.
                   {{{1.03, 1.0625}, {11000.0, 23000.0}}},
                   {{{0.9375, 0.97}, {-23000.0, -11000.0}}}};
    for (const double a : {-3.0, -1.5, -0.75}) {
      for (int b = -6; b <= 6; ++b) pow.pairs.insert(pow.pairs.end(), {a, double(b)});
    }
    // Powx runs with b of 2, 1/2, -3/2, 3 and -0: the bases where those results overflow or
    // leave the normal range (b = 3, 2 and -1.5 for float, then for double).
    const HardCase powx = {
        {1.0, 0x1.428a30p+42, 0x1p64, 0x1p84, 0x1.428a2f98d728bp+341, 0x1p512, 0x1p682},
        {{0.999, 1.001}, {1e-300, 1e300}}};
    // The trigonometric functions: pi/4, pi/2, pi and 3 pi/2 (the quarter- and half-turn
    // reductions' switches), the float and double switches to the longer reductions (2^12 for
    // the float kernels, 2^13 for the double HA's short parts, 10000, 2^24), 1e22, the double
    // nearest a multiple of pi/2 (6381956970095103 2^797), the double below 2^13 nearest one
    // (0x1.6c6cbc45dc8dep+5) and the largest double; near pi/2 and near 0, where the half-turn
    // polynomial of sin r cancels most, the floats below 2^12 nearest a multiple of pi/2, the
    // float kernels' worst arguments (and their far lanes' in double, 0.60 ulp beyond 2^24), and
    // the double HA kernels' worst found (Sin 0.764 ulp, Cos 0.769, Tan 0.93 between 2^13 and
    // 2^24 as sine over cosine; its rational form 0.812 there and 0.796 below 10); tiny
    // arguments, where every odd series rounds to x and its powers go denormal (float 2^-20,
    // double 2^-120).
    const HardCase trig = {{0x1.921fb54442d18p-1,
                            0x1.921fb54442d18p+0,
                            0x1.921fb54442d18p+1,
                            0x1.2d97c7f3321d2p+2,
                            0x1p12,
                            10000.0,
                            0x1p24,
                            1e22,
                            0x1.6ac5b262ca1ffp+849,
                            0x1.fffffffffffffp+1023,
                            0x1.f9cbe2p+7,
                            0x1.17cc5p+11,
                            -0x1.25ae6ap+8,
                            -0x1.569806p-11,
                            0x1.fe232cp+9,
                            -0x1.bdd0eap+5,
                            0x1.d3f798p+6,
                            0x1.1e12c8p+11,
                            0x1p13,
                            0x1.7d5c2220247e2p+12,
                            0x1.7c868147d83acp+9,
                            0x1.99f7c65b1190ep+18,
                            -0x1.4cac44p+122,
                            -0x1.872b52p+66,
                            0x1.442934f04ab2ap+22,
                            0x1.f3112283e625p+1,
                            0x1p-20,
                            -0x1p-120},
                           {{-10.0, 10.0},
                            {1.4, 1.75},
                            {-0x1p-20, 0x1p-20},
                            {4000.0, 4200.0},
                            {0x1.6c6cbc45dc8ddp+5, 0x1.6c6cbc45dc8dfp+5},
                            {1e6, 1e9},
                            {1e300, 1.7e308}}};
    // Erf, Erfc: the midpoints where the grids j/256 (Erf) and j/128 (Erfc) switch rows, the
    // clamp of erf's table (5.99609375), where erfc rounds below the normal range (double and
    // float), and the far tail that still reaches the table; the float Erf's piece ends
    // (multiples of 1/2, and just below, where y + 4 rounds up to the next piece) and its
    // saturation at 3.9193. Near 0, where the row's D d is as large as the result: three
    // arguments where the rows up to 4/128 gave 1.2 to 1.8 ulp before D's low part joined them,
    // and the double Erf HA's worst there since (0.83 ulp, as d pulls the result into the binade
    // below the row's value). Erfc's far tail, where the series' step 2 g d reaches 0.21: an
    // argument where too short a series gave 1.03 ulp, and the worst of the double kernels over
    // 2^24 arguments (Erfc HA, LA; Erf LA).
    HardCase erf = {{0x1p-8,
                     0x1.8p-7,
                     0x1p-7,
                     0.5,
                     1.0,
                     0x1.7f8p+2,
                     6.0,
                     9.194549560546875,
                     0x1.a8b12fc6e4892p+4,
                     27.3,
                     0x1.2p-5,
                     0x1.1f71aef517b13p-8,
                     0x1.0d73a9560e4p-8,
                     0x1.8b1bd6835b63fp-7,
                     0x1.a0b0dafd6431bp+4,
                     0x1.a62ffb26c6d05p+4,
                     0x1.a5dp+4,
                     0x1.92ffbc59bf97p+0,
                     0x1p-9,
                     0x1.7fcp+2,
                     0x1.80cab4f109708p-8},
                    {{-6.5, 6.5},
                     {-0x1p-7, 0x1p-7},
                     {0x1p-7, 0x1.4p-5},
                     {8.0, 10.1},
                     {20.0, 26.6},
                     {3.8, 4.1}}};
    erf.thresholds.insert(erf.thresholds.end(), {0x1.fffffep-2, 0x1.ffffep-2, 1.5, 0x1.7ffffep+0,
                                                 2.0, 2.5, 3.0, 3.5, 0x1.bffffep+1, 0x1.f5a88ap+1});
    // CdfNorm: erfc at -x/sqrt 2 carried in two parts, so the same switches scaled by sqrt 2,
    // and the underflow thresholds at -37.54 (double) and -12.95 (float); in the far tail, an
    // argument where too short a series gave 1.03 ulp and the HA kernel's worst over 2^24.
    HardCase cdfnorm = {
        {-0x1.2c27b05bf1a0bp+5, -37.5, -0x1.9e6604p+3, -0x1.a8b12fc6e4892p+4, -8.474, 8.474,
         0x1.6a09e667f3bcdp-8, -1.0, -0x1.133269fd4e7c9p+5, -0x1.24b29e7481c53p+5},
        {{-10.0, 10.0}, {-37.6, -30.0}, {-13.0, -12.0}, {-0x1p-6, 0x1p-6}}};
    // The float Erfc and CdfNorm kernels change piece where y + 3/4 crosses a quarter-binade
    // (y = |x| from 1/8 to 7.25, x/sqrt 2 for CdfNorm), and erfc(-y) stops at y = 4; their worst
    // arguments over all floats (HA, LA, EP).
    for (const double y :
         {0.125, 0.25, 0.5, 0.75, 1.0, 1.25, 1.75, 2.25, 2.75, 3.25, 4.0, 4.25, 5.25, 6.25, 7.25}) {
      erf.thresholds.insert(erf.thresholds.end(), {y, -y});
      cdfnorm.thresholds.insert(cdfnorm.thresholds.end(),
                                {y * std::sqrt(2.0), -y * std::sqrt(2.0)});
    }
    erf.thresholds.insert(erf.thresholds.end(), {0x1.0cca2p+2, 0x1.a2ce8cp+1, 0x1.bb95dp+1});
    cdfnorm.thresholds.insert(cdfnorm.thresholds.end(),
                              {-0x1.296286p+2, -0x1.282ca4p+2, -0x1.39a9a8p+2});
    // Atan and Atan2: the ends of the table (2^-6, 2^6) and the clamp's row (c = 66), a row's
    // edges and middle near 1, the quotient's underflow and overflow, ratios just above 2^-6 and
    // a row's edge, which Atan2's estimate of y/x (up to 0.26% low) reads one row down, and the
    // HA kernels' worst arguments found in random sweeps of 2^21; Asin and Acos: the split at 1/2
    // and the ends, where acos(x) near 1 and asin(x) near 1 come from sqrt((1 - |x|)/2); just
    // above the split, where pi/2 - 2 asin(u) cancels most, the worst arguments found over 2^24
    // doubles. Tiny arguments, where Atan and Asin round to x (2^-20, 2^-120) and Acos to pi/2
    // (2^-26, 2^-55).
    HardCase atan = {{0x1p-6, 0x1p6, 66.0, 1.0, 1.0625, 1.125, 0.5, 0x1p-27, 0x1p27, 1e300,
                      0x1.001fef55abfa1p-3, 0x1p-20, 0x1p-120},
                     {{-1.0, 1.0}, {-80.0, 80.0}, {0.0155, 0.0158}, {62.0, 70.0}}};
    atan.regions = {{{{-1.0, 1.0}, {-1.0, 1.0}}},       {{{1e-300, 1e-200}, {1e10, 1e300}}},
                    {{{-1e-30, 1e-30}, {1e8, 1e30}}},   {{{1e100, 1e300}, {-1e-300, 1e-100}}},
                    {{{0.9, 1.1}, {-66.0, -62.0}}},     {{{0x1.003p-6, 0x1.004p-6}, {0.999, 1.0}}},
                    {{{1.0625, 1.066}, {-1.0, -0.999}}}};
    for (const double x : {1.0, -1.0, 0x1p-1022, -0x1p-1022, 3.0, -3.0}) {
      atan.pairs.insert(atan.pairs.end(), {x, x, x, 2 * x, 1e-310, x, x, 1e-310});
    }
    atan.pairs.insert(atan.pairs.end(), {0x1.257a121061cccp-919, 0x1.82f9664338f4ap+100,
                                         -0x1.c0890b96f517cp-7, 0x1.e01d6577e8302p-1});
    const HardCase asin = {
        {0.5, -0.5, 1.0, -1.0, 0x1p-27, 0x1p-1022, 0x1.10494f1f3332ap-1, 0x1.03e9cfa5a256p-1,
         -0x1.0dd86dd95fb1ap-1, 0x1p-20, 0x1p-120, 0x1p-26, -0x1p-55},
        {{-1.0, 1.0},
         {0.999, 1.0},
         {-1.0, -0.999},
         {1 - 1e-12, 1.0},
         {-1.0, -1 + 1e-12},
         {0.49, 0.6},
         {-0.6, -0.49}}};
    // Gamma family: the zeros of ln gamma at 1 and 2 and the ends of their windows (1/16), the
    // shift to Stirling's formula at 8, the tiny arguments, TGamma's overflow (171.62 double,
    // 35.04 float) and LGamma's (2.55e305, 4.08e36 float), the negative zeros of ln gamma
    // (-2.457, -2.747, -3.144, -3.956) and the poles between them.
    const HardCase gamma = {
        {1.0, 2.0, 0.9375, 1.0625, 1.9375, 2.0625, 8.0, 0x1p-54, 171.0, 171.62437695630271,
         35.04010009765625, 2.5563e305, 4.0852e36, -2.4570247382208006, -2.7476826467274127,
         -3.1435808883499799, -3.9552942848585785, -1.5, -0.5},
        {{0.9, 1.1}, {1.9, 2.1}, {0.0, 10.0}, {-5.0, 0.0}, {-180.0, -170.0}, {160.0, 172.0}}};
    std::map<std::string, HardCase> cases{
        {"LGamma", gamma},    {"TGamma", gamma}, {"Erf", erf},       {"Erfc", erf},
        {"CdfNorm", cdfnorm}, {"Sin", trig},     {"Cos", trig},      {"SinCos", trig},
        {"Tan", trig},        {"Pow", pow},      {"Powx", powx},     {"Cbrt", cube},
        {"InvCbrt", cube},    {"Pow2o3", cube},  {"Pow3o2", pow3o2}, {"Ln", log},
        {"Log10", log},       {"Log1p", log1p},  {"Exp", exp},       {"Expm1", expm1},
        {"Sqrt", root},       {"InvSqrt", root}, {"Inv", quotient},  {"Div", quotient},
        {"Hypot", hypot},     {"Atan", atan},    {"Atan2", atan},    {"Asin", asin},
        {"Acos", asin}};

    // The inverse error functions by their tail quantity q = 1 - |erf x|: the switch of the HA
    // kernels' exact working pair from a to q at q = 1/2, the ends of their pieces at w = -ln(q (2
    // - q)) = 1 .. 7 and the switch to the tail at w = 7.99, the ends of the tail pieces at t =
    // sqrt(-ln q) = (2k+1)/8, the least q of the vector path (2^-62), the denormals and the values
    // next to the poles. EP switches where w passes 5, and its tail pieces meet at t = 2.9, 3.6
    // and 4.6. The double HA kernels' worst arguments found, before their last step was shortened
    // (ErfInv and ErfcInv 0.65 ulp, CdfNormInv 0.70), and after (2^22 uniform: ErfInv 0.734,
    // ErfcInv 0.741; 2^18: CdfNormInv 0.796).
    HardCase erfinv, erfcinv, cdfnorminv;
    std::vector<double> tail_q = {0.5, 0x1p-62, 0x1p-53, 0x1p-52, 0x1p-1022, 0x1p-1074};
    const auto q_of_w = [](double w) { return -std::expm1(0.5 * std::log1p(-std::exp(-w))); };
    for (const double w : {1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 7.99}) tail_q.push_back(q_of_w(w));
    for (int k = 12; k <= 26; ++k) tail_q.push_back(std::exp(-(2 * k + 1) * (2 * k + 1) / 64.0));
    for (const double t : {2.9, 3.6, 4.6}) tail_q.push_back(std::exp(-t * t));
    for (const double q : tail_q) {
      erfinv.thresholds.insert(erfinv.thresholds.end(), {1 - q, q - 1});
      erfcinv.thresholds.insert(erfcinv.thresholds.end(), {q, 2 - q});
      cdfnorminv.thresholds.insert(cdfnorminv.thresholds.end(), {q / 2, 1 - q / 2});
    }
    erfinv.thresholds.push_back(0x1.0e4ba90387334p-2);
    erfcinv.thresholds.push_back(0x1.4392ea40e1ccdp+0);
    cdfnorminv.thresholds.push_back(0x1.032ff76164024p-1);
    erfinv.thresholds.push_back(0x1.14d25007597ep-4);
    erfcinv.thresholds.push_back(0x1.239dfb586010dp+0);
    cdfnorminv.thresholds.push_back(0x1.f370a8cc207dap-2);
    // Results near and below the normal range, where a last step that rounds twice (once to the
    // denormal grid) reaches a whole ulp.
    erfinv.thresholds.insert(erfinv.thresholds.end(),
                             {0x1p-1020, -0x1.1ab7bdf50c53dp-1021, -0x0.7f352ee6ed6dep-1022});
    erfinv.near = {
        {-1.0, 1.0}, {0.99, 1.0}, {-0x1p-20, 0x1p-20}, {0.996, 0.9968}, {-0x1p-1019, 0x1p-1019}};
    erfcinv.near = {{0.0, 2.0}, {1.99, 2.0}, {0.0, 0.01}, {0.4, 0.6}};
    cdfnorminv.near = {{0.0, 1.0}, {0.999, 1.0}, {0.0, 0.001}, {0.2, 0.3}};
    cases.insert({{"ErfInv", erfinv}, {"ErfcInv", erfcinv}, {"CdfNormInv", cdfnorminv}});
    // Hyperbolic functions: sinh's switch from its series to the exponential at 1/2, where
    // e^|x| and e^-|x| cancel most (float tanh's switch from its polynomial too); the last
    // arguments before the fast paths' bounds and the overflow thresholds (float 89 and
    // 89.4159851, double 710 and 710.4758600739439); tanh where it starts to round to 1 (float
    // 9.01, double 19.06) and the cap at 22; the table switch of the reduction at ln 2 / 16; float
    // e^-|x| where its power stops at 2^-32 (22.18; double 2^-64 at 44.36); the HA kernels' worst
    // arguments over all floats (sinh, cosh, tanh) and over 10^8 doubles (sinh, cosh).
    const HardCase hyp = {
        {0.5, 0x1.fffffffffffffp-2, 0.0433216, 89.0, 0x1.65a9f8p+6, 710.0, 0x1.633ce8fb9f87dp+9,
         9.010913, 19.06154746539849, 22.0, 0x1p-26, 0x1p-54, 22.18070977791825, 44.3614195558365,
         0x1.a58ce4p-1, 0x1.04976ap+1, 0x1.fe5466p-2, 0x1.a6a7c9e120f86p-1, 0x1.533b7b0d190d6p+9},
        {{-1.0, 1.0}, {-0.6, 0.6}, {85.0, 89.5}, {700.0, 710.5}, {8.0, 23.0}}};
    // The inverses: the switch to the series at 2^-26 and to ln 2a at 2^28, atanh next to +-1
    // (1 - a exact, v up to 2^54), acosh next to 1 (x^2 - 1 cancels), where a^2 would
    // overflow, and where the series' square stops following a (float 2^-40, double 2^-300).
    const HardCase inverse = {
        {0x1p-26, 0x1.fffffffffffffp-27, 0x1p-46, 0x1p28, 0x1.fffffffffffffp+27, 1.0,
         0x1.0000000000001p+0, 0x1.fffffffffffffp-1, 0x1p-53, 0x1p512, 1.4142135623730951, 0x1p-40,
         0x1.fffffep-41, 1e-15, 0x1p-300, 0x1.fffffffffffffp-301},
        {{-1.0, 1.0},
         {0.999, 1.0},
         {-1.0, -0.999},
         {1.0, 1.001},
         {1.0, 1.0000001},
         {-1e-6, 1e-6},
         {1e8, 1e9}}};
    for (const char* f : {"Sinh", "Cosh", "Tanh"}) cases[f] = hyp;
    // Float HA's own switches, sinh's series at 1/4 and tanh's polynomial at 1/8, and the worst
    // arguments over all floats on their exponential sides (sinh 0.755, tanh 0.682 ulp).
    for (const char* f : {"Sinh", "Tanh"}) {
      cases[f].thresholds.insert(
          cases[f].thresholds.end(),
          {0.25, 0x1.fffffep-3, 0.125, 0x1.fffffep-4, 0x1.e714d8p-2, 0x1.e7bbd2p-3});
    }
    for (const char* f : {"Asinh", "Acosh", "Atanh"}) cases[f] = inverse;
    // The float kernels' own switches: Atan's reduction at tan(pi/8) and tan(3pi/8); the
    // inverses' series below 2^-12 and ln 2a from 2^12.
    HardCase& atan_float = cases["Atan"];
    atan_float.thresholds.insert(atan_float.thresholds.end(), {0x1.a8279ap-2, 0x1.3504f4p+1});
    // The float HA kernel's worst argument over all floats (0.654 ulp).
    atan_float.thresholds.push_back(0x1.abd096p-2);
    atan_float.near.insert(atan_float.near.end(), {{0.4, 0.43}, {2.4, 2.43}});
    for (const char* f : {"Asinh", "Acosh", "Atanh"}) {
      cases[f].thresholds.insert(cases[f].thresholds.end(), {0x1p-12, 0x1p12});
      cases[f].near.push_back({4000.0, 4200.0});
    }
    // The float HA kernels' worst arguments over all floats (acosh 0.93 ulp next to 1).
    cases["Acosh"].thresholds.push_back(0x1.001ba6p+0);
    cases["Asinh"].thresholds.push_back(0x1.f8e856p-6);
    cases["Atanh"].thresholds.push_back(0x1.f89fcp-7);
    // Float Atan2: y/x next to tan(pi/8), 1 (where y - x and y + x round) and tan(3pi/8) in both
    // half-planes, and the arguments next to the vector path's bounds 2^-100 and 2^100.
    HardCase& atan2_float = cases["Atan2"];
    for (const double x : {1.0, -1.0}) {
      const auto side = [x](double lo, double hi) {
        return x > 0 ? Range<double>{lo, hi} : Range<double>{-hi, -lo};
      };
      for (const auto& y :
           std::initializer_list<Range<double>>{{0.41, 0.42}, {0.5, 2.0}, {2.4, 2.43}}) {
        atan2_float.regions.push_back({{y, side(0.99, 1.01)}});
      }
      atan2_float.regions.push_back({{{0x1p99, 0x1p100}, side(0x1p98, 0x1p100)}});
      atan2_float.regions.push_back({{{0x1p-100, 0x1p-98}, side(0x1p-100, 0x1p-99)}});
      atan2_float.pairs.insert(atan2_float.pairs.end(), {0x1p100, 0x1p100 * x, 0x1p-100,
                                                         0x1p-100 * x, 0x1p-100, 0x1p100 * x});
    }
    return cases;
  }();
  return m;
}

// The complex functions' hard places, as regions of (re, im) and further (re, im) pairs: Ln where
// ln |z| cancels (on the unit circle, the points nearest to it in each format, and near z = 1),
// Sqrt on the negative real axis (the cut, both zeros of im) and next to it, Abs where the squares
// of the parts would overflow or underflow, Exp where e^re leaves the range and where im needs
// the long reduction. Double regions that float cannot hold are skipped for float.
const std::map<std::string, HardCase>& ComplexHardCases() {
  static const std::map<std::string, HardCase> m = [] {
    HardCase ln = {{}, {}, {{Range<double>{0.999, 1.001}, Range<double>{-1e-3, 1e-3}}}};
    SplitMix64 gen(0xC1AC);
    for (int k = 0; k < 256; ++k) {
      const double angle = RandomIn(gen, Range<double>{-3.2, 3.2});
      ln.pairs.insert(ln.pairs.end(), {std::cos(angle), std::sin(angle)});
      const auto near = static_cast<float>(angle);
      ln.pairs.insert(ln.pairs.end(), {std::cos(near), std::sin(near)});
    }
    const HardCase sqrt = {{},
                           {},
                           {{Range<double>{-1e6, -1e-6}, Range<double>{-1e-12, 1e-12}},
                            {Range<double>{-1e300, -1e-300}, Range<double>{0.0, 1e-300}}},
                           {-4.0, 0.0, -4.0, -0.0, -2.0, 0.0, -0x1p-1000, -0.0, -1e300, 0.0}};
    const HardCase abs = {{},
                          {},
                          {{Range<double>{1e307, 1.7e308}, Range<double>{1e307, 1.7e308}},
                           {Range<double>{1e-320, 1e-300}, Range<double>{1e-320, 1e-300}},
                           {Range<double>{1e37, 3.4e38}, Range<double>{1e37, 3.4e38}},
                           {Range<double>{1e-44, 1e-37}, Range<double>{1e-44, 1e-37}}}};
    const HardCase exp = {{},
                          {},
                          {{Range<double>{700.0, 712.0}, Range<double>{-8.0, 8.0}},
                           {Range<double>{85.0, 90.0}, Range<double>{-8.0, 8.0}},
                           {Range<double>{-2.0, 2.0}, Range<double>{1e5, 1e22}}}};
    return std::map<std::string, HardCase>{{"Ln", ln}, {"Sqrt", sqrt}, {"Abs", abs}, {"Exp", exp}};
  }();
  return m;
}

// Under the sanitizers the run looks for faults of memory, not of accuracy: a quarter of the cases.
#ifdef OXL_SANITIZED_BUILD
constexpr int kScale = 4;
#else
constexpr int kScale = 1;
#endif

// One kernel of the list: its function, its suffix (build, level, flags), and whether it is a
// SIMD row's vector kernel rather than an element loop.
struct KernelId {
  std::string func;
  std::string suffix;
  bool vector = false;
};

template <class T>
Sweep<T> SweepFor(const KernelId& id, int components, bool complex) {
  const std::string& func = id.func;
  Sweep<T> s;
  s.random = (1 << 10) / kScale;
  s.threads = 2;
  // The same bits from every SIMD target and from every cut of the array, tails and unaligned
  // starts included.
  if (id.vector) {
    s.all_targets = true;
    s.cuts = {1, 7, 16, 33};
  }
  if (complex) {
    s.random = (1 << 10) / kScale;  // MPC's functions cost several times MPFR's
    s.specials = false;
    if (func == "Pow" || func == "Powx") {
      s.ranges.assign(components, Range<T>{T(-40), T(40)});
      return s;
    }
    const std::vector<T> v = FiniteSpecials<T>(components > 2);
    for (T re : v) {
      for (T im : v) {
        if (components == 2) {
          s.extra.insert(s.extra.end(), {re, im});
          continue;
        }
        for (T re2 : v) {
          for (T im2 : v) s.extra.insert(s.extra.end(), {re, im, re2, im2});
        }
      }
    }
    // Values of ordinary size, where the branch cuts and the cancellations are.
    s.ranges.assign(components, Range<T>{T(-8), T(8)});
    const auto hard = ComplexHardCases().find(func);
    if (components == 2 && hard != ComplexHardCases().end()) {
      SplitMix64 gen(0xC0DE);
      for (const auto& region : hard->second.regions) {
        const Range<T> re{static_cast<T>(region[0].lo), static_cast<T>(region[0].hi)};
        const Range<T> im{static_cast<T>(region[1].lo), static_cast<T>(region[1].hi)};
        const bool fits = std::isfinite(re.lo) && std::isfinite(re.hi) && std::isfinite(im.lo) &&
                          std::isfinite(im.hi);
        if (!fits) continue;  // a double region
        for (int k = 0; k < 256 / kScale; ++k) {
          s.extra.push_back(RandomIn(gen, re));
          s.extra.push_back(RandomIn(gen, im));
        }
      }
      for (const double x : hard->second.pairs) s.extra.push_back(static_cast<T>(x));
    }
    return s;
  }
  // A second set of ordinary values, in [-8, 8] for every component.
  SplitMix64 gen(0x5EED + components);
  for (int k = 0; k < 512 / kScale * components; ++k)
    s.extra.push_back(RandomIn(gen, Range<T>{T(-8), T(8)}));
  const auto hard = HardCases().find(func);
  // The float EP exponential is the bare fast 2^x, which flushes results below the normal range
  // as the instruction it stands for does: its bound holds on the normal range only.
  const bool flushes = sizeof(T) == 4 && func == "Exp" && id.suffix.starts_with("B3EP");
  if (components <= 2 && hard != HardCases().end() && !flushes) {
    for (const double value : hard->second.thresholds) {
      const T rounded = static_cast<T>(value);
      if (std::isfinite(rounded) && (rounded != 0) == (value != 0)) s.thresholds.push_back(rounded);
    }
    for (const Range<double>& near : hard->second.near) {
      const Range<T> range{static_cast<T>(near.lo), static_cast<T>(near.hi)};
      for (int k = 0; k < 256 / kScale; ++k) s.extra.push_back(RandomIn(gen, range));
    }
    for (const auto& region : hard->second.regions) {
      const Range<T> a{static_cast<T>(region[0].lo), static_cast<T>(region[0].hi)};
      const Range<T> b{static_cast<T>(region[1].lo), static_cast<T>(region[1].hi)};
      if (!std::isfinite(a.hi) || !std::isfinite(b.hi)) continue;  // a double region
      for (int k = 0; k < 256 / kScale; ++k) {
        s.extra.push_back(RandomIn(gen, a));
        s.extra.push_back(RandomIn(gen, b));
      }
    }
    for (const double x : hard->second.pairs) s.extra.push_back(static_cast<T>(x));
    s.per_binade = 16 / kScale;
  }
  return s;
}

using Measurement = std::function<Report()>;

// One kernel, measured by the runner that fits its signature.
template <class T>
Measurement MeasureKernel(const KernelId& id, void (*k)(int, const T*, T*)) {
  if constexpr (std::is_floating_point_v<T>) {
    return [=] { return RunUnary(k, RealOracles().at(id.func), SweepFor<T>(id, 1, false)); };
  } else {
    using P = PartOf<T>;
    return [=] { return RunUnary(k, ComplexOracles().at(id.func), SweepFor<P>(id, 2, true)); };
  }
}
template <class T>
Measurement MeasureKernel(const KernelId& id, void (*k)(int, const T*, const T*, T*)) {
  if constexpr (std::is_floating_point_v<T>) {
    return [=] { return RunBinary(k, RealOracles2().at(id.func), SweepFor<T>(id, 2, false)); };
  } else {
    using P = PartOf<T>;
    return [=] { return RunBinary(k, ComplexOracles2().at(id.func), SweepFor<P>(id, 4, true)); };
  }
}
template <class T>
Measurement MeasureKernel(const KernelId& id, void (*k)(int, const T*, T*, T*)) {
  return [=] { return RunTwoResults(k, PairOracles().at(id.func), SweepFor<T>(id, 1, false)); };
}
// Powx: the worst over a few exponents, whole, fractional, negative, and (complex) rotating.
template <class T>
Measurement MeasureKernel(const KernelId& id, void (*k)(int, const T*, T, T*)) {
  return [=] {
    Report worst;
    std::vector<T> exponents;
    if constexpr (std::is_floating_point_v<T>) {
      exponents = {T(2), T(0.5), T(-1.5), T(3), T(-0.0)};
      for (T b : exponents) {
        Report r = RunPowx(k, b, RealOracles2().at(id.func), SweepFor<T>(id, 1, false));
        if (r.max_ulp >= worst.max_ulp) worst = r;
      }
    } else {
      using P = PartOf<T>;
      exponents = {T{P(2), P(0)}, T{P(0.5), P(-1.25)}, T{P(-1.5), P(0.75)}};
      for (T b : exponents) {
        Report r = RunPowx(k, b, ComplexOracles2().at(id.func), SweepFor<P>(id, 2, true));
        if (r.max_ulp >= worst.max_ulp) worst = r;
      }
    }
    return worst;
  };
}
template <class C, class R>
requires(!std::is_same_v<C, R>) Measurement
    MeasureKernel(const KernelId& id, void (*k)(int, const C*, R*)) {
  if constexpr (std::is_floating_point_v<C>) {  // CIS
    return [=] {
      return RunUnary(k, RealToComplexFn([](mpc_ptr r, mpfr_srcptr a) {
                        mpfr_sin_cos(mpc_imagref(r), mpc_realref(r), a, MPFR_RNDN);
                      }),
                      SweepFor<C>(id, 1, false));
    };
  } else {
    ComplexToRealFn fn = [](mpfr_ptr r, mpc_srcptr a) { mpc_abs(r, a, MPFR_RNDN); };
    if (id.func == "Arg") fn = [](mpfr_ptr r, mpc_srcptr a) { mpc_arg(r, a, MPFR_RNDN); };
    return [=] { return RunUnary(k, fn, SweepFor<R>(id, 2, true)); };
  }
}
// Pack, Unpack and LinearFrac have tests of their own.
template <class K>
Measurement MeasureKernel(const KernelId&, K) {
  return nullptr;
}

struct KernelCase {
  std::string type;
  KernelId id;
  Measurement measure;
};

#define OXL_VEK_TEST_KERNEL(t, F, form, suffix)                                                    \
  [] {                                                                                             \
    const KernelId id{#F, #suffix, row_is_simd && std::string_view(#suffix).substr(0, 2) == "B3"}; \
    return KernelCase{#t, id, MeasureKernel(id, &oxl_vek_kernel_##t##F##_##suffix)};               \
  }(),
#define OXL_VEK_FUNCTION(t, F, form, slots, impl, cost_la, cost_ha, cost_ep)                  \
  [] {                                                                                        \
    constexpr bool row_is_simd = std::string_view(#impl) == "SIMD";                           \
    return std::vector<KernelCase>{OXL_VEK_KERNELS_##slots(OXL_VEK_TEST_KERNEL, t, F, form)}; \
  }(),
const std::vector<KernelCase>& Kernels() {
  static const std::vector<KernelCase> all = [] {
    std::vector<KernelCase> flat;
    for (auto& row : std::vector<std::vector<KernelCase>>{
#include "oxl/vek_functions.def"
         }) {
      flat.insert(flat.end(), row.begin(), row.end());
    }
    return flat;
  }();
  return all;
}
#undef OXL_VEK_FUNCTION
#undef OXL_VEK_TEST_KERNEL

class FunctionAccuracy : public testing::TestWithParam<std::string> {};

// Functions whose results are the correctly rounded ones on every slot (the real arithmetic, the
// magnitude, the roundings, the conjugate): held to half an ulp, so that one ulp off is a fault.
bool CorrectlyRounded(const std::string& type, const std::string& func) {
  static const std::set<std::string> real = {"Abs",       "Add",   "Sub",   "Mul",   "Sqr",
                                             "Ceil",      "Floor", "Trunc", "Round", "Rint",
                                             "NearbyInt", "Frac",  "Modf"};
  return func == "Conj" || ((type == "s" || type == "d") && real.count(func) != 0);
}

TEST_P(FunctionAccuracy, EveryKernelWithinItsBound) {
  const char* table_path = std::getenv("OXL_ACCURACY_TABLE");
  std::ofstream table;
  if (table_path != nullptr) table.open(table_path, std::ios::app);
  int measured = 0;
  for (const KernelCase& k : Kernels()) {
    if (k.type != GetParam() || !k.measure) continue;
    const std::string name = "v" + k.type + k.id.func + "_" + k.id.suffix;
    SCOPED_TRACE(name);
    const Report r = k.measure();
    // Element loops hold 1 ulp in every slot; the vector kernels hold their level's bound.
    const std::string level_name = k.id.suffix.substr(2, 2);
    const Level level = level_name == "LA"   ? Level::kLA
                        : level_name == "EP" ? Level::kEP
                                             : Level::kHA;
    const bool single = k.type == "s" || k.type == "c";
    const double bound = CorrectlyRounded(k.type, k.id.func) ? 0.5
                         : !k.id.vector                      ? 1.0
                         : single                            ? UlpBound<float>(level)
                                                             : UlpBound<double>(level);
    EXPECT_TRUE(Meets(r, bound));
    ++measured;
    if (table.is_open()) table << r.TableRow(name, level, bound) << "\n";
  }
  EXPECT_GT(measured, 30);
}

INSTANTIATE_TEST_SUITE_P(Types, FunctionAccuracy, testing::Values("s", "d", "c", "z"),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace oxl::test
