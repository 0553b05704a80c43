#include "kavstd/radian.h"

#include "kavstd/archive.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace {
constexpr double turn = 2.0 * std::numbers::pi;

// The double nearest to a turn is not quite a turn. For few turns its exact remainder is what is expected: a
// multiple of it gives 0, and the direction is off by less than 1e-11. For many turns the error would add up
// to any direction at all; the sine and the cosine reduce by the true pi.
constexpr double manyTurns = 65536.0;

double directionOf(double radians) noexcept {
    if (std::fabs(radians) < turn) {
        return radians; // Its own remainder.
    }
    if (std::fabs(radians) < manyTurns) {
        return std::fmod(radians, turn);
    }
    return std::atan2(std::sin(radians), std::cos(radians));
}
} // namespace

vxRadian vxRadian::norm() const noexcept {
    if (!std::isfinite(radians_)) {
        return vxRadian(std::numeric_limits<double>::quiet_NaN());
    }
    double direction = directionOf(radians_);
    if (direction < 0.0) {
        direction += turn;
    }
    // A negative direction below the rounding of a turn was rounded to a whole one. Both zeros give 0.0.
    return vxRadian(direction > 0.0 && direction < turn ? direction : 0.0);
}

vxArchive& operator||(vxArchive& archive, vxRadian& value) {
    double radians = value.toDouble();
    archive || radians;
    if (archive.isLoading()) {
        value = vxRadian(radians);
    }
    return archive;
}
