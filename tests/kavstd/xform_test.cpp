#include "kavstd/xform.h"

#include "kavstd/archive.h"
#include "kavsys/assert.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// A transform that no matrix does: the squares of the coordinates, scaled.
class Squares : public vx2Xform {
public:
    explicit Squares(double factor = 0.0) : factor_(factor) {}
    [[nodiscard]] double factor() const { return factor_; }

    [[nodiscard]] vxVector<2> mapPoint(const vxVector<2>& point) const override {
        return {factor_ * point.x() * point.x(), factor_ * point.y() * point.y()};
    }
    [[nodiscard]] std::unique_ptr<vx2Xform> clone() const override {
        return std::make_unique<Squares>(*this);
    }

protected:
    void dispatchSerialize(vxArchive& archive) override {
        if (haveVisited(archive, this, sizeof(Squares))) {
            return;
        }
        double factor = factor_;
        archive || factor;
        if (archive.isLoading()) {
            factor_ = factor;
        }
        setVisited(archive, this, sizeof(Squares));
    }

private:
    double factor_;
};

/// A transform that was not registered.
class Unregistered : public Squares {
public:
    [[nodiscard]] std::unique_ptr<vx2Xform> clone() const override {
        return std::make_unique<Unregistered>();
    }
};

/// A transform that breaks the promise of clone.
class NotCloned : public Squares {
public:
    [[nodiscard]] std::unique_ptr<vx2Xform> clone() const override { return nullptr; }
};

/// A linear transform with more to it.
class NamedLinear : public vx2XformLinear {
public:
    using vx2XformLinear::vx2XformLinear;
    [[nodiscard]] std::unique_ptr<vx2Xform> clone() const override {
        return std::make_unique<NamedLinear>(*this);
    }
};

/// Something persistent that is not a transform.
class Unrelated : public vxPersistent {};

template <class T>
vxPersistent* make() {
    return new T;
}
const vx_Instantiator squaresExemplar(typeid(Squares), &make<Squares>);
const vx_Instantiator unrelatedExemplar(typeid(Unrelated), &make<Unrelated>);

const vxXform<2> someXform({2.0, 3.0, 5.0, 7.0}, {11.0, -13.0});

void expectElements(const vxMatrix<2>& m, double e00, double e01, double e10, double e11) {
    EXPECT_EQ(m.element(0, 0), e00);
    EXPECT_EQ(m.element(0, 1), e01);
    EXPECT_EQ(m.element(1, 0), e10);
    EXPECT_EQ(m.element(1, 1), e11);
}

template <class Error, class Operation>
void expectError(Operation operation, long number, const std::string& message) {
    try {
        operation();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const vxExceptionWithString& error) {
        EXPECT_EQ(typeid(error), typeid(Error));
        EXPECT_EQ(error.errorNumber(), number);
        EXPECT_EQ(error.what(), message);
    }
}

// --- Vectors

TEST(VectorTest, AddsSubtractsCompares) {
    constexpr vxVector<2> a(1.0, 2.0);
    constexpr vxVector<2> b(10.0, -20.0);
    static_assert(a + b == vxVector<2>(11.0, -18.0));
    static_assert(a - b == vxVector<2>(-9.0, 22.0));
    EXPECT_EQ(vxVector<2>(), vxVector<2>(0.0, 0.0));
    EXPECT_NE(a, vxVector<2>(1.0, 3.0));
    EXPECT_NE(a, vxVector<2>(3.0, 2.0));
    EXPECT_NE(vxVector<2>(nan, 0.0), vxVector<2>(nan, 0.0));
}

// --- Matrices

TEST(MatrixTest, DefaultIsTheIdentity) {
    expectElements(vxMatrix<2>(), 1.0, 0.0, 0.0, 1.0);
}

TEST(MatrixTest, TakesElementsRowByRow) {
    expectElements(vxMatrix<2>(1.0, 2.0, 3.0, 4.0), 1.0, 2.0, 3.0, 4.0);
}

