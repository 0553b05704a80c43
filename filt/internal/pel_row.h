/// \file
/// Walking an image row by row, wherever its offset is.
#pragma once

#include "kavstd/pelbuffer.h"

/// The first pel of a row, counted from the window's first. Offsets play no part, and nothing is checked.
template <vx_Pel T>
[[nodiscard]] const T* vf_PelRow(const vxPelBuffer_const<T>& image, long row) noexcept {
    return image.pointToOffset() + row * image.rowUpdate();
}
template <vx_Pel T>
[[nodiscard]] T* vf_PelRow(const vxPelBuffer<T>& image, long row) noexcept {
    return image.pointToOffset() + row * image.rowUpdate();
}
