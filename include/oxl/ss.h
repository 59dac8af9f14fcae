/* Summary statistics: tasks, editors and compute entries. */
#ifndef OXL_SS_H
#define OXL_SS_H

#include <stdint.h>

#include "oxl/oxl_api.h"
#include "oxl/threading.h"

OXL_EXTERN_C_BEGIN

OXL_EXTERN_C_END

#endif /* OXL_SS_H */