TEST(MatrixTest, RefusesElementsThatDoNotExist) {
    const vxMatrix<2> m;
    constexpr int highest = std::numeric_limits<int>::max();
    for (const int wrong : {-1, 2, highest, -highest - 1}) {
        EXPECT_THROW((void)m.element(wrong, 0), std::out_of_range);
        EXPECT_THROW((void)m.element(0, wrong), std::out_of_range);
    }
}

TEST(MatrixTest, MultipliesRowsByColumns) {
    const vxMatrix<2> a(1.0, 2.0, 3.0, 4.0);
    const vxMatrix<2> b(5.0, 6.0, 7.0, 8.0);
    EXPECT_EQ(a * b, vxMatrix<2>(19.0, 22.0, 43.0, 50.0));
    EXPECT_EQ(b * a, vxMatrix<2>(23.0, 34.0, 31.0, 46.0));
    EXPECT_EQ(a * vxVector<2>(10.0, 100.0), vxVector<2>(210.0, 430.0));
}

TEST(MatrixTest, ComparesEveryElement) {
    const vxMatrix<2> m(1.0, 2.0, 3.0, 4.0);
    EXPECT_EQ(m, vxMatrix<2>(1.0, 2.0, 3.0, 4.0));
    EXPECT_NE(m, vxMatrix<2>(0.0, 2.0, 3.0, 4.0));
    EXPECT_NE(m, vxMatrix<2>(1.0, 0.0, 3.0, 4.0));
    EXPECT_NE(m, vxMatrix<2>(1.0, 2.0, 0.0, 4.0));
    EXPECT_NE(m, vxMatrix<2>(1.0, 2.0, 3.0, 0.0));
}

TEST(MatrixTest, Determinant) {
    EXPECT_EQ(vxMatrix<2>().determinant(), 1.0);
    EXPECT_EQ(vxMatrix<2>(1.0, 2.0, 3.0, 4.0).determinant(), -2.0);
    EXPECT_EQ(vxMatrix<2>(1.0, 2.0, 2.0, 4.0).determinant(), 0.0);
}

// The frequency filters turn their lobes with this: the elements must be the sine and the cosine themselves.
TEST(MatrixTest, ARotationHoldsSineAndCosineToTheBit) {
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> angles(-10.0, 10.0);
    for (int i = 0; i < 1000; ++i) {
        const double angle = angles(random);
        const double c = std::cos(angle);
        const double s = std::sin(angle);
        expectElements(vxMatrix<2>(vxRadian(0.0), vxRadian(angle), 1.0, 1.0), c, -s, s, c);
    }
}

TEST(MatrixTest, ARotationTurnsXTowardY) {
    const vxMatrix<2> quarter(vxRadian(0.0), vxRadian(std::acos(0.0)), 1.0, 1.0);
    const vxVector<2> turned = quarter * vxVector<2>(1.0, 0.0);
    EXPECT_NEAR(turned.x(), 0.0, 1e-15);
    EXPECT_EQ(turned.y(), 1.0);
}

TEST(MatrixTest, AShearMovesXByTheTangentTimesY) {
    expectElements(vxMatrix<2>(vxRadian(0.5), vxRadian(0.0), 1.0, 1.0), 1.0, std::tan(0.5), 0.0, 1.0);
}

TEST(MatrixTest, ScalesTheAxes) {
    expectElements(vxMatrix<2>(vxRadian(0.0), vxRadian(0.0), 3.0, -4.0), 3.0, 0.0, 0.0, -4.0);
}

TEST(MatrixTest, AppliesScaleThenShearThenRotation) {
    const double c = std::cos(0.75);
    const double s = std::sin(0.75);
    const vxMatrix<2> rotation(c, -s, s, c);
    const vxMatrix<2> shear(1.0, std::tan(0.25), 0.0, 1.0);
    const vxMatrix<2> scale(2.0, 0.0, 0.0, 5.0);
    const vxMatrix<2> all(vxRadian(0.25), vxRadian(0.75), 2.0, 5.0);
    EXPECT_EQ(all, rotation * shear * scale);
    EXPECT_NE(all, scale * shear * rotation);
    EXPECT_NE(all, shear * rotation * scale);
}

