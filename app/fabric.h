/// \file
/// A made-up inspection picture.
#pragma once

#include "app/image.h"

namespace app {

/// An 8-bit picture, 448 x 448, of woven fabric under uneven light, with noise and a long, faint stain that
/// the weave hides from the eye. The same picture everywhere: integer random numbers and plain arithmetic
/// only.
[[nodiscard]] Image fabricPicture();

/// The window of the picture that the stain lies in, for tests: x, y of its middle and its half-length along
/// x.
struct Stain {
    long x;
    long y;
    long halfLength;
};
[[nodiscard]] Stain fabricStain();

} // namespace app
