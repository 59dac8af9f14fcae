/* Export and linkage macros shared by every public header of oxl. */
#ifndef OXL_API_H
#define OXL_API_H

#if defined(__GNUC__)
#define OXL_API __attribute__((visibility("default")))
#else
#define OXL_API
#endif

#ifdef __cplusplus
#define OXL_EXTERN_C_BEGIN extern "C" {
#define OXL_EXTERN_C_END }
#else
#define OXL_EXTERN_C_BEGIN
#define OXL_EXTERN_C_END
#endif

#endif /* OXL_API_H */