// --- Affine transforms

TEST(XformTest, DefaultIsTheIdentity) {
    const vxXform<2> xform;
    EXPECT_EQ(xform.matrix(), vxMatrix<2>());
    EXPECT_EQ(xform.translation(), vxVector<2>());
    EXPECT_EQ(xform * vxVector<2>(3.0, 4.0), vxVector<2>(3.0, 4.0));
}

TEST(XformTest, MapsByMatrixThenTranslation) {
    EXPECT_EQ(someXform * vxVector<2>(1.0, 10.0), vxVector<2>(2.0 + 30.0 + 11.0, 5.0 + 70.0 - 13.0));
}

TEST(XformTest, TakesItsParts) {
    const vxXform<2> xform(vxVector<2>(1.0, 2.0), 3.0, 4.0, vxRadian(0.25), vxRadian(0.75));
    EXPECT_EQ(xform.translation(), vxVector<2>(1.0, 2.0));
    EXPECT_EQ(xform.matrix(), vxMatrix<2>(vxRadian(0.25), vxRadian(0.75), 3.0, 4.0));
}

TEST(XformTest, AProductAppliesTheRightFactorFirst) {
    const vxXform<2> other({0.0, 1.0, -2.0, 0.5}, {4.0, 8.0});
    const vxVector<2> point(3.0, -5.0);
    EXPECT_EQ((someXform * other) * point, someXform * (other * point));
    EXPECT_NE((someXform * other) * point, other * (someXform * point));
}

TEST(XformTest, ComparesMatrixAndTranslation) {
    EXPECT_EQ(someXform, vxXform<2>({2.0, 3.0, 5.0, 7.0}, {11.0, -13.0}));
    EXPECT_NE(someXform, vxXform<2>({2.0, 3.0, 5.0, 8.0}, {11.0, -13.0}));
    EXPECT_NE(someXform, vxXform<2>({2.0, 3.0, 5.0, 7.0}, {11.0, 13.0}));
}

TEST(XformTest, InvertsExactlyWhereTheQuotientsAreExact) {
    EXPECT_EQ(vxXform<2>().inverse(), vxXform<2>());
    // The determinant is -1.
    EXPECT_EQ(someXform.inverse(), vxXform<2>({-7.0, 3.0, 5.0, -2.0}, {116.0, -81.0}));
    EXPECT_EQ(vxXform<2>({1.0, 2.0, 3.0, 4.0}, {}).inverse().matrix(), vxMatrix<2>(-2.0, 1.0, 1.5, -0.5));
    EXPECT_EQ(vxXform<2>({0.0, 2.0, -4.0, 0.0}, {}).inverse().matrix(), vxMatrix<2>(0.0, -0.25, 0.5, 0.0));
}

// Away from over- and underflow the inverse is the textbook's, each operation rounded as written.
TEST(XformTest, InverseIsTheAdjugateOverTheDeterminant) {
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> elements(-100.0, 100.0);
    for (int i = 0; i < 10000; ++i) {
        const double a = elements(random);
        const double b = elements(random);
        const double c = elements(random);
        const double d = elements(random);
        const vxMatrix<2> m(a, b, c, d);
        const double determinant = m.determinant();
        ASSERT_EQ(vxXform<2>(m, {}).inverse().matrix(),
                  vxMatrix<2>(d / determinant, -b / determinant, -c / determinant, a / determinant));
    }
}

TEST(XformTest, InverseUndoesATransform) {
    const vxXform<2> xform(vxVector<2>(100.0, -50.0), 1.5, 0.75, vxRadian(0.3), vxRadian(2.0));
    const vxVector<2> back = xform.inverse() * (xform * vxVector<2>(12.0, 34.0));
    EXPECT_NEAR(back.x(), 12.0, 1e-13);
    EXPECT_NEAR(back.y(), 34.0, 1e-13);
}

