// The error functions of the four element types: one event per bad element, in a fixed order of
// steps: status, ignore test, record, callback, errno and message, store.
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "oxl/platform.h"
#include "vek/frame/frame.h"

namespace oxl::vek {
namespace {

constexpr int kNameCapacity = sizeof(oxl_vek_error_record::func_name);

// Elements enter the record widened to double and leave it rounded back to the element type.
// Real types leave the imaginary fields alone.
void Load(float x, double& re, double& /*im*/) { re = x; }
void Load(double x, double& re, double& /*im*/) { re = x; }
void Load(const oxl_complex8& x, double& re, double& im) {
  re = x.re;
  im = x.im;
}
void Load(const oxl_complex16& x, double& re, double& im) {
  re = x.re;
  im = x.im;
}

void Store(float& x, double re, double /*im*/) { x = static_cast<float>(re); }
void Store(double& x, double re, double /*im*/) { x = re; }
void Store(oxl_complex8& x, double re, double im) {
  x.re = static_cast<float>(re);
  x.im = static_cast<float>(im);
}
void Store(oxl_complex16& x, double re, double im) {
  x.re = re;
  x.im = im;
}

bool ReadsElements(int32_t status) {
  return status != vek_status_bad_size && status != vek_status_bad_pointer;
}

// A caller that cuts a vector into pieces sets the start of the whole vector once; a piece's
// index then moves by the piece's distance from that start. The distance is taken unsigned and
// the sum truncated to 32 bits.
int32_t WholeVectorIndex(int32_t index, const void* a1, std::size_t element_size) {
  const void* start = thread_block.vekInterfInputVecorPointer;
  if (start == nullptr) return index;
  const uint64_t distance = reinterpret_cast<uintptr_t>(a1) - reinterpret_cast<uintptr_t>(start);
  return static_cast<int32_t>(static_cast<uint32_t>(index) +
                              static_cast<uint32_t>(distance / element_size));
}

int ErrnoOf(int32_t status) {
  switch (status) {
    case vek_status_bad_pointer:
      return EACCES;
    case vek_status_bad_size:
      return EINVAL;
    case vek_status_ok:
      return 0;
    case vek_status_domain:
      return EDOM;
    case vek_status_singularity:
    case vek_status_overflow:
    case vek_status_underflow:
      return ERANGE;
    default:
      return EFAULT;
  }
}

constexpr int kStderr = 1;

// The callback bit with the reserved bits above it, and the bits that ask for an action after the
// callback (ignore among them, which then does nothing here).
constexpr uint64_t kCallbackBits = 0xF000;
constexpr uint64_t kActionBits = 0xF00;

// The status line, then for element statuses one line per value. Whether the function has a
// second argument or a second result is judged from the values: a second value equal to the
// first, or 0, counts as absent.
void Print(int32_t status, int32_t index, const char* name, const oxl_vek_error_record& record) {
  switch (status) {
    case vek_status_ok:
      return;
    case vek_status_bad_size:
      oxl_serv_print(kStderr, 735, 2, name, index);
      return;
    case vek_status_bad_pointer:
      oxl_serv_print(kStderr, 736, 1, name);
      return;
    case vek_status_domain:
    case vek_status_singularity:
    case vek_status_overflow:
    case vek_status_underflow:
      oxl_serv_print(kStderr, 736 + status, 1, name);
      break;
    default:
      oxl_serv_print(kStderr, 741, 1, name);
      break;
  }
  const bool two_args = !(record.arg2 == record.arg1 || record.arg2 == 0.0);
  const bool two_results = !(record.res2 == record.res1 || record.res2 == 0.0);
  // Messages 742..753 are four consecutive runs, one per form, each listing its values in the
  // order arg1, arg2, res1, res2.
  const int first = two_args ? (two_results ? 750 : 747) : (two_results ? 744 : 742);
  double values[4];
  int count = 0;
  values[count++] = record.arg1;
  if (two_args) values[count++] = record.arg2;
  values[count++] = record.res1;
  if (two_results) values[count++] = record.res2;
  for (int k = 0; k < count; ++k) oxl_serv_print(kStderr, first + k, 2, index, values[k]);
}

// A and R are the argument and result element types; they differ for Abs and Arg of complex
// arrays and for CIS.
template <class A, class R>
void Report(int32_t status, int32_t index, const A* a1, const A* a2, R* r1, R* r2,
            const char* name) {
  thread_block.vekErrStatus = status;
  if ((Mode() & OXL_VEK_MODE_ERRMODE_MASK) == OXL_VEK_MODE_ERRMODE_IGNORE) return;

  // Filled field by field rather than value-initialised: clearing the whole record took a third of
  // an event's time. Fields that the type or the status leaves unread hold 0.
  oxl_vek_error_record record;
  record.code = status;
  record.index = WholeVectorIndex(index, a1, sizeof(A));
  record.arg1 = record.arg2 = record.res1 = record.res2 = 0;
  record.arg1_im = record.arg2_im = record.res1_im = record.res2_im = 0;
  int32_t length = 0;
  while (name != nullptr && length < kNameCapacity && name[length] != '\0') {
    record.func_name[length] = name[length];
    ++length;
  }
  if (length < kNameCapacity) record.func_name[length] = '\0';
  record.func_name_len = length;

  const bool elements = ReadsElements(status);
  if (elements) {
    Load(a1[index], record.arg1, record.arg1_im);
    Load(a2[index], record.arg2, record.arg2_im);
    Load(r1[index], record.res1, record.res1_im);
    Load(r2[index], record.res2, record.res2_im);
  }
  // The record goes to the callback, which may change its fields; keep what the message needs.
  const int32_t whole_index = record.index;
  char printable_name[kNameCapacity + 1];
  std::memcpy(printable_name, record.func_name, length);
  printable_name[length] = '\0';

  // The mode is read afresh before each step: a callback may change it.
  const oxl_vek_error_callback callback = thread_block.vekErrorCallBack;
  if ((Mode() & kCallbackBits) != 0 && callback != nullptr && callback(&record) != 0) return;

  const uint64_t mode = Mode();
  if ((mode & kActionBits) != 0) {
    if ((mode & OXL_VEK_MODE_ERRMODE_ERRNO) != 0) errno = ErrnoOf(status);
    if ((mode & OXL_VEK_MODE_ERRMODE_STDERR) != 0) {
      Print(status, whole_index, printable_name, record);
    }
  }
  // r2 first, so that a function whose two result arrays are one keeps res1.
  if (elements) {
    Store(r2[index], record.res2, record.res2_im);
    Store(r1[index], record.res1, record.res1_im);
  }
}

}  // namespace

void Error(int32_t status, int32_t index, const oxl_complex8* a1, const oxl_complex8* a2,
           float* r1, float* r2, const char* name) {
  Report(status, index, a1, a2, r1, r2, name);
}
void Error(int32_t status, int32_t index, const oxl_complex16* a1, const oxl_complex16* a2,
           double* r1, double* r2, const char* name) {
  Report(status, index, a1, a2, r1, r2, name);
}
void Error(int32_t status, int32_t index, const float* a1, const float* a2, oxl_complex8* r1,
           oxl_complex8* r2, const char* name) {
  Report(status, index, a1, a2, r1, r2, name);
}
void Error(int32_t status, int32_t index, const double* a1, const double* a2, oxl_complex16* r1,
           oxl_complex16* r2, const char* name) {
  Report(status, index, a1, a2, r1, r2, name);
}

}  // namespace oxl::vek

extern "C" {

OXL_API void oxl_vek_kernel_sError(int32_t status, int32_t index, const float* a1, const float* a2,
                                   float* r1, float* r2, const char* name) {
  oxl::vek::Report(status, index, a1, a2, r1, r2, name);
}

OXL_API void oxl_vek_kernel_dError(int32_t status, int32_t index, const double* a1,
                                   const double* a2, double* r1, double* r2, const char* name) {
  oxl::vek::Report(status, index, a1, a2, r1, r2, name);
}

OXL_API void oxl_vek_kernel_cError(int32_t status, int32_t index, const oxl_complex8* a1,
                                   const oxl_complex8* a2, oxl_complex8* r1, oxl_complex8* r2,
                                   const char* name) {
  oxl::vek::Report(status, index, a1, a2, r1, r2, name);
}

OXL_API void oxl_vek_kernel_zError(int32_t status, int32_t index, const oxl_complex16* a1,
                                   const oxl_complex16* a2, oxl_complex16* r1, oxl_complex16* r2,
                                   const char* name) {
  oxl::vek::Report(status, index, a1, a2, r1, r2, name);
}

}  // extern "C"
