// oxl.random: streams of the library's basic generators, and the distributions drawn from them
// into numpy arrays.
//
// The library checks no distribution parameter, so the checks that keep a call meaningful (a
// positive scale, a < b) are made here and raise RandomError with StatusBadArgs. A stream is used
// by one thread at a time in the library; a lock per stream keeps that true when Python threads
// share one, since draws run without the GIL.
#include <oxl/vrs.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <string>
#include <vector>

#include "common.h"

namespace oxl_python {
namespace {

const StatusText kStatuses[] = {
    {StatusBadMethod, "bad method"},
    {StatusBadArgs, "bad arguments"},
    {StatusNoMemory, "out of memory"},
    {StatusInvalidBrng, "no such generator"},
    {StatusNoLeapfrog, "the generator has no leapfrog"},
    {StatusNoSkipAhead, "the generator has no skip-ahead"},
    {StatusQrngPeriodElapsed, "the quasi-random period is exhausted"},
    {StatusBadLeapfrogCount, "bad leapfrog stream count"},
    {StatusBitsUnsupported, "the generator has no such bit output"},
    {StatusNoRdrand, "the processor has no RDRAND"},
    {StatusRdrandFailed, "RDRAND kept failing"},
    {StatusNoAes, "the processor has no AES instructions"},
};

void CheckStatus(int status, const char* what) {
  Check(status, exceptions().random_error, what, kStatuses);
}

[[noreturn]] void BadArgs(const std::string& what) {
  Raise(exceptions().random_error, StatusBadArgs, what + " (status -3)");
}

struct Generator {
  const char* name;
  int32_t id;
  int32_t members;
};
const Generator kGenerators[] = {
    {"mcg31", OXL_BRNG_MCG31, 1},
    {"r250", OXL_BRNG_R250, 1},
    {"mrg32k3a", OXL_BRNG_MRG32K3A, 1},
    {"mcg59", OXL_BRNG_MCG59, 1},
    {"wh", OXL_BRNG_WH, 273},
    {"sobol", OXL_BRNG_SOBOL, 1},
    {"niederreiter", OXL_BRNG_NIEDERREITER, 1},
    {"mt19937", OXL_BRNG_MT19937, 1},
    {"mt2203", OXL_BRNG_MT2203, 6024},
    {"sfmt19937", OXL_BRNG_SFMT19937, 1},
    {"nondeterm", OXL_BRNG_NONDETERM, 1},
    {"ars5", OXL_BRNG_ARS5, 1},
    {"philox4x32x10", OXL_BRNG_PHILOX4X32X10, 1},
};

// A seed as 32-bit words: an integer's words from the lowest (0 is one word 0), or a sequence of
// words.
std::vector<uint32_t> SeedWords(const py::object& seed) {
  std::vector<uint32_t> words;
  if (py::isinstance<py::int_>(seed)) {
    py::int_ value = seed;
    if (value < py::int_(0)) BadArgs("a seed is not negative");
    py::int_ mask(0xFFFFFFFFu);
    do {
      words.push_back(py::int_(value & mask).cast<uint32_t>());
      value = value.attr("__rshift__")(32);
    } while (value > py::int_(0));
    return words;
  }
  for (const py::handle word : seed) {
    py::int_ value = py::reinterpret_borrow<py::object>(word);
    if (value < py::int_(0) || value > py::int_(0xFFFFFFFFu)) {
      BadArgs("seed words are 32-bit unsigned integers");
    }
    words.push_back(value.cast<uint32_t>());
  }
  return words;
}

class Stream {
 public:
  explicit Stream(StreamRecord* record) : record_(record) {}
  Stream(const Stream&) = delete;
  ~Stream() {
    if (record_ != nullptr) __vrsDeleteStream(&record_);
  }

  // Runs `use(record)` under the stream's lock without the GIL.
  template <class Use>
  int32_t With(const Use& use) {
    py::gil_scoped_release release;
    std::lock_guard<std::mutex> lock(mutex_);
    return use(record_);
  }
  StreamRecord* record() { return record_; }

