#include "kavstd/xform.h"

#include "kavstd/archive.h"
#include "kavstd/internal/archive_records.h"
#include "kavsys/assert.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>
#include <stdexcept>
#include <typeinfo>
#include <utility>

namespace {
vxMatrix<2> rotationOf(vxRadian angle) noexcept {
    const double c = std::cos(angle.toDouble());
    const double s = std::sin(angle.toDouble());
    return {c, -s, s, c};
}

/// fraction * 2^exponent: products and quotients that neither overflow nor underflow, and round as doubles
/// do.
struct Scaled {
    double fraction = 0.0;
    int exponent = 0;

    Scaled(double scaledFraction, int scaledExponent) noexcept
        : fraction(scaledFraction), exponent(scaledExponent) {}
    explicit Scaled(double value) noexcept { fraction = std::frexp(value, &exponent); }
};

Scaled product(double a, double b) noexcept {
    const Scaled x(a);
    const Scaled y(b);
    return {x.fraction * y.fraction, x.exponent + y.exponent};
}

Scaled difference(const Scaled& a, const Scaled& b) noexcept {
    if (a.fraction == 0.0) {
        return {-b.fraction, b.exponent};
    }
    if (b.fraction == 0.0) {
        return a;
    }
    const int exponent = std::max(a.exponent, b.exponent);
    return {std::ldexp(a.fraction, a.exponent - exponent) - std::ldexp(b.fraction, b.exponent - exponent),
            exponent};
}

double quotient(double value, const Scaled& divisor) noexcept {
    const Scaled x(value);
    return std::ldexp(x.fraction / divisor.fraction, x.exponent - divisor.exponent);
}

bool isFinite(const vxMatrix<2>& m) {
    return std::isfinite(m.element(0, 0)) && std::isfinite(m.element(0, 1)) &&
           std::isfinite(m.element(1, 0)) && std::isfinite(m.element(1, 1));
}

vxMatrix<2> inverseOf(const vxMatrix<2>& m) {
    if (!isFinite(m)) {
        throw vx2Xform::Singular("Matrix is not finite.");
    }
    const double a = m.element(0, 0);
    const double b = m.element(0, 1);
    const double c = m.element(1, 0);
    const double d = m.element(1, 1);
    const Scaled determinant = difference(product(a, d), product(b, c));
    if (determinant.fraction == 0.0) {
        throw vx2Xform::Singular("Matrix is singular.");
    }
    const vxMatrix<2> inverse(quotient(d, determinant), quotient(-b, determinant), quotient(-c, determinant),
                              quotient(a, determinant));
    if (!isFinite(inverse)) {
        throw vx2Xform::Singular("Inverse of matrix is out of range.");
    }
    return inverse;
}

/// The identity that every default cache stands for. Never destroyed, so that caches and images with static
/// storage may be used until the process ends.
const vx2XformLinear& identity() noexcept {
    alignas(vx2XformLinear) static std::byte storage[sizeof(vx2XformLinear)];
    static const vx2XformLinear* const object = ::new (storage) vx2XformLinear;
    return *object;
}

const vx_Instantiator exemplars[] = {
    {typeid(vx2XformLinear), []() -> vxPersistent* { return new vx2XformLinear; }},
    {typeid(vx2Xform::Singular), vx2Xform::Singular::make},
    {typeid(vx2Xform::NotLinear), vx2Xform::NotLinear::make},
};
} // namespace

vxMatrix<2>::vxMatrix(vxRadian shear, vxRadian rotation, double xScale, double yScale)
    : vxMatrix(rotationOf(rotation) * vxMatrix(1.0, std::tan(shear.toDouble()), 0.0, 1.0) *
               vxMatrix(xScale, 0.0, 0.0, yScale)) {}

double vxMatrix<2>::element(int row, int column) const {
    if (row < 0 || row > 1 || column < 0 || column > 1) {
        throw std::out_of_range("vxMatrix<2>: no such element");
    }
    return e_[row][column];
}

double vxMatrix<2>::determinant() const noexcept {
    return e_[0][0] * e_[1][1] - e_[0][1] * e_[1][0];
}

vxMatrix<2> operator*(const vxMatrix<2>& a, const vxMatrix<2>& b) noexcept {
    const auto entry = [&a, &b](int row, int column) {
        return a.e_[row][0] * b.e_[0][column] + a.e_[row][1] * b.e_[1][column];
    };
    return {entry(0, 0), entry(0, 1), entry(1, 0), entry(1, 1)};
}

