// Cell search frames, the search entry and the exported span kernels.
#include "df/search.h"

#include <cmath>

namespace oxl::df {
namespace {

template <int32_t M, class T>
constexpr SpanKernel<T> kFormsOf[3] = {
    &search::Kernel<M, T, int32_t, int32_t>,
    &search::Kernel<M, T, int64_t, int64_t>,
    &search::Kernel<M, T, int64_t, int32_t>,
};

template <class T>
constexpr SpanKernel<T> kFormsOf<kHybrid, T>[3] = {
    &HybridSearchSpan<T, kForm32>,
    &HybridSearchSpan<T, kForm64>,
    &HybridSearchSpan<T, kForm64Pack>,
};

template <class T>
constexpr const SpanKernel<T>* kSearchKernels[kMethodCount] = {
    kFormsOf<kUniform, T>, kFormsOf<kQuasiUniform, T>, kFormsOf<kSorted, T>,     kFormsOf<kPeak, T>,
    kFormsOf<kHybrid, T>,  kFormsOf<kUserDef, T>,      kFormsOf<kUniUserDef, T>,
};

// Whether a frame goes parallel, by method, site count, knot count and threads.
bool GoesParallel(int32_t method, int64_t nsite, int64_t n, int32_t t) {
  if (t <= 1) return false;
  switch (method) {
    case kUniform:
      return nsite > 5000;
    case kSorted:
      return nsite > 3000;
    case kPeak:
      return nsite > 1200 || n > 1200;
    case kHybrid:
      return nsite > 2000 || (nsite > 600 && t <= 4) || (nsite > 300 && t <= 2);
    case kQuasiUniform:
      return nsite > 300 || (nsite > 150 && (n >= 600 || (n >= 40 && t >= 4)));
    default:
      return false;
  }
}

template <class T>
struct FrameContext {
  SpanKernel<T> kernel;
  SearchSpan<T> span;
  int64_t share;
  std::size_t cell_bytes;
  int32_t method;
};

// Runs the span starting at `start` with its own cursor.
template <class T>
int32_t RunShare(const FrameContext<T>& c, int64_t start, int64_t count) {
  SearchSpan<T> span = c.span;
  int64_t cursor64 = StartCursor(c.method, span.partition, span.partition_size, span.site[start]);
  int32_t cursor32 = static_cast<int32_t>(cursor64);
  span.cursor = c.cell_bytes == 4 ? static_cast<void*>(&cursor32) : static_cast<void*>(&cursor64);
  span.nsite = count;
  span.site += start;
  span.cells = static_cast<char*>(span.cells) + start * static_cast<int64_t>(c.cell_bytes);
  return c.kernel(span);
}

template <class T>
int32_t ShareWorker(int64_t item, int32_t /*thread*/, void* /*reserved*/, void* context) {
  const auto& c = *static_cast<const FrameContext<T>*>(context);
  return RunShare(c, item * c.share, c.share);
}

// Partitions of 16 knots or fewer: a plain scan beats the table.
template <class T, class Cell>
void PlainScan(const T* x, int64_t n, int64_t nsite, const T* site, Cell* cells) {
  for (int64_t i = 0; i < nsite; ++i) {
    const T s = site[i];
    int64_t cell = n;
    if (s == x[n - 1]) {
      cell = n - 1;
    } else {
      for (int64_t j = 0; j < n; ++j) {
        if (x[j] > s) {
          cell = j;
          break;
        }
      }
    }
    cells[i] = static_cast<Cell>(cell);
  }
}

}  // namespace

template <class T>
SpanKernel<T> SearchKernelFor(int32_t method, int32_t form) {
  return kSearchKernels<T>[method][form];
}

template <class T>
void ExpandUniformSites(const T* ends, int64_t nsite, T* out) {
  const T first = ends[0];
  if (nsite == 1) {
    out[0] = first;
    return;
  }
  const T step = (ends[1] - first) / static_cast<T>(nsite - 1);
  for (int64_t i = 0; i < nsite; ++i) out[i] = std::fma(static_cast<T>(i), step, first);
}

template <class T>
int32_t SearchFrame(const df_task* task, int32_t method, int64_t nsite, const T* site,
                    int64_t site_hint, const T* data_hint, void* cells, SearchCallback<T> callback,
                    void* params, const thread_services* services, bool allow_threads) {
  if (nsite <= 0) return DF_STATUS_OK;
  const T* x = Knots<T>(task);
  const int64_t n = task->partition_size;
  const int32_t form = task->int_flag == 0 ? kForm32 : (n >= kIndex32Limit ? kForm64 : kForm64Pack);
  if (!CellsFit(form, n)) return DF_STATUS_BAD_PARTITION_SIZE;
  const std::size_t cell_bytes = form == kForm32 ? 4 : 8;
  const bool uniform_sites = site_hint == SITES_UNIFORM;
  platform::Scratch<T, kInlineSites> expanded(uniform_sites ? nsite : 0);
  if (uniform_sites) {
    if (expanded.get() == nullptr) return DF_STATUS_NO_MEMORY;
    ExpandUniformSites(site, nsite, expanded.get());
    site = expanded.get();
  }

  if (method == kHybrid && n <= 16) {
    if (form == kForm32) {
      PlainScan(x, n, nsite, site, static_cast<int32_t*>(cells));
    } else {
      PlainScan(x, n, nsite, site, static_cast<int64_t*>(cells));
    }
    return DF_STATUS_OK;
  }

  T scale = 0;
  if (method == kQuasiUniform) {
    scale = static_cast<T>(n - 1) / (x[n - 1] - x[0]);
  } else if (method == kPeak) {
    scale = data_hint[4];
  } else if (method == kHybrid) {
    scale = BinScale<T>(task);
  }
  FrameContext<T> c{
      SearchKernelFor<T>(method, form),
      SearchSpan<T>{n, x, nsite, site, nullptr, data_hint, task->bin_count, task->search_table,
                    cells, callback, params, nullptr, nullptr, scale},
      0, cell_bytes, method};

  const int32_t t = allow_threads ? MaxThreads(services) : 1;
  if (!GoesParallel(method, nsite, n, t)) return RunShare(c, 0, nsite);

  int64_t threads = t;
  if (method == kHybrid) {
    const int64_t blocks = nsite / kCallbackBlock;
    threads = std::min<int64_t>(t, blocks);
    c.share = threads > 0 ? blocks / threads * kCallbackBlock : 0;
  } else {
    c.share = nsite / t;
  }
  int64_t done = 0;
  if (threads > 0 && c.share > 0) {
    const int32_t status =
        services->parallel_run(threads, static_cast<int32_t>(threads), &c, &ShareWorker<T>);
    if (status < 0) return status;
    done = threads * c.share;
  }
  return done < nsite ? RunShare(c, done, nsite - done) : DF_STATUS_OK;
}

template <class T>
int32_t SearchEntry(df_task* task, int64_t nsite, const T* site, int64_t site_hint,
                    const T* data_hint, void* cells, SearchCallback<T> callback, void* params,
                    const thread_services* services) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  int32_t method = 0;
  const int32_t status =
      ChooseSearchMethod(task, site_hint, data_hint, callback != nullptr, &method);
  if (status != DF_STATUS_OK) return status;
  return SearchFrame(task, method, nsite, site, site_hint, data_hint, cells, callback, params,
                     services, nsite >= kFrameThreshold);
}

