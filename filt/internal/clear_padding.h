/// \file
/// Zero padding of a spectrum array around the source.
#pragma once

/// Zeroes the samples of a width x height array of complex samples that lie outside its first sourceWidth
/// columns and sourceHeight rows. A source size of 0 or less leaves nothing outside the padding. One
/// cancellation point, before anything is written.
void vf_ClearPadding(long sourceWidth, long sourceHeight, long width, long height, float* data);
