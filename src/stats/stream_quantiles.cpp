// Epsilon-approximate quantiles of observations that arrive in blocks (Zhang and Wang, "An
// efficient algorithm for approximate quantiles", 2007, with the rank arithmetic of Greenwald and
// Khanna's summaries). Each dimension keeps summaries: sorted values with bounds on their ranks.
//
// The stream is cut into stages whose lengths double, so that no length need be known ahead:
// stage k takes N_k = floor((2^(k+2) - 1) / e) - floor((2^(k+1) - 1) / e) observations. A stage
// collects b = log2(e N_k) / e observations in an input block; a full block, sorted, is an exact
// summary of level 0. Two summaries of one level merge into one of twice the count, which is
// compressed to at most 2b + 1 entries and goes a level up, as a binary counter carries. A
// compression to 2b + 1 entries of a summary of N observations moves a rank bound by at most
// N / 4b, and a level-l summary holds 2^l b observations, so its bounds are within (l - 1) N / 4b
// of the truth, below e N / 2 for every level a stage has. A query merges every summary of every
// stage and the open blocks into one and answers each order q with the entry whose mid-rank is
// nearest q N: its rank is within e N of q N.
//
// Dimensions are the items of the caller's for-each-item service and own their summaries; the
// stages grow between batches on the calling thread, so every thread count gives the same bits.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "oxl/primitives.h"
#include "oxl/ss.h"
#include "platform/checked_size.h"
#include "platform/scratch.h"
#include "numeric/helpers.h"
#include "stats/task.h"

