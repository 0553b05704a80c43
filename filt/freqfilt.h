/// \file
/// The frequency filters.
#pragma once

#include "filt/freqfilt/band_pass.h"
#include "filt/freqfilt/filter.h"
