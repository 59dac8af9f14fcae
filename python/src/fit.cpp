// oxl.fit: splines through data, in the manner of scipy.interpolate: made from knots x and values
// y (values along axis 0, several functions side by side), called at sites for values or
// derivatives, and integrated between limits.
//
// One data fitting task per spline holds pointers into arrays the spline object owns: the knots,
// the values as function rows (the library's row storage), and the coefficients.
#include <oxl/df.h>
#include <oxl/omp_services.h>
#include <pybind11/stl.h>

#include <memory>
#include <string>
#include <vector>

#include "common.h"

namespace oxl_python {
namespace {

const StatusText kStatuses[] = {
    {DF_STATUS_NO_TASK, "no task"},
    {DF_STATUS_NO_MEMORY, "out of memory"},
    {DF_STATUS_BAD_METHOD, "bad method"},
    {DF_STATUS_BAD_PARTITION_SIZE, "too few knots"},
    {DF_STATUS_NO_PARTITION, "no knots"},
    {DF_STATUS_BAD_PARTITION_HINT, "bad partition hint"},
    {DF_STATUS_BAD_FUNCTION_COUNT, "bad function count"},
    {DF_STATUS_NO_VALUES, "no values"},
    {DF_STATUS_BAD_VALUES_HINT, "bad values hint"},
    {DF_STATUS_BAD_ORDER, "bad spline order"},
    {DF_STATUS_BAD_TYPE, "bad spline type"},
    {DF_STATUS_BAD_BOUNDARY_TYPE, "bad boundary condition"},
    {DF_STATUS_NO_BOUNDARY, "missing boundary values"},
    {DF_STATUS_NO_COEFFICIENTS, "no coefficients"},
    {DF_STATUS_PERIODIC_MISMATCH, "periodic data whose ends differ"},
    {DF_STATUS_NO_OUTPUT, "no output"},
};

void CheckStatus(int status, const char* what) {
  Check(status, exceptions().fit_error, what, kStatuses);
}

[[noreturn]] void BadInput(const std::string& what) {
  Raise(exceptions().fit_error, DF_STATUS_BAD_PARTITION_SIZE, what);
}

template <class T>
struct Entries;
template <>
struct Entries<double> {
  static constexpr auto new_task = oxl_df_kernel_dNewTask1D;
  static constexpr auto edit_spline = oxl_df_kernel_dEditPPSpline1D;
  static constexpr auto linear = oxl_df_kernel_dDFLinearSpline1D;
  static constexpr auto quadratic = oxl_df_kernel_dDFQuadraticSpline1D;
  static constexpr auto cubic = oxl_df_kernel_dDFNaturalCubicSpline1D;
  static constexpr auto interpolate = oxl_df_kernel_dDFInterpolate1D;
  static constexpr auto integrate = oxl_df_kernel_dDFIntegrate1D;
};
template <>
struct Entries<float> {
  static constexpr auto new_task = oxl_df_kernel_sNewTask1D;
  static constexpr auto edit_spline = oxl_df_kernel_sEditPPSpline1D;
  static constexpr auto linear = oxl_df_kernel_sDFLinearSpline1D;
  static constexpr auto quadratic = oxl_df_kernel_sDFQuadraticSpline1D;
  static constexpr auto cubic = oxl_df_kernel_sDFNaturalCubicSpline1D;
  static constexpr auto interpolate = oxl_df_kernel_sDFInterpolate1D;
  static constexpr auto integrate = oxl_df_kernel_sDFIntegrate1D;
};

// What the Python layer decided: the order, the boundary word and its values.
struct Kind {
  int64_t order;
  int64_t boundary;
  std::vector<double> boundary_values;
};

class SplineBase {
 public:
  virtual ~SplineBase() = default;
  virtual py::object Call(const py::object& sites, int nu) = 0;
  virtual py::object Integrate(const py::object& a, const py::object& b) = 0;
  virtual py::object Coefficients() = 0;
};

template <class T>
class Spline final : public SplineBase {
 public:
  Spline(const py::object& x_in, const py::object& y_in, const Kind& kind) : order_(kind.order) {
    x_ = Contiguous<T>(x_in);
    py::array y = py::array::ensure(y_in);
    if (!y || x_.ndim() != 1) BadInput("x must be a vector of knots");
    if (y.ndim() < 1 || y.ndim() > 2 || y.shape(0) != x_.size()) {
      BadInput("y must hold one value per knot along axis 0");
    }
    knots_ = x_.size();
    functions_ = y.ndim() == 2 ? y.shape(1) : 1;
    vector_ = y.ndim() == 1;
    if (knots_ < 2) BadInput("a spline needs at least two knots");
    if (functions_ < 1) BadInput("y has no functions");
    const T* x = x_.data();
    for (int64_t i = 1; i < knots_; ++i) {
      if (!(x[i - 1] < x[i])) BadInput("knots must be strictly increasing");
    }
    rows_ = Contiguous<T>(vector_ ? y : py::array(y.attr("T")));
    boundary_.assign(kind.boundary_values.begin(), kind.boundary_values.end());
    coefficients_.assign(functions_ * (knots_ - 1) * order_, T(0));
    using E = Entries<T>;
    int status;
    {
      py::gil_scoped_release release;
      status = E::new_task(&task_, knots_, x, PARTITION_NONUNIFORM, functions_, rows_.data(),
                           VALUES_ROWS, 0);
      if (status == 0) {
        const int64_t type =
            order_ == SPLINE_ORDER_CUBIC ? SPLINE_TYPE_NATURAL : SPLINE_TYPE_DEFAULT;
        status = E::edit_spline(task_, order_, type, kind.boundary,
                                boundary_.empty() ? nullptr : boundary_.data(), IC_NONE, nullptr,
                                coefficients_.data(), COEFFICIENTS_ROWS);
      }
      if (status == 0) {
        const auto build = order_ == SPLINE_ORDER_LINEAR      ? E::linear
                           : order_ == SPLINE_ORDER_QUADRATIC ? E::quadratic
                                                              : E::cubic;
        status = build(task_, 0, 0, oxl_services_omp_df());
      }
    }
    CheckStatus(status, "spline construction");
  }
  ~Spline() override {
    if (task_ != nullptr) oxl_df_kernel_DeleteTask(&task_);
  }

