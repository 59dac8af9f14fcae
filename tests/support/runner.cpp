#include "support/runner.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <complex>
#include <map>
#include <numeric>
#include <thread>

#include "support/cases.h"
#include "support/targets.h"
#include "support/ulp_meter.h"

namespace oxl::test {
namespace {

// Results are set to this before a run, so that an element the kernel fails to write shows up as
// a NaN, with a payload that arithmetic on the usual inputs does not produce.
template <class T>
constexpr T kUnwritten = FromBits<T>(ToBits(std::numeric_limits<T>::quiet_NaN()) | 0x2bad);

// The arrays of one run: arguments laid out from the cases, results prefilled.
template <class T>
struct Arrays {
  std::vector<std::vector<T>> args;
  std::vector<std::vector<T>> results;
};

template <class T>
class Run {
 public:
  Run(const KernelShape& shape, const KernelCall<T>& call, const Cases<T>& cases)
      : shape_(shape), call_(call), cases_(cases) {}

  Arrays<T> Layout() const {
    Arrays<T> a;
    int component = 0;
    for (const int width : shape_.arg_widths) {
      std::vector<T>& arg = a.args.emplace_back(cases_.size() * width);
      for (int64_t i = 0; i < cases_.size(); ++i) {
        for (int k = 0; k < width; ++k) arg[i * width + k] = cases_.at(i, component + k);
      }
      component += width;
    }
    a.results.assign(shape_.results,
                     std::vector<T>(cases_.size() * shape_.result_width, kUnwritten<T>));
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
    for (int64_t i = 0; i < cases_.size(); ++i) {
      int nans = 0;
      for (int k = 0; k < cases_.components; ++k) nans += std::isnan(cases_.at(i, k));
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
      text += Element(&cases_.values[i * cases_.components + component], width);
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
    std::string text = "(";
    text += FormatValue(parts[0]);
    text += ", ";
    text += FormatValue(parts[1]);
    return text + ")";
  }

  const KernelShape& shape_;
  const KernelCall<T>& call_;
  const Cases<T>& cases_;
};

// Evaluates the oracle and the meter for every case, on `threads` threads taking chunks in turn.
template <class T>
class Evaluation {
 public:
  Evaluation(const KernelShape& shape, const ExactCall& exact, const Cases<T>& cases,
             const Arrays<T>& got)
      : shape_(shape), exact_(exact), cases_(cases), got_(got) {}

