// Measures the relative cost per element of every vector kernel on this machine and writes the
// cost columns of include/oxl/vek_functions.def anew.
//
//   oxl_vek_costs <path to vek_functions.def>      rewrites the file in place
//
// A kernel's cost is its time per element over arrays of 1024 ordinary arguments (inside every
// domain, so no element takes the error path), the best of several timed runs, scaled so that
// sAdd costs 0.321, its fixed value. Rows whose costs are fixed by the library's contract keep
// them: the arithmetic and exponential rows given there, the complex rows cSin and zPow, and the
// Pack and Unpack placeholders. A slot that repeats a kernel repeats its number, since the number
// belongs to the kernel.
#include <cstdint>
#include <ctime>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "oxl/vek.h"
#include "oxl/vek_functions.h"

namespace {

constexpr int kN = 1024;

// Arguments inside every domain: (0.1, 0.9), and (1.1, 1.9) where the domain starts at 1.
template <class T>
std::vector<T> Arguments(const std::string& func) {
  const double lo = func == "Acosh" ? 1.1 : 0.1;
  std::vector<T> v(kN);
  for (int i = 0; i < kN; ++i) {
    const double x = lo + 0.8 * (i + 0.5) / kN;
    if constexpr (std::is_floating_point_v<T>) {
      v[i] = static_cast<T>(x);
    } else {
      v[i] = T{static_cast<decltype(T::re)>(x), static_cast<decltype(T::re)>(1 - x)};
    }
  }
  return v;
}

// The calling thread's CPU time in nanoseconds: time the thread spends switched out, when other
// work shares the core, does not count.
double ThreadNanoseconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return 1e9 * static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec);
}

// Nanoseconds per element of `run`, which computes kN elements: the best of seven runs of at
// least 20 ms of CPU time each. The clock is read once per batch of calls, never per call: a clock
// read costs a fifth of the cheapest kernels' call and would set the scale, which is sAdd's time.
double NanosecondsPerElement(const std::function<void()>& run) {
  int64_t batch = 1;
  for (;;) {  // calls that take at least 50 us, so that the clock's share is below 0.1%
    const double start = ThreadNanoseconds();
    for (int64_t i = 0; i < batch; ++i) run();
    if (ThreadNanoseconds() - start >= 5e4) break;
    batch *= 2;
  }
  double best = 1e300;
  for (int rep = 0; rep < 7; ++rep) {
    int64_t calls = 0;
    const double start = ThreadNanoseconds();
    double now = start;
    do {
      for (int64_t i = 0; i < batch; ++i) run();
      calls += batch;
      now = ThreadNanoseconds();
    } while (now - start < 2e7);
    best = std::min(best, (now - start) / static_cast<double>(calls * kN));
  }
  return best;
}

template <class T>
std::function<void()> Timed(const std::string& f, void (*k)(int, const T*, T*)) {
  return [k, a = Arguments<T>(f), r = std::vector<T>(kN)]() mutable { k(kN, a.data(), r.data()); };
}
template <class T>
std::function<void()> Timed(const std::string& f, void (*k)(int, const T*, const T*, T*)) {
  return [k, a = Arguments<T>(f), r = std::vector<T>(kN)]() mutable {
    k(kN, a.data(), a.data(), r.data());
  };
}
template <class T>
std::function<void()> Timed(const std::string& f, void (*k)(int, const T*, T*, T*)) {
  return [k, a = Arguments<T>(f), r1 = std::vector<T>(kN), r2 = std::vector<T>(kN)]() mutable {
    k(kN, a.data(), r1.data(), r2.data());
  };
}
template <class T>
std::function<void()> Timed(const std::string& f, void (*k)(int, const T*, T, T*)) {
  return [k, a = Arguments<T>(f), r = std::vector<T>(kN)]() mutable {
    k(kN, a.data(), a[7], r.data());
  };
}
template <class T>
std::function<void()> Timed(const std::string& f,
                            void (*k)(int, const T*, const T*, T, T, T, T, T*)) {
  return [k, a = Arguments<T>(f), r = std::vector<T>(kN)]() mutable {
    k(kN, a.data(), a.data(), T(2), T(1), T(3), T(1), r.data());
  };
}
template <class A, class R>
requires(!std::is_same_v<A, R>) std::function<void()> Timed(const std::string& f,
                                                            void (*k)(int, const A*, R*)) {
  return [k, a = Arguments<A>(f), r = std::vector<R>(kN)]() mutable { k(kN, a.data(), r.data()); };
}
template <class K>
std::function<void()> Timed(const std::string&, K) {
  return nullptr;  // Pack and Unpack: fixed placeholders
}

