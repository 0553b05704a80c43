/// \file
/// One row of a spectrum times its gains: the only place where a filter touches samples.
#pragma once

#include "filt/freqfilt/internal/filter_kind.h"

#include <span>

/// Adjacent columns of a row, begin <= x < end, and their gains; gains[0] belongs to column begin.
struct vx_GainRun {
    long begin;
    long end;
    const float* gains;
};

/// Multiplies a row of `width` samples (real, imaginary) by the gains of the runs, which are ascending and
/// may be empty; what lies outside them follows `outside`. `in` and `out` are the same row or share nothing.
void vf_MultiplyRow(const float* in, float* out, long width, std::span<const vx_GainRun> runs,
                    vx_Outside outside);
