/// \file
/// What sets the pass filters and the reject filters apart. Everything else they share.
#pragma once

#include "filt/internal/messages.h"

#include <cmath>

/// What becomes of the samples that no gain of the table reaches.
enum class vx_Outside { zero, keep };

/// What becomes of the square around DC.
enum class vx_DcSquareRule { clear, keep };

struct vx_FilterKind {
    bool complement;                  // The gain is 1 minus the Gaussian lobe, which is 1 at its top.
    float (*gainAt)(double exponent); // The gain where the lobe has the height exp(exponent).
    vx_Outside outside;
    vx_DcSquareRule dcSquare;
    const char* negativeRadius; // The message for a negative radius of the square around DC.
};

/// exp(0) is exactly 1; the flat top needs no evaluation.
[[nodiscard]] inline double vf_LobeAt(double exponent) {
    return exponent == 0.0 ? 1.0 : std::exp(exponent);
}

inline constexpr vx_FilterKind vx_Pass = {
    .complement = false,
    .gainAt = [](double exponent) { return static_cast<float>(vf_LobeAt(exponent)); },
    .outside = vx_Outside::zero,
    .dcSquare = vx_DcSquareRule::clear,
    .negativeRadius = vx_Messages::removalRadius,
};

inline constexpr vx_FilterKind vx_Reject = {
    .complement = true,
    .gainAt = [](double exponent) { return static_cast<float>(1.0 - vf_LobeAt(exponent)); },
    .outside = vx_Outside::keep,
    .dcSquare = vx_DcSquareRule::keep,
    .negativeRadius = vx_Messages::protectionRadius,
};