namespace oxl::stats {
namespace {

constexpr int kAlign = 128;

// A stage of one dimension's stream. One block holds the occupancy of each level, the input
// block, the level summaries (2b + 1 entries each) and their rank bounds.
struct Stage {
  int64_t observationCount;
  int64_t blockSize;     // b
  int64_t filledLevels;  // levels that hold a summary
  int64_t levelCount;
  int64_t blockFill;  // observations in the input block
  int64_t* levels;    // entries of each level's summary; 0 for an empty level
  void* values;       // input block, then level l at b + l (2b + 1)
  int64_t* rankMin;
  int64_t* rankMax;
};

struct DimensionState {
  int64_t partitionCount;    // stage records allocated
  int64_t currentPartition;  // the open stage; -1 before the first data
  int64_t active;
  Stage* partitions;
};
static_assert(sizeof(DimensionState) == 32);

// streamState: a header record whose partitionCount is the number of dimensions it was made for,
// then one record a dimension; the task's dimension may be edited later, the records stay.
int64_t StateDimensions(const void* state) {
  return static_cast<const DimensionState*>(state)->partitionCount;
}
DimensionState* Dimensions(void* state) { return static_cast<DimensionState*>(state) + 1; }

int64_t LevelCapacity(const Stage& s) { return 2 * s.blockSize + 1; }

// A summary being built or read: entries in ascending order of value, over `count` observations.
template <class T>
struct Summary {
  T* value;
  int64_t* rank_min;
  int64_t* rank_max;
  int64_t size;
  int64_t count;
};

template <class T>
Summary<T> Level(const Stage& s, int64_t level) {
  const int64_t at = s.blockSize + level * LevelCapacity(s);
  return {static_cast<T*>(s.values) + at, s.rankMin + at, s.rankMax + at, s.levels[level],
          s.blockSize << level};
}

// Observations of stage k: floor((2^(k+2) - 1) / e) - floor((2^(k+1) - 1) / e).
int64_t StageLength(int64_t k, double e) {
  const double a = std::ldexp(1.0, static_cast<int>(k) + 2) - 1;
  const double b = std::ldexp(1.0, static_cast<int>(k) + 1) - 1;
  return static_cast<int64_t>(std::floor(a / e) - std::floor(b / e));
}

// Fills stage k's sizes and allocates its block; false when it does not fit.
template <class T>
bool MakeStage(Stage& s, int64_t k, double e) {
  const double length = static_cast<double>(StageLength(k, e));
  if (!(length < 0x1p62)) return false;
  const double log2_en = __vrsdLn(e * length) * 1.4426950408889634;
  s = Stage{};
  s.blockSize = std::max<int64_t>(1, static_cast<int64_t>(log2_en / e));
  // Enough levels for the stage's full blocks to carry into, whatever the rounding of b.
  int64_t needed = 1;
  while ((s.blockSize << (needed - 1)) < static_cast<int64_t>(length) && needed < 62) ++needed;
  s.levelCount = std::max<int64_t>(static_cast<int64_t>(log2_en + 2), needed + 1);
  using platform::CheckedSize;
  const CheckedSize entries =
      CheckedSize(s.blockSize) + CheckedSize(s.levelCount) * LevelCapacity(s);
  const CheckedSize values_at = platform::BytesOf<int64_t>(s.levelCount).RoundedUp(kAlign);
  const CheckedSize ranks_at = (values_at + platform::BytesOf<T>(entries)).RoundedUp(kAlign);
  const CheckedSize rank_bytes = platform::BytesOf<int64_t>(entries);
  auto* block =
      static_cast<char*>(platform::AllocateChecked(ranks_at + rank_bytes + rank_bytes, kAlign));
  if (block == nullptr) return false;
  s.levels = reinterpret_cast<int64_t*>(block);
  std::fill_n(s.levels, s.levelCount, 0);
  s.values = block + values_at.value();
  s.rankMin = reinterpret_cast<int64_t*>(block + ranks_at.value());
  s.rankMax = s.rankMin + entries.value();
  return true;
}

// The bits of a value, to choose between two without a branch: which side of a merge goes next
// is data, and a mispredicted branch costs more than the rest of the step.
template <class T>
using Bits = std::conditional_t<sizeof(T) == 8, uint64_t, uint32_t>;

template <class T>
T Choose(bool second, T first_value, T second_value) {
  const Bits<T> mask = Bits<T>{0} - static_cast<Bits<T>>(second);
  const Bits<T> bits =
      (std::bit_cast<Bits<T>>(first_value) & ~mask) | (std::bit_cast<Bits<T>>(second_value) & mask);
  return std::bit_cast<T>(bits);
}

int64_t Choose(bool second, int64_t first_value, int64_t second_value) {
  const int64_t mask = -static_cast<int64_t>(second);
  return (first_value & ~mask) | (second_value & mask);
}

// Merges a and b into out: the rank bounds of an entry of one add those of its neighbours in the
// other, the last entry before it (none: 0) to the lower bound and the first after it less one
// (none: the other's count) to the upper. Equal values of a stand before those of b.
//
// The first min(|a|, |b|) entries are taken from the front and as many from the back, two chains
// of compares that run side by side instead of one twice as long: after t steps from either end
// t entries are taken, so while t is below both sizes neither end reads outside its runs. What
// is left between them is merged from the front.
template <class T>
void Merge(const Summary<T>& a, const Summary<T>& b, Summary<T>& out) {
  int64_t i = 0, j = 0, k = 0, before_a = 0, before_b = 0;
  int64_t i_back = a.size - 1, j_back = b.size - 1, k_back = a.size + b.size - 1;
  int64_t after_a = a.count, after_b = b.count;  // upper bounds the back adds, less its own
  const auto front = [&] {
    const T va = a.value[i], vb = b.value[j];
    const bool take_b = vb < va;
    const int64_t a_min = a.rank_min[i], b_min = b.rank_min[j];
    out.value[k] = Choose(take_b, va, vb);
    out.rank_min[k] = Choose(take_b, a_min + before_b, b_min + before_a);
    out.rank_max[k] = a.rank_max[i] + b.rank_max[j] - 1;
    before_a = Choose(take_b, a_min, before_a);
    before_b = Choose(take_b, before_b, b_min);
    i += !take_b;
    j += take_b;
    ++k;
  };
  const int64_t both = std::min(a.size, b.size);
  for (int64_t t = 0; t < both; ++t) {
    front();
    const T va = a.value[i_back], vb = b.value[j_back];
    const bool take_a = vb < va;
    const int64_t a_max = a.rank_max[i_back], b_max = b.rank_max[j_back];
    out.value[k_back] = Choose(take_a, vb, va);
    out.rank_min[k_back] = a.rank_min[i_back] + b.rank_min[j_back];
    out.rank_max[k_back] = Choose(take_a, b_max + after_a, a_max + after_b);
    after_a = Choose(take_a, after_a, a_max - 1);
    after_b = Choose(take_a, b_max - 1, after_b);
    i_back -= take_a;
    j_back -= !take_a;
    --k_back;
  }
  while (i <= i_back && j <= j_back) front();
  for (; i <= i_back; ++i, ++k) {
    out.value[k] = a.value[i];
    out.rank_min[k] = a.rank_min[i] + before_b;
    out.rank_max[k] = a.rank_max[i] + after_b;
  }
  for (; j <= j_back; ++j, ++k) {
    out.value[k] = b.value[j];
    out.rank_min[k] = b.rank_min[j] + before_a;
    out.rank_max[k] = b.rank_max[j] + after_a;
  }
  out.size = a.size + b.size;
  out.count = a.count + b.count;
}

// The j-th of `capacity` ranks spread evenly from 1 to `count`, the ranks a compression keeps.
int64_t SpreadRank(int64_t count, int64_t capacity, int64_t j) {
  if (capacity == 1) return 1;
  return 1 + static_cast<int64_t>((count - 1) * static_cast<double>(j) /
                                  static_cast<double>(capacity - 1));
}

// Keeps at most `capacity` entries of s in out (which may be s): for ranks spread evenly from 1
// to the count, the entry whose bounds lie nearest each, an entry at most once.
template <class T>
void Compress(const Summary<T>& s, int64_t capacity, Summary<T>& out) {
  if (s.size <= capacity) {
    std::memcpy(out.value, s.value, sizeof(T) * s.size);
    std::memcpy(out.rank_min, s.rank_min, sizeof(int64_t) * s.size);
    std::memcpy(out.rank_max, s.rank_max, sizeof(int64_t) * s.size);
    out.size = s.size;
    out.count = s.count;
    return;
  }
  int64_t kept = 0, at = 0, last = -1;
  for (int64_t j = 0; j < capacity && s.size > 0; ++j) {
    const int64_t rank = SpreadRank(s.count, capacity, j);
    const auto miss = [&](int64_t e) {
      return std::max(rank - s.rank_min[e], s.rank_max[e] - rank);
    };
    while (at + 1 < s.size && miss(at + 1) <= miss(at)) ++at;
    if (at == last) continue;
    last = at;
    out.value[kept] = s.value[at];
    out.rank_min[kept] = s.rank_min[at];
    out.rank_max[kept] = s.rank_max[at];
    ++kept;
  }
  out.size = kept;
  out.count = s.count;
}

template <class T>
int32_t SortAscending(T* a, T* scratch, int64_t n) {
  if constexpr (sizeof(T) == 8) {
    return oxl_dft_avx2_pvksSortRadixAscend_64f_I(a, scratch, static_cast<int32_t>(n));
  } else {
    return oxl_dft_avx2_pvksSortRadixAscend_32f_I(a, scratch, static_cast<int32_t>(n));
  }
}

// Scratch of one worker: two summaries of 2 (2b + 1) entries and a sort buffer of 4b values.
template <class T>
struct Work {
  platform::Scratch<T> values;
  platform::Scratch<int64_t> ranks;
  bool Reset(int64_t b) {
    const platform::CheckedSize summary = platform::CheckedSize(2) * (2 * b + 1);
    return values.Reset(platform::CheckedSize(2) * summary + platform::CheckedSize(4) * b) &&
           ranks.Reset(platform::CheckedSize(4) * summary);
  }
  Summary<T> Buffer(int64_t which, int64_t b) {
    const int64_t summary = 2 * (2 * b + 1);
    int64_t* ranks_at = ranks.get() + 2 * which * summary;
    return {values.get() + which * summary, ranks_at, ranks_at + summary, 0, 0};
  }
  T* SortScratch(int64_t b) { return values.get() + 4 * (2 * b + 1); }
};

// Levels 0 and 1 hold one and two whole blocks: exact summaries, whose ranks are the positions
// of their values in order. They are kept unsorted, level 1 at the start of `values`, level 0
// after it and the open block after those, and the four blocks that leave level 1 are sorted at
// once: one sort of 4b values costs less than four of b and the merges of their levels, and what
// the compression of an exact summary keeps are the entries at the kept ranks. A query sorts
// copies of the whole blocks as it does of the open block.
int64_t WholeBlocks(const Stage& s) {
  return (s.levels[0] != 0 ? 1 : 0) + (s.levels[1] != 0 ? 2 : 0);
}

template <class T>
T* LevelZero(const Stage& s) {
  return static_cast<T*>(s.values) + (s.levels[1] != 0 ? 2 * s.blockSize : 0);
}

template <class T>
T* OpenBlock(const Stage& s) {
  return static_cast<T*>(s.values) + WholeBlocks(s) * s.blockSize;
}

// Counts the full open block into levels 0 and 1, and the fourth block carries up the levels.
template <class T>
int32_t Carry(Stage& s, Work<T>& work) {
  const int64_t b = s.blockSize;
  if (s.levels[0] == 0) {
    s.levels[0] = b;
    ++s.filledLevels;
    return 0;
  }
  s.levels[0] = 0;
  if (s.levels[1] == 0) {
    s.levels[1] = 2 * b;
    return 0;
  }
  s.levels[1] = 0;
  s.filledLevels -= 2;
  T* blocks = static_cast<T*>(s.values);
  if (SortAscending(blocks, work.SortScratch(b), 4 * b) != 0) return OXL_SS_ERROR_MEMORY;
  Summary<T> cur = work.Buffer(0, b), merged = work.Buffer(1, b);
  const int64_t capacity = LevelCapacity(s);
  for (int64_t j = 0; j < capacity; ++j) {
    const int64_t rank = SpreadRank(4 * b, capacity, j);
    cur.value[j] = blocks[rank - 1];
    cur.rank_min[j] = cur.rank_max[j] = rank;
  }
  cur.size = capacity;
  cur.count = 4 * b;
  for (int64_t level = 2; level < s.levelCount; ++level) {
    Summary<T> held = Level<T>(s, level);
    if (held.size == 0) {
      Compress(cur, capacity, held);
      s.levels[level] = held.size;
      ++s.filledLevels;
      return 0;
    }
    Merge(held, cur, merged);
    s.levels[level] = 0;
    --s.filledLevels;
    Compress(merged, capacity, cur);
  }
  return OXL_SS_ERROR_MEMORY;  // not reached: a stage has a level for each carry of its blocks
}

template <class T>
struct Job {
  int64_t p;
  const T* x;
  bool rows;
  int64_t n, first, length;  // the batch: observations [first, first + length) of the call's n
  DimensionState* state;
  const T* orders;
  int64_t order_count;
  T* quantiles;
};

template <class T>
int32_t AddData(int64_t d, int32_t, void*, void* context) {
  const auto& job = *static_cast<const Job<T>*>(context);
  DimensionState& dim = job.state[d];
  if (dim.active == 0) return 0;
  Stage& s = dim.partitions[dim.currentPartition];
  Work<T> work;
  if (!work.Reset(s.blockSize)) return OXL_SS_ERROR_MEMORY;
  const int64_t step = job.rows ? 1 : job.p;
  const T* x = job.x + (job.rows ? d * job.n : d) + job.first * step;
  for (int64_t i = 0; i < job.length;) {
    const int64_t take = std::min(s.blockSize - s.blockFill, job.length - i);
    T* block = OpenBlock<T>(s) + s.blockFill;
    for (int64_t k = 0; k < take; ++k) block[k] = x[(i + k) * step];
    s.blockFill += take;
    s.observationCount += take;
    i += take;
    if (s.blockFill == s.blockSize) {
      if (const int32_t status = Carry(s, work); status != 0) return status;
      s.blockFill = 0;
    }
  }
  return 0;
}

// Every summary of the dimension merged into one, then the entry of each order.
template <class T>
int32_t Answer(int64_t d, int32_t, void*, void* context) {
  const auto& job = *static_cast<const Job<T>*>(context);
  DimensionState& dim = job.state[d];
  if (dim.active == 0) return 0;
  platform::CheckedSize total = 0;
  int64_t exact_max = 0;
  for (int64_t k = 0; k <= dim.currentPartition; ++k) {
    const Stage& s = dim.partitions[k];
    total = total + s.blockFill;
    exact_max = std::max({exact_max, s.blockFill, s.levels[0], s.levels[1]});
    for (int64_t l = 0; l < s.levelCount; ++l) total = total + s.levels[l];
  }
  // Values: two buffers of every entry for the rounds of merges, the sorted copies of the whole
  // and open blocks and a sort scratch; ranks: two bounds of each, and the positions 1, 2, ...
  // that are both bounds of an exact summary.
  const platform::CheckedSize values_count = platform::CheckedSize(3) * total + exact_max;
  platform::Scratch<T> values;
  platform::Scratch<int64_t> ranks;
  platform::Scratch<Summary<T>> parts;
  if (!values.Reset(values_count) || !ranks.Reset(platform::CheckedSize(4) * total + exact_max) ||
      !parts.Reset(total)) {
    return OXL_SS_ERROR_MEMORY;
  }
  const int64_t t = static_cast<int64_t>(total.value());
  T* v = values.get();
  int64_t* r = ranks.get();
  int64_t* positions = r + 4 * t;
  for (int64_t i = 0; i < exact_max; ++i) positions[i] = i + 1;
  Summary<T>* part = parts.get();
  int64_t m = 0;
  T* sorted = v + 2 * t;
  const auto exact = [&](const T* from, int64_t size) {
    Summary<T> copy{sorted, positions, positions, size, size};
    std::memcpy(copy.value, from, sizeof(T) * size);
    sorted += size;
    part[m++] = copy;
    return SortAscending(copy.value, v + 3 * t, size) == 0;
  };
  for (int64_t k = 0; k <= dim.currentPartition; ++k) {
    const Stage& s = dim.partitions[k];
    if (s.levels[0] != 0 && !exact(LevelZero<T>(s), s.levels[0])) return OXL_SS_ERROR_MEMORY;
    if (s.levels[1] != 0 && !exact(static_cast<const T*>(s.values), s.levels[1])) {
      return OXL_SS_ERROR_MEMORY;
    }
    for (int64_t l = 2; l < s.levelCount; ++l) {
      if (s.levels[l] != 0) part[m++] = Level<T>(s, l);
    }
    if (s.blockFill != 0 && !exact(OpenBlock<T>(s), s.blockFill)) return OXL_SS_ERROR_MEMORY;
  }
  // Merges in rounds of pairs, so that each entry is copied about log2 of the summaries' count
  // times; the merge's rank arithmetic does not depend on the order.
  for (int round = 0; m > 1; ++round) {
    const int64_t at = round % 2 == 0 ? 0 : t;
    int64_t filled = 0, kept = 0;
    for (int64_t i = 0; i < m; i += 2) {
      Summary<T> out{v + at + filled, r + 2 * at + filled, r + 2 * at + t + filled, 0, 0};
      if (i + 1 < m) {
        Merge(part[i], part[i + 1], out);
      } else {
        Compress(part[i], part[i].size, out);
      }
      filled += out.size;
      part[kept++] = out;
    }
    m = kept;
  }
  const Summary<T> all = m == 1 ? part[0] : Summary<T>{v, r, r, 0, 0};
  const double n = static_cast<double>(all.count);
  for (int64_t k = 0; k < job.order_count; ++k) {
    const double target = static_cast<double>(job.orders[k]) * n;
    double best = 2 * n;
    T answer = all.size > 0 ? all.value[0] : T(0);
    for (int64_t j = 0; j < all.size; ++j) {
      const double mid = 0.5 * static_cast<double>(all.rank_min[j] + all.rank_max[j]);
      const double distance = std::trunc(std::fabs(mid - target));
      if (distance < best) {
        best = distance;
        answer = all.value[j];
      }
    }
    job.quantiles[d * job.order_count + k] = answer;
  }
  return 0;
}

void FreeBuffers(SSTask* task) {
  if (task->streamState == nullptr) return;
  DimensionState* state = Dimensions(task->streamState);
  const int64_t p = StateDimensions(task->streamState);
  for (int64_t d = 0; d < p; ++d) {
    for (int64_t k = 0; k <= state[d].currentPartition; ++k) {
      oxl_serv_deallocate(state[d].partitions[k].levels);
    }
    if (state[d].partitions != nullptr) oxl_serv_deallocate(state[d].partitions);
  }
  oxl_serv_deallocate(task->streamState);
  task->streamState = nullptr;
}

int32_t ForEachDimension(const SSThreadServices* services, int64_t p, void* job,
                         oxl_item_worker worker) {
  const bool threaded = services != nullptr && services->for_each_item != nullptr &&
                        services->thread_count != nullptr;
  const int32_t threads =
      threaded ? static_cast<int32_t>(std::min<int64_t>(services->thread_count(), p)) : 1;
  if (threads > 1) return services->for_each_item(p, threads, job, worker);
  for (int64_t d = 0; d < p; ++d) {
    if (const int32_t status = worker(d, 0, nullptr, job); status != 0) return status;
  }
  return 0;
}

// The checks of a call, in their order; 0 or a status.
template <class T>
int Check(const SSTask& task, int64_t p, uint64_t method, int64_t& n, int64_t& count) {
  if (task.observationsPtr == nullptr) return OXL_SS_ERROR_OBSERVATIONS;
  n = ReadIndex(task, task.observationsPtr);
  if (n < 0) return OXL_SS_ERROR_OBSERVATIONS;
  if (n > 0) {
    if (task.x == nullptr) return OXL_SS_ERROR_X;
    if (const int64_t storage = ReadStorage(task, task.xStorage); storage < 0) {
      return static_cast<int>(storage);
    }
  }
  if (task.streamQuantiles == nullptr) return OXL_SS_ERROR_STREAM_QUANTILES;
  if (task.streamOrders == nullptr) return OXL_SS_ERROR_STREAM_ORDERS;
  if (task.streamOrderCount == nullptr) return OXL_SS_ERROR_STREAM_ORDER_COUNT;
  count = ReadIndex(task, task.streamOrderCount);
  if (count < 0) return OXL_SS_ERROR_STREAM_ORDER_COUNT;
  if (task.streamParamCount == nullptr) return OXL_SS_ERROR_STREAM_PARAM_COUNT_POINTER;
  if (ReadIndex(task, task.streamParamCount) != 1) return OXL_SS_ERROR_STREAM_PARAM_COUNT;
  const T* orders = static_cast<const T*>(task.streamOrders);
  for (int64_t k = 0; k < count; ++k) {
    if (!(orders[k] >= T(0) && orders[k] <= T(1))) return OXL_SS_ERROR_STREAM_ORDER_COUNT;
  }
  if (task.streamParams == nullptr) return OXL_SS_ERROR_STREAM_PARAMS;
  if ((method & (METHOD_STREAM_A | METHOD_STREAM_B)) == 0) return OXL_SS_ERROR_METHOD;
  const double e = static_cast<const T*>(task.streamParams)[0];
  if (!(e > 0 && e <= 1)) return OXL_SS_ERROR_STREAM_EPSILON;
  if (task.streamState != nullptr) {
    const int64_t held = StateDimensions(task.streamState);
    const DimensionState* state = Dimensions(task.streamState);
    bool any = false;
    for (int64_t d = 0; d < p; ++d) {
      const bool active = d < held && state[d].active != 0;
      if (Included(task, d) && !active) return OXL_SS_ERROR_INCLUSION;
      any = any || active;
    }
    if (!any) return OXL_SS_ERROR_INCLUSION;
  }
  return 0;
}

// Opens the next stage of every active dimension, all or none: on a failed allocation the
// summaries stay as they were.
template <class T>
bool OpenStage(DimensionState* state, int64_t p, double e) {
  int64_t made = 0;
  for (; made < p; ++made) {
    DimensionState& dim = state[made];
    if (dim.active == 0) continue;
    const int64_t k = dim.currentPartition + 1;
    if (k >= dim.partitionCount) {
      const int64_t grown = std::max<int64_t>(4, 2 * dim.partitionCount);
      auto* records =
          static_cast<Stage*>(platform::AllocateChecked(platform::BytesOf<Stage>(grown), kAlign));
      if (records == nullptr) break;
      if (dim.partitions != nullptr) {
        std::memcpy(records, dim.partitions, sizeof(Stage) * dim.partitionCount);
        oxl_serv_deallocate(dim.partitions);
      }
      dim.partitions = records;
      dim.partitionCount = grown;
    }
    if (!MakeStage<T>(dim.partitions[k], k, e)) break;
  }
  for (int64_t d = 0; d < made; ++d) {
    if (state[d].active == 0) continue;
    if (made == p) {
      ++state[d].currentPartition;
    } else {
      oxl_serv_deallocate(state[d].partitions[state[d].currentPartition + 1].levels);
    }
  }
  return made == p;
}

template <class T>
int StreamQuantiles(SSTask* task, uint64_t /*estimates*/, uint64_t method,
                    const SSThreadServices* services) {
  if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;
  if (task->dimensionPtr == nullptr) return OXL_SS_ERROR_DIMENSION;
  const int64_t p = ReadIndex(*task, task->dimensionPtr);
  if (p < 1) return OXL_SS_ERROR_DIMENSION;
  int64_t n = 0, count = 0;
  if (const int status = Check<T>(*task, p, method, n, count); status != 0) return status;
  const double e = static_cast<const T*>(task->streamParams)[0];
  if (task->streamState == nullptr) {
    if (task->cleanupCount != 0) return OXL_SS_ERROR_MEMORY;  // the one clean-up slot is taken
    auto* records = static_cast<DimensionState*>(platform::AllocateChecked(
        platform::BytesOf<DimensionState>(platform::CheckedSize(p) + 1), kAlign));
    if (records == nullptr) return OXL_SS_ERROR_MEMORY;
    records[0] = {p, 0, 0, nullptr};
    for (int64_t d = 0; d < p; ++d) records[d + 1] = {0, -1, Included(*task, d) ? 1 : 0, nullptr};
    task->streamState = records;
    task->cleanup[task->cleanupCount++] = &FreeBuffers;
  }
  // Dimensions past the state's or the task's count take no part.
  const int64_t dims = std::min(p, StateDimensions(task->streamState));
  DimensionState* state = Dimensions(task->streamState);
  // Every active dimension sees the same observations, so their stages open together.
  const DimensionState* lead = state;
  while (lead->active == 0 && lead + 1 < state + dims) ++lead;
  Job<T> job{p,     static_cast<const T*>(task->x),
             false, n,
             0,     0,
             state, static_cast<const T*>(task->streamOrders),
             count, static_cast<T*>(task->streamQuantiles)};
  if (n > 0) job.rows = ReadIndex(*task, task->xStorage) == STORAGE_ROWS || p == 1;
  for (int64_t done = 0; done < n && lead->active != 0;) {
    int64_t room = 0;
    if (lead->currentPartition >= 0) {
      const Stage& s = lead->partitions[lead->currentPartition];
      room = StageLength(lead->currentPartition, e) - s.observationCount;
    }
    if (room <= 0) {
      if (!OpenStage<T>(state, dims, e)) return OXL_SS_ERROR_MEMORY;
      continue;
    }
    job.first = done;
    job.length = std::min(room, n - done);
    if (const int32_t status = ForEachDimension(services, dims, &job, &AddData<T>); status != 0) {
      return status;
    }
    done += job.length;
  }
  if ((method & METHOD_STREAM_A) == 0 || lead->currentPartition < 0) return 0;
  return ForEachDimension(services, dims, &job, &Answer<T>);
}

}  // namespace
}  // namespace oxl::stats

OXL_SS_COMPUTE_ENTRIES(StreamQuantiles, StreamQuantiles)