TEST(XformTest, InvertsAlthoughTheDeterminantOverOrUnderflows) {
    const auto inverse = [](const vxMatrix<2>& m) { return vxXform<2>(m, {}).inverse().matrix(); };
    EXPECT_EQ(inverse({0x1p-700, 0.0, 0.0, 0x1p-700}), vxMatrix<2>(0x1p700, 0.0, 0.0, 0x1p700));
    EXPECT_EQ(inverse({0x1p700, 0.0, 0.0, 0x1p700}), vxMatrix<2>(0x1p-700, 0.0, 0.0, 0x1p-700));
    EXPECT_EQ(inverse({0.0, 0x1p-700, 0x1p-700, 0.0}), vxMatrix<2>(0.0, 0x1p700, 0x1p700, 0.0));
    EXPECT_EQ(inverse({0x1p1000, 0.0, 0.0, 0x1p-1000}), vxMatrix<2>(0x1p-1000, 0.0, 0.0, 0x1p1000));
    EXPECT_EQ(inverse({0x1p1000, 0x1p-1000, 0x1p1000, 0.0}),
              vxMatrix<2>(0.0, 0x1p-1000, 0x1p1000, -0x1p1000));
}

TEST(XformTest, RefusesToInvertWhatHasNoInverse) {
    const auto refused = [](const vxMatrix<2>& m, const char* message) {
        expectError<vx2Xform::Singular>(
            [&m] {
                (void)vxXform<2>(m, {1.0, 2.0}).inverse();
            },
            0x10006210, message);
    };
    refused({0.0, 0.0, 0.0, 0.0}, "Matrix is singular.");
    refused({1.0, 2.0, 2.0, 4.0}, "Matrix is singular.");
    refused({0.0, 0.0, 3.0, 4.0}, "Matrix is singular.");
    refused({0.0, 3.0, 0.0, 4.0}, "Matrix is singular.");
    refused({nan, 0.0, 0.0, 1.0}, "Matrix is not finite.");
    refused({1.0, infinity, 0.0, 1.0}, "Matrix is not finite.");
    refused({1.0, 0.0, -infinity, 1.0}, "Matrix is not finite.");
    refused({1.0, 0.0, 0.0, nan}, "Matrix is not finite.");
    refused({5e-324, 0.0, 0.0, 1.0}, "Inverse of matrix is out of range.");
    refused({1.0, 0.0, 0.0, 5e-324}, "Inverse of matrix is out of range.");
}

// --- Transforms of any shape

TEST(LinearTest, MapsAndClones) {
    EXPECT_EQ(vx2XformLinear().xform(), vxXform<2>());
    const vx2XformLinear linear(someXform);
    EXPECT_EQ(linear.xform(), someXform);
    EXPECT_EQ(linear.mapPoint({3.0, 4.0}), someXform * vxVector<2>(3.0, 4.0));
    const std::unique_ptr<vx2Xform> copy = linear.clone();
    EXPECT_EQ(dynamic_cast<const vx2XformLinear&>(*copy).xform(), someXform);
}

// --- The cache

TEST(CacheTest, DefaultIsTheIdentity) {
    const vx2XformCache cache;
    EXPECT_TRUE(cache.isLinear());
    EXPECT_EQ(cache.linearXform(), vxXform<2>());
    EXPECT_EQ(cache.xform().mapPoint({3.0, 4.0}), vxVector<2>(3.0, 4.0));
}

TEST(CacheTest, KeepsACopyOfALinearTransform) {
    vx2XformCache cache;
    {
        const vx2XformLinear linear(someXform);
        cache.xform(linear);
        EXPECT_NE(&cache.xform(), &linear);
    }
    EXPECT_TRUE(cache.isLinear());
    EXPECT_EQ(cache.linearXform(), someXform);
    EXPECT_EQ(cache.xform().mapPoint({1.0, 10.0}), someXform * vxVector<2>(1.0, 10.0));
}

TEST(CacheTest, ATransformDerivedFromTheLinearOneIsLinear) {
    vx2XformCache cache;
    cache.xform(NamedLinear(someXform));
    EXPECT_TRUE(cache.isLinear());
    EXPECT_EQ(cache.linearXform(), someXform);
}

