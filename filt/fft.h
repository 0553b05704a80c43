/// \file
/// The frequency buffer, the transforms, the arithmetic and the errors.
#pragma once

#include "filt/fft/angle_quadrant.h"
#include "filt/fft/arithmetic.h"
#include "filt/fft/errors.h"
#include "filt/fft/forward_fft.h"
#include "filt/fft/frequency_buffer.h"
#include "filt/fft/inverse_fft.h"
#include "filt/fft/map_image.h"
