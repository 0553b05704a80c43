#include "kavstd/pelbuffer.h"

#include "kavstd/archive.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <new>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {

static_assert(vx_isPel<unsigned char> && vx_isPel<unsigned short> && vx_isPel<double>);
static_assert(!vx_isPel<int> && !vx_isPel<float> && !vx_isPel<signed char> && !vx_isPel<const double>);

template <class T>
class PelBufferTest : public testing::Test {};
using Pels = testing::Types<unsigned char, unsigned short, double>;
TYPED_TEST_SUITE(PelBufferTest, Pels);

template <class Operation>
void expectBadGeometry(Operation operation, const std::string& message) {
    try {
        operation();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const vxExceptionWithString& error) {
        EXPECT_EQ(typeid(error), typeid(vx_PelBuffer::BadGeometry));
        EXPECT_EQ(error.errorNumber(), 0x10006212);
        EXPECT_EQ(error.what(), message);
    }
}

template <class T>
void expectUnbound(const vxPelBuffer_const<T>& image) {
    EXPECT_FALSE(image.isBound());
    EXPECT_EQ(image.width(), 0);
    EXPECT_EQ(image.height(), 0);
    EXPECT_EQ(image.rowUpdate(), 0);
    EXPECT_EQ(image.offset(), vxPair<long>(0, 0));
    EXPECT_EQ(image.pointToOffset(), nullptr);
    EXPECT_TRUE(image.xformCache().isLinear());
}

/// A numbered pel for each position.
template <class T>
T numbered(long x, long y) {
    return static_cast<T>(10 * y + x + 1);
}

template <class T>
vxPelBuffer<T> numberedImage(long width, long height) {
    vxPelBuffer<T> image(width, height);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            image.pointToRow(y)[x] = numbered<T>(x, y);
        }
    }
    return image;
}

std::uintptr_t address(const void* pels) {
    return reinterpret_cast<std::uintptr_t>(pels);
}

// --- New pels

TYPED_TEST(PelBufferTest, DefaultIsUnbound) {
    expectUnbound(vxPelBuffer<TypeParam>());
    expectUnbound(vxPelBuffer_const<TypeParam>());
}

TYPED_TEST(PelBufferTest, ASizeBelowOneIsUnbound) {
    for (const auto& [width, height] : std::initializer_list<std::pair<long, long>>{
             {0, 0}, {0, 5}, {5, 0}, {-1, 5}, {5, -1}, {LONG_MIN, LONG_MAX}, {LONG_MAX, LONG_MIN}}) {
        expectUnbound(vxPelBuffer<TypeParam>(width, height));
        expectUnbound(vxPelBuffer_const<TypeParam>(width, height));
    }
}

TYPED_TEST(PelBufferTest, NewPelsAreZero) {
    for (int round = 0; round < 3; ++round) {
        vxPelBuffer<TypeParam> image(37, 11);
        ASSERT_TRUE(image.isBound());
        EXPECT_EQ(image.width(), 37);
        EXPECT_EQ(image.height(), 11);
        EXPECT_EQ(image.offset(), vxPair<long>(0, 0));
        EXPECT_EQ(image.xformCache().linearXform(), vxXform<2>());
        // The pels between the rows are zero as well.
        for (long i = 0; i < 10 * image.rowUpdate() + 37; ++i) {
            ASSERT_EQ(image.pointToOffset()[i], TypeParam(0)) << i;
        }
        vfPelSet(image, 77); // So that the memory is not zero when it is used again.
    }
}

TYPED_TEST(PelBufferTest, UnsetPelsAreLaidOutAsThoseOfTheConstructor) {
    using Image = vxPelBuffer<TypeParam>;
    for (const long width : {1L, 31L, 32L, 33L, 100L}) {
        for (const long alignment : {1L, 32L, 256L}) {
            Image image = Image::unset(width, 3, alignment);
            ASSERT_TRUE(image.isBound());
            EXPECT_EQ(image.width(), width);
            EXPECT_EQ(image.height(), 3);
            EXPECT_EQ(image.rowUpdate(), Image(width, 3, alignment).rowUpdate());
            EXPECT_EQ(address(image.pointToOffset()) % static_cast<std::uintptr_t>(alignment), 0U);
            EXPECT_EQ(image.offset(), vxPair<long>(0, 0));
            EXPECT_EQ(image.xformCache().linearXform(), vxXform<2>());
            vfPelSet(image, 77);
            EXPECT_EQ(image.pointToRow(2)[width - 1], TypeParam(77));
        }
    }
    expectUnbound(Image::unset(0, 3));
    EXPECT_EQ(Image::unset(1, 2).rowUpdate(), Image(1, 2).rowUpdate());
    expectBadGeometry([] { static_cast<void>(Image::unset(1, 1, 3)); }, "Alignment must be a power of 2.");
}