 private:
  StreamRecord* record_;
  std::mutex mutex_;
};

std::unique_ptr<Stream> NewStream(const std::string& name, const py::object& seed, int32_t member) {
  const Generator* generator = nullptr;
  for (const Generator& g : kGenerators) {
    if (name == g.name) generator = &g;
  }
  if (generator == nullptr) {
    std::string known;
    for (const Generator& g : kGenerators) known += std::string(" ") + g.name;
    Raise(exceptions().random_error, StatusInvalidBrng,
          "no generator '" + name + "'; known:" + known + " (status -1000)");
  }
  if (member < 0 || member >= generator->members) {
    BadArgs(std::string(generator->name) + " has members 0 to " +
            std::to_string(generator->members - 1));
  }
  const std::vector<uint32_t> words = SeedWords(seed);
  StreamRecord* record = nullptr;
  const int32_t status = __vrsNewStreamEx(&record, generator->id + member,
                                          static_cast<int32_t>(words.size()), words.data());
  auto stream = std::make_unique<Stream>(record);  // owns the record even when seeding failed
  CheckStatus(status, "new stream");
  return stream;
}

// ---- Drawing --------------------------------------------------------------------------------

std::vector<py::ssize_t> Shape(const py::object& size) {
  if (size.is_none()) return {};
  if (py::isinstance<py::int_>(size)) {
    const auto n = size.cast<py::ssize_t>();
    if (n < 0) BadArgs("size is negative");
    return {n};
  }
  std::vector<py::ssize_t> shape;
  for (const py::handle d : size) {
    shape.push_back(d.cast<py::ssize_t>());
    if (shape.back() < 0) BadArgs("size is negative");
  }
  return shape;
}

// An array of `size` filled by fill(record, n, pointer) in pieces the library can count; a
// size of None gives one number.
template <class T, class Fill>
py::object Draw(Stream& stream, const py::object& size, const Fill& fill, const char* what) {
  constexpr int64_t kPiece = int64_t{1} << 30;
  py::array_t<T> r(Shape(size));
  T* data = r.mutable_data();
  const int64_t count = r.size();
  const int32_t status = stream.With([&](StreamRecord* record) {
    for (int64_t offset = 0; offset < count; offset += kPiece) {
      const int32_t s =
          fill(record, static_cast<int32_t>(std::min(kPiece, count - offset)), data + offset);
      if (s != 0) return s;
    }
    return int32_t{0};
  });
  CheckStatus(status, what);
  if (size.is_none()) return r[py::tuple()];
  return r;
}

// The same for a law with single and double entries, chosen by dtype.
template <class Fill>
py::object DrawReal(Stream& stream, const py::object& size, const py::object& dtype,
                    const Fill& fill, const char* what) {
  if (DtypeOf(dtype).equal(py::dtype::of<float>())) {
    return Draw<float>(stream, size, fill, what);
  }
  return Draw<double>(stream, size, fill, what);
}

// Single and double entries of each law, by element type.
template <class T>
struct Laws;
template <>
struct Laws<double> {
  static constexpr auto uniform = _vrsdRngUniform;
  static constexpr auto gaussian = _vrsdRngGaussian;
  static constexpr auto exponential = _vrsdRngExponential;
  static constexpr auto laplace = _vrsdRngLaplace;
  static constexpr auto weibull = _vrsdRngWeibull;
  static constexpr auto cauchy = _vrsdRngCauchy;
  static constexpr auto rayleigh = _vrsdRngRayleigh;
  static constexpr auto lognormal = _vrsdRngLognormal;
  static constexpr auto gumbel = _vrsdRngGumbel;
  static constexpr auto gaussian_mv = _vrsdRngGaussianMV;
  static constexpr auto gamma = _vrsdRngGamma;
  static constexpr auto beta = _vrsdRngBeta;
};
template <>
struct Laws<float> {
  static constexpr auto uniform = _vrssRngUniform;
  static constexpr auto gaussian = _vrssRngGaussian;
  static constexpr auto exponential = _vrssRngExponential;
  static constexpr auto laplace = _vrssRngLaplace;
  static constexpr auto weibull = _vrssRngWeibull;
  static constexpr auto cauchy = _vrssRngCauchy;
  static constexpr auto rayleigh = _vrssRngRayleigh;
  static constexpr auto lognormal = _vrssRngLognormal;
  static constexpr auto gumbel = _vrssRngGumbel;
  static constexpr auto gaussian_mv = _vrssRngGaussianMV;
  static constexpr auto gamma = _vrssRngGamma;
  static constexpr auto beta = _vrssRngBeta;
};

void Positive(double value, const char* name) {
  if (!(value > 0.0) || !std::isfinite(value)) BadArgs(std::string(name) + " must be positive");
}
void Finite(double value, const char* name) {
  if (!std::isfinite(value)) BadArgs(std::string(name) + " must be finite");
}

int32_t GaussianMethod(const std::string& method) {
  if (method == "boxmuller") return OXL_RNG_GAUSSIAN_BOXMULLER;
  if (method == "boxmuller2") return OXL_RNG_GAUSSIAN_BOXMULLER2;
  if (method == "icdf") return OXL_RNG_GAUSSIAN_ICDF;
  Raise(exceptions().random_error, StatusBadMethod,
        "method must be 'boxmuller', 'boxmuller2' or 'icdf' (status -2)");
}

// A law of two parameters, location a and scale beta: exponential, laplace, cauchy, rayleigh,
// gumbel.
#define OXL_PY_LOCATION_SCALE(law)                                                        \
  [](Stream& s, double a, double beta, const py::object& size, const py::object& dtype) { \
    Finite(a, "a");                                                                       \
    Positive(beta, "beta");                                                               \
    return DrawReal(                                                                      \
        s, size, dtype,                                                                   \
        [&](StreamRecord* r, int32_t n, auto* out) {                                      \
          using T = std::remove_pointer_t<decltype(out)>;                                 \
          return Laws<T>::law(0, r, n, out, static_cast<T>(a), static_cast<T>(beta));     \
        },                                                                                \
        #law);                                                                            \
  }

constexpr const char* kLocationScaleDoc =
    "(a=0.0, beta=1.0, size=None, *, dtype=None): numbers of the law with displacement a and "
    "scale beta > 0; float64 unless dtype=float32.";

}  // namespace

void BindRandom(py::module_& m) {
  py::class_<Stream> stream(m, "Stream", R"(A random stream of one of the library's generators.

Stream(name, seed=1, member=0)

name: 'mcg31', 'r250', 'mrg32k3a', 'mcg59', 'wh' (members 0-272), 'sobol', 'niederreiter',
'mt19937', 'mt2203' (members 0-6023), 'sfmt19937', 'nondeterm', 'ars5', 'philox4x32x10'.
seed: an integer (its 32-bit words, lowest first) or a sequence of 32-bit words; for the
quasi-random generators the first word is the dimension.
member: which member of a family (wh, mt2203): independent streams for parallel work.

A stream's outputs depend only on the seed and on how many came before, not on how requests are
split. Draws release the GIL; a stream used from several threads serialises on its own lock.)");
  stream.def(py::init(&NewStream), py::arg("name"), py::arg("seed") = 1, py::arg("member") = 0)
      .def(
          "copy",
          [](Stream& s) {
            StreamRecord* copy = nullptr;
            const int32_t status =
                s.With([&](StreamRecord* record) { return __vrsCopyStream(&copy, record); });
            auto made = std::make_unique<Stream>(copy);
            CheckStatus(status, "copy");
            return made;
          },
          "An independent stream in the same state.")
      .def("__copy__", [](py::object self) { return self.attr("copy")(); })
      .def("__deepcopy__", [](py::object self, py::object) { return self.attr("copy")(); })
      .def(
          "skip_ahead",
          [](Stream& s, int64_t count) {
            if (count < 0) BadArgs("the skip count is not negative");
            CheckStatus(s.With([&](StreamRecord* r) { return __vrsSkipAheadStream(r, count); }),
                        "skip_ahead");
          },
          py::arg("count"), "Moves the stream on by `count` outputs, as if they were drawn.")
      .def(
          "leapfrog",
          [](Stream& s, int32_t k, int32_t nstreams) {
            if (nstreams < 1 || k < 0 || k >= nstreams) BadArgs("need 0 <= k < nstreams");
            CheckStatus(
                s.With([&](StreamRecord* r) { return __vrsLeapfrogStream(r, k, nstreams); }),
                "leapfrog");
          },
          py::arg("k"), py::arg("nstreams"),
          "Makes the stream give outputs k, k + nstreams, k + 2 nstreams, ... of its sequence.")
      .def_property_readonly(
          "brng", [](Stream& s) { return __vrsGetStreamStateBrng(s.record()); },
          "The generator id (row and member).")
      .def(
          "uniform",
          [](Stream& s, double a, double b, const py::object& size, const py::object& dtype,
             bool accurate) {
            Finite(a, "a");
            Finite(b, "b");
            if (!(a < b)) BadArgs("need a < b");
            const int32_t method = accurate ? OXL_RNG_METHOD_ACCURATE : 0;
            return DrawReal(
                s, size, dtype,
                [&](StreamRecord* r, int32_t n, auto* out) {
                  using T = std::remove_pointer_t<decltype(out)>;
                  return Laws<T>::uniform(method, r, n, out, static_cast<T>(a), static_cast<T>(b));
                },
                "uniform");
          },
          py::arg("a") = 0.0, py::arg("b") = 1.0, py::arg("size") = py::none(), py::kw_only(),
          py::arg("dtype") = py::none(), py::arg("accurate") = false,
          "uniform(a=0.0, b=1.0, size=None, *, dtype=None, accurate=False): uniform on [a, b); "
          "accurate=True clamps results that rounding puts outside [a, b].")
      .def(
          "integers",
          [](Stream& s, int32_t low, int32_t high, const py::object& size) {
            if (!(low < high)) BadArgs("need low < high");
            return Draw<int32_t>(
                s, size,
                [&](StreamRecord* r, int32_t n, int32_t* out) {
                  return _vrsiRngUniform(0, r, n, out, low, high);
                },
                "integers");
          },
          py::arg("low"), py::arg("high"), py::arg("size") = py::none(),
          "integers(low, high, size=None): int32 uniform on low .. high - 1.")
      .def(
          "bits",
          [](Stream& s, const py::object& size) -> py::object {
            BrngRecord properties{};
            CheckStatus(__vrsGetBrngProperties(s.record()->Brng, &properties), "bits");
            auto fill = [&](StreamRecord* r, int32_t n, auto* out) {
              return _vrsiRngUniformBits(0, r, n, reinterpret_cast<uint32_t*>(out));
            };
            if (properties.WordBytes == 8) return Draw<uint64_t>(s, size, fill, "bits");
            return Draw<uint32_t>(s, size, fill, "bits");
          },
          py::arg("size") = py::none(),
          "bits(size=None): the generator's raw words (uint32; uint64 for mcg59).")
      .def(
          "gaussian",
          [](Stream& s, double mean, double sigma, const py::object& size,
             const std::string& method, const py::object& dtype) {
            Finite(mean, "mean");
            Positive(sigma, "sigma");
            const int32_t m = GaussianMethod(method);
            return DrawReal(
                s, size, dtype,
                [&](StreamRecord* r, int32_t n, auto* out) {
                  using T = std::remove_pointer_t<decltype(out)>;
                  return Laws<T>::gaussian(m, r, n, out, static_cast<T>(mean),
                                           static_cast<T>(sigma));
                },
                "gaussian");
          },
          py::arg("mean") = 0.0, py::arg("sigma") = 1.0, py::arg("size") = py::none(),
          py::kw_only(), py::arg("method") = "boxmuller2", py::arg("dtype") = py::none(),
          "gaussian(mean=0.0, sigma=1.0, size=None, *, method='boxmuller2', dtype=None): normal "
          "numbers by 'boxmuller', 'boxmuller2' or 'icdf'.")
      .def("exponential", OXL_PY_LOCATION_SCALE(exponential), py::arg("a") = 0.0,
           py::arg("beta") = 1.0, py::arg("size") = py::none(), py::kw_only(),
           py::arg("dtype") = py::none(),
           (std::string("exponential") + kLocationScaleDoc + " a - beta ln(u).").c_str())
      .def("laplace", OXL_PY_LOCATION_SCALE(laplace), py::arg("a") = 0.0, py::arg("beta") = 1.0,
           py::arg("size") = py::none(), py::kw_only(), py::arg("dtype") = py::none(),
           (std::string("laplace") + kLocationScaleDoc).c_str())
      .def("cauchy", OXL_PY_LOCATION_SCALE(cauchy), py::arg("a") = 0.0, py::arg("beta") = 1.0,
           py::arg("size") = py::none(), py::kw_only(), py::arg("dtype") = py::none(),
           (std::string("cauchy") + kLocationScaleDoc).c_str())
      .def("rayleigh", OXL_PY_LOCATION_SCALE(rayleigh), py::arg("a") = 0.0, py::arg("beta") = 1.0,
           py::arg("size") = py::none(), py::kw_only(), py::arg("dtype") = py::none(),
           (std::string("rayleigh") + kLocationScaleDoc + " a + beta sqrt(-ln u).").c_str())
      .def("gumbel", OXL_PY_LOCATION_SCALE(gumbel), py::arg("a") = 0.0, py::arg("beta") = 1.0,
           py::arg("size") = py::none(), py::kw_only(), py::arg("dtype") = py::none(),
           (std::string("gumbel") + kLocationScaleDoc + " The smallest-extreme law.").c_str())
      .def(
          "weibull",
          [](Stream& s, double alpha, double a, double beta, const py::object& size,
             const py::object& dtype) {
            Positive(alpha, "alpha");
            Finite(a, "a");
            Positive(beta, "beta");
            return DrawReal(
                s, size, dtype,
                [&](StreamRecord* r, int32_t n, auto* out) {
                  using T = std::remove_pointer_t<decltype(out)>;
                  return Laws<T>::weibull(0, r, n, out, static_cast<T>(alpha), static_cast<T>(a),
                                          static_cast<T>(beta));
                },
                "weibull");
          },
          py::arg("alpha"), py::arg("a") = 0.0, py::arg("beta") = 1.0, py::arg("size") = py::none(),
          py::kw_only(), py::arg("dtype") = py::none(),
          "weibull(alpha, a=0.0, beta=1.0, size=None, *, dtype=None): a + beta (-ln u)^(1/alpha).")
      .def(
          "lognormal",
          [](Stream& s, double mean, double sigma, double b, double beta, const py::object& size,
             const std::string& method, const py::object& dtype) {
            Finite(mean, "mean");
            Positive(sigma, "sigma");
            Finite(b, "b");
            Positive(beta, "beta");
            if (method != "boxmuller2" && method != "icdf") {
              Raise(exceptions().random_error, StatusBadMethod,
                    "method must be 'boxmuller2' or 'icdf' (status -2)");
            }
            const int32_t m = method == "icdf" ? 1 : 0;
            return DrawReal(
                s, size, dtype,
                [&](StreamRecord* r, int32_t n, auto* out) {
                  using T = std::remove_pointer_t<decltype(out)>;
                  return Laws<T>::lognormal(m, r, n, out, static_cast<T>(mean),
                                            static_cast<T>(sigma), static_cast<T>(b),
                                            static_cast<T>(beta));
                },
                "lognormal");
          },
          py::arg("mean") = 0.0, py::arg("sigma") = 1.0, py::arg("b") = 0.0, py::arg("beta") = 1.0,
          py::arg("size") = py::none(), py::kw_only(), py::arg("method") = "boxmuller2",
          py::arg("dtype") = py::none(),
          "lognormal(mean=0.0, sigma=1.0, b=0.0, beta=1.0, size=None, *, method='boxmuller2', "
          "dtype=None): b + beta exp(g), g normal with that mean and sigma.")
      .def(
          "gaussian_mv",
          [](Stream& s, const py::object& mean_in, const py::object& factor_in,
             const py::object& size, const std::string& method) {
            auto mean = Contiguous<double>(mean_in);
            auto factor = Contiguous<double>(factor_in);
            if (mean.ndim() != 1 || mean.size() == 0) BadArgs("mean is a non-empty vector");
            const py::ssize_t d = mean.size();
            if (factor.ndim() != 2 || factor.shape(0) != d || factor.shape(1) != d) {
              BadArgs("factor is a d by d lower-triangular matrix, d = len(mean)");
            }
            const int32_t m = GaussianMethod(method);
            std::vector<py::ssize_t> shape = Shape(size);
            const bool single = size.is_none();
            shape.push_back(d);
            py::array_t<double> r(shape);
            const int64_t count = r.size() / d;
            if (count > (int64_t{1} << 30)) BadArgs("too many vectors for one call");
            const int32_t status = s.With([&](StreamRecord* record) {
              return Laws<double>::gaussian_mv(m, record, static_cast<int32_t>(count),
                                               r.mutable_data(), static_cast<int32_t>(d),
                                               MatrixFull, mean.data(), factor.data());
            });
            CheckStatus(status, "gaussian_mv");
            if (single) return py::object(r[py::int_(0)]);
            return py::object(r);
          },
          py::arg("mean"), py::arg("factor"), py::arg("size") = py::none(), py::kw_only(),
          py::arg("method") = "boxmuller2",
          "gaussian_mv(mean, factor, size=None, *, method='boxmuller2'): normal vectors mean + "
          "factor @ g, whose covariance is factor @ factor.T; factor = "
          "numpy.linalg.cholesky(cov). Returns shape size + (len(mean),).");
  // Gamma, Beta and the integer laws check their parameters in the library: a bad one comes back
  // as its status.
  stream
      .def(
          "gamma",
          [](Stream& s, double alpha, double a, double beta, const py::object& size,
             const py::object& dtype) {
            return DrawReal(
                s, size, dtype,
                [&](StreamRecord* r, int32_t n, auto* out) {
                  using T = std::remove_pointer_t<decltype(out)>;
                  return Laws<T>::gamma(0, r, n, out, static_cast<T>(alpha), static_cast<T>(a),
                                        static_cast<T>(beta));
                },
                "gamma");
          },
          py::arg("alpha"), py::arg("a") = 0.0, py::arg("beta") = 1.0, py::arg("size") = py::none(),
          py::kw_only(), py::arg("dtype") = py::none(),
          "gamma(alpha, a=0.0, beta=1.0, size=None, *, dtype=None): a + beta g, g of the Gamma law "
          "of shape alpha > 0.")
      .def(
          "beta",
          [](Stream& s, double p, double q, double a, double beta, const py::object& size,
             const py::object& dtype) {
            return DrawReal(
                s, size, dtype,
                [&](StreamRecord* r, int32_t n, auto* out) {
                  using T = std::remove_pointer_t<decltype(out)>;
                  return Laws<T>::beta(0, r, n, out, static_cast<T>(p), static_cast<T>(q),
                                       static_cast<T>(a), static_cast<T>(beta));
                },
                "beta");
          },
          py::arg("p"), py::arg("q"), py::arg("a") = 0.0, py::arg("beta") = 1.0,
          py::arg("size") = py::none(), py::kw_only(), py::arg("dtype") = py::none(),
          "beta(p, q, a=0.0, beta=1.0, size=None, *, dtype=None): a + beta x, x of the Beta law of "
          "shapes p, q > 0.")
      .def(
          "bernoulli",
          [](Stream& s, double p, const py::object& size) {
            return Draw<int32_t>(
                s, size,
                [&](StreamRecord* r, int32_t n, int32_t* out) {
                  return _vrsiRngBernoulli(0, r, n, out, p);
                },
                "bernoulli");
          },
          py::arg("p"), py::arg("size") = py::none(),
          "bernoulli(p, size=None): int32, 1 with probability p (rounded to float32).")
      .def(
          "geometric",
          [](Stream& s, double p, const py::object& size) {
            return Draw<int32_t>(
                s, size,
                [&](StreamRecord* r, int32_t n, int32_t* out) {
                  return _vrsiRngGeometric(0, r, n, out, p);
                },
                "geometric");
          },
          py::arg("p"), py::arg("size") = py::none(),
          "geometric(p, size=None): int32 failures before the first success (numpy counts the "
          "trials, one more).")
      .def(
          "binomial",
          [](Stream& s, int32_t ntrial, double p, const py::object& size) {
            return Draw<int32_t>(
                s, size,
                [&](StreamRecord* r, int32_t n, int32_t* out) {
                  return _vrsiRngBinomial(0, r, n, out, ntrial, p);
                },
                "binomial");
          },
          py::arg("ntrial"), py::arg("p"), py::arg("size") = py::none(),
          "binomial(ntrial, p, size=None): int32 successes in ntrial trials.")
      .def(
          "hypergeometric",
          [](Stream& s, int32_t l, int32_t k, int32_t m, const py::object& size) {
            return Draw<int32_t>(
                s, size,
                [&](StreamRecord* r, int32_t n, int32_t* out) {
                  return _vrsiRngHypergeometric(0, r, n, out, l, k, m);
                },
                "hypergeometric");
          },
          py::arg("l"), py::arg("s"), py::arg("m"), py::arg("size") = py::none(),
          "hypergeometric(l, s, m, size=None): int32 marked items among s drawn without "
          "replacement from a lot of l holding m marked.")
      .def(
          "negbinomial",
          [](Stream& s, double a, double p, const py::object& size) {
            return Draw<int32_t>(
                s, size,
                [&](StreamRecord* r, int32_t n, int32_t* out) {
                  return _vrsiRngNegbinomial(0, r, n, out, a, p);
                },
                "negbinomial");
          },
          py::arg("a"), py::arg("p"), py::arg("size") = py::none(),
          "negbinomial(a, p, size=None): int32 failures before the a-th success.")
      .def(
          "poisson",
          [](Stream& s, const py::object& lam, const py::object& size, const std::string& method) {
            if (method != "ptpe" && method != "poisnorm") {
              Raise(exceptions().random_error, StatusBadMethod,
                    "method must be 'ptpe' or 'poisnorm' (status -2)");
            }
            const int32_t m = method == "ptpe" ? OXL_RNG_POISSON_PTPE : OXL_RNG_POISSON_POISNORM;
            if (py::isinstance<py::float_>(lam) || py::isinstance<py::int_>(lam)) {
              const double mean = lam.cast<double>();
              return Draw<int32_t>(
                  s, size,
                  [&](StreamRecord* r, int32_t n, int32_t* out) {
                    return _vrsiRngPoisson(m, r, n, out, mean);
                  },
                  "poisson");
            }
            // One mean per output: the outputs take the means' shape.
            auto means = Contiguous<double>(lam);
            if (!size.is_none()) BadArgs("size goes with a single mean");
            std::vector<py::ssize_t> shape(means.shape(), means.shape() + means.ndim());
            py::array_t<int32_t> r(shape);
            if (r.size() > (int64_t{1} << 30)) BadArgs("too many means for one call");
            const int32_t status = s.With([&](StreamRecord* record) {
              return _vrsiRngPoissonV(0, record, static_cast<int32_t>(r.size()), r.mutable_data(),
                                      means.data());
            });
            CheckStatus(status, "poisson");
            return py::object(r);
          },
          py::arg("lam"), py::arg("size") = py::none(), py::kw_only(), py::arg("method") = "ptpe",
          "poisson(lam, size=None, *, method='ptpe'): int32 Poisson numbers of mean lam; an array "
          "of means gives one number each (method ignored).");
  m.attr("generators") = [] {
    py::list names;
    for (const Generator& g : kGenerators) names.append(g.name);
    return names;
  }();
}

#undef OXL_PY_LOCATION_SCALE

}  // namespace oxl_python