template SpanKernel<double> SearchKernelFor<double>(int32_t, int32_t);
template SpanKernel<float> SearchKernelFor<float>(int32_t, int32_t);
template void ExpandUniformSites<double>(const double*, int64_t, double*);
template void ExpandUniformSites<float>(const float*, int64_t, float*);
template int32_t SearchFrame<double>(const df_task*, int32_t, int64_t, const double*, int64_t,
                                     const double*, void*, SearchCallback<double>, void*,
                                     const thread_services*, bool);
template int32_t SearchFrame<float>(const df_task*, int32_t, int64_t, const float*, int64_t,
                                    const float*, void*, SearchCallback<float>, void*,
                                    const thread_services*, bool);

}  // namespace oxl::df

using namespace oxl::df;

extern "C" {

OXL_API int32_t oxl_df_kernel_dDFSearch1D(df_task* task, int64_t /*method*/, int64_t nsite,
                                          const double* site, int64_t site_hint,
                                          const double* data_hint, void* cells,
                                          oxl_df_dsearch_callback search_callback,
                                          void* search_params, const thread_services* services) {
  return SearchEntry(task, nsite, site, site_hint, data_hint, cells, search_callback, search_params,
                     services);
}
OXL_API int32_t oxl_df_kernel_sDFSearch1D(df_task* task, int64_t /*method*/, int64_t nsite,
                                          const float* site, int64_t site_hint,
                                          const float* data_hint, void* cells,
                                          oxl_df_ssearch_callback search_callback,
                                          void* search_params, const thread_services* services) {
  return SearchEntry(task, nsite, site, site_hint, data_hint, cells, search_callback, search_params,
                     services);
}

// The exported span kernels: each is one row of the kernel table in one form.
#define OXL_DF_SEARCH_KERNEL(t, T, stem, method, suffix, form_expr)                                \
  OXL_API int32_t oxl_df_kernel_##t##stem##suffix(                                                 \
      int64_t partition_size, const T* partition, int64_t nsite, const T* site, void* cursor,      \
      const T* data_hint, int64_t bin_count, const int64_t* search_table, void* cells,             \
      int32_t flags, oxl_df_##t##search_callback search_callback, void* search_params,             \
      void* library_params, int32_t* flag_array, T scale) {                                        \
    (void)flags;                                                                                   \
    if (!CellsFit(form_expr, partition_size)) return DF_STATUS_BAD_PARTITION_SIZE;                 \
    const SearchSpan<T> span{partition_size, partition,      nsite,        site,  cursor,          \
                             data_hint,      bin_count,      search_table, cells, search_callback, \
                             search_params,  library_params, flag_array,   scale};                 \
    return SearchKernelFor<T>(method, form_expr)(span);                                            \
  }