  std::vector<Error> All(int threads) const {
    std::vector<Error> errors(cases_.size());
    std::atomic<int64_t> next{0};
    auto work = [&] {
      Worker w(*this);
      for (;;) {
        const int64_t begin = next.fetch_add(kChunk);
        if (begin >= cases_.size()) return;
        for (int64_t i = begin; i < std::min(begin + kChunk, cases_.size()); ++i) {
          errors[i] = w.Judge(i);
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

  // The exact results of case i, each to 20 digits.
  std::string ExactText(int64_t i) const {
    Worker w(*this);
    w.Evaluate(i);
    std::string text;
    for (size_t j = 0; j < w.out.size(); ++j) {
      char digits[64];
      mpfr_snprintf(digits, sizeof digits, "%.20Rg", w.out[j].get());
      text += (j == 0 ? "" : (shape_.result_width == 2 && j % 2 == 1) ? " + i*" : ", ");
      text += digits;
    }
    return text;
  }

 private:
  static constexpr int64_t kChunk = 64;

  // The MPFR variables of one thread, set up once and reused for every case.
  struct Worker {
    explicit Worker(const Evaluation& e)
        : e(e), in(e.cases_.components), out(e.shape_.results * e.shape_.result_width) {
      for (auto& v : in) in_ptr.push_back(v.get());
      for (auto& v : out) out_ptr.push_back(v.get());
    }

    void Evaluate(int64_t i) {
      for (int k = 0; k < e.cases_.components; ++k) SetExact(in[k].get(), e.cases_.at(i, k));
      e.exact_(in_ptr.data(), out_ptr.data());
    }

    Error Judge(int64_t i) {
      Evaluate(i);
      const int width = e.shape_.result_width;
      Error worst{0.0, std::numeric_limits<double>::infinity()};
      for (int j = 0; j < e.shape_.results; ++j) {
        const T* got = &e.got_.results[j][i * width];
        const Error err = width == 1 ? meter.Real(got[0], out_ptr[j])
                                     : meter.Complex(std::complex<T>(got[0], got[1]),
                                                     out_ptr[2 * j], out_ptr[2 * j + 1]);
        worst = {std::max(worst.ulp, err.ulp), std::min(worst.bits, err.bits)};
      }
      return worst;
    }

    const Evaluation& e;
    OracleThreadScope scope;  // constructed first: the variables below live inside it
    UlpMeter meter;
    std::vector<MpReal> in;
    std::vector<MpReal> out;
    std::vector<mpfr_srcptr> in_ptr;
    std::vector<mpfr_ptr> out_ptr;
  };

  const KernelShape& shape_;
  const ExactCall& exact_;
  const Cases<T>& cases_;
  const Arrays<T>& got_;
};

// Binade of the first component, as a key in increasing order of the values and a name.
template <class T>
int64_t BinadeKey(T x) {
  if (std::isnan(x)) return INT64_MAX;
  return Ordinal(x) >> FloatTraits<T>::kMantissaBits;
}

template <class T>
std::string BinadeName(T x) {
  constexpr int kInfField = (1 << FloatTraits<T>::kExponentBits) - 1;
  if (std::isnan(x)) return "nan";
  const std::string sign = std::signbit(x) ? "-" : "+";
  const int field = ExponentField(x);
  if (field == kInfField) return sign + "inf";
  if (field == 0) return sign + "0 and subnormals";
  return sign + "2^" + std::to_string(field - (std::numeric_limits<T>::max_exponent - 1));
}

// Runs the kernel over the whole array, on every target if asked, and then in cut pieces if asked;
// returns the results of the first whole run and counts the mismatches into the report.
template <class T>
Arrays<T> RunKernel(const Run<T>& run, int64_t n, const Sweep<T>& sweep, Report& report) {
  Arrays<T> whole = run.Layout();
  if (sweep.all_targets) {
    // The first target's results are the reference; each other target must give the same bits.
    bool first = true;
    ForEachTarget([&](const std::string& target) {
      if (first) {
        run.Call(whole, 0, n);
        first = false;
        return;
      }
      Arrays<T> other = run.Layout();
      run.Call(other, 0, n);
      report.target_mismatches +=
          run.Mismatches(whole, other, "target " + target, report.first_mismatch);
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

// Merges the errors in case order, so that the first case of the largest error is the worst
// whatever thread measured it; returns that case.
template <class T>
int64_t Merge(const std::vector<Error>& errors, const Cases<T>& cases, const Run<T>& run,
              bool by_binade, Report& report) {
  int64_t worst_case = 0;
  std::map<int64_t, std::pair<BinadeStats, int64_t>> binades;  // stats, worst case
  for (int64_t i = 0; i < cases.size(); ++i) {
    const Error& e = errors[i];
    if (i == 0 || e.ulp > report.max_ulp) {
      report.max_ulp = e.ulp;
      worst_case = i;
    }
    report.min_bits = std::min(report.min_bits, e.bits);
    if (!by_binade) continue;
    const T x = cases.at(i, 0);
    auto [it, fresh] = binades.try_emplace(BinadeKey(x));
    auto& [stats, worst] = it->second;
    if (fresh) stats.binade = BinadeName(x);
    if (stats.cases++ == 0 || e.ulp > stats.max_ulp) {
      stats.max_ulp = e.ulp;
      worst = i;
    }
  }
  for (auto& [key, entry] : binades) {
    entry.first.worst_args = run.Args(entry.second);
    report.binades.push_back(std::move(entry.first));
  }
  return worst_case;
}

}  // namespace

template <class T>
Report Measure(const KernelShape& shape, const KernelCall<T>& call, const ExactCall& exact,
               const Sweep<T>& sweep) {
  const int components = std::accumulate(shape.arg_widths.begin(), shape.arg_widths.end(), 0);
  const Cases<T> cases = BuildCases(components, sweep);
  const int64_t n = cases.size();
  Report report;
  report.cases = n;
  if (n > INT_MAX) {
    ADD_FAILURE() << n << " cases do not fit the kernel's count";
    return report;
  }
  const Run<T> run(shape, call, cases);
  const Arrays<T> got = RunKernel(run, n, sweep, report);
  const Evaluation<T> evaluation(shape, exact, cases, got);
  const int64_t worst = Merge(evaluation.All(sweep.threads), cases, run, sweep.by_binade, report);
  if (n > 0) {
    report.worst_args = run.Args(worst);
    report.worst_source = cases.labels[cases.source[worst]];
    report.worst_got = run.Results(got, worst);
    report.worst_exact = evaluation.ExactText(worst);
  }
  return report;
}

template Report Measure(const KernelShape&, const KernelCall<float>&, const ExactCall&,
                        const Sweep<float>&);
template Report Measure(const KernelShape&, const KernelCall<double>&, const ExactCall&,
                        const Sweep<double>&);

}  // namespace oxl::test
