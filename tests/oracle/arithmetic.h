/// \file
/// Spectrum arithmetic on plain arrays of (real, imaginary) pairs, one sample after the other.
#pragma once

#include <cstddef>
#include <vector>

namespace oracle {

/// `b` is the updated operand, `a` the other one.
inline std::vector<float> multiply(const std::vector<float>& b, const std::vector<float>& a) {
    std::vector<float> result(b.size());
    for (std::size_t i = 0; i < b.size(); i += 2) {
        const float br = b[i];
        const float bi = b[i + 1];
        const float ar = a[i];
        const float ai = a[i + 1];
        const float brar = br * ar;
        const float biai = bi * ai;
        const float biar = bi * ar;
        const float brai = br * ai;
        result[i] = brar - biai;
        result[i + 1] = biar + brai;
    }
    return result;
}

inline std::vector<float> add(const std::vector<float>& b, const std::vector<float>& a) {
    std::vector<float> result(b.size());
    for (std::size_t i = 0; i < b.size(); ++i) {
        result[i] = b[i] + a[i];
    }
    return result;
}

inline std::vector<float> subtract(const std::vector<float>& b, const std::vector<float>& a) {
    std::vector<float> result(b.size());
    for (std::size_t i = 0; i < b.size(); ++i) {
        result[i] = b[i] - a[i];
    }
    return result;
}

inline std::vector<float> conjugate(const std::vector<float>& a) {
    std::vector<float> result(a);
    for (std::size_t i = 1; i < a.size(); i += 2) {
        result[i] = -result[i];
    }
    return result;
}

} // namespace oracle
