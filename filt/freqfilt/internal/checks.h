/// \file
/// The checks that filters share. Each operation calls them in its own order.
#pragma once

#include "filt/fft/frequency_buffer.h"
#include "filt/freqfilt/gain_table.h"
#include "kavstd/pair.h"

[[nodiscard]] bool vf_IsFrequency(double frequency) noexcept;
[[nodiscard]] bool vf_IsPowerOfTwo(long size) noexcept;

/// 0.0 <= frequency <= 0.5, otherwise InvalidArgument.
void vf_CheckFrequency(double frequency);
/// Throws InvalidArgument with that message unless `valid`.
void vf_CheckArgument(bool valid, const char* message);
/// Both sizes are powers of two, otherwise InvalidSize.
void vf_CheckSize(const vxPair<long>& size);

/// Throws Uninitialized unless the table is built.
void vf_CheckBuilt(const vx_GainTable& table);
/// What apply needs: a buffer with samples, a built table, one size. Uninitialized or InvalidSize.
void vf_CheckOperand(const vxFrequencyBuffer& buffer, const vx_GainTable& table, const vxPair<long>& size);

/// The extent of a support in whole bins: truncated, made odd. Throws std::length_error when it is no number
/// or does not fit 31 bits.
[[nodiscard]] long vf_SupportSize(double extent);
/// columns * rows, each at least 1; std::length_error when the product does not fit 31 bits.
[[nodiscard]] std::size_t vf_EntryCount(long columns, long rows);
