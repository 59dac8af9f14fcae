/* Random streams, basic generators and distribution generators. */
#ifndef OXL_VRS_H
#define OXL_VRS_H

#include <stdint.h>

#include "oxl/oxl_api.h"
#include "oxl/threading.h"

OXL_EXTERN_C_BEGIN

OXL_EXTERN_C_END

#endif /* OXL_VRS_H */