  py::object Call(const py::object& sites_in, int nu) override {
    if (nu < 0 || nu > 3) throw py::value_error("nu must be 0, 1, 2 or 3");
    auto sites = Contiguous<T>(sites_in);
    const int64_t nsite = sites.size();
    py::array_t<T> results({functions_, static_cast<int64_t>(nsite)});
    const int32_t dorder[4] = {nu == 0, nu == 1, nu == 2, nu == 3};
    int status = 0;
    if (nsite > 0) {
      py::gil_scoped_release release;
      status = Entries<T>::interpolate(
          task_, 0, 0, nsite, sites.data(), SITES_NO_HINT, nu + 1, dorder, nullptr,
          results.mutable_data(), INTERP_RESULTS_BY_FUNCTION, nullptr, nullptr, nullptr, nullptr,
          nullptr, nullptr, nullptr, nullptr, nullptr, oxl_services_omp_df());
    }
    CheckStatus(status, "interpolation");
    return Shaped(results, sites);
  }

  py::object Integrate(const py::object& a_in, const py::object& b_in) override {
    py::tuple limits = py::module_::import("numpy").attr("broadcast_arrays")(a_in, b_in);
    auto a = Contiguous<T>(limits[0]);
    auto b = Contiguous<T>(limits[1]);
    const int64_t nlim = a.size();
    py::array_t<T> results({functions_, static_cast<int64_t>(nlim)});
    int status = 0;
    if (nlim > 0) {
      py::gil_scoped_release release;
      status = Entries<T>::integrate(task_, 0, nlim, a.data(), SITES_NO_HINT, b.data(),
                                     SITES_NO_HINT, nullptr, nullptr, results.mutable_data(),
                                     INTEGR_RESULTS_BY_FUNCTION, nullptr, nullptr, nullptr, nullptr,
                                     nullptr, nullptr, nullptr, nullptr, nullptr);
    }
    CheckStatus(status, "integration");
    return Shaped(results, a);
  }

  py::object Coefficients() override {
    return py::array_t<T>({functions_, knots_ - 1, order_}, coefficients_.data());
  }

 private:
  // Results by function (functions_ by n) to the shape of the sites, with the functions last
  // when y had several, as scipy gives them.
  py::object Shaped(const py::array_t<T>& results, const py::array& like) const {
    py::list shape;
    for (py::ssize_t d = 0; d < like.ndim(); ++d) shape.append(like.shape(d));
    if (vector_) return results.attr("reshape")(py::tuple(shape));
    shape.append(functions_);
    return results.attr("T").attr("reshape")(py::tuple(shape));
  }

  int64_t order_;
  int64_t knots_ = 0, functions_ = 0;
  bool vector_ = true;
  py::array_t<T, py::array::c_style> x_, rows_;
  std::vector<T> boundary_, coefficients_;
  df_task* task_ = nullptr;
};

}  // namespace

void BindFit(py::module_& m) {
  py::class_<SplineBase>(m, "_Spline")
      .def(py::init([](const py::object& x, const py::object& y, int64_t order, int64_t boundary,
                       const std::vector<double>& values, bool single) {
             const Kind kind{order, boundary, values};
             return single ? std::unique_ptr<SplineBase>(new Spline<float>(x, y, kind))
                           : std::unique_ptr<SplineBase>(new Spline<double>(x, y, kind));
           }),
           py::arg("x"), py::arg("y"), py::arg("order"), py::arg("boundary"), py::arg("values"),
           py::arg("single"))
      .def("__call__", &SplineBase::Call, py::arg("x"), py::arg("nu") = 0)
      .def("integrate", &SplineBase::Integrate, py::arg("a"), py::arg("b"))
      .def_property_readonly("c", &SplineBase::Coefficients);
  m.attr("SPLINE_ORDER_LINEAR") = SPLINE_ORDER_LINEAR;
  m.attr("SPLINE_ORDER_QUADRATIC") = SPLINE_ORDER_QUADRATIC;
  m.attr("SPLINE_ORDER_CUBIC") = SPLINE_ORDER_CUBIC;
  m.attr("BC_NOT_SET") = BC_NOT_SET;
  m.attr("BC_NOT_A_KNOT") = BC_NOT_A_KNOT;
  m.attr("BC_FREE_END") = BC_FREE_END;
  m.attr("BC_LEFT_FIRST") = BC_LEFT_FIRST;
  m.attr("BC_RIGHT_FIRST") = BC_RIGHT_FIRST;
  m.attr("BC_LEFT_SECOND") = BC_LEFT_SECOND;
  m.attr("BC_RIGHT_SECOND") = BC_RIGHT_SECOND;
  m.attr("BC_PERIODIC") = BC_PERIODIC;
  m.attr("BC_QUADRATIC_VALUE") = BC_QUADRATIC_VALUE;
}

}  // namespace oxl_python
