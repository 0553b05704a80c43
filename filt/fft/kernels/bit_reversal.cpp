#include "filt/fft/kernels/bit_reversal.h"

vx_BitReversal::vx_BitReversal(std::size_t maxLength) : table_(2 * maxLength) {}

void vx_BitReversal::build(std::size_t n) {
    n_ = n;
    std::size_t j = 1;
    for (std::size_t i = 1; i < n; ++i) {
        if (i < j) {
            table_[i] = static_cast<std::int32_t>(2 * j);
            table_[j] = -1;
        } else if (i == j) {
            table_[i] = -1;
        }
        // Count j - 1 up by one with its bits in reverse.
        std::size_t half = n >> 1;
        while (half < j) {
            j -= half;
            half >>= 1;
        }
        j += half;
    }
}

void vx_BitReversal::apply(vx_Samples x) const noexcept {
    // The last position, like the first, stays where it is.
    for (std::size_t i = n_ - 1; i-- > 1;) {
        if (table_[i] >= 0) {
            vf_SwapSamples(x, i - 1, static_cast<std::size_t>(table_[i]) / 2 - 1);
        }
    }
}
