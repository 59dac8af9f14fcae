// oxl.stats: moments, covariance and correlation of a numpy array in one call, and a progressive
// accumulator that takes blocks of observations.
//
// A two-dimensional array holds observations along `axis` and dimensions along the other: axis 0
// is the library's column storage (one observation vector after the other), axis 1 its row
// storage, so a C-contiguous array is read in place either way; a Fortran-ordered one is read as
// its C-ordered transpose with the axis flipped, and only other layouts are copied.
#include <oxl/omp_services.h>
#include <oxl/ss.h>

#include <array>
#include <string>
#include <vector>

#include "common.h"

namespace oxl_python {
namespace {

const StatusText kStatuses[] = {
    {OXL_SS_ERROR_PARAMETER_CODE, "bad parameter code"},
    {OXL_SS_ERROR_MEMORY, "out of memory"},
    {OXL_SS_ERROR_DIMENSION, "bad dimension count"},
    {OXL_SS_ERROR_OBSERVATIONS, "bad observation count"},
    {OXL_SS_ERROR_STORAGE, "bad storage"},
    {OXL_SS_ERROR_WEIGHTS, "bad weights"},
    {OXL_SS_ERROR_METHOD, "bad method"},
    {OXL_SS_ERROR_X, "no observations"},
    {OXL_SS_ERROR_ACCUM_WEIGHTS, "bad accumulated weights"},
};

void CheckStatus(int status, const char* what) {
  Check(status, exceptions().stats_error, what, kStatuses);
}

// The observations as the library reads them: p dimensions, n observations, a storage code.
template <class T>
struct Observations {
  py::array_t<T, py::array::c_style> x;
  int64_t p = 0, n = 0, storage = STORAGE_ROWS;
  py::object weights_holder;
  const T* weights = nullptr;

  Observations(const py::object& data, int axis, const py::object& weights_in) {
    py::array a = py::array::ensure(data);
    if (!a) throw py::type_error("x must be array-like");
    if (a.ndim() == 0 || a.ndim() > 2) throw py::value_error("x must be 1-D or 2-D");
    if (axis < -a.ndim() || axis >= a.ndim()) throw py::value_error("axis out of range");
    if (axis < 0) axis += a.ndim();
    if (a.ndim() == 2 && (a.flags() & py::array::f_style) && !(a.flags() & py::array::c_style)) {
      a = a.attr("T");
      axis = 1 - axis;
    }
    x = Contiguous<T>(a);
    if (x.ndim() == 1) {
      p = 1;
      n = x.shape(0);
    } else if (axis == 0) {
      n = x.shape(0);
      p = x.shape(1);
      storage = STORAGE_COLS;
    } else {
      p = x.shape(0);
      n = x.shape(1);
    }
    if (!weights_in.is_none()) {
      auto w = Contiguous<T>(weights_in);
      if (w.ndim() != 1 || w.size() != n) {
        throw py::value_error("weights must be a vector of one weight per observation");
      }
      weights = w.data();
      weights_holder = w;
    }
  }
};

// The arrays a task writes: the state of a progressive accumulation.
template <class T>
struct Results {
  int64_t p;
  std::vector<T> mean, raw2, raw3, raw4, c2, c3, c4, skewness, kurtosis, variation, cov;
  std::array<T, 2> accumulated{};