TEST(CacheTest, KeepsACopyOfAUsersTransform) {
    vx2XformCache cache;
    cache.xform(Squares(2.0));
    EXPECT_FALSE(cache.isLinear());
    EXPECT_EQ(cache.xform().mapPoint({3.0, 4.0}), vxVector<2>(18.0, 32.0));
    expectError<vx2Xform::NotLinear>([&cache] { (void)cache.linearXform(); }, 0x10006211,
                                     "Transform is not linear.");
}

TEST(CacheTest, SetIdentityForgets) {
    vx2XformCache cache;
    cache.xform(Squares(2.0));
    cache.setIdentity();
    EXPECT_EQ(cache.linearXform(), vxXform<2>());
}

TEST(CacheTest, MayStoreItsOwnTransform) {
    vx2XformCache cache;
    cache.xform(vx2XformLinear(someXform));
    cache.xform(cache.xform());
    EXPECT_EQ(cache.linearXform(), someXform);
}

TEST(CacheTest, CopiesAreIndependentValues) {
    vx2XformCache cache;
    cache.xform(vx2XformLinear(someXform));
    vx2XformCache copy(cache);
    cache.xform(Squares(1.0));
    EXPECT_EQ(copy.linearXform(), someXform);
    copy = cache;
    cache.setIdentity();
    EXPECT_FALSE(copy.isLinear());
}

TEST(CacheTest, DefaultsCopiesAndIdentitiesNeedNoMemory) {
    static_assert(std::is_nothrow_default_constructible_v<vx2XformCache>);
    static_assert(std::is_nothrow_copy_constructible_v<vx2XformCache>);
    static_assert(std::is_nothrow_copy_assignable_v<vx2XformCache>);
    static_assert(noexcept(std::declval<vx2XformCache&>().setIdentity()));
    vx2XformCache held;
    held.xform(Squares(3.0));
    const failing_allocation::Scope watch;
    vx2XformCache cache;
    const bool linear = cache.linearXform() == vxXform<2>();
    const vx2XformCache copy(held);
    cache = copy;
    const bool shared = &cache.xform() == &held.xform();
    cache.setIdentity();
    EXPECT_EQ(watch.count(), 0);
    EXPECT_TRUE(linear);
    EXPECT_TRUE(shared);
}

TEST(CacheTest, AMovedFromCacheIsTheIdentity) {
    vx2XformCache cache;
    cache.xform(Squares(3.0));
    const vx2XformCache moved(std::move(cache));
    EXPECT_FALSE(moved.isLinear());
    EXPECT_EQ(cache.linearXform(), vxXform<2>()); // NOLINT(bugprone-use-after-move): the point of the test
}

TEST(CacheTest, AFailedStoreLeavesItAsItWas) {
    vx2XformCache cache;
    cache.xform(vx2XformLinear(someXform));
    EXPECT_THROW(cache.xform(NotCloned()), vxAssertionFailure);
    EXPECT_EQ(cache.linearXform(), someXform);

    const Squares squares(1.0);
    const long failures =
        failing_allocation::failEachAllocation([&] { cache.xform(squares); },
                                               [&](bool threw) {
                                                   EXPECT_TRUE(threw);
                                                   EXPECT_EQ(cache.linearXform(), someXform);
                                               });
    EXPECT_GT(failures, 0);
    EXPECT_FALSE(cache.isLinear());
}

vx2XformCache& staticCache() {
    // Made before the shared identity is first asked for, so destroyed after anything that would go with it.
    static vx2XformCache cache;
    return cache;
}
struct ReadsAtExit {
    ReadsAtExit() { (void)staticCache(); }
    ReadsAtExit(const ReadsAtExit&) = delete;
    ReadsAtExit& operator=(const ReadsAtExit&) = delete;
    ~ReadsAtExit() {
        if (staticCache().xform().mapPoint({1.0, 2.0}) != vxVector<2>(1.0, 2.0)) {
            std::abort();
        }
    }
};
const ReadsAtExit readsAtExit; // Aborts the program's exit when the identity is gone.

