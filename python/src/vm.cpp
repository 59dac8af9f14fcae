// oxl.vm: every vector function of the library's function list, one Python function per name
// over the four element types, made from oxl/vek_functions.def like the library's own tables.
//
// A call picks the row whose input type is the array's dtype, takes the kernel from the row's
// table (slot 0 LA, 1 HA, 2 EP), and runs it with the GIL released, in pieces of at most 2^30
// elements since kernels count in int. Faults of elements reach a callback of ours, which records
// them (and hands each to the Python callback of the frame, if any); after the call each status
// seen is ignored, warned about or raised as the frame says.
#include <oxl/vek_functions.h>

#include <algorithm>
#include <complex>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "common.h"

namespace oxl_python {
namespace {

enum class Form {
  UNARY,
  BINARY,
  POWX,
  TWO,
  LINEARFRAC,
  TO_REAL,
  FROM_REAL,
  PACKI,
  PACKV,
  PACKM,
  UNPACKI,
  UNPACKV,
  UNPACKM
};
enum Type { kS, kD, kC, kZ, kTypeCount };

constexpr Type TypeOf(char letter) {
  return letter == 's' ? kS : letter == 'd' ? kD : letter == 'c' ? kC : kZ;
}

struct Row {
  const char* func;
  Type type;
  Form form;
  const void* table;  // the row's oxl_vek_kernel_<t><Func>_ttab, read at each call
};

const Row kRows[] = {
#define OXL_VEK_FUNCTION(t, F, form, slots, impl, la, ha, ep) \
  {#F, TypeOf(#t[0]), Form::form, static_cast<const void*>(oxl_vek_kernel_##t##F##_ttab)},
#include "oxl/vek_functions.def"
#undef OXL_VEK_FUNCTION
};

// numpy's element type (N) and the kernels' (K) of each type letter, and of its real part.
template <Type T>
struct Elem;
template <>
struct Elem<kS> {
  using N = float;
  using K = float;
  using RealN = float;
  static constexpr char kLetter = 's';
};
template <>
struct Elem<kD> {
  using N = double;
  using K = double;
  using RealN = double;
  static constexpr char kLetter = 'd';
};
template <>
struct Elem<kC> {
  using N = std::complex<float>;
  using K = oxl_complex8;
  using RealN = float;
  static constexpr char kLetter = 'c';
};
template <>
struct Elem<kZ> {
  using N = std::complex<double>;
  using K = oxl_complex16;
  using RealN = double;
  static constexpr char kLetter = 'z';
};

// ---- The frame: what to do with each status, and the Python callback, per thread ----------

enum Action { kIgnore = 0, kWarn = 1, kRaise = 2 };
constexpr const char* kStatusNames[5] = {"", "domain", "singularity", "overflow", "underflow"};

struct Frame {
  // Indexed by status 1..4; numpy's defaults: warn on invalid, divide and overflow, not underflow.
  int action[5] = {kIgnore, kWarn, kWarn, kWarn, kIgnore};
  PyObject* callback = nullptr;  // a strong reference, or null
};
thread_local Frame frame;

// What the faults of one call left, filled by CollectFault while the kernel runs.
struct Report {
  uint32_t seen = 0;  // bit s for each status s in 1..4 reported
  int first_status[5] = {};
  int64_t first_index[5] = {};
  std::string name;
  int64_t offset = 0;  // index of the running piece's first element in the whole array
  std::optional<py::error_already_set> callback_error;
};
thread_local Report* report = nullptr;

py::object ComplexOrReal(double re, double im, bool is_complex) {
  if (is_complex) return py::cast(std::complex<double>(re, im));
  return py::float_(re);
}

int32_t CollectFault(oxl_vek_error_record* record) {
  Report* r = report;
  if (r == nullptr) return 0;
  const int32_t code = record->code;
  const int64_t index = r->offset + record->index;
  if (code >= 1 && code <= 4 && (r->seen & (1u << code)) == 0) {
    r->seen |= 1u << code;
    r->first_index[code] = index;
    const int32_t length = std::min<int32_t>(record->func_name_len, sizeof(record->func_name));
    r->name.assign(record->func_name, length > 0 ? length : 0);
  }
  if (frame.callback == nullptr || r->callback_error) return 0;
  py::gil_scoped_acquire gil;
  try {
    const bool is_complex = r->name.size() > 2 && (r->name[1] == 'c' || r->name[1] == 'z');
    py::dict fault;
    fault["status"] = code;
    fault["index"] = index;
    fault["function"] = r->name;
    fault["arg1"] = ComplexOrReal(record->arg1, record->arg1_im, is_complex);
    fault["arg2"] = ComplexOrReal(record->arg2, record->arg2_im, is_complex);
    fault["result"] = ComplexOrReal(record->res1, record->res1_im, is_complex);
    py::object replacement = py::reinterpret_borrow<py::object>(frame.callback)(fault);
    if (!replacement.is_none()) {
      const auto value = replacement.cast<std::complex<double>>();
      record->res1 = record->res2 = value.real();
      record->res1_im = record->res2_im = value.imag();
    }
  } catch (py::error_already_set& e) {
    r->callback_error.emplace(std::move(e));
    return 1;  // stop: the element keeps the kernel's result
  }
  return 0;
}

// Runs `piece(offset, n)` over [0, size) in pieces a kernel can count, without the GIL, with our
// fault collector as the thread's callback; then acts on what was reported.
template <class Piece>
void RunFramed(int64_t size, const Piece& piece) {
  constexpr int64_t kPiece = int64_t{1} << 30;
  Report r;
  {
    py::gil_scoped_release release;
    const uint32_t saved_mode = oxl_vek_kernel_SetMode(0);
    const oxl_vek_error_callback saved = oxl_vek_kernel_SetErrorCallBack(CollectFault);
    report = &r;
    for (int64_t offset = 0; offset < size && !r.callback_error; offset += kPiece) {
      r.offset = offset;
      piece(offset, static_cast<int>(std::min(kPiece, size - offset)));
    }
    report = nullptr;
    oxl_vek_kernel_SetErrorCallBack(saved);
    oxl_vek_kernel_SetMode(saved_mode & OXL_VEK_MODE_ERRMODE_MASK);
  }
  if (r.callback_error) throw std::move(*r.callback_error);
  // Statuses in the order of their first element, so that a raise names the first fault.
  int order[4] = {1, 2, 3, 4};
  std::sort(order, order + 4, [&](int x, int y) { return r.first_index[x] < r.first_index[y]; });
  for (int code : order) {
    if ((r.seen & (1u << code)) == 0 || frame.action[code] == kIgnore) continue;
    const std::string message = r.name + ": " + kStatusNames[code] + " at element " +
                                std::to_string(r.first_index[code]) + " (status " +
                                std::to_string(code) + ")";
    if (frame.action[code] == kRaise) Raise(exceptions().vm_error, code, message);
    if (PyErr_WarnEx(exceptions().vm_warning.ptr(), message.c_str(), 2) < 0) {
      throw py::error_already_set();
    }
  }
}

// ---- Arrays ---------------------------------------------------------------------------------

// The output: `out` itself when it is a writable C-contiguous array of the type and shape, else a
// new array, copied into `out` (with numpy's casting) after the call when `out` was given.
template <class N>
struct Output {
  py::array_t<N> array;
  py::object target;

  Output(const py::object& out, const std::vector<py::ssize_t>& shape) {
    if (!out.is_none()) {
      py::array given = out.cast<py::array>();
      if (std::vector<py::ssize_t>(given.shape(), given.shape() + given.ndim()) != shape) {
        throw py::value_error("out has the wrong shape");
      }
      if (given.writeable() && py::isinstance<py::array_t<N, py::array::c_style>>(given) &&
          (given.flags() & py::array::c_style)) {
        array = py::reinterpret_borrow<py::array_t<N>>(given);
        return;
      }
      if (!given.writeable()) throw py::value_error("out is read-only");
      target = given;
    }
    array = py::array_t<N>(shape);
  }
  N* data() { return array.mutable_data(); }
  py::object Finish() {
    if (!target) return std::move(array);
    target[py::ellipsis()] = array;
    return target;
  }
};

std::vector<py::ssize_t> ShapeOf(const py::array& a) {
  return std::vector<py::ssize_t>(a.shape(), a.shape() + a.ndim());
}

int Slot(const py::object& accuracy) {
  if (accuracy.is_none()) {
    const int32_t slot = oxl_vek_kernel_GetTTableIndex();
    return slot < 0 ? 1 : slot;
  }
  const std::string level = accuracy.cast<std::string>();
  if (level == "la" || level == "LA") return 0;
  if (level == "ha" || level == "HA") return 1;
  if (level == "ep" || level == "EP") return 2;
  throw py::value_error("accuracy must be 'ha', 'la' or 'ep'");
}

template <class K>
K ToKernel(const py::handle& value) {
  if constexpr (std::is_same_v<K, float> || std::is_same_v<K, double>) {
    return value.cast<K>();
  } else {
    const auto c = value.cast<std::complex<double>>();
    K k;
    k.re = static_cast<decltype(k.re)>(c.real());
    k.im = static_cast<decltype(k.im)>(c.imag());
    return k;
  }
}

template <class K, class N>
const K* In(const py::array_t<N, py::array::c_style>& a) {
  return reinterpret_cast<const K*>(a.data());
}
template <class K, class N>
K* Out(Output<N>& o) {
  return reinterpret_cast<K*>(o.data());
}

// Two inputs of one shape: numpy's broadcasting, each then one contiguous array.
template <class N>
std::pair<py::array_t<N, py::array::c_style>, py::array_t<N, py::array::c_style>> Pair(
    const py::object& a, const py::object& b) {
  py::tuple both = py::module_::import("numpy").attr("broadcast_arrays")(a, b);
  return {Contiguous<N>(both[0]), Contiguous<N>(both[1])};
}

// ---- Calls, one per form --------------------------------------------------------------------

template <Type T>
py::object CallOne(const Row& row, int slot, const py::object& a_in, const py::object& out) {
  using E = Elem<T>;
  if (row.form == Form::UNARY) {
    auto a = Contiguous<typename E::N>(a_in);
    Output<typename E::N> r(out, ShapeOf(a));
    using Kernel = void (*)(int, const typename E::K*, typename E::K*);
    const Kernel f = static_cast<const Kernel*>(row.table)[slot];
    const auto* pa = In<typename E::K>(a);
    auto* pr = Out<typename E::K>(r);
    RunFramed(a.size(), [&](int64_t off, int n) { f(n, pa + off, pr + off); });
    return r.Finish();
  }
  if (row.form == Form::TO_REAL) {
    auto a = Contiguous<typename E::N>(a_in);
    Output<typename E::RealN> r(out, ShapeOf(a));
    using Kernel = void (*)(int, const typename E::K*, typename E::RealN*);
    const Kernel f = static_cast<const Kernel*>(row.table)[slot];
    const auto* pa = In<typename E::K>(a);
    auto* pr = r.data();
    RunFramed(a.size(), [&](int64_t off, int n) { f(n, pa + off, pr + off); });
    return r.Finish();
  }
  auto a = Contiguous<typename E::RealN>(a_in);  // FROM_REAL
  Output<typename E::N> r(out, ShapeOf(a));
  using Kernel = void (*)(int, const typename E::RealN*, typename E::K*);
  const Kernel f = static_cast<const Kernel*>(row.table)[slot];
  const auto* pa = a.data();
  auto* pr = Out<typename E::K>(r);
  RunFramed(a.size(), [&](int64_t off, int n) { f(n, pa + off, pr + off); });
  return r.Finish();
}

template <Type T>
py::object CallBinary(const Row& row, int slot, const py::object& a_in, const py::object& b_in,
                      const py::object& out) {
  using E = Elem<T>;
  auto [a, b] = Pair<typename E::N>(a_in, b_in);
  Output<typename E::N> r(out, ShapeOf(a));
  using Kernel = void (*)(int, const typename E::K*, const typename E::K*, typename E::K*);
  const Kernel f = static_cast<const Kernel*>(row.table)[slot];
  const auto* pa = In<typename E::K>(a);
  const auto* pb = In<typename E::K>(b);
  auto* pr = Out<typename E::K>(r);
  RunFramed(a.size(), [&](int64_t off, int n) { f(n, pa + off, pb + off, pr + off); });
  return r.Finish();
}

template <Type T>
py::object CallPowx(const Row& row, int slot, const py::object& a_in, const py::object& b_in,
                    const py::object& out) {
  using E = Elem<T>;
  auto a = Contiguous<typename E::N>(a_in);
  const auto b = ToKernel<typename E::K>(b_in);
  Output<typename E::N> r(out, ShapeOf(a));
  using Kernel = void (*)(int, const typename E::K*, typename E::K, typename E::K*);
  const Kernel f = static_cast<const Kernel*>(row.table)[slot];
  const auto* pa = In<typename E::K>(a);
  auto* pr = Out<typename E::K>(r);
  RunFramed(a.size(), [&](int64_t off, int n) { f(n, pa + off, b, pr + off); });
  return r.Finish();
}

template <Type T>
py::object CallTwo(const Row& row, int slot, const py::object& a_in, const py::object& out) {
  using E = Elem<T>;
  auto a = Contiguous<typename E::N>(a_in);
  py::object out1 = py::none(), out2 = py::none();
  if (!out.is_none()) {
    py::tuple pair = out.cast<py::tuple>();
    if (pair.size() != 2) throw py::value_error("out must be a pair of arrays");
    out1 = pair[0];
    out2 = pair[1];
  }
  Output<typename E::N> r1(out1, ShapeOf(a)), r2(out2, ShapeOf(a));
  using Kernel = void (*)(int, const typename E::K*, typename E::K*, typename E::K*);
  const Kernel f = static_cast<const Kernel*>(row.table)[slot];
  const auto* pa = In<typename E::K>(a);
  auto* p1 = Out<typename E::K>(r1);
  auto* p2 = Out<typename E::K>(r2);
  RunFramed(a.size(), [&](int64_t off, int n) { f(n, pa + off, p1 + off, p2 + off); });
  return py::make_tuple(r1.Finish(), r2.Finish());
}

template <Type T>
py::object CallLinearFrac(const Row& row, int slot, const py::object& a_in, const py::object& b_in,
                          double scalea, double shifta, double scaleb, double shiftb,
                          const py::object& out) {
  using E = Elem<T>;
  using K = typename E::K;
  if constexpr (T == kC || T == kZ) {
    throw py::type_error("linear_frac has no complex form");  // the list has real rows only
  }
  auto [a, b] = Pair<typename E::N>(a_in, b_in);
  Output<typename E::N> r(out, ShapeOf(a));
  using Kernel = void (*)(int, const K*, const K*, K, K, K, K, K*);
  const Kernel f = static_cast<const Kernel*>(row.table)[slot];
  const auto* pa = In<K>(a);
  const auto* pb = In<K>(b);
  auto* pr = Out<K>(r);
  if constexpr (T == kS || T == kD) {
    RunFramed(a.size(), [&](int64_t off, int n) {
      f(n, pa + off, pb + off, static_cast<K>(scalea), static_cast<K>(shifta),
        static_cast<K>(scaleb), static_cast<K>(shiftb), pr + off);
    });
  }
  return r.Finish();
}

// ---- Pack and unpack: gathers and scatters by stride, index list or mask --------------------

py::array_t<int64_t, py::array::c_style> Indices(const py::object& index, int64_t limit,
                                                 const char* what) {
  auto i = Contiguous<int64_t>(index);
  if (i.ndim() != 1) throw py::value_error(std::string(what) + " must be one-dimensional");
  for (py::ssize_t k = 0; k < i.size(); ++k) {
    if (i.data()[k] < 0 || i.data()[k] >= limit) {
      throw py::index_error(std::string(what) + " out of range");
    }
  }
  return i;
}

py::array_t<int64_t, py::array::c_style> Mask(const py::object& mask, int64_t length,
                                              int64_t* set) {
  py::array as_int = py::module_::import("numpy").attr("asarray")(mask).attr("astype")("int64");
  auto m = Contiguous<int64_t>(as_int);
  if (m.ndim() != 1 || m.size() != length) {
    throw py::value_error("mask must be one-dimensional, as long as the masked array");
  }
  *set = 0;
  for (py::ssize_t k = 0; k < m.size(); ++k) *set += m.data()[k] != 0;
  return m;
}

template <class N>
py::array_t<N, py::array::c_style> Flat(const py::object& a) {
  auto flat = Contiguous<N>(a);
  if (flat.ndim() != 1) throw py::value_error("pack and unpack take one-dimensional arrays");
  return flat;
}

const Row* FindForm(const std::vector<const Row*>& rows, Type type, Form form) {
  for (const Row* row : rows) {
    if (row->type == type && row->form == form) return row;
  }
  return nullptr;
}

template <Type T>
py::object CallPack(const std::vector<const Row*>& rows, const py::object& a_in,
                    const py::object& incr, const py::object& index, const py::object& mask) {
  using E = Elem<T>;
  using K = typename E::K;
  auto a = Flat<typename E::N>(a_in);
  const int64_t length = a.size();
  const K* pa = In<K>(a);
  if (!index.is_none()) {
    auto i = Indices(index, length, "index");
    py::array_t<typename E::N> y(i.size());
    using Kernel = void (*)(int64_t, const K*, const int64_t*, K*, int);
    const Kernel f = static_cast<const Kernel*>(FindForm(rows, T, Form::PACKV)->table)[1];
    f(i.size(), pa, i.data(), reinterpret_cast<K*>(y.mutable_data()), 1);
    return y;
  }
  if (!mask.is_none()) {
    int64_t set = 0;
    auto m = Mask(mask, length, &set);
    py::array_t<typename E::N> y(set);
    using Kernel = void (*)(int64_t, const K*, const int64_t*, K*, int);
    const Kernel f = static_cast<const Kernel*>(FindForm(rows, T, Form::PACKM)->table)[1];
    f(length, pa, m.data(), reinterpret_cast<K*>(y.mutable_data()), 1);
    return y;
  }
  const int64_t step = incr.is_none() ? 1 : incr.cast<int64_t>();
  if (step <= 0) throw py::value_error("incr must be positive");
  const int64_t count = (length + step - 1) / step;
  py::array_t<typename E::N> y(count);
  using Kernel = void (*)(int64_t, const K*, int64_t, K*, int);
  const Kernel f = static_cast<const Kernel*>(FindForm(rows, T, Form::PACKI)->table)[1];
  f(count, pa, step, reinterpret_cast<K*>(y.mutable_data()), 1);
  return y;
}

template <Type T>
py::object CallUnpack(const std::vector<const Row*>& rows, const py::object& a_in,
                      const py::object& y_in, const py::object& incr, const py::object& index,
                      const py::object& mask) {
  using E = Elem<T>;
  using K = typename E::K;
  auto a = Flat<typename E::N>(a_in);
  py::array_t<typename E::N> y = y_in.cast<py::array_t<typename E::N>>();
  if (!py::isinstance<py::array_t<typename E::N, py::array::c_style>>(y_in) || y.ndim() != 1 ||
      !y.writeable() || !(y.flags() & py::array::c_style)) {
    throw py::value_error("y must be a writable one-dimensional contiguous array of a's dtype");
  }
  const K* pa = In<K>(a);
  K* py_ = reinterpret_cast<K*>(y.mutable_data());
  if (!index.is_none()) {
    auto i = Indices(index, y.size(), "index");
    if (i.size() > a.size()) throw py::value_error("more indices than elements of a");
    using Kernel = void (*)(int64_t, const K*, K*, const int64_t*, int);
    const Kernel f = static_cast<const Kernel*>(FindForm(rows, T, Form::UNPACKV)->table)[1];
    f(i.size(), pa, py_, i.data(), 1);
  } else if (!mask.is_none()) {
    int64_t set = 0;
    auto m = Mask(mask, y.size(), &set);
    if (set > a.size()) throw py::value_error("the mask selects more elements than a has");
    using Kernel = void (*)(int64_t, const K*, K*, const int64_t*, int);
    const Kernel f = static_cast<const Kernel*>(FindForm(rows, T, Form::UNPACKM)->table)[1];
    f(y.size(), pa, py_, m.data(), 1);
  } else {
    const int64_t step = incr.is_none() ? 1 : incr.cast<int64_t>();
    if (step <= 0) throw py::value_error("incr must be positive");
    if (a.size() > 0 && (a.size() - 1) * step >= y.size()) {
      throw py::value_error("y is too short for a at this stride");
    }
    using Kernel = void (*)(int64_t, const K*, K*, int64_t, int);
    const Kernel f = static_cast<const Kernel*>(FindForm(rows, T, Form::UNPACKI)->table)[1];
    f(a.size(), pa, py_, step, 1);
  }
  return y;
}

// ---- Dispatch by dtype ----------------------------------------------------------------------

// The dtype a call runs in: the inputs' common type, integers and booleans as float64, float16
// as float32.
py::dtype CallDtype(const py::object& a, const py::object& b = py::none()) {
  py::module_ np = py::module_::import("numpy");
  py::dtype dtype = b.is_none() ? np.attr("result_type")(a) : np.attr("result_type")(a, b);
  const char kind = dtype.kind();
  if (kind == 'b' || kind == 'i' || kind == 'u') return py::dtype::of<double>();
  if (kind == 'f' && dtype.itemsize() < 4) return py::dtype::of<float>();
  return dtype;
}

// The type letter whose input element is `dtype`: the real part's for the FROM_REAL rows.
std::optional<Type> InputType(const std::vector<const Row*>& rows, const py::dtype& dtype) {
  const py::dtype by_type[kTypeCount] = {py::dtype::of<float>(), py::dtype::of<double>(),
                                         py::dtype::of<std::complex<float>>(),
                                         py::dtype::of<std::complex<double>>()};
  for (const Row* row : rows) {
    const Type in = row->form != Form::FROM_REAL ? row->type : row->type == kC ? kS : kD;
    if (dtype.equal(by_type[in])) return row->type;
  }
  return std::nullopt;
}

struct Function {
  std::string name;  // the Python name
  std::vector<const Row*> rows;
};

const Row& RowFor(const Function& fn, const py::dtype& dtype) {
  const auto type = InputType(fn.rows, dtype);
  if (!type) {
    throw py::type_error("oxl.vm." + fn.name + " has no kernel for dtype " +
                         dtype.attr("name").cast<std::string>());
  }
  for (const Row* row : fn.rows) {
    if (row->type == *type) return *row;
  }
  throw py::type_error("unreachable");
}

template <template <Type> class Call, class... Args>
py::object ByType(Type type, Args&&... args) {
  switch (type) {
    case kS:
      return Call<kS>::Run(std::forward<Args>(args)...);
    case kD:
      return Call<kD>::Run(std::forward<Args>(args)...);
    case kC:
      return Call<kC>::Run(std::forward<Args>(args)...);
    default:
      return Call<kZ>::Run(std::forward<Args>(args)...);
  }
}

#define OXL_PY_CALL(Name, function)                    \
  template <Type T>                                    \
  struct Name {                                        \
    template <class... Args>                           \
    static py::object Run(Args&&... args) {            \
      return function<T>(std::forward<Args>(args)...); \
    }                                                  \
  };
OXL_PY_CALL(OneCall, CallOne)
OXL_PY_CALL(BinaryCall, CallBinary)
OXL_PY_CALL(PowxCall, CallPowx)
OXL_PY_CALL(TwoCall, CallTwo)
OXL_PY_CALL(LinearFracCall, CallLinearFrac)
OXL_PY_CALL(PackCall, CallPack)
OXL_PY_CALL(UnpackCall, CallUnpack)
#undef OXL_PY_CALL

// Python names: Exp -> exp, InvSqrt -> inv_sqrt, LGamma -> lgamma; the three forms of Pack and of
// Unpack are one function each, told apart by keyword.
std::string PythonName(const std::string& func) {
  if (func.rfind("Pack", 0) == 0) return "pack";
  if (func.rfind("Unpack", 0) == 0) return "unpack";
  std::string name;
  for (size_t i = 0; i < func.size(); ++i) {
    const char c = func[i];
    if (std::isupper(static_cast<unsigned char>(c)) && i > 0 &&
        std::islower(static_cast<unsigned char>(func[i - 1]))) {
      name += '_';
    }
    name += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return name;
}

std::string Doc(const Function& fn, const char* summary, const char* body) {
  std::string doc =
      std::string(fn.rows.front()->func) + ": " + summary + "\n\n" + body + "\n\nKernels: ";
  for (const Row* row : fn.rows) {
    doc += std::string("v") + "sdcz"[row->type] + row->func + " ";
  }
  return doc;
}

constexpr const char* kCommonDoc =
    "Arrays of float32, float64, complex64 or complex128 are read in place when C-contiguous\n"
    "and copied once otherwise; integers compute in float64. accuracy: 'ha' (at most 1 ulp),\n"
    "'la' (4 ulp), 'ep' (11 bits in float, 26 in double), or None for the thread's mode\n"
    "(oxl.vm.frame). out: an array of the result's shape, written in place when it is\n"
    "C-contiguous of the result's dtype. Faults of elements are warned about, raised or\n"
    "ignored as oxl.vm.frame says.";

void Define(py::module_& m, const Function& fn) {
  const Form form = fn.rows.front()->form;
  const char* name = fn.name.c_str();
  switch (form) {
    case Form::UNARY:
    case Form::TO_REAL:
    case Form::FROM_REAL:
      m.def(
          name,
          [fn](const py::object& a, const py::object& out, const py::object& accuracy) {
            const Row& row = RowFor(fn, CallDtype(a));
            return ByType<OneCall>(row.type, row, Slot(accuracy), a, out);
          },
          py::arg("a"), py::kw_only(), py::arg("out") = py::none(),
          py::arg("accuracy") = py::none(),
          Doc(fn, "Element-wise, one argument.", kCommonDoc).c_str());
      break;
    case Form::BINARY:
      m.def(
          name,
          [fn](const py::object& a, const py::object& b, const py::object& out,
               const py::object& accuracy) {
            const Row& row = RowFor(fn, CallDtype(a, b));
            return ByType<BinaryCall>(row.type, row, Slot(accuracy), a, b, out);
          },
          py::arg("a"), py::arg("b"), py::kw_only(), py::arg("out") = py::none(),
          py::arg("accuracy") = py::none(),
          Doc(fn, "Element-wise, two arguments (broadcast as numpy does).", kCommonDoc).c_str());
      break;
    case Form::POWX:
      m.def(
          name,
          [fn](const py::object& a, const py::object& b, const py::object& out,
               const py::object& accuracy) {
            const Row& row = RowFor(fn, CallDtype(a));
            return ByType<PowxCall>(row.type, row, Slot(accuracy), a, b, out);
          },
          py::arg("a"), py::arg("b"), py::kw_only(), py::arg("out") = py::none(),
          py::arg("accuracy") = py::none(),
          Doc(fn, "Element-wise power a**b with one scalar exponent b.", kCommonDoc).c_str());
      break;
    case Form::TWO:
      m.def(
          name,
          [fn](const py::object& a, const py::object& out, const py::object& accuracy) {
            const Row& row = RowFor(fn, CallDtype(a));
            return ByType<TwoCall>(row.type, row, Slot(accuracy), a, out);
          },
          py::arg("a"), py::kw_only(), py::arg("out") = py::none(),
          py::arg("accuracy") = py::none(),
          Doc(fn, "Element-wise, two results (a pair of arrays; out is a pair too).", kCommonDoc)
              .c_str());
      break;
    case Form::LINEARFRAC:
      m.def(
          name,
          [fn](const py::object& a, const py::object& b, double scalea, double shifta,
               double scaleb, double shiftb, const py::object& out, const py::object& accuracy) {
            const Row& row = RowFor(fn, CallDtype(a, b));
            return ByType<LinearFracCall>(row.type, row, Slot(accuracy), a, b, scalea, shifta,
                                          scaleb, shiftb, out);
          },
          py::arg("a"), py::arg("b"), py::arg("scalea"), py::arg("shifta"), py::arg("scaleb"),
          py::arg("shiftb"), py::kw_only(), py::arg("out") = py::none(),
          py::arg("accuracy") = py::none(),
          Doc(fn, "(scalea*a + shifta) / (scaleb*b + shiftb), element-wise.", kCommonDoc).c_str());
      break;
    case Form::PACKI:
    case Form::PACKV:
    case Form::PACKM:
      m.def(
          name,
          [fn](const py::object& a, const py::object& incr, const py::object& index,
               const py::object& mask) {
            const Row& row = RowFor(fn, CallDtype(a));
            return ByType<PackCall>(row.type, fn.rows, a, incr, index, mask);
          },
          py::arg("a"), py::kw_only(), py::arg("incr") = py::none(), py::arg("index") = py::none(),
          py::arg("mask") = py::none(),
          Doc(fn, "Gathers a one-dimensional array: a[::incr], a[index], or a[mask != 0].",
              "index is checked against a's length (IndexError).")
              .c_str());
      break;
    default:
      m.def(
          name,
          [fn](const py::object& a, const py::object& y, const py::object& incr,
               const py::object& index, const py::object& mask) {
            const Row& row = RowFor(fn, CallDtype(a));
            return ByType<UnpackCall>(row.type, fn.rows, a, y, incr, index, mask);
          },
          py::arg("a"), py::arg("y"), py::kw_only(), py::arg("incr") = py::none(),
          py::arg("index") = py::none(), py::arg("mask") = py::none(),
          Doc(fn,
              "Scatters a into y in place: y[::incr][:len(a)] = a, y[index] = a[:len(index)], "
              "or y[mask != 0] = a[:count].",
              "y must be a writable contiguous array of a's dtype; returns y.")
              .c_str());
  }
}

// ---- The frame's accessors, for oxl.vm.frame ------------------------------------------------

py::tuple GetFrame() {
  py::object callback =
      frame.callback ? py::reinterpret_borrow<py::object>(frame.callback) : py::none();
  return py::make_tuple(frame.action[1], frame.action[2], frame.action[3], frame.action[4],
                        callback);
}

void SetFrame(int domain, int singularity, int overflow, int underflow,
              const py::object& callback) {
  for (int action : {domain, singularity, overflow, underflow}) {
    if (action < kIgnore || action > kRaise) throw py::value_error("bad action");
  }
  frame.action[1] = domain;
  frame.action[2] = singularity;
  frame.action[3] = overflow;
  frame.action[4] = underflow;
  PyObject* previous = frame.callback;
  frame.callback = callback.is_none() ? nullptr : callback.inc_ref().ptr();
  Py_XDECREF(previous);
}

}  // namespace

void BindVm(py::module_& m) {
  std::vector<Function> functions;
  std::map<std::string, size_t> by_name;
  for (const Row& row : kRows) {
    const std::string name = PythonName(row.func);
    auto [it, added] = by_name.emplace(name, functions.size());
    if (added) functions.push_back(Function{name, {}});
    functions[it->second].rows.push_back(&row);
  }
  for (const Function& fn : functions) Define(m, fn);

  m.def("_get_frame", &GetFrame);
  m.def("_set_frame", &SetFrame);
  m.def(
      "get_mode", [] { return oxl_vek_kernel_GetMode(); },
      "The thread's mode word (accuracy 0xF, error handling 0xFF00, denormals 0x3C0000).");
  m.def(
      "set_mode", [](uint32_t mode) { return oxl_vek_kernel_SetMode(mode); }, py::arg("mode"),
      "Replaces each non-zero field of the thread's mode word; returns the previous word.");
  m.def(
      "get_status", [] { return oxl_vek_kernel_GetErrStatus(); },
      "The thread's last vector status (0 when none since it was cleared).");
  m.def(
      "clear_status", [] { return oxl_vek_kernel_ClearErrStatus(); },
      "Clears the thread's vector status; returns the previous one.");
  m.attr("_function_count") = py::int_(sizeof(kRows) / sizeof(kRows[0]));
}

}  // namespace oxl_python
