/// \file
/// Element-wise arithmetic on whole spectra.
///
/// Operands need the same allocated size, whatever their source sizes; other state is not compared. The
/// samples of the updated buffer change and nothing else of it, in single precision. In the forms with a
/// separate result, the result is first assigned the first operand (so it takes its source size, offset,
/// transform and mask) unless it is the second operand; every aliasing of the arguments is right. A copy is
/// sized from the source size, see vxFrequencyBuffer::operator=; when it then no longer fits the other
/// operand, that is a size error too.
///
/// Throws vxFrequencyDefs::Uninitialized, InvalidBuffer (an operand is consumed) or InvalidSize before any
/// buffer changes. Without memory for it, a separate result is left uninitialized and the operands as they
/// were.
#pragma once

#include "filt/fft/frequency_buffer.h"

/// b = b * a, complex. With a conjugate this is a correlation.
VX_EXPORT void vfFrequencyMultiply(const vxFrequencyBuffer& a, vxFrequencyBuffer& b);
/// c = a * b.
VX_EXPORT void vfFrequencyMultiply(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b,
                                   vxFrequencyBuffer& c);

/// a = conj(a): flips the sign of every imaginary part.
VX_EXPORT void vfFrequencyConjugate(vxFrequencyBuffer& a);
/// b = conj(a).
VX_EXPORT void vfFrequencyConjugate(const vxFrequencyBuffer& a, vxFrequencyBuffer& b);

/// b = b + a.
VX_EXPORT void vfFrequencyAdd(const vxFrequencyBuffer& a, vxFrequencyBuffer& b);
/// c = a + b.
VX_EXPORT void vfFrequencyAdd(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c);

/// b = b - a: the first argument is subtracted from the second.
VX_EXPORT void vfFrequencySubtract(const vxFrequencyBuffer& a, vxFrequencyBuffer& b);
/// c = a - b.
VX_EXPORT void vfFrequencySubtract(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b,
                                   vxFrequencyBuffer& c);