// --- Archives

template <class T>
std::string stored(T value) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || value;
    return stream.str();
}

template <class T>
void load(const std::string& bytes, T& value) {
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    vxArchive& result = archive || value;
    EXPECT_EQ(&result, &archive);
}

vx2XformCache cacheOf(const vx2Xform& xform) {
    vx2XformCache cache;
    cache.xform(xform);
    return cache;
}

TEST(XformArchiveTest, StoresSixDoubles) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    for (double value : {2.0, 3.0, 5.0, 7.0, 11.0, -13.0}) {
        archive || value;
    }
    EXPECT_EQ(stored(someXform), stream.str());
}

TEST(XformArchiveTest, LoadsWhatWasStored) {
    vxXform<2> loaded;
    load(stored(someXform), loaded);
    EXPECT_EQ(loaded, someXform);
    load(stored(vxXform<2>({nan, 0.0, -0.0, infinity}, {-nan, 5e-324})), loaded);
    EXPECT_TRUE(std::isnan(loaded.matrix().element(0, 0)));
    EXPECT_TRUE(std::signbit(loaded.matrix().element(1, 0)));
    EXPECT_EQ(loaded.matrix().element(1, 1), infinity);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(loaded.translation().x()), std::bit_cast<std::uint64_t>(-nan));
    EXPECT_EQ(loaded.translation().y(), 5e-324);
}

TEST(XformArchiveTest, AShortArchiveLeavesTheTransformAsItWas) {
    const std::string bytes = stored(vxXform<2>());
    const std::size_t header = bytes.size() - 6 * sizeof(double);
    for (std::size_t size = header; size < bytes.size(); ++size) {
        vxXform<2> xform = someXform;
        EXPECT_THROW(load(bytes.substr(0, size), xform), vxArchive::EndOfData);
        EXPECT_EQ(xform, someXform);
    }
}

TEST(CacheArchiveTest, LoadsTheIdentity) {
    vx2XformCache loaded = cacheOf(Squares(1.0));
    load(stored(vx2XformCache()), loaded);
    EXPECT_EQ(loaded.linearXform(), vxXform<2>());
}

TEST(CacheArchiveTest, LoadsALinearTransform) {
    vx2XformCache loaded;
    load(stored(cacheOf(vx2XformLinear(someXform))), loaded);
    EXPECT_EQ(loaded.linearXform(), someXform);
}

TEST(CacheArchiveTest, LoadsAUsersTransform) {
    vx2XformCache loaded;
    load(stored(cacheOf(Squares(2.5))), loaded);
    ASSERT_FALSE(loaded.isLinear());
    EXPECT_EQ(dynamic_cast<const Squares&>(loaded.xform()).factor(), 2.5);
}

TEST(CacheArchiveTest, CopiesInOneArchiveEachKeepTheirTransform) {
    vx2XformCache first = cacheOf(Squares(2.5));
    vx2XformCache second = first;
    std::stringstream stream;
    {
        vxOutputArchive archive(stream);
        archive || first || second;
    }
    vx2XformCache loadedFirst;
    vx2XformCache loadedSecond;
    vxInputArchive archive(stream);
    archive || loadedFirst || loadedSecond;
    EXPECT_EQ(dynamic_cast<const Squares&>(loadedFirst.xform()).factor(), 2.5);
    EXPECT_EQ(dynamic_cast<const Squares&>(loadedSecond.xform()).factor(), 2.5);
    EXPECT_NE(&loadedFirst.xform(), &loadedSecond.xform());
}

TEST(CacheArchiveTest, RefusesNothingAndWhatIsNoTransform) {
    Unrelated unrelated;
    for (vxPersistent* object :
         {static_cast<vxPersistent*>(nullptr), static_cast<vxPersistent*>(&unrelated)}) {
        const std::string bytes = stored(object);
        vx2XformCache cache = cacheOf(vx2XformLinear(someXform));
        EXPECT_THROW(load(bytes, cache), vxArchive::Malformed);
        EXPECT_EQ(cache.linearXform(), someXform);
    }
}

