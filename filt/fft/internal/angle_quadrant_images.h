/// \file
/// Angle and quadrant images as values, for readers that hand out all their images at the end.
#pragma once

#include "filt/fft/internal/spatial_images.h"
#include "kavstd/pelbuffer.h"

/// The images of vf_ComputeAngleImage and vf_ComputeQuadrantImage, at the source's offset. A cancellation
/// point, and another for an offset that is not (0, 0).
[[nodiscard]] vxPelBuffer<double> vf_AngleImage(const vx_SpatialSamples& spatial);
[[nodiscard]] vxPelBuffer<unsigned char> vf_QuadrantImage(const vx_SpatialSamples& spatial);