  explicit Results(int64_t dims)
      : p(dims),
        mean(p),
        raw2(p),
        raw3(p),
        raw4(p),
        c2(p),
        c3(p),
        c4(p),
        skewness(p),
        kurtosis(p),
        variation(p),
        cov(p * p) {}
};

template <class T>
struct Entries;
template <>
struct Entries<double> {
  static constexpr auto new_task = __vrsdSSNewTask;
  static constexpr auto edit_moments = __vrsdSSEditMoments;
  static constexpr auto edit_cov_cor = __vrsdSSEditCovCor;
  static constexpr auto edit = __vrsdSSEditTask;
  static constexpr auto basic = _vrsdSSBasic;
};
template <>
struct Entries<float> {
  static constexpr auto new_task = __vrssSSNewTask;
  static constexpr auto edit_moments = __vrssSSEditMoments;
  static constexpr auto edit_cov_cor = __vrssSSEditCovCor;
  static constexpr auto edit = __vrssSSEditTask;
  static constexpr auto basic = _vrssSSBasic;
};

constexpr uint64_t kMoments = EST_MEAN | EST_RAW2 | EST_RAW3 | EST_RAW4 | EST_CENTRAL2 |
                              EST_CENTRAL3 | EST_CENTRAL4 | EST_SKEWNESS | EST_KURTOSIS |
                              EST_VARIATION;

// One pass of the library's one-pass method over `obs`, continuing from what `r` holds.
template <class T>
void Accumulate(const Observations<T>& obs, Results<T>& r, uint64_t estimates) {
  if (obs.p != r.p) throw py::value_error("the block has another dimension count");
  int status;
  {
    py::gil_scoped_release release;
    using E = Entries<T>;
    SSTask* task = nullptr;
    status =
        E::new_task(&task, &obs.p, &obs.n, &obs.storage, obs.x.data(), obs.weights, nullptr, 1);
    const int64_t full = MATRIX_FULL;
    if (status == 0) {
      E::edit_moments(task, r.mean.data(), r.raw2.data(), r.raw3.data(), r.raw4.data(), r.c2.data(),
                      r.c3.data(), r.c4.data());
      E::edit_cov_cor(task, nullptr, r.cov.data(), &full, nullptr, nullptr);
      E::edit(task, SS_ED_SKEWNESS, r.skewness.data());
      E::edit(task, SS_ED_KURTOSIS, r.kurtosis.data());
      E::edit(task, SS_ED_VARIATION, r.variation.data());
      E::edit(task, SS_ED_ACCUM_WEIGHT, r.accumulated.data());
      status = E::basic(task, estimates, METHOD_ONE_PASS, oxl_services_omp_ss());
    }
    if (task != nullptr) __vrsSSDeleteTask(&task);
  }
  CheckStatus(status, "summary statistics");
}

template <class T>
py::array_t<T> Vector(const std::vector<T>& v) {
  return py::array_t<T>(static_cast<py::ssize_t>(v.size()), v.data());
}

template <class T>
py::array_t<T> Matrix(const std::vector<T>& v, int64_t p) {
  return py::array_t<T>({p, p}, v.data());
}

template <class T>
py::dict MomentsOf(const Results<T>& r) {
  py::dict d;
  d["mean"] = Vector(r.mean);
  d["variance"] = Vector(r.c2);
  d["skewness"] = Vector(r.skewness);
  d["kurtosis"] = Vector(r.kurtosis);
  d["variation"] = Vector(r.variation);
  d["raw2"] = Vector(r.raw2);
  d["raw3"] = Vector(r.raw3);
  d["raw4"] = Vector(r.raw4);
  d["central3"] = Vector(r.c3);
  d["central4"] = Vector(r.c4);
  return d;
}

bool IsFloat(const py::object& x, const py::object& dtype) {
  if (!dtype.is_none()) return DtypeOf(dtype).equal(py::dtype::of<float>());
  py::array a = py::array::ensure(x);
  return a && a.dtype().equal(py::dtype::of<float>());
}

template <class T>
py::object Moments(const py::object& x, int axis, const py::object& weights) {
  Observations<T> obs(x, axis, weights);
  Results<T> r(obs.p);
  Accumulate(obs, r, kMoments);
  return MomentsOf(r);
}

template <class T>
py::object Cov(const py::object& x, int axis, const py::object& weights, bool correlation) {
  Observations<T> obs(x, axis, weights);
  Results<T> r(obs.p);
  Accumulate(obs, r, EST_MEAN | EST_COV);
  py::array_t<T> cov = Matrix(r.cov, obs.p);
  if (!correlation) return cov;
  auto c = cov.template mutable_unchecked<2>();
  std::vector<T> scale(obs.p);
  for (int64_t i = 0; i < obs.p; ++i) scale[i] = T(1) / std::sqrt(c(i, i));
  for (int64_t i = 0; i < obs.p; ++i) {
    for (int64_t j = 0; j < obs.p; ++j) c(i, j) = i == j ? T(1) : c(i, j) * scale[i] * scale[j];
  }
  return cov;
}

// The progressive form: blocks of observations in, running estimates out.
class Accumulator {
 public:
  Accumulator(int64_t p, bool single) : single_(single), d_(p), s_(p) {
    if (p < 1) throw py::value_error("p must be at least 1");
  }
  void Update(const py::object& block, int axis, const py::object& weights) {
    if (single_) {
      Accumulate(Observations<float>(block, axis, weights), s_, kMoments | EST_COV);
    } else {
      Accumulate(Observations<double>(block, axis, weights), d_, kMoments | EST_COV);
    }
  }
  py::dict Moments() const { return single_ ? MomentsOf(s_) : MomentsOf(d_); }
  py::object Cov() const {
    return single_ ? py::object(Matrix(s_.cov, s_.p)) : py::object(Matrix(d_.cov, d_.p));
  }
  double Count() const { return single_ ? s_.accumulated[0] : d_.accumulated[0]; }
  int64_t p() const { return d_.p; }

