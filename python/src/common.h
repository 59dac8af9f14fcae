// Pieces shared by the bindings of every subsystem: the exception classes, raising a library
// status as one of them, and numpy arrays in the layouts the C entries take.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <string>

namespace oxl_python {

namespace py = pybind11;

// The package's exceptions, made once at import. Every one carries the library's status in
// `.status`: oxl.Error is the base; the subsystem classes also derive from the built-in class a
// numpy user would catch (ArithmeticError for element faults, ValueError for bad arguments).
struct Exceptions {
  py::object error, vm_error, vm_warning, random_error, stats_error, fit_error;
};
Exceptions& exceptions();

// Raises `kind(message)` with `.status` set.
[[noreturn]] void Raise(const py::object& kind, int status, const std::string& message);

// A status and what it means, for the message of a raised status.
struct StatusText {
  int status;
  const char* text;
};
// Raises `kind` for a non-zero status with "<what>: <text> (status <s>)", the text from `table`.
template <size_t N>
void Check(int status, const py::object& kind, const char* what, const StatusText (&table)[N]) {
  if (status == 0) return;
  const char* text = "unexpected status";
  for (const auto& row : table) {
    if (row.status == status) text = row.text;
  }
  Raise(kind, status, std::string(what) + ": " + text + " (status " + std::to_string(status) + ")");
}

// A C-contiguous array of T that reads `source` without a copy when its layout and type allow,
// and otherwise is one converted copy.
template <class T>
py::array_t<T, py::array::c_style> Contiguous(const py::handle& source) {
  return py::array_t<T, py::array::c_style | py::array::forcecast>::ensure(source);
}

// The numpy dtype names the bindings choose among.
py::dtype DtypeOf(const py::object& requested);  // None or a dtype-like: float64 or float32

void BindVm(py::module_& m);
void BindRandom(py::module_& m);
void BindStats(py::module_& m);
void BindFit(py::module_& m);

}  // namespace oxl_python
