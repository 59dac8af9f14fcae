// The function tables and stubs: slot contents as the library's contract lists them (kernel names
// read back from the shared library), every stub jumping through its own slot with its arguments
// untouched, the names that must not exist, and the cost table rows that are fixed.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "oxl/vek.h"
#include "oxl/vek_functions.h"

namespace {

// --- The contract's slot patterns, written out independently of the list. ---

const std::map<std::string, std::vector<std::string>>& Patterns() {
  static const std::map<std::string, std::vector<std::string>> p = {
      {"B3LA B3HA B3EP",
       {"cAbs",   "cArg",    "cCIS",     "cLn",      "cMulByConj", "dAcos",       "dAcosh",
        "dAsin",  "dAsinh",  "dAtan2",   "dAtanh",   "dCbrt",      "dCdfNormInv", "dCdfNorm",
        "dCosh",  "dDiv",    "dErfInv",  "dErf",     "dErfcInv",   "dErfc",       "dExp",
        "dExpm1", "dHypot",  "dInvCbrt", "dInvSqrt", "dLGamma",    "dLn",         "dLog10",
        "dLog1p", "dPow2o3", "dPow3o2",  "dPow",     "dPowx",      "dSinCos",     "dSin",
        "dSqrt",  "dTGamma", "dTan",     "dTanh",    "sAcos",      "sAcosh",      "sAsin",
        "sAsinh", "sAtan2",  "sAtan",    "sAtanh",   "sCbrt",      "sCdfNormInv", "sCdfNorm",
        "sCos",   "sDiv",    "sErfInv",  "sErf",     "sErfcInv",   "sErfc",       "sExp",
        "sExpm1", "sHypot",  "sInvCbrt", "sInv",     "sLGamma",    "sLn",         "sLog10",
        "sLog1p", "sPow2o3", "sPow",     "sPowx",    "sSinCos",    "sSin",        "sSinh",
        "sSqrt",  "sTGamma", "sTan",     "sTanh",    "zAbs",       "zAdd",        "zArg",
        "zCIS",   "zLn"}},
      {"B3HA B3HA B3HA",
       {"dAbs",       "dCeil", "dFloor",   "dFrac", "dInv",   "dModf",      "dMul",
        "dNearbyInt", "dRint", "dRound",   "dSqr",  "dTrunc", "sAdd",       "sCeil",
        "sFloor",     "sFrac", "sInvSqrt", "sModf", "sMul",   "sNearbyInt", "sRint",
        "sRound",     "sSub",  "sTrunc",   "cConj", "zConj"}},
      {"EXHA EXHA EXHA", {}},
      {"B3HA B3HA B3EP",
       {"cAdd", "cDiv", "cMul", "cSub", "dAdd", "sCosh", "zDiv", "zMulByConj", "zMul", "zSub"}},
      {"B3LA B3HA B3LA",
       {"cExp", "cSqrt", "dAtan", "dCos", "dSinh", "dSub", "sAbs", "sPow3o2", "sSqr"}},
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

// --- The list as the library was built from it. ---

struct Recorded {
  int slot = -1;
  std::vector<unsigned char> bytes;
};
Recorded recorded;

template <class A>
void Append(std::vector<unsigned char>& v, const A& a) {
  const size_t at = v.size();
  v.resize(at + sizeof a);
  std::memcpy(v.data() + at, &a, sizeof a);
}

template <int kSlot, class... A>
void Probe(A... a) {
  recorded.slot = kSlot;
  recorded.bytes.clear();
  (Append(recorded.bytes, a), ...);
}

// A distinct value of each parameter type for argument k.
template <class A>
A Sentinel(int k) {
  if constexpr (std::is_pointer_v<A>) {
    return reinterpret_cast<A>(uintptr_t{0x10000} + 64 * static_cast<uintptr_t>(k));
  } else if constexpr (std::is_integral_v<A>) {
    return static_cast<A>(7 + k);
  } else if constexpr (std::is_floating_point_v<A>) {
    return static_cast<A>(1.5 + k);
  } else {
    return A{static_cast<decltype(A::re)>(1.25 + k), static_cast<decltype(A::re)>(-0.5 - k)};
  }
}

template <class... A, size_t... I>
std::vector<unsigned char> CallWithSentinels(void (*stub)(A...), std::index_sequence<I...>) {
  stub(Sentinel<A>(static_cast<int>(I))...);
  std::vector<unsigned char> bytes;
  (Append(bytes, Sentinel<A>(static_cast<int>(I))), ...);
  return bytes;
}
template <class... A>
std::vector<unsigned char> CallWithSentinels(void (*stub)(A...)) {
  return CallWithSentinels(stub, std::index_sequence_for<A...>{});
}

template <class... A>
void InstallProbes(void (**table)(A...)) {
  table[0] = &Probe<0, A...>;
  table[1] = &Probe<1, A...>;
  table[2] = &Probe<2, A...>;
}

struct Stub {
  std::string name;
  int slot;
  std::function<std::vector<unsigned char>()> call;
};

struct Row {
  std::string function;  // "sExp"
  void** table;
  std::function<void()> install_probes;
  std::vector<Stub> stubs;
};

#define OXL_VEK_TEST_STUB(t, F, form, suffix, slot) \
  Stub{"_vek" #t #F #suffix, slot, [] { return CallWithSentinels(&_vek##t##F##suffix); }},
#define OXL_VEK_FUNCTION(t, F, form, slots, impl, cost_la, cost_ha, cost_ep) \
  Row{#t #F,                                                                 \
      reinterpret_cast<void**>(oxl_vek_kernel_##t##F##_ttab),                \
      [] { InstallProbes(oxl_vek_kernel_##t##F##_ttab); },                   \
      {OXL_VEK_STUBS_##t(OXL_VEK_TEST_STUB, t, F, form)}},
const std::vector<Row>& Rows() {
  static const std::vector<Row> rows = {
#include "oxl/vek_functions.def"
  };
  return rows;
}
#undef OXL_VEK_FUNCTION
#undef OXL_VEK_TEST_STUB

class SharedLibrary {
 public:
  SharedLibrary() : handle_(dlopen(OXL_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {}
  ~SharedLibrary() {
    if (handle_ != nullptr) dlclose(handle_);
  }
  void* Find(const std::string& name) const { return dlsym(handle_, name.c_str()); }
  bool ok() const { return handle_ != nullptr; }

 private:
  void* handle_;
};

// Each slot of each exported table names the kernel the contract puts there, read back by
// address from the shared library's own symbols; 361 kernels in all, each in some slot.
TEST(FunctionTables, SlotsHoldTheContractsKernels) {
  const SharedLibrary lib;
  ASSERT_TRUE(lib.ok()) << dlerror();
  std::set<std::string> kernels;
  for (const auto& [function, pattern] : PatternOfFunction()) {
    SCOPED_TRACE(function);
    auto* const* table =
        static_cast<void* const*>(lib.Find("oxl_vek_kernel_" + function + "_ttab"));
    ASSERT_NE(table, nullptr);
    std::istringstream tags(pattern);
    for (int slot = 0; slot < 3; ++slot) {
      std::string tag;
      tags >> tag;
      const std::string expected = KernelName(function, tag);
      Dl_info info{};
      ASSERT_NE(dladdr(table[slot], &info), 0);
      ASSERT_NE(info.dli_sname, nullptr);
      EXPECT_EQ(std::string(info.dli_sname), expected) << "slot " << slot;
      EXPECT_EQ(lib.Find(expected), table[slot]);
      kernels.insert(expected);
    }
  }
  EXPECT_EQ(kernels.size(), 361u);
  EXPECT_EQ(Rows().size(), 182u);
}

// Every stub runs its slot, whatever the thread's mode selects, with its arguments as given; Pack
// and Unpack stubs add a fifth argument 1.
TEST(FunctionTables, EveryStubJumpsThroughItsSlot) {
  const uint32_t old_mode = oxl_vek_kernel_SetMode(OXL_VEK_MODE_EP);
  int stubs = 0;
  for (const Row& row : Rows()) {
    void* saved[3];
    std::memcpy(saved, row.table, sizeof saved);
    row.install_probes();
    const bool pack = row.function.find("ack") != std::string::npos;
    for (const Stub& stub : row.stubs) {
      recorded = {};
      std::vector<unsigned char> expected = stub.call();
      if (pack) Append(expected, 1);
      EXPECT_EQ(recorded.slot, stub.slot) << stub.name;
      EXPECT_EQ(recorded.bytes, expected) << stub.name;
      ++stubs;
    }
    std::memcpy(row.table, saved, sizeof saved);
  }
  oxl_vek_kernel_SetMode(old_mode);
  EXPECT_EQ(stubs, 728);
}

TEST(FunctionTables, NamedEdgeCases) {
  EXPECT_EQ(oxl_vek_kernel_sAdd_ttab[0], &oxl_vek_kernel_sAdd_B3HAynn);
  EXPECT_EQ(oxl_vek_kernel_sAdd_ttab[2], &oxl_vek_kernel_sAdd_B3HAynn);
  EXPECT_EQ(oxl_vek_kernel_zExp_ttab[2], &oxl_vek_kernel_zExp_B3LAynn);
  EXPECT_EQ(dll_cpu_version(), 0);

  const SharedLibrary lib;
  ASSERT_TRUE(lib.ok());
  for (const char* absent :
       {"_veksExp_50", "_veksExp_26", "_vekdExp_21", "_vekdExp_11", "_vekcExp_50", "_vekzExp_21"}) {
    EXPECT_EQ(lib.Find(absent), nullptr) << absent;
  }
  for (const char* present : {"_veksExp", "_veksExp_HA", "_veksExp_21", "_veksExp_11",
                              "_vekdExp_50", "_vekdExp_26", "dll_cpu_version"}) {
    EXPECT_NE(lib.Find(present), nullptr) << present;
  }
}

// Every cost is positive; a slot that repeats a kernel repeats its cost everywhere.
TEST(FunctionTables, CostTables) {
  const SharedLibrary lib;
  ASSERT_TRUE(lib.ok());
  for (const Row& row : Rows()) {
    SCOPED_TRACE(row.function);
    const auto* ctab =
        static_cast<const float*>(lib.Find("oxl_vek_kernel_" + row.function + "_ctab"));
    ASSERT_NE(ctab, nullptr);
    for (int i = 0; i < 3; ++i) {
      EXPECT_GT(ctab[i], 0.0f);
      for (int j = 0; j < 3; ++j) {
        if (row.table[i] == row.table[j]) {
          EXPECT_EQ(ctab[i], ctab[j]);
        }
      }
    }
  }
}

}  // namespace
