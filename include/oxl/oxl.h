/* oxl: vector math, random streams, summary statistics and data fitting with a C ABI. */
#ifndef OXL_H
#define OXL_H

#include "oxl/oxl_api.h"
#include "oxl/platform.h"
#include "oxl/threading.h"
#include "oxl/vek.h"
#include "oxl/vek_kernels.h"
#include "oxl/vrs.h"
#include "oxl/ss.h"
#include "oxl/df.h"
#include "oxl/primitives.h"

#define OXL_VERSION_MAJOR 0
#define OXL_VERSION_MINOR 1
#define OXL_VERSION_PATCH 0

#endif /* OXL_H */
