/// \file
/// A pair of numbers: a size, an offset, a position.
#pragma once

/// Two values of one type along x and y. T is `long` (sizes, offsets) or `double`.
template <class T>
class vxPair {
public:
    constexpr vxPair() noexcept = default;
    /// The two values. Without them both are 0.
    constexpr vxPair(T x, T y) noexcept : x_(x), y_(y) {}

    /// The value along x.
    [[nodiscard]] constexpr T x() const noexcept { return x_; }
    /// The value along y.
    [[nodiscard]] constexpr T y() const noexcept { return y_; }
    /// Sets the value along x.
    constexpr void x(T value) noexcept { x_ = value; }
    /// Sets the value along y.
    constexpr void y(T value) noexcept { y_ = value; }

    /// Plain comparison of the elements: a pair that holds a NaN differs from itself.
    friend constexpr bool operator==(const vxPair& a, const vxPair& b) noexcept {
        return a.x_ == b.x_ && a.y_ == b.y_;
    }
    /// Whether they differ.
    friend constexpr bool operator!=(const vxPair& a, const vxPair& b) noexcept { return !(a == b); }

private:
    T x_ = 0;
    T y_ = 0;
};
