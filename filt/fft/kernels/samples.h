/// \file
/// Interleaved complex samples, element by element.
#pragma once

#include <cstddef>
#include <utility>

/// A view of samples stored as (real, imaginary), so that the transforms read like their formulas.
class vx_Samples {
public:
    explicit vx_Samples(float* first) noexcept : first_(first) {}

    [[nodiscard]] float& re(std::size_t i) const noexcept { return first_[2 * i]; }
    [[nodiscard]] float& im(std::size_t i) const noexcept { return first_[2 * i + 1]; }

private:
    float* first_;
};

inline void vf_SwapSamples(vx_Samples x, std::size_t i, std::size_t j) noexcept {
    std::swap(x.re(i), x.re(j));
    std::swap(x.im(i), x.im(j));
}

inline void vf_CopySample(vx_Samples from, std::size_t i, vx_Samples to, std::size_t j) noexcept {
    to.re(j) = from.re(i);
    to.im(j) = from.im(i);
}