 private:
  bool single_;
  Results<double> d_;
  Results<float> s_;
};

}  // namespace

void BindStats(py::module_& m) {
  m.def(
      "moments",
      [](const py::object& x, int axis, const py::object& weights, const py::object& dtype) {
        return IsFloat(x, dtype) ? Moments<float>(x, axis, weights)
                                 : Moments<double>(x, axis, weights);
      },
      py::arg("x"), py::arg("axis") = 0, py::arg("weights") = py::none(), py::kw_only(),
      py::arg("dtype") = py::none(),
      R"(moments(x, axis=0, weights=None, *, dtype=None) -> dict

Mean, variance, skewness, kurtosis (excess), variation and the raw and central moments of each
dimension of x, observations along `axis` (a 1-D x is one dimension). Each value is a vector of
one entry per dimension. float32 data computes in float32, all else in float64.)");
  struct MatrixEntry {
    const char* name;
    bool correlation;
    const char* doc;
  };
  for (const MatrixEntry& matrix :
       {MatrixEntry{
            "cov", false,
            "cov(x, axis=0, weights=None, *, dtype=None): the p by p covariance matrix of the "
            "dimensions of x, observations along `axis` (numpy.cov(x) is oxl.stats.cov(x, "
            "axis=1))."},
        MatrixEntry{"corr", true,
                    "corr(x, axis=0, weights=None, *, dtype=None): the correlation matrix, ones on "
                    "the diagonal (numpy.corrcoef(x) is oxl.stats.corr(x, axis=1))."}}) {
    const bool correlation = matrix.correlation;
    m.def(
        matrix.name,
        [correlation](const py::object& x, int axis, const py::object& weights,
                      const py::object& dtype) {
          return IsFloat(x, dtype) ? Cov<float>(x, axis, weights, correlation)
                                   : Cov<double>(x, axis, weights, correlation);
        },
        py::arg("x"), py::arg("axis") = 0, py::arg("weights") = py::none(), py::kw_only(),
        py::arg("dtype") = py::none(), matrix.doc);
  }

  py::class_<Accumulator>(m, "Accumulator", R"(Moments and covariance of data that come in blocks.

Accumulator(p, dtype=None)

update(block, axis=0, weights=None) adds a block of observations of p dimensions; the estimates
(moments(), cov(), count) are those of all observations so far, the same as one call over their
concatenation gives, to rounding. A first block of a single observation leaves NaN estimates
behind (its variance is 0/0), so begin with at least two.)")
      .def(py::init([](int64_t p, const py::object& dtype) {
             return Accumulator(p, DtypeOf(dtype).equal(py::dtype::of<float>()));
           }),
           py::arg("p"), py::arg("dtype") = py::none())
      .def("update", &Accumulator::Update, py::arg("block"), py::arg("axis") = 0,
           py::arg("weights") = py::none(), "Adds a block of observations.")
      .def("moments", &Accumulator::Moments, "The moments so far, as oxl.stats.moments gives them.")
      .def("cov", &Accumulator::Cov, "The covariance matrix so far.")
      .def_property_readonly("count", &Accumulator::Count,
                             "The accumulated weight (the observation count when unweighted).")
      .def_property_readonly("p", &Accumulator::p, "The dimension count.");
}

}  // namespace oxl_python