vxVector<2> operator*(const vxMatrix<2>& m, const vxVector<2>& v) noexcept {
    return {m.e_[0][0] * v.x() + m.e_[0][1] * v.y(), m.e_[1][0] * v.x() + m.e_[1][1] * v.y()};
}

vxXform<2>::vxXform(const vxMatrix<2>& matrix, const vxVector<2>& translation) noexcept
    : matrix_(matrix), translation_(translation) {}

vxXform<2>::vxXform(const vxVector<2>& translation, double xScale, double yScale, vxRadian shear,
                    vxRadian rotation)
    : matrix_(shear, rotation, xScale, yScale), translation_(translation) {}

vxXform<2> vxXform<2>::inverse() const {
    const vxMatrix<2> matrix = inverseOf(matrix_);
    return {matrix, vxVector<2>() - matrix * translation_};
}

vxVector<2> operator*(const vxXform<2>& xform, const vxVector<2>& v) noexcept {
    return xform.matrix_ * v + xform.translation_;
}

vxXform<2> operator*(const vxXform<2>& a, const vxXform<2>& b) noexcept {
    return {a.matrix_ * b.matrix_, a.matrix_ * b.translation_ + a.translation_};
}

vx2Xform::~vx2Xform() = default;

vx2Xform::Singular::~Singular() = default;

vx2Xform::NotLinear::~NotLinear() = default;

vx2XformLinear::vx2XformLinear(const vxXform<2>& xform) noexcept : xform_(xform) {}

vx2XformLinear::~vx2XformLinear() = default;

vxVector<2> vx2XformLinear::mapPoint(const vxVector<2>& point) const {
    return xform_ * point;
}

std::unique_ptr<vx2Xform> vx2XformLinear::clone() const {
    return std::make_unique<vx2XformLinear>(*this);
}

void vx2XformLinear::dispatchSerialize(vxArchive& archive) {
    if (haveVisited(archive, this, sizeof(vx2XformLinear))) {
        return;
    }
    vf_ArchiveVersion(archive, "vx2XformLinear");
    vx2Xform::dispatchSerialize(archive);
    vxXform<2> xform = xform_;
    archive || xform;
    if (archive.isLoading()) {
        archive.onRollback([this, before = xform_] { xform_ = before; });
        mutating();
        xform_ = xform;
    }
    setVisited(archive, this, sizeof(vx2XformLinear));
}

void vx2XformCache::xform(const vx2Xform& xform) {
    std::shared_ptr<const vx2Xform> copy = xform.clone();
    VX_ASSERT(copy != nullptr);
    xform_ = std::move(copy);
}

const vx2Xform& vx2XformCache::xform() const noexcept {
    return xform_ != nullptr ? *xform_ : identity();
}

bool vx2XformCache::isLinear() const noexcept {
    return dynamic_cast<const vx2XformLinear*>(&xform()) != nullptr;
}

const vxXform<2>& vx2XformCache::linearXform() const {
    const auto* linear = dynamic_cast<const vx2XformLinear*>(&xform());
    if (linear == nullptr) {
        throw vx2Xform::NotLinear("Transform is not linear.");
    }
    return linear->xform();
}

vxArchive& operator||(vxArchive& archive, vxXform<2>& value) {
    const vxMatrix<2>& matrix = value.matrix();
    double elements[] = {matrix.element(0, 0), matrix.element(0, 1),    matrix.element(1, 0),
                         matrix.element(1, 1), value.translation().x(), value.translation().y()};
    for (double& element : elements) {
        archive || element;
    }
    if (archive.isLoading()) {
        value = vxXform<2>({elements[0], elements[1], elements[2], elements[3]}, {elements[4], elements[5]});
    }
    return archive;
}

namespace {
/// Stores a copy: copies of a cache share the transform, and storing is not a const operation.
void store(vxArchive& archive, const vx2Xform& xform) {
    const std::unique_ptr<vx2Xform> copy = xform.clone();
    vxPersistent* object = copy.get();
    archive || object;
}

std::shared_ptr<const vx2Xform> load(vxArchive& archive) {
    vxPersistent* object = nullptr;
    archive || object;
    const std::shared_ptr<const vxPersistent> owner(object);
    auto xform = std::dynamic_pointer_cast<const vx2Xform>(owner);
    if (xform == nullptr) {
        archive.refuse("a client transform that is none");
    }
    return xform;
}
} // namespace

vxArchive& operator||(vxArchive& archive, vx2XformCache& value) {
    if (archive.isLoading()) {
        value.xform_ = load(archive);
    } else {
        store(archive, value.xform());
    }
    return archive;
}