TYPED_TEST(PelBufferTest, RowsAreAligned) {
    for (long alignment = 1; alignment <= 4096; alignment *= 2) {
        for (const long width : {1L, 2L, 31L, 32L, 33L, 100L}) {
            const vxPelBuffer<TypeParam> image(width, 3, alignment);
            const auto step = static_cast<std::uintptr_t>(alignment);
            EXPECT_GE(image.rowUpdate(), width);
            EXPECT_LT(image.rowUpdate(), width + alignment);
            for (long y = 0; y < 3; ++y) {
                EXPECT_EQ(image.pointToRow(y), image.pointToOffset() + y * image.rowUpdate());
                EXPECT_EQ(address(image.pointToRow(y)) % step, 0U) << width << " aligned to " << alignment;
            }
        }
    }
}

TYPED_TEST(PelBufferTest, RowsAreAlignedTo32BytesByDefault) {
    const vxPelBuffer<TypeParam> image(1, 2);
    EXPECT_EQ(image.rowUpdate() * static_cast<long>(sizeof(TypeParam)), 32);
    EXPECT_EQ(address(image.pointToOffset()) % 32, 0U);
}

TYPED_TEST(PelBufferTest, RefusesAnAlignmentThatIsNoPowerOfTwo) {
    for (const long alignment : {0L, -1L, 3L, 24L, 33L, LONG_MAX, LONG_MIN}) {
        expectBadGeometry([alignment] { (void)vxPelBuffer<TypeParam>(4, 4, alignment); },
                          "Alignment must be a power of 2.");
    }
}

TYPED_TEST(PelBufferTest, RefusesSizesThatCannotBeCounted) {
    constexpr long half = LONG_MAX / 2 + 1; // A power of two.
    for (const auto& [width, height, alignment] : std::initializer_list<std::tuple<long, long, long>>{
             {LONG_MAX, LONG_MAX, 32},
             {LONG_MAX, 1, 32},
             {half, half, 32},
             {half, 2, 1},
             {2, half, 32},
             {1, LONG_MAX, 32},
             {1, 2, half},
             {half + 1, 1, half},
             {LONG_MAX / static_cast<long>(sizeof(TypeParam)) - 31, 2, 1}}) {
        // Counted before anything is allocated: an allocator that takes any size never sees these.
        const failing_allocation::Scope watch;
        EXPECT_THROW((void)vxPelBuffer<TypeParam>(width, height, alignment), std::length_error);
        EXPECT_LT(watch.largest(), 1000U);
    }
}

TYPED_TEST(PelBufferTest, RefusedMemoryIsBadAlloc) {
    const long failures = failing_allocation::failEachAllocation(
        [] { (void)vxPelBuffer<TypeParam>(100, 100); }, [](bool threw) { EXPECT_TRUE(threw); });
    EXPECT_GT(failures, 0);
    // Sizes that can be counted but not had.
    constexpr long most = LONG_MAX / static_cast<long>(sizeof(TypeParam)) - 31;
    for (const auto& [width, height] :
         std::initializer_list<std::pair<long, long>>{{most, 1}, {1, LONG_MAX / 32}}) {
        const failing_allocation::Scope refuse(0);
        EXPECT_THROW((void)vxPelBuffer<TypeParam>(width, height), std::bad_alloc);
        EXPECT_TRUE(refuse.failed());
    }
}

// --- Handles

TYPED_TEST(PelBufferTest, ACopyIsAnotherWindowOnTheSamePels) {
    vxPelBuffer<TypeParam> image = numberedImage<TypeParam>(5, 4);
    image.offset(3, -2);
    vxPelBuffer<TypeParam> copy(image);
    EXPECT_EQ(copy.pointToOffset(), image.pointToOffset());
    EXPECT_EQ(copy.rowUpdate(), image.rowUpdate());
    EXPECT_EQ(copy.offset(), vxPair<long>(3, -2));

    copy.offset(vxPair<long>(7, 8));
    vx2XformCache xform;
    xform.xform(vx2XformLinear(vxXform<2>({2.0, 0.0, 0.0, 2.0}, {})));
    copy.copyXforms(xform);
    EXPECT_EQ(image.offset(), vxPair<long>(3, -2));
    EXPECT_EQ(image.xformCache().linearXform(), vxXform<2>());
    EXPECT_EQ(copy.xformCache().linearXform(), xform.linearXform());

    *copy.pointToOffset() = 99;
    EXPECT_EQ(*image.pointToOffset(), TypeParam(99));
}

