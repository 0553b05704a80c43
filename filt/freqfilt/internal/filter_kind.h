/// \file
/// What sets the pass filters and the reject filters apart. Everything else they share.
#pragma once

#include "filt/internal/messages.h"

/// What becomes of the samples that no gain of the table reaches.
enum class vx_Outside { zero, keep };

/// What becomes of the square around DC.
enum class vx_DcSquareRule { clear, keep };

struct vx_FilterKind {
    double (*gain)(double lobe); // The gain where the Gaussian lobe has that height, 1 at its top.
    vx_Outside outside;
    vx_DcSquareRule dcSquare;
    const char* negativeRadius; // The message for a negative radius of the square around DC.
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
