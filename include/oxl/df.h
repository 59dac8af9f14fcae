/* Data fitting: tasks, cell search, splines, interpolation and integration. */
#ifndef OXL_DF_H
#define OXL_DF_H

#include <stdint.h>

#include "oxl/oxl_api.h"
#include "oxl/threading.h"

OXL_EXTERN_C_BEGIN

OXL_EXTERN_C_END

#endif /* OXL_DF_H */
