/// \file
/// Copying an image together with its periodic repetitions.
#pragma once

#include "kavstd/pelbuffer.h"

/// Copies `source` into `destination` four times: where it is, and shifted up, left and both by the larger of
/// the two heights and widths; with `wrap` down and to the right instead, so that pels before the
/// destination's first row or column reappear at its far side. Other pels are kept. Offsets may be any
/// values: the result is what unlimited integers give. One cancellation point, before anything changes. T =
/// unsigned char, unsigned short or double.
template <vx_Pel T>
void vf_PeriodicCopy(const vxPelBuffer_const<T>& source, vxPelBuffer<T>& destination, bool wrap);
