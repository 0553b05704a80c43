/// \file
/// 2-D client-coordinate transforms: where an image's pels lie in the user's own coordinates.
#pragma once

#include "kavstd/exception.h"
#include "kavstd/radian.h"

#include <memory>

template <int dimension>
class vxVector;
template <int dimension>
class vxMatrix;
template <int dimension>
class vxXform;

/// A point or displacement.
template <>
class VX_EXPORT vxVector<2> {
public:
    constexpr vxVector() noexcept = default;
    /// The point (x, y). Without them (0, 0).
    constexpr vxVector(double x, double y) noexcept : x_(x), y_(y) {}
    /// The coordinate along x.
    [[nodiscard]] constexpr double x() const noexcept { return x_; }
    /// The coordinate along y.
    [[nodiscard]] constexpr double y() const noexcept { return y_; }

    /// The sum, coordinate by coordinate.
    friend constexpr vxVector operator+(const vxVector& a, const vxVector& b) noexcept {
        return {a.x_ + b.x_, a.y_ + b.y_};
    }
    /// The difference, coordinate by coordinate.
    friend constexpr vxVector operator-(const vxVector& a, const vxVector& b) noexcept {
        return {a.x_ - b.x_, a.y_ - b.y_};
    }
    /// Plain comparison of the coordinates.
    friend constexpr bool operator==(const vxVector& a, const vxVector& b) noexcept {
        return a.x_ == b.x_ && a.y_ == b.y_;
    }
    friend constexpr bool operator!=(const vxVector& a, const vxVector& b) noexcept { return !(a == b); }

private:
    double x_ = 0.0;
    double y_ = 0.0;
};

/// A 2 x 2 matrix, row by row.
template <>
class VX_EXPORT vxMatrix<2> {
public:
    /// The identity.
    constexpr vxMatrix() noexcept = default;
    /// Row by row: element(0, 0), (0, 1), (1, 0), (1, 1).
    constexpr vxMatrix(double e00, double e01, double e10, double e11) noexcept
        : e_{{e00, e01}, {e10, e11}} {}
    /// rotation * shear * scale, with shear = (1, tan shear; 0, 1).
    vxMatrix(vxRadian shear, vxRadian rotation, double xScale, double yScale);

    /// Row and column count from 0; std::out_of_range for others than 0 and 1.
    [[nodiscard]] double element(int row, int column) const;
    /// Plain products and a difference, which may overflow or underflow.
    [[nodiscard]] double determinant() const noexcept;
    /// Plain products and their sums.
    friend VX_EXPORT vxMatrix operator*(const vxMatrix& a, const vxMatrix& b) noexcept;
    friend VX_EXPORT vxVector<2> operator*(const vxMatrix& m, const vxVector<2>& v) noexcept;
    /// Plain comparison of the elements.
    friend constexpr bool operator==(const vxMatrix& a, const vxMatrix& b) noexcept {
        return a.e_[0][0] == b.e_[0][0] && a.e_[0][1] == b.e_[0][1] && a.e_[1][0] == b.e_[1][0] &&
               a.e_[1][1] == b.e_[1][1];
    }
    friend constexpr bool operator!=(const vxMatrix& a, const vxMatrix& b) noexcept { return !(a == b); }

private:
    double e_[2][2] = {{1.0, 0.0}, {0.0, 1.0}};
};

/// An affine transform: matrix * vector + translation.
template <>
class VX_EXPORT vxXform<2> {
public:
    /// The identity.
    vxXform() noexcept = default;
    /// matrix * vector + translation.
    vxXform(const vxMatrix<2>& matrix, const vxVector<2>& translation) noexcept;
    /// A translation and the matrix of the other parameters, see vxMatrix<2>.
    vxXform(const vxVector<2>& translation, double xScale, double yScale, vxRadian shear, vxRadian rotation);

    /// What a point is multiplied with.
    [[nodiscard]] const vxMatrix<2>& matrix() const noexcept { return matrix_; }
    /// What is added then.
    [[nodiscard]] const vxVector<2>& translation() const noexcept { return translation_; }
    /// Throws vx2Xform::Singular when the matrix has no inverse, an element that is not finite, or an inverse
    /// beyond the range of a double. Over- and underflow of the determinant do not matter.
    [[nodiscard]] vxXform inverse() const;