struct Kernel {
  std::string function;  // "sExp"
  std::string suffix;
  const void* address;
  std::function<void()> run;
};

#define OXL_VEK_COST_KERNEL(t, F, form, suffix)                                            \
  Kernel{#t #F, #suffix, reinterpret_cast<const void*>(&oxl_vek_kernel_##t##F##_##suffix), \
         Timed(#F, &oxl_vek_kernel_##t##F##_##suffix)},
#define OXL_VEK_FUNCTION(t, F, form, slots, impl, cost_la, cost_ha, cost_ep) \
  OXL_VEK_KERNELS_##slots(OXL_VEK_COST_KERNEL, t, F, form)
std::vector<Kernel> Kernels() {
  return {
#include "oxl/vek_functions.def"
  };
}
#undef OXL_VEK_FUNCTION

#define OXL_VEK_FUNCTION(t, F, form, slots, impl, cost_la, cost_ha, cost_ep) \
  {#t #F,                                                                    \
   {reinterpret_cast<const void*>(oxl_vek_kernel_##t##F##_ttab[0]),          \
    reinterpret_cast<const void*>(oxl_vek_kernel_##t##F##_ttab[1]),          \
    reinterpret_cast<const void*>(oxl_vek_kernel_##t##F##_ttab[2])}},
const std::map<std::string, std::vector<const void*>> kSlots = {
#include "oxl/vek_functions.def"
};
#undef OXL_VEK_FUNCTION

bool Fixed(const std::string& function) {
  static const std::set<std::string> fixed = {"sAdd", "sMul", "sSub", "dAdd", "sExp", "dExp",
                                              "dPow", "zExp", "zLn",  "cSin", "zPow"};
  return fixed.count(function) != 0 || function.find("ack") != std::string::npos;
}

std::string Format(double cost) {
  char text[32];
  std::snprintf(text, sizeof text, cost < 10 ? "%.3f" : cost < 1000 ? "%.2f" : "%.1f", cost);
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: oxl_vek_costs <vek_functions.def>\n";
    return 2;
  }
  oxl_vek_kernel_SetMode(OXL_VEK_MODE_ERRMODE_IGNORE);

  std::map<const void*, double> ns;
  for (const Kernel& k : Kernels()) {
    if (k.run) ns[k.address] = NanosecondsPerElement(k.run);
  }
  const double scale = 0.321 / ns.at(reinterpret_cast<const void*>(&oxl_vek_kernel_sAdd_B3HAynn));

  std::ifstream in(argv[1]);
  std::stringstream text;
  text << in.rdbuf();
  in.close();
  const std::regex row(R"(^OXL_VEK_FUNCTION\((\w), (\w+), (\w+), (\w+), (\w+), .*\)$)");
  std::istringstream lines(text.str());
  std::ostringstream out;
  std::string line;
  while (std::getline(lines, line)) {
    std::smatch m;
    if (std::regex_match(line, m, row) && !Fixed(m[1].str() + m[2].str())) {
      const std::string function = m[1].str() + m[2].str();
      out << "OXL_VEK_FUNCTION(" << m[1] << ", " << m[2] << ", " << m[3] << ", " << m[4] << ", "
          << m[5];
      for (const void* kernel : kSlots.at(function)) out << ", " << Format(ns.at(kernel) * scale);
      out << ")\n";
    } else {
      out << line << "\n";
    }
  }
  std::ofstream(argv[1]) << out.str();
  std::cout << "sAdd: " << ns.at(reinterpret_cast<const void*>(&oxl_vek_kernel_sAdd_B3HAynn))
            << " ns per element; costs written to " << argv[1] << "\n";
  return 0;
}
