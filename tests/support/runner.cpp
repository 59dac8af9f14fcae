#include "support/runner.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <complex>
#include <cstdio>
#include <numeric>
#include <thread>

#include "support/input_gen.h"
#include "support/targets.h"
#include "support/ulp_meter.h"

namespace oxl::test {
namespace {

// Results are set to this before a run, so that an element the kernel fails to write shows up as
// a NaN, with a payload that arithmetic on the usual inputs does not produce.
template <class T>
constexpr T kUnwritten = FromBits<T>(ToBits(std::numeric_limits<T>::quiet_NaN()) | 0x2bad);

// The seed of one group of cases.
uint64_t StreamSeed(uint64_t seed, uint64_t group) {
  return SplitMix64(seed ^ (group * 0x9E3779B97F4A7C15u)).Next();
}

// The cases of a sweep, `components` values each, case after case: special values, thresholds,
// extra cases, random cases, and the cases of each binade.
template <class T>
std::vector<T> BuildCases(int components, const Sweep<T>& sweep) {
  std::vector<T> v;
  const auto random = [&](SplitMix64& gen, int k) {
    return static_cast<size_t>(k) < sweep.ranges.size() ? RandomIn(gen, sweep.ranges[k])
                                                        : RandomPattern<T>(gen);
  };
  // A case with the first component given and the others drawn from `gen`.
  const auto add_first = [&](T first, SplitMix64& gen) {
    v.push_back(first);
    for (int k = 1; k < components; ++k) v.push_back(random(gen, k));
  };
  if (sweep.specials && components == 1) {
    for (const T x : SpecialValues<T>()) v.push_back(x);
    for (const T x : PowersOfTwo<T>()) v.push_back(x);
  } else if (sweep.specials) {
    // Every tuple of the set, the last component varying fastest.
    const std::vector<T> set = components == 2 ? SpecialValues<T>() : CoreSpecialValues<T>();
    std::vector<size_t> index(components, 0);
    for (int k = 0; k >= 0;) {
      for (const size_t i : index) v.push_back(set[i]);
      for (k = components - 1; k >= 0 && ++index[k] == set.size(); --k) index[k] = 0;
    }
  }
  SplitMix64 threshold_gen(StreamSeed(sweep.seed, 3));
  for (const T t : sweep.thresholds) {
    for (const T x : AroundThreshold(t, 4)) add_first(x, threshold_gen);
  }
  EXPECT_EQ(sweep.extra.size() % components, 0u) << "extra cases need " << components << " each";
  v.insert(v.end(), sweep.extra.begin(), sweep.extra.end() - sweep.extra.size() % components);
  SplitMix64 random_gen(StreamSeed(sweep.seed, 1));
  for (int64_t i = 0; i < sweep.random * components; ++i)
    v.push_back(random(random_gen, i % components));
  if (sweep.per_binade > 0) {
    const uint64_t seed = StreamSeed(sweep.seed, 2);
    SplitMix64 rest_gen(seed + 1);
    const Range<T> range = sweep.ranges.empty() ? WholeLine<T>() : sweep.ranges[0];
    for (const T x : PerBinade(sweep.per_binade, range, seed)) add_first(x, rest_gen);
  }
  return v;
}

// The arrays of one run: arguments laid out from the cases, results prefilled.
template <class T>
struct Arrays {
  std::vector<std::vector<T>> args;
  std::vector<std::vector<T>> results;
};

template <class T>
class Run {
 public:
  Run(const KernelShape& shape, const KernelCall<T>& call, const std::vector<T>& values)
      : shape_(shape),
        call_(call),
        values_(values),
        components_(std::accumulate(shape.arg_widths.begin(), shape.arg_widths.end(), 0)) {}

  int components() const { return components_; }
  int64_t size() const { return static_cast<int64_t>(values_.size()) / components_; }
  T at(int64_t i, int k) const { return values_[i * components_ + k]; }

  Arrays<T> Layout() const {
    Arrays<T> a;
    int component = 0;
    for (const int width : shape_.arg_widths) {
      std::vector<T>& arg = a.args.emplace_back(size() * width);
      for (int64_t i = 0; i < size(); ++i) {
        for (int k = 0; k < width; ++k) arg[i * width + k] = at(i, component + k);
      }
      component += width;
    }
    a.results.assign(shape_.results, std::vector<T>(size() * shape_.result_width, kUnwritten<T>));
    return a;
  }

  // Calls the kernel on [begin, begin + n) of every array.
  void Call(Arrays<T>& a, int64_t begin, int64_t n) const {
    std::vector<const T*> args;
    std::vector<T*> results;
    for (size_t j = 0; j < a.args.size(); ++j) {
      args.push_back(a.args[j].data() + begin * shape_.arg_widths[j]);
    }
    for (auto& r : a.results) results.push_back(r.data() + begin * shape_.result_width);
    call_(static_cast<int>(n), args.data(), results.data());
  }