#define OXL_DF_SEARCH_KERNEL_ALL(t, T, stem, method)                                     \
  OXL_DF_SEARCH_KERNEL(t, T, stem, method, , SearchFormFromFlags(flags, partition_size)) \
  OXL_DF_SEARCH_KERNEL(t, T, stem, method, 32, kForm32)                                  \
  OXL_DF_SEARCH_KERNEL(t, T, stem, method, 64, kForm64)                                  \
  OXL_DF_SEARCH_KERNEL(t, T, stem, method, 64Pack, kForm64Pack)

OXL_DF_SEARCH_KERNEL_ALL(d, double, DFUniformSearch1D, kUniform)
OXL_DF_SEARCH_KERNEL_ALL(d, double, DFQuasiUniformSearch1D, kQuasiUniform)
OXL_DF_SEARCH_KERNEL_ALL(d, double, DFSortedSearch1D, kSorted)
OXL_DF_SEARCH_KERNEL_ALL(d, double, DFPeakSearch1D, kPeak)
OXL_DF_SEARCH_KERNEL_ALL(d, double, DFHybridSearch1D, kHybrid)
OXL_DF_SEARCH_KERNEL_ALL(d, double, DFUserDefSearch1D, kUserDef)
OXL_DF_SEARCH_KERNEL_ALL(d, double, DFUniUserDefSearch1D, kUniUserDef)
OXL_DF_SEARCH_KERNEL_ALL(s, float, DFUniformSearch1D, kUniform)
OXL_DF_SEARCH_KERNEL_ALL(s, float, DFQuasiUniformSearch1D, kQuasiUniform)
OXL_DF_SEARCH_KERNEL_ALL(s, float, DFSortedSearch1D, kSorted)
OXL_DF_SEARCH_KERNEL_ALL(s, float, DFPeakSearch1D, kPeak)
OXL_DF_SEARCH_KERNEL_ALL(s, float, DFHybridSearch1D, kHybrid)
OXL_DF_SEARCH_KERNEL_ALL(s, float, DFUserDefSearch1D, kUserDef)
OXL_DF_SEARCH_KERNEL_ALL(s, float, DFUniUserDefSearch1D, kUniUserDef)

}  // extern "C"
