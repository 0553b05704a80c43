/// \file
/// The rows of kavsys and of kavstd without the archive and what stands on it.
#include "kavstd/attention.h"
#include "kavsys/aligned_memory.h"
#include "kavsys/assert.h"
#include "tests/fault/operands.h"

#include <functional>
#include <stdexcept>

namespace fault {
namespace {

constexpr const char* longText = "a text that is longer than what a string keeps within itself";

std::vector<Row> alignedMemoryRows() {
    return {strong(
        {"vf_AllocateAligned(std::size_t size, std::size_t alignment)", "vf_FreeAligned(void* memory)"}, "",
        [] { return std::tuple(); }, [] { vf_FreeAligned(vf_AllocateAligned(100, 64)); })};
}

std::vector<Row> assertRows() {
    const std::string name = "vxAssertionFailure::";
    return {strong(
                {"vfAssertionFailed(const char* expression, const char* file, long line)"}, "",
                [] { return std::tuple(); },
                [] { refused<vxAssertionFailure>([] { vfAssertionFailed(longText, longText, 3); }); }),
            cannotFail(
                {name + "vxAssertionFailure(const vxAssertionFailure&)",
                 name + "operator=(const vxAssertionFailure&)", name + "~vxAssertionFailure()"},
                "", [] { return std::tuple(std::make_shared<vxAssertionFailure>(longText)); },
                [](auto& failure) {
                    vxAssertionFailure copy(*failure);
                    copy = *failure;
                    *failure = copy;
                })};
}

std::vector<Row> pairRows() {
    return {cannotFail(
                {"vxPair::vxPair()", "vxPair::vxPair(T x, T y)", "vxPair::x() const", "vxPair::y() const",
                 "vxPair::x(T value)", "vxPair::y(T value)", "operator==(const vxPair& a, const vxPair& b)",
                 "operator!=(const vxPair& a, const vxPair& b)"},
                "", [] { return std::tuple(vxPair<double>(), false); },
                [](vxPair<double>& pair, bool& result) {
                    const vxPair<double> other(1.0, 2.0);
                    pair.x(other.y());
                    pair.y(other.x());
                    result = pair == other || pair != vxPair<double>();
                }),
            cannotFail(
                {"vxRadian::vxRadian()", "vxRadian::vxRadian(double radians)", "vxRadian::toDouble() const",
                 "vxRadian::operator-() const", "vxRadian::norm() const",
                 "operator==(vxRadian a, vxRadian b)", "operator!=(vxRadian a, vxRadian b)"},
                "", [] { return std::tuple(vxRadian(), 0.0); },
                [](vxRadian& angle, double& result) {
                    angle = (-vxRadian(7.5)).norm();
                    result = angle.toDouble() + (angle == vxRadian() || angle != -angle ? 1.0 : 0.0);
                })};
}

std::vector<Row> linearRows() {
    const vxMatrix<2> matrix(1.0, 2.0, 3.0, 5.0);
    const vxXform<2> xform(matrix, {1.0, -1.0});
    const std::string scaled = "double xScale, double yScale";
    return {
        cannotFail(
            {"vxVector<2>::vxVector()", "vxVector<2>::vxVector(double x, double y)", "vxVector<2>::x() const",
             "vxVector<2>::y() const", "operator+(const vxVector& a, const vxVector& b)",
             "operator-(const vxVector& a, const vxVector& b)",
             "operator==(const vxVector& a, const vxVector& b)",
             "operator!=(const vxVector& a, const vxVector& b)"},
            "", [] { return std::tuple(vxVector<2>(), false); },
            [](vxVector<2>& vector, bool& result) {
                vector = vector + vxVector<2>(2.0, 3.0) - vxVector<2>(vector.y(), vector.x());
                result = vector == vxVector<2>(2.0, 3.0) && vector != vxVector<2>();
            }),
        cannotFail(
            {"vxMatrix<2>::vxMatrix()",
             "vxMatrix<2>::vxMatrix(double e00, double e01, double e10, double e11)",
             "vxMatrix<2>::vxMatrix(vxRadian shear, vxRadian rotation, " + scaled + ")",
             "vxMatrix<2>::element(int row, int column) const", "vxMatrix<2>::determinant() const",
             "operator*(const vxMatrix& a, const vxMatrix& b)",
             "operator*(const vxMatrix& m, const vxVector<2>& v)",
             "operator==(const vxMatrix& a, const vxMatrix& b)",
             "operator!=(const vxMatrix& a, const vxMatrix& b)"},
            "", [=] { return std::tuple(matrix, vxVector<2>(), 0.0); },
            [](vxMatrix<2>& m, vxVector<2>& vector, double& result) {
                m = m * vxMatrix<2>(vxRadian(0.1), vxRadian(0.2), 2.0, 3.0) * vxMatrix<2>(1.0, 2.0, 3.0, 4.0);
                vector = m * vxVector<2>(1.0, 1.0);
                result = m.element(1, 0) + m.determinant() + (m == vxMatrix<2>() ? 1.0 : 0.0) +
                         (m != vxMatrix<2>() ? 2.0 : 0.0);
            }),
        cannotFail(
            {"vxXform<2>::vxXform()",
             "vxXform<2>::vxXform(const vxMatrix<2>& matrix, const vxVector<2>& translation)",
             "vxXform<2>::vxXform(const vxVector<2>& translation, " + scaled +
                 ", vxRadian shear, vxRadian rotation)",
             "vxXform<2>::matrix() const", "vxXform<2>::translation() const", "vxXform<2>::inverse() const",
             "operator*(const vxXform& xform, const vxVector<2>& v)",
             "operator*(const vxXform& a, const vxXform& b)",
             "operator==(const vxXform& a, const vxXform& b)",
             "operator!=(const vxXform& a, const vxXform& b)"},
            "", [=] { return std::tuple(xform, vxVector<2>(), false); },
            [](vxXform<2>& x, vxVector<2>& vector, bool& result) {
                const vxXform<2> other({1.0, 2.0}, 3.0, 4.0, vxRadian(0.1), vxRadian(0.2));
                vector = x * vector + other.translation();
                x = vxXform<2>(other.matrix(), x.translation()) * x.inverse();
                result = x == vxXform<2>() || x != other;
            }),
        strong(
            {"vxXform<2>::inverse() const"}, "refused",
            [] {
                return std::tuple(vxXform<2>({0, 0, 0, 0}, {}));
            },
            [](const vxXform<2>& x) {
                refused<vx2Xform::Singular>([&] { static_cast<void>(x.inverse()); });
            }),
        strong(
            {"vxMatrix<2>::element(int row, int column) const"}, "refused",
            [=] { return std::tuple(matrix); },
            [](const vxMatrix<2>& m) {
                refused<std::out_of_range>([&] { static_cast<void>(m.element(2, 0)); });
            }),
    };
}

/// A transform of a user's own, not linear.
class Bent : public vx2Xform {
public:
    [[nodiscard]] vxVector<2> mapPoint(const vxVector<2>& point) const override {
        return {point.x() * point.x(), point.y()};
    }
    [[nodiscard]] std::unique_ptr<vx2Xform> clone() const override { return std::make_unique<Bent>(); }
};
const vx_Instantiator bentExemplar(typeid(Bent), []() -> vxPersistent* { return new Bent; });

vx2XformCache holding(const vx2Xform& xform) {
    vx2XformCache cache;
    cache.xform(xform);
    return cache;
}

std::vector<Row> xformRows() {
    const std::string linear = "vx2XformLinear::";
    const std::string cache = "vx2XformCache::";
    const vx2XformLinear some(vxXform<2>({1.0, 2.0, 3.0, 5.0}, {1.0, -1.0}));
    std::vector<Row> rows = {
        cannotFail(
            {linear + "vx2XformLinear()", linear + "vx2XformLinear(const vxXform<2>& xform)",
             linear + "xform() const", linear + "mapPoint(const vxVector<2>& point) const",
             "vx2Xform::mapPoint(const vxVector<2>& point) const", linear + "~vx2XformLinear()",
             "vx2Xform::~vx2Xform()"},
            "", [] { return std::tuple(vxVector<2>(1.0, 2.0)); },
            [](vxVector<2>& point) {
                const vx2XformLinear identity;
                point = vx2XformLinear(identity.xform()).mapPoint(point);
            }),
        strong(
            {linear + "clone() const", "vx2Xform::clone() const"}, "",
            [some] { return std::tuple(vx2XformLinear(some), std::unique_ptr<vx2Xform>()); },
            [](const vx2XformLinear& xform, auto& copy) { copy = xform.clone(); }),
        cannotFail(
            {cache + "vx2XformCache()", cache + "setIdentity()", cache + "xform() const",
             cache + "isLinear() const", cache + "linearXform() const"},
            "", [some] { return std::tuple(holding(some), vx2XformCache(), 0.0); },
            [](vx2XformCache& held, vx2XformCache& copy, double& sum) {
                copy = held;
                sum = held.linearXform().translation().x() + (held.isLinear() ? 1.0 : 0.0);
                sum += held.xform().mapPoint({1.0, 1.0}).y();
                held.setIdentity();
            }),
        strong(
            {cache + "linearXform() const"}, "refused", [] { return std::tuple(holding(Bent())); },
            [](const vx2XformCache& held) {
                refused<vx2Xform::NotLinear>([&] { static_cast<void>(held.linearXform()); });
            }),
    };
    for (const bool bent : {false, true}) {
        const auto make = [bent, some] { return bent ? holding(Bent()) : holding(some); };
        const std::string state = bent ? "not linear" : "linear";
        rows.push_back(strong(
            {cache + "xform(const vx2Xform& xform)"}, state,
            [=] { return std::tuple(make(), holding(some)); },
            [](vx2XformCache& held, const vx2XformCache& other) { held.xform(other.xform()); }));
        append(rows, archiveRowsOf({"operator||(vxArchive& archive, vx2XformCache& value)"}, state, make,
                                   [] { return vx2XformCache(); }));
    }
    append(rows, archiveRowsOf(
                     {linear + "dispatchSerialize(vxArchive& archive)"}, "",
                     [some] { return vx2XformLinear(some); }, [] { return vx2XformLinear(); }));
    append(rows, archiveRowsOf(
                     {"operator||(vxArchive& archive, vxXform<2>& value)"}, "",
                     [some] { return some.xform(); }, [] { return vxXform<2>(); }));
    append(rows, archiveRowsOf(
                     {"operator||(vxArchive& archive, vxRadian& value)"}, "", [] { return vxRadian(1.5); },
                     [] { return vxRadian(); }));
    return rows;
}

template <class T>
std::vector<Row> pelRows() {
    using Image = vxPelBuffer<T>;
    using Reading = vxPelBuffer_const<T>;
    const std::string state = pelName<T>();
    const std::string reading = "vxPelBuffer_const::";
    const std::string writing = "vxPelBuffer::";
    const std::string base = "vx_PelBuffer::";
    const std::string sizes = "(long width, long height, long alignment = 32)";
    const std::string bound =
        " pels, long width, long height, long rowUpdate, std::shared_ptr<void> owner = {})";
    const auto make = [] { return std::tuple(image<T>(5, 3, {-1, 2}), Image(), 0.0); };
    return {
        strong(
            {reading + "vxPelBuffer_const" + sizes,
             base + "allocate(long width, long height, long alignment, "
                    "std::size_t pelSize)",
             base + "clear(std::size_t pelSize)"},
            state, [] { return std::tuple(std::optional<Reading>()); },
            [](std::optional<Reading>& made) { made.emplace(5, 3); }),
        strong(
            {writing + "vxPelBuffer" + sizes}, state, [] { return std::tuple(std::optional<Image>()); },
            [](std::optional<Image>& made) { made.emplace(5, 3, 64); }),
        strong(
            {writing + "unset" + sizes, "vfPelSet(vxPelBuffer<T>& image, std::common_type_t<T> value)"},
            state, [] { return std::tuple(Image()); },
            [](Image& made) {
                Image pels = Image::unset(5, 3);
                vfPelSet(pels, T(1));
                made = pels;
            }),
        strong(
            {writing + "vxPelBuffer" + sizes}, state + ", refused", [] { return std::tuple(Image()); },
            [](Image& made) { refused<vx_PelBuffer::BadGeometry>([&] { made = Image(5, 3, 3); }); }),
        cannotFail({reading + "vxPelBuffer_const()",
                    writing + "vxPelBuffer()",
                    base + "vx_PelBuffer()",
                    base + "vx_PelBuffer(const vx_PelBuffer&)",
                    base + "operator=(const vx_PelBuffer&)",
                    base + "~vx_PelBuffer()",
                    reading + "pointToOffset() const",
                    writing + "pointToOffset() const",
                    reading + "pointToRow(long y) const",
                    writing + "pointToRow(long y) const",
                    base + "distanceToRow(long y) const",
                    reading + "window(long x, long y, long width, long height) "
                              "const",
                    writing + "window(long x, long y, long width, long height) const",
                    base + "distanceToWindow(long x, long y, long width, long height) const",
                    base + "narrow(void* pels, long x, long y, long width, long height)",
                    base + "isBound() const",
                    base + "width() const",
                    base + "height() const",
                    base + "rowUpdate() const",
                    base + "offset() const",
                    base + "offset(const vxPair<long>& value)",
                    base + "offset(long x, long y)",
                    base + "xformCache() const",
                    base + "copyXforms(const vx2XformCache& value)",
                    "vfPelSet(vxPelBuffer<T>& image, std::common_type_t<T> value)",
                    "vfPelCopy(const vxPelBuffer_const<T>& source, vxPelBuffer<T>& destination)"},
                   state, make,
                   [](Image& pels, Image& copy, double& sum) {
                       const Reading unbound;
                       const Reading window = static_cast<const Reading&>(pels).window(0, 3, 2, 2);
                       copy = pels.window(-1, 2, 4, 2);
                       copy.offset(copy.offset().x(), 1);
                       copy.offset(vxPair<long>(0, copy.offset().y()));
                       copy.copyXforms(unbound.xformCache());
                       vfPelSet(copy, T(9));
                       vfPelCopy(window, copy); // Within one image.
                       *copy.pointToRow(1) = *window.pointToRow(4);
                       *copy.pointToOffset() = *window.pointToOffset();
                       sum = static_cast<double>(copy.rowUpdate() + copy.width() + copy.height());
                       sum += unbound.isBound() ? 1.0 : 0.0;
                   }),
        strong(
            {"vfPelCopy(const vxPelBuffer_const<T>& source, vxPelBuffer<T>& destination)"},
            state + ", upside down within one image",
            [] {
                // Windows of opposite row updates that share their memory.
                Image pels = image<T>(5, 3);
                const auto owner = std::make_shared<Image>(pels);
                Image flipped(pels.pointToRow(2), 5, 3, -pels.rowUpdate(), owner);
                return std::tuple(pels, flipped);
            },
            [](const Image& pels, Image& flipped) { vfPelCopy(pels, flipped); }),
        cannotFail({reading + "vxPelBuffer_const(const T*" + bound, writing + "vxPelBuffer(T*" + bound,
                    base + "bind(void* pels, long width, long height, long rowUpdate, std::size_t pelSize, "
                           "std::shared_ptr<void> owner)"},
                   state, make,
                   [](Image& pels, Image& alias, double& sum) {
                       const auto owner = std::shared_ptr<void>(); // None.
                       alias = Image(pels.pointToOffset(), 2, 2, pels.rowUpdate(), owner);
                       sum = static_cast<double>(*Reading(alias.pointToOffset(), 1, 1, 1).pointToOffset());
                   }),
        strong({writing + "window(long x, long y, long width, long height) const"}, state + ", refused", make,
               [](const Image& pels, Image& /*none*/, double& /*none*/) {
                   refused<vx_PelBuffer::BadGeometry>([&] { static_cast<void>(pels.window(0, 0, 9, 9)); });
               }),
    };
}

std::vector<Row> attentionRows() {
    const std::string install = "vxAttention::Scope::Scope(std::function<void()> handler)";
    return {cannotFail(
                {install, "vxAttention::Scope::~Scope()"}, "", [] { return std::tuple(0L); },
                [](long& count) {
                    const vxAttention::Scope scope([&count] { ++count; });
                    vxAttention::check();
                }),
            strong(
                {"vxAttention::check()"}, "", [] { return std::tuple(); }, [] { vxAttention::check(); }),
            strong(
                {"vxAttention::check()"}, "a handler that throws", [] { return std::tuple(std::string()); },
                [](std::string& caught) {
                    const vxAttention::Scope scope([] { throw std::runtime_error(longText); });
                    try {
                        vxAttention::check();
                    } catch (const std::runtime_error& error) {
                        caught = error.what();
                    }
                })};
}

} // namespace

std::vector<Row> coreRows() {
    std::vector<Row> rows = alignedMemoryRows();
    append(rows, assertRows());
    append(rows, pairRows());
    append(rows, linearRows());
    append(rows, xformRows());
    append(rows, pelRows<unsigned char>());
    append(rows, pelRows<unsigned short>());
    append(rows, pelRows<double>());
    append(rows, attentionRows());
    return rows;
}

} // namespace fault