TYPED_TEST(PelBufferTest, AssigningRebindsAndCopiesNoPels) {
    vxPelBuffer<TypeParam> a = numberedImage<TypeParam>(2, 2);
    const vxPelBuffer<TypeParam> keptA(a);
    vxPelBuffer<TypeParam> b = numberedImage<TypeParam>(3, 3);
    b.offset(1, 1);
    a = b;
    EXPECT_EQ(a.pointToOffset(), b.pointToOffset());
    EXPECT_EQ(a.width(), 3);
    EXPECT_EQ(a.offset(), vxPair<long>(1, 1));
    EXPECT_EQ(keptA.pointToRow(1)[1], numbered<TypeParam>(1, 1));
    EXPECT_EQ(keptA.width(), 2);
    a = vxPelBuffer<TypeParam>();
    expectUnbound(a);
}

TYPED_TEST(PelBufferTest, AReadingWindowComesFromAWritingOne) {
    vxPelBuffer<TypeParam> image = numberedImage<TypeParam>(3, 2);
    image.offset(5, 6);
    const vxPelBuffer_const<TypeParam> reading(image);
    static_assert(std::is_same_v<decltype(reading.pointToOffset()), const TypeParam*>);
    static_assert(std::is_same_v<decltype(reading.pointToRow(0)), const TypeParam*>);
    static_assert(std::is_same_v<decltype(std::as_const(image).pointToOffset()), TypeParam*>);
    static_assert(!std::is_constructible_v<vxPelBuffer<TypeParam>, const vxPelBuffer_const<TypeParam>&>);
    static_assert(!std::is_constructible_v<vxPelBuffer<TypeParam>, const TypeParam*, long, long, long>);
    EXPECT_EQ(reading.pointToOffset(), image.pointToOffset());
    EXPECT_EQ(reading.pointToRow(7)[2], numbered<TypeParam>(2, 1));
    EXPECT_EQ(reading.offset(), vxPair<long>(5, 6));
}

