/* Array primitives: radix sorts in place and by index, and copy, set and zero over typed arrays.
 *
 * Every entry returns 0, or a negative status and then writes nothing. Lengths are element counts
 * (32-bit). The sorts take a scratch array of the same length as the data (for index sorts: of
 * `len` 32-bit indices) and allocate nothing; their bucket counters live on the stack.
 *
 * Order of the sorts: integers by value; floats by the order of their bits once the sign is moved
 * to the top, so -0 sorts before +0, NaNs with the sign bit set before every number and the others
 * after every number. Descending order is the exact reverse of that order for distinct keys; equal
 * keys keep their input order in index sorts, ascending and descending. */
#ifndef OXL_PRIMITIVES_H
#define OXL_PRIMITIVES_H

#include <stdint.h>

#include "oxl/oxl_api.h"

OXL_EXTERN_C_BEGIN

#define OXL_PRIM_STATUS_OK 0
#define OXL_PRIM_STATUS_BAD_LENGTH (-6)
#define OXL_PRIM_STATUS_NULL_POINTER (-8)

/* Complex pairs, real part first. */
typedef struct {
  int16_t re, im;
} oxl_16sc;
typedef struct {
  int32_t re, im;
} oxl_32sc;
typedef struct {
  int64_t re, im;
} oxl_64sc;
typedef struct {
  float re, im;
} oxl_32fc;
typedef struct {
  double re, im;
} oxl_64fc;

/* In-place radix sorts: data and scratch of len elements. */
#define OXL_PRIM_DECLARE_SORT(tag, type)                                                 \
  OXL_API int32_t oxl_dft_avx2_pvksSortRadixAscend_##tag##_I(type* data, type* scratch,  \
                                                             int32_t len);               \
  OXL_API int32_t oxl_dft_avx2_pvksSortRadixDescend_##tag##_I(type* data, type* scratch, \
                                                              int32_t len);
OXL_PRIM_DECLARE_SORT(8u, uint8_t)
OXL_PRIM_DECLARE_SORT(16s, int16_t)
OXL_PRIM_DECLARE_SORT(16u, uint16_t)
OXL_PRIM_DECLARE_SORT(32s, int32_t)
OXL_PRIM_DECLARE_SORT(32u, uint32_t)
OXL_PRIM_DECLARE_SORT(32f, float)
OXL_PRIM_DECLARE_SORT(64f, double)
#undef OXL_PRIM_DECLARE_SORT

/* Index sorts: the keys stay in place, key i at byte offset i * stride; index receives the
 * positions 0..len-1 in sorted order of their keys (stable). stride is at least the key's size. */
#define OXL_PRIM_DECLARE_INDEX_SORT(tag, type)                                          \
  OXL_API int32_t oxl_dft_avx2_pvksSortRadixIndexAscend_##tag(                          \
      const type* keys, int32_t stride, int32_t* index, int32_t* scratch, int32_t len); \
  OXL_API int32_t oxl_dft_avx2_pvksSortRadixIndexDescend_##tag(                         \
      const type* keys, int32_t stride, int32_t* index, int32_t* scratch, int32_t len);
OXL_PRIM_DECLARE_INDEX_SORT(8u, uint8_t)
OXL_PRIM_DECLARE_INDEX_SORT(16s, int16_t)
OXL_PRIM_DECLARE_INDEX_SORT(16u, uint16_t)
OXL_PRIM_DECLARE_INDEX_SORT(32s, int32_t)
OXL_PRIM_DECLARE_INDEX_SORT(32u, uint32_t)
OXL_PRIM_DECLARE_INDEX_SORT(32f, float)
#undef OXL_PRIM_DECLARE_INDEX_SORT

/* Copy (source and destination must not overlap), zero and set of len elements. */
#define OXL_PRIM_DECLARE_BLOCK(tag, type)                                               \
  OXL_API int32_t oxl_dft_avx2_pvksCopy_##tag(const type* src, type* dst, int32_t len); \
  OXL_API int32_t oxl_dft_avx2_pvksZero_##tag(type* dst, int32_t len);                  \
  OXL_API int32_t oxl_dft_avx2_pvksSet_##tag(type value, type* dst, int32_t len);
OXL_PRIM_DECLARE_BLOCK(8u, uint8_t)
OXL_PRIM_DECLARE_BLOCK(16s, int16_t)
OXL_PRIM_DECLARE_BLOCK(16sc, oxl_16sc)
OXL_PRIM_DECLARE_BLOCK(32f, float)
OXL_PRIM_DECLARE_BLOCK(32fc, oxl_32fc)
OXL_PRIM_DECLARE_BLOCK(32s, int32_t)
OXL_PRIM_DECLARE_BLOCK(32sc, oxl_32sc)
OXL_PRIM_DECLARE_BLOCK(64f, double)
OXL_PRIM_DECLARE_BLOCK(64fc, oxl_64fc)
OXL_PRIM_DECLARE_BLOCK(64s, int64_t)
OXL_PRIM_DECLARE_BLOCK(64sc, oxl_64sc)
#undef OXL_PRIM_DECLARE_BLOCK

OXL_EXTERN_C_END

#endif /* OXL_PRIMITIVES_H */
