/// \file
/// Index-to-frequency arithmetic of one dimension of a spectrum, for both halves of the library.
///
/// A spectrum is stored in wrap-around order. For a size of 8:
///
///     index              0   1   2   3   4   5   6   7      as stored
///     frequency          0   1   2   3  -4  -3  -2  -1      signed, around DC
///     centred number     4   5   6   7   0   1   2   3      as shown: DC in the middle, frequency + size / 2
///
/// Sizes are powers of two, so the way from an index to its centred number is also the way back; a size of 1
/// maps 0 to 0. A loaded buffer can have any size: for an odd one the frequencies are from -(size >> 1) to
/// (size >> 1), and the centred numbers keep to the formula: the middle one comes twice, the last one never.
#pragma once

/// The lowest frequency.
[[nodiscard]] constexpr long vf_FirstFrequency(long size) noexcept {
    return -(size >> 1);
}

/// One above the highest frequency.
[[nodiscard]] constexpr long vf_EndFrequency(long size) noexcept {
    return (size >> 1) + (size & 1);
}

/// Whether a dimension of that size has the frequency.
[[nodiscard]] constexpr bool vf_HasFrequency(long frequency, long size) noexcept {
    return frequency >= vf_FirstFrequency(size) && frequency < vf_EndFrequency(size);
}

/// Where a frequency that the dimension has is stored.
[[nodiscard]] constexpr long vf_FrequencyIndex(long frequency, long size) noexcept {
    return frequency < 0 ? frequency + size : frequency;
}

/// The centred number of an index 0 .. size - 1; for an even size also the index of a centred number.
[[nodiscard]] constexpr long vf_CentredNumber(long index, long size) noexcept {
    const long half = size >> 1;
    return index < half ? index + half : index - half;
}