    /// The transformed point: matrix * vector + translation.
    friend VX_EXPORT vxVector<2> operator*(const vxXform& xform, const vxVector<2>& v) noexcept;
    /// Applies b first.
    friend VX_EXPORT vxXform operator*(const vxXform& a, const vxXform& b) noexcept;
    /// Plain comparison of the elements.
    friend constexpr bool operator==(const vxXform& a, const vxXform& b) noexcept {
        return a.matrix_ == b.matrix_ && a.translation_ == b.translation_;
    }
    friend constexpr bool operator!=(const vxXform& a, const vxXform& b) noexcept { return !(a == b); }

private:
    vxMatrix<2> matrix_;
    vxVector<2> translation_;
};

/// A transform of any shape. Users derive non-linear ones, and register them (vx_Instantiator) to archive
/// them.
class VX_EXPORT vx2Xform : public vxPersistent {
public:
    class Singular;
    class NotLinear;

    ~vx2Xform() override;
    /// Where the point goes.
    [[nodiscard]] virtual vxVector<2> mapPoint(const vxVector<2>& point) const = 0;
    /// A copy of its own class.
    [[nodiscard]] virtual std::unique_ptr<vx2Xform> clone() const = 0;
};

/// A matrix without an inverse was to be inverted.
class VX_EXPORT vx2Xform::Singular : public vx_ConcreteError<vx2Xform::Singular, 0x10006210> {
public:
    using vx_ConcreteError::vx_ConcreteError;
    ~Singular() override;
};

/// The linear transform of something that is not linear was asked for.
class VX_EXPORT vx2Xform::NotLinear : public vx_ConcreteError<vx2Xform::NotLinear, 0x10006211> {
public:
    using vx_ConcreteError::vx_ConcreteError;
    ~NotLinear() override;
};

/// The linear (affine) transform.
class VX_EXPORT vx2XformLinear : public vx2Xform {
public:
    /// The identity.
    vx2XformLinear() noexcept = default;
    /// That transform.
    explicit vx2XformLinear(const vxXform<2>& xform) noexcept;
    ~vx2XformLinear() override;

    /// The transform.
    [[nodiscard]] const vxXform<2>& xform() const noexcept { return xform_; }
    /// xform() * point.
    [[nodiscard]] vxVector<2> mapPoint(const vxVector<2>& point) const override;
    /// A copy.
    [[nodiscard]] std::unique_ptr<vx2Xform> clone() const override;

protected:
    void dispatchSerialize(vxArchive& archive) override;

private:
    vxXform<2> xform_;
};

/// A value that holds a copy of one transform, the identity at first. Copies share the held transform, which
/// never changes, so they are cheap and do not throw. A const cache may be read from several threads at once.
class VX_EXPORT vx2XformCache {
public:
    vx2XformCache() noexcept = default;
    /// Forgets the transform held.
    void setIdentity() noexcept { xform_.reset(); }
    /// Stores a copy. When none can be had, the cache holds what it held.
    void xform(const vx2Xform& xform);
    /// The copy. Valid until another one is stored.
    [[nodiscard]] const vx2Xform& xform() const noexcept;
    /// Whether a vx2XformLinear is held.
    [[nodiscard]] bool isLinear() const noexcept;
    /// Its transform; throws vx2Xform::NotLinear when another kind is held.
    [[nodiscard]] const vxXform<2>& linearXform() const;

private:
    friend VX_EXPORT vxArchive& operator||(vxArchive& archive, vx2XformCache& value);
    std::shared_ptr<const vx2Xform> xform_; // Null for the identity.
};

/// The matrix row by row, then the translation: six doubles.
VX_EXPORT vxArchive& operator||(vxArchive& archive, vxXform<2>& value);
/// The transform as an object by pointer, so that its class must be registered. Loading anything but a
/// transform is refused as malformed and leaves the value as it was.
VX_EXPORT vxArchive& operator||(vxArchive& archive, vx2XformCache& value);
