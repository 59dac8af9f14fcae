// The extension module _oxl: one submodule per subsystem, and the package's exception classes.
#include "common.h"

namespace oxl_python {

Exceptions& exceptions() {
  static Exceptions* made = new Exceptions();  // lives as long as the interpreter's references
  return *made;
}

void Raise(const py::object& kind, int status, const std::string& message) {
  py::object error = kind(message);
  error.attr("status") = status;
  PyErr_SetObject(kind.ptr(), error.ptr());
  throw py::error_already_set();
}

py::dtype DtypeOf(const py::object& requested) {
  if (requested.is_none()) return py::dtype::of<double>();
  py::dtype dtype = py::dtype::from_args(requested);
  if (!dtype.equal(py::dtype::of<double>()) && !dtype.equal(py::dtype::of<float>())) {
    throw py::type_error("dtype must be float64 or float32");
  }
  return dtype;
}

namespace {

py::object NewException(py::module_& m, const char* name, py::tuple bases, const char* doc) {
  py::object kind = py::reinterpret_steal<py::object>(
      PyErr_NewExceptionWithDoc((std::string("oxl.") + name).c_str(), doc, bases.ptr(), nullptr));
  if (!kind) throw py::error_already_set();
  kind.attr("status") = 0;
  kind.attr("__module__") = "oxl";
  m.attr(name) = kind;
  return kind;
}

}  // namespace

}  // namespace oxl_python

PYBIND11_MODULE(_oxl, m) {
  using namespace oxl_python;
  m.doc() = "Bindings of liboxl; use the package oxl, which re-exports them.";
  auto& e = exceptions();
  py::object builtins = py::module_::import("builtins");
  e.error = NewException(m, "Error", py::make_tuple(builtins.attr("Exception")),
                         "An oxl call failed; `status` holds the library's status.");
  e.vm_error = NewException(m, "VMError", py::make_tuple(e.error, builtins.attr("ArithmeticError")),
                            "A vector function reported a fault of an element (domain, "
                            "singularity, overflow, underflow) under oxl.vm.frame(...='raise').");
  e.vm_warning = NewException(m, "VMWarning", py::make_tuple(builtins.attr("RuntimeWarning")),
                              "A vector function reported a fault of an element.");
  e.random_error =
      NewException(m, "RandomError", py::make_tuple(e.error, builtins.attr("ValueError")),
                   "A stream or distribution call failed or got bad parameters.");
  e.stats_error =
      NewException(m, "StatsError", py::make_tuple(e.error, builtins.attr("ValueError")),
                   "A summary statistics call failed.");
  e.fit_error = NewException(m, "FitError", py::make_tuple(e.error, builtins.attr("ValueError")),
                             "A data fitting call failed.");
  py::module_ vm = m.def_submodule("vm", "Vector functions.");
  BindVm(vm);
  py::module_ random = m.def_submodule("random", "Random streams and distributions.");
  BindRandom(random);
  py::module_ stats = m.def_submodule("stats", "Summary statistics.");
  BindStats(stats);
  py::module_ fit = m.def_submodule("fit", "Data fitting.");
  BindFit(fit);
}