  // Cases whose results differ in any bit; the first one is described in `first`. Where two or
  // more arguments are NaNs, which of them an operation passes on is left open: a NaN matches any.
  int64_t Mismatches(const Arrays<T>& want, const Arrays<T>& got, const std::string& what,
                     std::string& first) const {
    int64_t count = 0;
    for (int64_t i = 0; i < size(); ++i) {
      int nans = 0;
      for (int k = 0; k < components_; ++k) nans += std::isnan(at(i, k));
      bool same = true;
      for (int j = 0; j < shape_.results; ++j) {
        for (int k = 0; k < shape_.result_width; ++k) {
          const T x = want.results[j][i * shape_.result_width + k];
          const T y = got.results[j][i * shape_.result_width + k];
          same = same && (ToBits(x) == ToBits(y) || (nans >= 2 && std::isnan(x) && std::isnan(y)));
        }
      }
      if (same) continue;
      if (count++ == 0 && first.empty()) {
        first = what + " at " + Args(i) + ": " + Results(want, i) + " against " + Results(got, i);
      }
    }
    return count;
  }

  std::string Args(int64_t i) const {
    std::string text;
    int component = 0;
    for (const int width : shape_.arg_widths) {
      if (!text.empty()) text += ", ";
      text += Element(&values_[i * components_ + component], width);
      component += width;
    }
    return text;
  }

  std::string Results(const Arrays<T>& a, int64_t i) const {
    std::string text;
    for (const auto& r : a.results) {
      if (!text.empty()) text += ", ";
      text += Element(&r[i * shape_.result_width], shape_.result_width);
    }
    return text;
  }

 private:
  static std::string Element(const T* parts, int width) {
    if (width == 1) return FormatValue(parts[0]);
    std::string text = "(";  // not "(" + ...: GCC 12 warns of an overlap that cannot happen
    text += FormatValue(parts[0]) + ", " + FormatValue(parts[1]);
    return text + ")";
  }

  const KernelShape& shape_;
  const KernelCall<T>& call_;
  const std::vector<T>& values_;
  const int components_;
};

// The MPFR variables of one thread, set up once and reused for every case: the oracle's arguments
// and results, and the meter of the kernel's results against them.
template <class T>
class Judge {
 public:
  Judge(const KernelShape& shape, const ExactCall& exact, const Run<T>& run)
      : shape_(shape),
        exact_(exact),
        run_(run),
        in_(run.components()),
        out_(shape.results * shape.result_width) {
    for (auto& v : in_) in_ptr_.push_back(v.get());
    for (auto& v : out_) out_ptr_.push_back(v.get());
  }

  void Evaluate(int64_t i) {
    for (int k = 0; k < run_.components(); ++k) SetExact(in_[k].get(), run_.at(i, k));
    exact_(in_ptr_.data(), out_ptr_.data());
  }

  Error Measure(int64_t i, const Arrays<T>& got) {
    Evaluate(i);
    const int width = shape_.result_width;
    Error worst{0.0, std::numeric_limits<double>::infinity()};
    for (int j = 0; j < shape_.results; ++j) {
      const T* r = &got.results[j][i * width];
      const Error err = width == 1 ? meter_.Real(r[0], out_ptr_[j])
                                   : meter_.Complex(std::complex<T>(r[0], r[1]), out_ptr_[2 * j],
                                                    out_ptr_[2 * j + 1]);
      worst = {std::max(worst.ulp, err.ulp), std::min(worst.bits, err.bits)};
    }
    return worst;
  }

  // The exact results of the last case evaluated, each to 20 digits.
  std::string ExactText() const {
    std::string text;
    for (size_t j = 0; j < out_.size(); ++j) {
      char digits[64];
      mpfr_snprintf(digits, sizeof digits, "%.20Rg", out_[j].get());
      text += (j == 0 ? "" : (shape_.result_width == 2 && j % 2 == 1) ? " + i*" : ", ");
      text += digits;
    }
    return text;
  }

