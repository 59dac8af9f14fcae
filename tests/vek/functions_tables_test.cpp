// The function tables: slot contents as the library's contract lists them (kernel names read back
// from the shared library) and the cost table rows.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "oxl/vek_functions.h"

namespace {

// --- The contract's slot patterns, written out independently of the list. ---

const std::map<std::string, std::vector<std::string>>& Patterns() {
  static const std::map<std::string, std::vector<std::string>> p = {
      {"B3LA B3HA B3EP",
       {"cAbs",   "cArg",    "cCIS",    "cLn",     "cMulByConj", "dAcos",    "dAcosh",  "dAsin",
        "dAsinh", "dAtan2",  "dAtanh",  "dCbrt",   "dCdfNorm",   "dCosh",    "dDiv",    "dErf",
        "dErfc",  "dExp",    "dExpm1",  "dHypot",  "dInvCbrt",   "dInvSqrt", "dLGamma", "dLn",
        "dLog10", "dLog1p",  "dPow2o3", "dPow3o2", "dPow",       "dPowx",    "dSinCos", "dSin",
        "dSqrt",  "dTGamma", "dTan",    "dTanh",   "sAcos",      "sAcosh",   "sAsin",   "sAsinh",
        "sAtan2", "sAtan",   "sAtanh",  "sCbrt",   "sCdfNorm",   "sCos",     "sDiv",    "sErf",
        "sErfc",  "sExp",    "sExpm1",  "sHypot",  "sInvCbrt",   "sInv",     "sLGamma", "sLn",
        "sLog10", "sLog1p",  "sPow2o3", "sPow",    "sPowx",      "sSinCos",  "sSin",    "sSinh",
        "sSqrt",  "sTGamma", "sTan",    "sTanh",   "zAbs",       "zAdd",     "zArg",    "zCIS",
        "zLn"}},
      {"B3HA B3HA B3HA",
       {"dAbs",       "dCeil", "dFloor",   "dFrac", "dInv",   "dModf",      "dMul",
        "dNearbyInt", "dRint", "dRound",   "dSqr",  "dTrunc", "sAdd",       "sCeil",
        "sFloor",     "sFrac", "sInvSqrt", "sModf", "sMul",   "sNearbyInt", "sRint",
        "sRound",     "sSub",  "sTrunc",   "cConj", "zConj"}},
      {"EXHA EXHA EXHA", {}},
      {"B3HA B3HA B3EP",
       {"cAdd", "cDiv", "cMul", "cSub", "dAdd", "sCosh", "zDiv", "zMulByConj", "zMul", "zSub",
        "dErfInv", "dErfcInv", "dCdfNormInv"}},
      {"B3LA B3HA B3LA",
       {"cExp", "cSqrt", "dAtan", "dCos", "dSinh", "dSub", "sAbs", "sPow3o2", "sSqr", "sErfInv",
        "sErfcInv", "sCdfNormInv"}},
      {"H8HA H8HA H8HA", {"dLinearFrac"}},
      {"U8HA U8HA U8HA", {"sLinearFrac"}},
      {"B3LA L9HA B3LA", {"zExp"}},
      {"B3LA E9HA B3LA", {"zSqrt"}},
  };
  return p;
}

std::map<std::string, std::string> PatternOfFunction() {
  std::map<std::string, std::string> of;
  for (const auto& [pattern, functions] : Patterns()) {
    for (const auto& f : functions) of[f] = pattern;
  }
  for (const char* t : {"c", "z"}) {
    for (const char* f : {"Acos", "Acosh", "Asin", "Asinh", "Atan", "Atanh", "Cos", "Cosh", "Log10",
                          "Pow", "Powx", "Sin", "Sinh", "Tan", "Tanh"}) {
      of[std::string(t) + f] = "EXHA EXHA EXHA";
    }
  }
  for (const char* t : {"s", "d", "c", "z"}) {
    for (const char* f : {"PackI", "PackM", "PackV", "UnpackI", "UnpackM", "UnpackV"}) {
      of[std::string(t) + f] = "B3HA B3HA B3HA";
    }
  }
  return of;
}

std::string KernelName(const std::string& function, const std::string& tag) {
  const std::string flags = tag.substr(2) == "EP" ? "nnn" : "ynn";
  return "oxl_vek_kernel_" + function + "_" + tag + flags;
}

// The functions of the list as the library was built from it.
#define OXL_VEK_FUNCTION(t, F, ...) #t #F,
const std::vector<std::string> kListed = {
#include "oxl/vek_functions.def"
};
#undef OXL_VEK_FUNCTION

// Each row's name where its B3 kernels are element loops still (EX_ALL rows have no B3 kernel),
// else an empty string.
#define OXL_VEK_FUNCTION(t, F, form, slots, impl, ...) \
  std::string_view(#impl) == "LOOP" && std::string_view(#slots) != "EX_ALL" ? #t #F " " : "",
const std::vector<std::string> kB3Loops = {
#include "oxl/vek_functions.def"
};
#undef OXL_VEK_FUNCTION

// Each slot of each exported table names the kernel the contract puts there, read back by
// address from the shared library's own symbols; 355 kernels in all, each in some slot. Every cost
// is positive, and a slot that repeats a kernel repeats its cost.
TEST(FunctionTables, SlotsHoldTheContractsKernelsAndTheirCosts) {
  const std::unique_ptr<void, int (*)(void*)> lib(dlopen(OXL_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL),
                                                  dlclose);
  ASSERT_NE(lib, nullptr) << dlerror();
  auto find = [&](const std::string& name) { return dlsym(lib.get(), name.c_str()); };
  const std::map<std::string, std::string> pattern_of = PatternOfFunction();
  std::set<std::string> kernels;
  for (const std::string& function : kListed) {
    SCOPED_TRACE(function);
    ASSERT_EQ(pattern_of.count(function), 1u);
    auto* const* table = static_cast<void* const*>(find("oxl_vek_kernel_" + function + "_ttab"));
    const auto* costs = static_cast<const float*>(find("oxl_vek_kernel_" + function + "_ctab"));
    ASSERT_NE(table, nullptr);
    ASSERT_NE(costs, nullptr);
    std::istringstream tags(pattern_of.at(function));
    for (int slot = 0; slot < 3; ++slot) {
      std::string tag;
      tags >> tag;
      const std::string expected = KernelName(function, tag);
      Dl_info info{};
      ASSERT_NE(dladdr(table[slot], &info), 0);
      ASSERT_NE(info.dli_sname, nullptr);
      EXPECT_EQ(std::string(info.dli_sname), expected) << "slot " << slot;
      EXPECT_EQ(find(expected), table[slot]);
      kernels.insert(expected);
      EXPECT_GT(costs[slot], 0.0f);
      for (int other = 0; other < 3; ++other) {
        if (table[slot] == table[other]) {
          EXPECT_EQ(costs[slot], costs[other]);
        }
      }
    }
  }
  EXPECT_EQ(kernels.size(), 355u);
  EXPECT_EQ(kListed.size(), 182u);
  EXPECT_EQ(pattern_of.size(), kListed.size());
  // Every B3 kernel is a vector kernel.
  std::string b3_loops;
  for (const std::string& row : kB3Loops) b3_loops += row;
  EXPECT_EQ(b3_loops, "");
}

}  // namespace
