/// \file
/// What every unit that computes samples needs of the compiler: single precision that is rounded after each
/// operation, as written. Included by those units; it declares nothing.
#pragma once

#include <cfloat>
#include <limits>

#ifdef __FAST_MATH__
#error "Samples are exact to the bit: build without -ffast-math."
#endif

static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<float>::digits == 24,
              "float must be IEC 60559 single precision");
static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<double>::digits == 53,
              "double must be IEC 60559 double precision");
static_assert(FLT_EVAL_METHOD == 0, "float expressions must not be evaluated in a wider format");