 private:
  const KernelShape& shape_;
  const ExactCall& exact_;
  const Run<T>& run_;
  OracleThreadScope scope_;  // constructed first: the variables below live inside it
  UlpMeter meter_;
  std::vector<MpReal> in_;
  std::vector<MpReal> out_;
  std::vector<mpfr_srcptr> in_ptr_;
  std::vector<mpfr_ptr> out_ptr_;
};

// The error of every case, on `threads` threads taking chunks of cases in turn.
template <class T>
std::vector<Error> Errors(const KernelShape& shape, const ExactCall& exact, const Run<T>& run,
                          const Arrays<T>& got, int threads) {
  constexpr int64_t kChunk = 64;
  std::vector<Error> errors(run.size());
  std::atomic<int64_t> next{0};
  auto work = [&] {
    Judge<T> judge(shape, exact, run);
    for (int64_t begin; (begin = next.fetch_add(kChunk)) < run.size();) {
      for (int64_t i = begin; i < std::min(begin + kChunk, run.size()); ++i) {
        errors[i] = judge.Measure(i, got);
      }
    }
  };
  // MPFR keeps its exponent range and caches per thread only when built thread-safe.
  const int count = mpfr_buildopt_tls_p() ? std::max(1, threads) : 1;
  std::vector<std::thread> pool;
  for (int t = 0; t < count; ++t) pool.emplace_back(work);
  for (auto& t : pool) t.join();
  return errors;
}

// Runs the kernel over the whole array, on every target if asked, and then in cut pieces if asked;
// returns the results of the first whole run and counts the mismatches into the report.
template <class T>
Arrays<T> RunKernel(const Run<T>& run, const Sweep<T>& sweep, Report& report) {
  const int64_t n = run.size();
  Arrays<T> whole = run.Layout();
  if (sweep.all_targets) {
    // The first target's results are the reference; each other target must give the same bits.
    bool first = true;
    ForEachTarget([&](const std::string& target) {
      Arrays<T> other = run.Layout();
      run.Call(first ? whole : other, 0, n);
      if (!first) {
        report.target_mismatches +=
            run.Mismatches(whole, other, "target " + target, report.first_mismatch);
      }
      first = false;
    });
  } else {
    run.Call(whole, 0, n);
  }
  if (!sweep.cuts.empty()) {
    Arrays<T> cut = run.Layout();
    size_t next = 0;
    for (int64_t begin = 0; begin < n;) {
      const int64_t length = std::min<int64_t>(std::max(1, sweep.cuts[next]), n - begin);
      next = (next + 1) % sweep.cuts.size();
      run.Call(cut, begin, length);
      begin += length;
    }
    report.cut_mismatches = run.Mismatches(whole, cut, "cut run", report.first_mismatch);
  }
  return whole;
}

std::string Number(const char* format, double x) {
  char text[32];
  std::snprintf(text, sizeof text, format, x);
  return text;
}

std::string Bits(double bits) { return std::isinf(bits) ? "exact" : Number("%.1f", bits); }

}  // namespace

template <class T>
Report Measure(const KernelShape& shape, const KernelCall<T>& call, const ExactCall& exact,
               const Sweep<T>& sweep) {
  const int components = std::accumulate(shape.arg_widths.begin(), shape.arg_widths.end(), 0);
  const std::vector<T> values = BuildCases(components, sweep);
  const Run<T> run(shape, call, values);
  Report report;
  report.cases = run.size();
  if (run.size() > INT_MAX) {
    ADD_FAILURE() << run.size() << " cases do not fit the kernel's count";
    return report;
  }
  const Arrays<T> got = RunKernel(run, sweep, report);
  // The first case of the largest error is the worst, whatever thread measured it.
  const std::vector<Error> errors = Errors(shape, exact, run, got, sweep.threads);
  int64_t worst = 0;
  for (int64_t i = 0; i < run.size(); ++i) {
    if (errors[i].ulp > errors[worst].ulp) worst = i;
    report.min_bits = std::min(report.min_bits, errors[i].bits);
  }
  if (run.size() > 0) {
    report.max_ulp = errors[worst].ulp;
    report.worst_args = run.Args(worst);
    report.worst_got = run.Results(got, worst);
    Judge<T> judge(shape, exact, run);
    judge.Evaluate(worst);
    report.worst_exact = judge.ExactText();
  }
  return report;
}

template Report Measure(const KernelShape&, const KernelCall<float>&, const ExactCall&,
                        const Sweep<float>&);
template Report Measure(const KernelShape&, const KernelCall<double>&, const ExactCall&,
                        const Sweep<double>&);

std::string Report::Describe() const {
  std::string text = std::to_string(cases) + " cases; max error " + Number("%.4g", max_ulp) +
                     " ulp; fewest correct bits " + Bits(min_bits);
  if (!worst_args.empty()) {
    text += "\n  worst at " + worst_args + ": got " + worst_got + ", exact " + worst_exact;
  }
  if (cut_mismatches > 0 || target_mismatches > 0) {
    text += "\n  mismatches: " + std::to_string(cut_mismatches) + " between whole and cut runs, " +
            std::to_string(target_mismatches) + " between SIMD targets; first " + first_mismatch;
  }
  return text;
}

std::string Report::TableRow(std::string_view function, Level level, double bound) const {
  static constexpr const char* kLevels[] = {"LA", "HA", "EP"};
  return "| " + std::string(function) + " | " + kLevels[static_cast<int>(level)] + " | " +
         Number("%.3g", max_ulp) + " | " + Number("%.0f", bound) + " | " + Bits(min_bits) + " | " +
         worst_args + " | " + std::to_string(cases) + " |";
}

testing::AssertionResult Meets(const Report& report, double ulp_bound) {
  if (report.max_ulp <= ulp_bound && report.cut_mismatches == 0 && report.target_mismatches == 0) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "bound " << ulp_bound << " ulp; " << report.Describe();
}

}  // namespace oxl::test