TYPED_TEST(PelBufferTest, MovingFromAHandleCopiesIt) {
    vxPelBuffer<TypeParam> image = numberedImage<TypeParam>(3, 2);
    vxPelBuffer<TypeParam> moved(std::move(image));
    EXPECT_EQ(moved.pointToOffset(), image.pointToOffset()); // NOLINT(bugprone-use-after-move): the point
    EXPECT_EQ(image.width(), 3);
    moved = std::move(image);
    EXPECT_TRUE(image.isBound()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(image.pointToRow(1)[2], numbered<TypeParam>(2, 1));
}

TYPED_TEST(PelBufferTest, CopyingAHandleNeedsNoMemory) {
    static_assert(std::is_nothrow_copy_constructible_v<vxPelBuffer<TypeParam>>);
    static_assert(std::is_nothrow_copy_assignable_v<vxPelBuffer<TypeParam>>);
    static_assert(std::is_nothrow_default_constructible_v<vxPelBuffer<TypeParam>>);
    const vxPelBuffer<TypeParam> image(3, 2);
    const failing_allocation::Scope watch;
    vxPelBuffer<TypeParam> copy(image);
    copy = image.window(1, 1, 1, 1);
    EXPECT_EQ(watch.count(), 0);
}

TYPED_TEST(PelBufferTest, ThePelsLiveAsLongAsAnyWindow) {
    std::optional<vxPelBuffer<TypeParam>> image(numberedImage<TypeParam>(4, 4));
    const vxPelBuffer_const<TypeParam> window = image->window(2, 1, 2, 2);
    image.reset();
    EXPECT_EQ(window.pointToRow(2)[1], numbered<TypeParam>(3, 2)); // A use after free under AddressSanitizer.
}

// --- The caller's memory

TYPED_TEST(PelBufferTest, BindsToTheCallersPels) {
    TypeParam pels[12] = {1, 2, 3, 90, 4, 5, 6, 91, 7, 8, 9, 92};
    const vxPelBuffer<TypeParam> image(pels, 3, 3, 4);
    EXPECT_TRUE(image.isBound());
    EXPECT_EQ(image.pointToOffset(), pels);
    EXPECT_EQ(image.rowUpdate(), 4);
    EXPECT_EQ(image.offset(), vxPair<long>(0, 0));
    EXPECT_EQ(image.xformCache().linearXform(), vxXform<2>());
    EXPECT_EQ(image.pointToRow(2)[2], TypeParam(9));
    image.pointToRow(1)[0] = 44;
    EXPECT_EQ(pels[4], TypeParam(44));
}

TYPED_TEST(PelBufferTest, BindsToPelsThatMayOnlyBeRead) {
    static constexpr TypeParam pels[] = {1, 2, 3, 4};
    const vxPelBuffer_const<TypeParam> image(pels, 2, 2, 2);
    EXPECT_EQ(image.pointToOffset(), pels);
    EXPECT_EQ(image.pointToRow(1)[0], TypeParam(3));
}

TYPED_TEST(PelBufferTest, BindsToAnImageStoredBottomUp) {
    TypeParam pels[] = {7, 8, 9, 4, 5, 6, 1, 2, 3};
    const vxPelBuffer<TypeParam> image(pels + 6, 3, 3, -3);
    EXPECT_EQ(image.rowUpdate(), -3);
    EXPECT_EQ(image.pointToRow(0)[0], TypeParam(1));
    EXPECT_EQ(image.pointToRow(2)[2], TypeParam(9));
    EXPECT_EQ(image.window(1, 1, 2, 2).pointToRow(2)[0], TypeParam(8));
}

TYPED_TEST(PelBufferTest, KeepsTheOwnerOfThePels) {
    const auto owner = std::make_shared<std::vector<TypeParam>>(4, TypeParam(5));
    {
        std::optional<vxPelBuffer<TypeParam>> image(std::in_place, owner->data(), 2, 2, 2, owner);
        const vxPelBuffer_const<TypeParam> window = image->window(0, 1, 1, 1);
        EXPECT_EQ(owner.use_count(), 3);
        image.reset();
        EXPECT_EQ(owner.use_count(), 2);
        const vxPelBuffer_const<TypeParam> reading(owner->data(), 2, 2, 2, owner);
        EXPECT_EQ(owner.use_count(), 3);
    }
    EXPECT_EQ(owner.use_count(), 1);
}

TYPED_TEST(PelBufferTest, RefusesPelsThatCannotBe) {
    TypeParam pels[16] = {};
    const auto refused = [&pels](long width, long height, long rowUpdate, const char* message) {
        const auto owner = std::make_shared<int>(0);
        expectBadGeometry([&] { (void)vxPelBuffer<TypeParam>(pels, width, height, rowUpdate, owner); },
                          message);
        expectBadGeometry(
            [&] { (void)vxPelBuffer_const<TypeParam>(std::as_const(pels), width, height, rowUpdate); },
            message);
        EXPECT_EQ(owner.use_count(), 1);
    };
    expectBadGeometry([] { (void)vxPelBuffer<TypeParam>(static_cast<TypeParam*>(nullptr), 4, 4, 4); },
                      "Pels must not be null.");
    for (const long size : {0L, -1L, LONG_MIN}) {
        refused(size, 4, 4, "Width and height must be at least 1.");
        refused(4, size, 4, "Width and height must be at least 1.");
    }
    for (const long rowUpdate : {0L, 3L, -3L, 1L, -1L}) {
        refused(4, 4, rowUpdate, "Row update must not be less than the width.");
    }
    refused(LONG_MAX, 1, LONG_MAX - 1, "Row update must not be less than the width.");
    refused(4, 2, LONG_MAX, "Image is larger than memory.");
    refused(4, 1, LONG_MIN, "Image is larger than memory.");
    refused(4, LONG_MAX, LONG_MIN, "Image is larger than memory.");
    refused(4, LONG_MAX, 4, "Image is larger than memory.");
    refused(LONG_MAX, LONG_MAX, LONG_MAX, "Image is larger than memory.");
}

TYPED_TEST(PelBufferTest, ARowUpdateMayBeTheWidthEitherWay) {
    TypeParam pels[16] = {};
    EXPECT_TRUE(vxPelBuffer<TypeParam>(pels, 4, 4, 4).isBound());
    EXPECT_TRUE(vxPelBuffer<TypeParam>(pels + 12, 4, 4, -4).isBound());
}

// --- Rows

TYPED_TEST(PelBufferTest, ARowIsFoundByItsCoordinate) {
    vxPelBuffer<TypeParam> image = numberedImage<TypeParam>(3, 4);
    image.offset(100, -2);
    EXPECT_EQ(image.pointToRow(-2), image.pointToOffset());
    EXPECT_EQ(image.pointToRow(1), image.pointToOffset() + 3 * image.rowUpdate());
    const vxPelBuffer_const<TypeParam>& reading = image;
    for (const long y : {-3L, 2L, LONG_MIN, LONG_MAX}) {
        expectBadGeometry([&] { (void)image.pointToRow(y); }, "Row is outside the window.");
        expectBadGeometry([&] { (void)reading.pointToRow(y); }, "Row is outside the window.");
    }
    expectBadGeometry([] { (void)vxPelBuffer<TypeParam>().pointToRow(0); }, "Row is outside the window.");
}

TYPED_TEST(PelBufferTest, RowsAtTheEndsOfLong) {
    vxPelBuffer<TypeParam> image = numberedImage<TypeParam>(3, 4);
    image.offset(0, LONG_MIN);
    EXPECT_EQ(image.pointToRow(LONG_MIN + 3)[0], numbered<TypeParam>(0, 3));
    for (const long y : {LONG_MIN + 4, -1L, 0L, LONG_MAX}) {
        expectBadGeometry([&] { (void)image.pointToRow(y); }, "Row is outside the window.");
    }
    // Rows 2 and 3 lie beyond every long.
    image.offset(0, LONG_MAX - 1);
    EXPECT_EQ(image.pointToRow(LONG_MAX)[0], numbered<TypeParam>(0, 1));
    for (const long y : {LONG_MAX - 2, LONG_MIN, LONG_MIN + 1, 0L}) {
        expectBadGeometry([&] { (void)image.pointToRow(y); }, "Row is outside the window.");
    }
}

// --- Windows

TYPED_TEST(PelBufferTest, AWindowHasTheBuffersCoordinatesAndTransform) {
    vxPelBuffer<TypeParam> image = numberedImage<TypeParam>(6, 5);
    image.offset(-10, 20);
    vx2XformCache xform;
    xform.xform(vx2XformLinear(vxXform<2>({2.0, 0.0, 0.0, 2.0}, {})));
    image.copyXforms(xform);
    const vxPelBuffer<TypeParam> window = image.window(-8, 21, 3, 2);
    EXPECT_EQ(window.width(), 3);
    EXPECT_EQ(window.height(), 2);
    EXPECT_EQ(window.rowUpdate(), image.rowUpdate());
    EXPECT_EQ(window.offset(), vxPair<long>(-8, 21));
    EXPECT_EQ(window.xformCache().linearXform(), xform.linearXform());
    EXPECT_EQ(window.pointToOffset(), image.pointToRow(21) + 2);
    EXPECT_EQ(window.pointToRow(22)[2], numbered<TypeParam>(4, 2));
    const vxPelBuffer_const<TypeParam> reading = vxPelBuffer_const<TypeParam>(image).window(-8, 21, 3, 2);
    EXPECT_EQ(reading.pointToOffset(), window.pointToOffset());
    EXPECT_EQ(reading.offset(), window.offset());
    // A window of the window, and the whole of it.
    EXPECT_EQ(window.window(-6, 22, 1, 1).pointToOffset(), window.pointToRow(22) + 2);
    EXPECT_EQ(window.window(-8, 21, 3, 2).pointToOffset(), window.pointToOffset());
}

TYPED_TEST(PelBufferTest, AWindowMustLieInside) {
    vxPelBuffer<TypeParam> image(6, 5);
    image.offset(-10, 20);
    const vxPelBuffer_const<TypeParam>& reading = image;
    for (const auto& [x, y, width, height] : std::initializer_list<std::tuple<long, long, long, long>>{
             {-11, 20, 2, 2},
             {-10, 19, 2, 2},
             {-10, 20, 7, 5},
             {-10, 20, 6, 6},
             {-5, 20, 2, 1},
             {-10, 24, 1, 2},
             {-4, 20, 1, 1},
             {-10, 25, 1, 1},
             {-10, 20, 0, 5},
             {-10, 20, 6, 0},
             {-10, 20, -1, 5},
             {-10, 20, 6, LONG_MIN},
             {-10, 20, LONG_MAX, 5},
             {-9, 20, LONG_MAX, 5},
             {LONG_MIN, 20, LONG_MAX, 5},
             {LONG_MAX, LONG_MAX, LONG_MAX, LONG_MAX},
             {LONG_MIN, LONG_MIN, LONG_MIN, LONG_MIN}}) {
        expectBadGeometry([&, x = x, y = y, w = width, h = height] { (void)image.window(x, y, w, h); },
                          "Window leaves the buffer.");
        expectBadGeometry([&, x = x, y = y, w = width, h = height] { (void)reading.window(x, y, w, h); },
                          "Window leaves the buffer.");
    }
    expectBadGeometry([] { (void)vxPelBuffer<TypeParam>().window(0, 0, 1, 1); }, "Window leaves the buffer.");
}

TYPED_TEST(PelBufferTest, WindowsAtTheEndsOfLong) {
    vxPelBuffer<TypeParam> image = numberedImage<TypeParam>(4, 4);
    image.offset(LONG_MAX - 1, LONG_MIN);
    EXPECT_EQ(*image.window(LONG_MAX, LONG_MIN + 3, 3, 1).pointToOffset(), numbered<TypeParam>(1, 3));
    expectBadGeometry([&] { (void)image.window(LONG_MAX, LONG_MIN, 4, 1); }, "Window leaves the buffer.");
    expectBadGeometry([&] { (void)image.window(LONG_MIN, LONG_MIN, 1, 1); }, "Window leaves the buffer.");
    expectBadGeometry([&] { (void)image.window(LONG_MAX, LONG_MAX, 1, 1); }, "Window leaves the buffer.");
    expectBadGeometry([&] { (void)image.window(LONG_MAX, LONG_MIN + 3, 1, 2); }, "Window leaves the buffer.");
}

// --- Setting

TYPED_TEST(PelBufferTest, SetsThePelsOfTheWindowAndNoOthers) {
    for (const bool bottomUp : {false, true}) {
        std::vector<TypeParam> pels(6 * 5, TypeParam(1));
        vxPelBuffer<TypeParam> image = bottomUp ? vxPelBuffer<TypeParam>(pels.data() + 24, 5, 5, -6)
                                                : vxPelBuffer<TypeParam>(pels.data(), 5, 5, 6);
        vxPelBuffer<TypeParam> window = image.window(1, 2, 3, 2);
        window.offset(LONG_MAX, LONG_MIN); // Does not matter.
        vfPelSet(window, 200);
        for (long y = 0; y < 5; ++y) {
            for (long x = 0; x < 5; ++x) {
                const bool inside = x >= 1 && x < 4 && y >= 2 && y < 4;
                EXPECT_EQ(image.pointToRow(y)[x], TypeParam(inside ? 200 : 1)) << x << ", " << y;
            }
        }
        EXPECT_EQ(pels[5], TypeParam(1));
    }
}

TYPED_TEST(PelBufferTest, SettingAnUnboundBufferDoesNothing) {
    vxPelBuffer<TypeParam> image;
    vfPelSet(image, 1);
    expectUnbound(image);
}

// --- Copying

__extension__ using Wide = __int128; // Stands for unlimited integers.

/// The pel with the given coordinates as bytes; null outside the window.
template <class T>
const std::byte* pelAt(const vxPelBuffer_const<T>& image, Wide x, Wide y) {
    const Wide column = x - image.offset().x();
    const Wide row = y - image.offset().y();
    if (column < 0 || column >= image.width() || row < 0 || row >= image.height()) {
        return nullptr;
    }
    const auto pel = static_cast<std::ptrdiff_t>(row * image.rowUpdate() + column);
    return reinterpret_cast<const std::byte*>(image.pointToOffset()) +
           pel * static_cast<std::ptrdiff_t>(sizeof(T));
}

/// What memory holds after the copy: each pel of the destination is looked up in the source. `from` is what
/// the source is read from: the memory as it was; or the result itself, to see whether the order would
/// matter.
enum class ReadFrom { before, result };
template <class T>
std::vector<std::byte> copied(const std::vector<std::byte>& memory, const vxPelBuffer_const<T>& source,
                              const vxPelBuffer<T>& destination, ReadFrom from = ReadFrom::before) {
    std::vector<std::byte> result(memory);
    const std::byte* const read = from == ReadFrom::before ? memory.data() : result.data();
    for (long row = 0; row < destination.height(); ++row) {
        for (long column = 0; column < destination.width(); ++column) {
            const Wide x = Wide(destination.offset().x()) + column;
            const Wide y = Wide(destination.offset().y()) + row;
            if (const std::byte* const pel = pelAt(source, x, y)) {
                std::memmove(result.data() + (pelAt<T>(destination, x, y) - memory.data()),
                             read + (pel - memory.data()), sizeof(T));
            }
        }
    }
    return result;
}

/// Draws windows into a block of memory, with rows either way, and pels that need not lie on whole ones.
class WindowDrawer {
public:
    explicit WindowDrawer(unsigned seed) : random_(seed) {}

    long draw(long low, long high) { return std::uniform_int_distribution<long>(low, high)(random_); }

    template <class T>
    vxPelBuffer<T> window(std::vector<std::byte>& memory, long rowUpdate) {
        const long width = draw(1, std::abs(rowUpdate));
        const long height = draw(1, 6);
        const long extent = (height - 1) * std::abs(rowUpdate) + width;
        const auto spare = static_cast<long>(memory.size()) - extent * static_cast<long>(sizeof(T));
        const long lowest = draw(0, spare);
        const long first = rowUpdate < 0 ? (height - 1) * -rowUpdate : 0;
        vxPelBuffer<T> image(reinterpret_cast<T*>(memory.data() + lowest) + first, width, height, rowUpdate);
        image.offset(draw(-2, 2), draw(-2, 2));
        return image;
    }

private:
    std::mt19937 random_;
};

std::vector<std::byte> numberedBytes(std::size_t size) {
    std::vector<std::byte> memory(size);
    for (std::size_t i = 0; i < size; ++i) {
        memory[i] = static_cast<std::byte>((i * 7 + i / 256) & 0xFF);
    }
    return memory;
}

enum class RowUpdates { same, different };

template <class T>
void expectCopiesWithinMemory(RowUpdates rowUpdates) {
    WindowDrawer drawer(4);
    int orderMatters = 0;
    for (int round = 0; round < 100000; ++round) {
        std::vector<std::byte> memory = numberedBytes(49 * sizeof(T));
        const auto rowUpdate = [&drawer] { return drawer.draw(2, 8) * (drawer.draw(0, 1) == 0 ? -1 : 1); };
        const long sourceUpdate = rowUpdate();
        const long destinationUpdate = rowUpdates == RowUpdates::same ? sourceUpdate : rowUpdate();
        const vxPelBuffer<T> source = drawer.window<T>(memory, sourceUpdate);
        vxPelBuffer<T> destination = drawer.window<T>(memory, destinationUpdate);
        const std::vector<std::byte> expected = copied<T>(memory, source, destination);
        orderMatters += copied<T>(memory, source, destination, ReadFrom::result) != expected ? 1 : 0;
        vfPelCopy(source, destination);
        ASSERT_EQ(memory, expected) << "round " << round;
    }
    EXPECT_GT(orderMatters, 4000);
}

TYPED_TEST(PelBufferTest, CopiesWithinMemoryOfOneRowUpdate) {
    expectCopiesWithinMemory<TypeParam>(RowUpdates::same);
}

TYPED_TEST(PelBufferTest, CopiesWithinMemoryOfAnyRowUpdates) {
    expectCopiesWithinMemory<TypeParam>(RowUpdates::different);
}

TYPED_TEST(PelBufferTest, CopiesTheCommonCoordinatesOfSeparateImages) {
    for (long ox = -4; ox <= 4; ++ox) {
        for (long oy = -4; oy <= 4; ++oy) {
            vxPelBuffer<TypeParam> source = numberedImage<TypeParam>(3, 4);
            source.offset(ox, oy);
            vxPelBuffer<TypeParam> destination(4, 3);
            vfPelCopy(source, destination);
            for (long y = 0; y < 3; ++y) {
                for (long x = 0; x < 4; ++x) {
                    const bool common = x >= ox && x < ox + 3 && y >= oy && y < oy + 4;
                    EXPECT_EQ(destination.pointToRow(y)[x],
                              common ? numbered<TypeParam>(x - ox, y - oy) : TypeParam(0));
                }
            }
        }
    }
}

TYPED_TEST(PelBufferTest, ACopyKeepsTheDestinationsOffsetAndTransform) {
    vxPelBuffer<TypeParam> source = numberedImage<TypeParam>(3, 3);
    source.offset(1, 1);
    vx2XformCache xform;
    xform.xform(vx2XformLinear(vxXform<2>({2.0, 0.0, 0.0, 2.0}, {})));
    source.copyXforms(xform);
    vxPelBuffer<TypeParam> destination(3, 3);
    vfPelCopy(source, destination);
    EXPECT_EQ(destination.offset(), vxPair<long>(0, 0));
    EXPECT_EQ(destination.xformCache().linearXform(), vxXform<2>());
    EXPECT_EQ(destination.width(), 3);
}

// Every pair of offsets at and around the ends of long, along both axes.
TYPED_TEST(PelBufferTest, OffsetsAreUnlimitedIntegers) {
    const std::vector<long> ends = {LONG_MIN, LONG_MIN + 1, LONG_MIN + 2, -2,      -1, 0, 1,
                                    2,        LONG_MAX - 2, LONG_MAX - 1, LONG_MAX};
    int copies = 0;
    for (const long from : ends) {
        for (const long to : ends) {
            for (const bool alongX : {true, false}) {
                std::vector<std::byte> memory = numberedBytes(18 * sizeof(TypeParam));
                auto* const pels = reinterpret_cast<TypeParam*>(memory.data());
                vxPelBuffer<TypeParam> source(pels, 3, 3, 3);
                vxPelBuffer<TypeParam> destination(pels + 9, 3, 3, 3);
                source.offset(alongX ? from : 5, alongX ? 5 : from);
                destination.offset(alongX ? to : 5, alongX ? 5 : to);
                const auto expected = copied<TypeParam>(memory, source, destination);
                copies += expected != memory ? 1 : 0;
                vfPelCopy(source, destination);
                ASSERT_EQ(memory, expected) << from << " to " << to;
            }
        }
    }
    // Within reach of each other: 3 + 5 + 3 offsets, all pairs of a distance below 3.
    EXPECT_EQ(copies, 2 * (9 + 19 + 9));
}

TYPED_TEST(PelBufferTest, NothingInCommonOrUnboundCopiesNothing) {
    const vxPelBuffer<TypeParam> source = numberedImage<TypeParam>(3, 3);
    vxPelBuffer<TypeParam> unbound;
    vfPelCopy(source, unbound);
    expectUnbound(unbound);
    vxPelBuffer<TypeParam> image = numberedImage<TypeParam>(2, 2);
    vfPelCopy(unbound, image);
    vfPelCopy(unbound, unbound);
    for (const vxPair<long>& offset :
         {vxPair<long>(3, 0), vxPair<long>(0, 3), vxPair<long>(-2, 0), vxPair<long>(0, -2)}) {
        image.offset(offset);
        vfPelCopy(source, image);
        EXPECT_EQ(*image.pointToRow(offset.y()), numbered<TypeParam>(0, 0));
        EXPECT_EQ(image.pointToRow(offset.y() + 1)[1], numbered<TypeParam>(1, 1));
    }
}

TYPED_TEST(PelBufferTest, ACopyOntoItselfChangesNothing) {
    std::vector<std::byte> memory = numberedBytes(12 * sizeof(TypeParam));
    const std::vector<std::byte> before = memory;
    vxPelBuffer<TypeParam> image(reinterpret_cast<TypeParam*>(memory.data()), 4, 3, 4);
    vfPelCopy(image, image);
    EXPECT_EQ(memory, before);
}

// Only windows that share memory and step differently need more memory; without it nothing is copied.
TYPED_TEST(PelBufferTest, ATemporaryThatCannotBeHadCopiesNothing) {
    std::vector<std::byte> memory = numberedBytes(12 * sizeof(TypeParam));
    const std::vector<std::byte> before = memory;
    auto* const pels = reinterpret_cast<TypeParam*>(memory.data());
    const vxPelBuffer<TypeParam> source(pels, 3, 3, 3);
    vxPelBuffer<TypeParam> flipped(pels + 6, 3, 3, -3);
    const std::vector<std::byte> expected = copied<TypeParam>(memory, source, flipped);
    const long failures = failing_allocation::failEachAllocation([&] { vfPelCopy(source, flipped); },
                                                                 [&](bool threw) {
                                                                     EXPECT_TRUE(threw);
                                                                     EXPECT_EQ(memory, before);
                                                                 });
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(memory, expected);

    vxPelBuffer<TypeParam> shifted(pels + 1, 3, 3, 3);
    vxPelBuffer<TypeParam> separate(3, 3);
    const failing_allocation::Scope watch;
    vfPelCopy(source, shifted);
    vfPelCopy(source, separate);
    EXPECT_EQ(watch.count(), 0);
}

// --- The error

TEST(BadGeometryTest, IsArchivedAndThrownAgain) {
    std::stringstream stream;
    {
        vxOutputArchive archive(stream);
        const std::unique_ptr<vxPersistent> error = std::make_unique<vx_PelBuffer::BadGeometry>("why");
        vxPersistent* object = error.get();
        archive || object;
    }
    vxInputArchive archive(stream);
    vxPersistent* loaded = nullptr;
    archive || loaded;
    auto* const rebuilt = dynamic_cast<vx_PelBuffer::BadGeometry*>(loaded);
    ASSERT_NE(rebuilt, nullptr);
    expectBadGeometry([rebuilt] { rebuilt->suicideAndRethrow(); }, "why");
    EXPECT_EQ(vx_PelBuffer::BadGeometry().errorNumber(), 268460562);
    EXPECT_STREQ(vx_PelBuffer::BadGeometry().what(), "");
}

} // namespace
