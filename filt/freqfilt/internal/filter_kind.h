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
    double (*gain)(double lobe); // The gain where the Gaussian lobe has that height, 1 at its top.
    vx_Outside outside;
    vx_DcSquareRule dcSquare;
    const char* negativeRadius; // The message for a negative radius of the square around DC.

    /// The gain where the lobe has the height exp(exponent).
    [[nodiscard]] float gainAt(double exponent) const {
        // exp(0) is exactly 1; the flat top needs no evaluation.
        return static_cast<float>(gain(exponent == 0.0 ? 1.0 : std::exp(exponent)));
    }
};

inline constexpr vx_FilterKind vx_Pass = {
    .gain = [](double lobe) { return lobe; },
    .outside = vx_Outside::zero,
    .dcSquare = vx_DcSquareRule::clear,
    .negativeRadius = vx_Messages::removalRadius,
};

inline constexpr vx_FilterKind vx_Reject = {
    .gain = [](double lobe) { return 1.0 - lobe; },
    .outside = vx_Outside::keep,
    .dcSquare = vx_DcSquareRule::keep,
    .negativeRadius = vx_Messages::protectionRadius,
};