TEST(CacheArchiveTest, ATransformThatIsNotRegisteredIsNotStored) {
    EXPECT_THROW((void)stored(cacheOf(Unregistered())), vxArchive::UnknownType);
}

TEST(CacheArchiveTest, AnArchiveCutShortAnywhereLeavesTheCacheAsItWas) {
    const std::string header = [] {
        std::ostringstream stream;
        const vxOutputArchive archive(stream);
        return stream.str();
    }();
    for (const std::string& bytes : {stored(vx2XformCache()), stored(cacheOf(Squares(1.0)))}) {
        for (std::size_t size = header.size(); size < bytes.size(); ++size) {
            vx2XformCache cache = cacheOf(vx2XformLinear(someXform));
            EXPECT_THROW(load(bytes.substr(0, size), cache), vxArchive::EndOfData) << size;
            EXPECT_EQ(cache.linearXform(), someXform);
        }
    }
}

TEST(LinearArchiveTest, StoresAVersionAndTheTransform) {
    vx2XformLinear linear(someXform);
    std::stringstream stream;
    {
        vxOutputArchive archive(stream);
        archive || linear;
    }
    std::stringstream byHand;
    {
        vxOutputArchive archive(byHand);
        unsigned char version = 0;
        vxXform<2> xform = someXform;
        archive || version || xform;
    }
    EXPECT_EQ(stream.str(), byHand.str());
    vx2XformLinear loaded;
    load(stream.str(), loaded);
    EXPECT_EQ(loaded.xform(), someXform);
}

TEST(LinearArchiveTest, IsStoredOncePerPass) {
    vx2XformLinear linear(someXform);
    std::stringstream twice;
    {
        vxOutputArchive archive(twice);
        archive || linear || linear;
    }
    EXPECT_EQ(twice.str(), stored(linear));
}

TEST(LinearArchiveTest, RefusesAnUnknownVersion) {
    std::string bytes = stored(vx2XformLinear());
    bytes[bytes.size() - 6 * sizeof(double) - 1] = 1;
    vx2XformLinear loaded(someXform);
    EXPECT_THROW(load(bytes, loaded), vxArchive::UnknownVersion);
    EXPECT_EQ(loaded.xform(), someXform);
}

/// A linear transform whose own part cannot be loaded.
class FailsAfterTheBase : public vx2XformLinear {
public:
    using vx2XformLinear::vx2XformLinear;

protected:
    void dispatchSerialize(vxArchive& archive) override {
        vx2XformLinear::dispatchSerialize(archive);
        if (archive.isLoading()) {
            throw std::runtime_error("own part");
        }
    }
};

TEST(LinearArchiveTest, IsRolledBackWhenADerivedPartFails) {
    const std::string bytes = stored(vx2XformLinear());
    FailsAfterTheBase loaded(someXform);
    EXPECT_THROW(load(bytes, loaded), std::runtime_error);
    EXPECT_EQ(loaded.xform(), someXform);
}

// --- Errors

template <class Error>
void expectArchivedAndThrownAgain(long number) {
    vxPersistent* loaded = nullptr;
    {
        const std::unique_ptr<vxPersistent> error = std::make_unique<Error>("why");
        load(stored(error.get()), loaded);
    }
    auto* const rebuilt = dynamic_cast<Error*>(loaded);
    ASSERT_NE(rebuilt, nullptr);
    EXPECT_EQ(rebuilt->errorNumber(), number);
    // Frees the object, which the leak checker would tell.
    expectError<Error>([rebuilt] { rebuilt->suicideAndRethrow(); }, number, "why");
    EXPECT_STREQ(Error().what(), "");
}

TEST(XformErrorTest, AreArchivedAndThrownAgain) {
    expectArchivedAndThrownAgain<vx2Xform::Singular>(268460560);
    expectArchivedAndThrownAgain<vx2Xform::NotLinear>(268460561);
}

} // namespace
