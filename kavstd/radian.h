/// \file
/// An angle.
#pragma once

#include "kavsys/export.h"

class vxArchive;

/// An angle in radians, any double.
class VX_EXPORT vxRadian {
public:
    constexpr vxRadian() noexcept = default;
    /// The angle of that many radians, as it is.
    explicit constexpr vxRadian(double radians) noexcept : radians_(radians) {}

    /// Radians.
    [[nodiscard]] constexpr double toDouble() const noexcept { return radians_; }
    /// The opposite angle.
    constexpr vxRadian operator-() const noexcept { return vxRadian(-radians_); }

    /// Compare the stored values: 0 and 2 pi differ.
    friend constexpr bool operator==(vxRadian a, vxRadian b) noexcept { return a.radians_ == b.radians_; }
    /// Whether the stored values differ.
    friend constexpr bool operator!=(vxRadian a, vxRadian b) noexcept { return !(a == b); }

    /// The same direction in 0 <= value < 2 pi (never 2 pi itself, however small a negative angle is). A NaN
    /// or an infinity gives NaN.
    [[nodiscard]] vxRadian norm() const noexcept;

private:
    double radians_ = 0.0;
};

/// One double.
VX_EXPORT vxArchive& operator||(vxArchive& archive, vxRadian& value);
