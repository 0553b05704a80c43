/// \file
/// The frequency filters.
#pragma once

#include "filt/freqfilt/band_pass.h"
#include "filt/freqfilt/band_reject.h"
#include "filt/freqfilt/filter.h"
#include "filt/freqfilt/gabor.h"
#include "filt/freqfilt/gabor_reject.h"
#include "filt/freqfilt/image_filter.h"
