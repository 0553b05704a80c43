#include "filt/internal/clear_padding.h"

#include "kavstd/attention.h"

#include <algorithm>
#include <cstddef>

void vf_ClearPadding(long sourceWidth, long sourceHeight, long width, long height, float* data) {
    vxAttention::check();
    const auto rowFloats = static_cast<std::size_t>(width) * 2;
    const auto keptFloats = static_cast<std::size_t>(std::clamp(sourceWidth, 0L, width)) * 2;
    const long keptRows = std::clamp(sourceHeight, 0L, height);
    float* row = data;
    for (long y = 0; y < keptRows; ++y) {
        std::fill(row + keptFloats, row + rowFloats, 0.0F);
        row += rowFloats;
    }
    std::fill(row, row + static_cast<std::size_t>(height - keptRows) * rowFloats, 0.0F);
}
