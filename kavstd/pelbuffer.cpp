#include "kavstd/pelbuffer.h"

#include "kavsys/aligned_memory.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <stdexcept>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {
const vx_Instantiator badGeometryExemplar(typeid(vx_PelBuffer::BadGeometry), vx_PelBuffer::BadGeometry::make);

constexpr std::size_t maxBytes = PTRDIFF_MAX;
constexpr auto maxLong = static_cast<std::size_t>(std::numeric_limits<long>::max());
static_assert(maxLong <= std::numeric_limits<std::size_t>::max() / 2);

/// Where a coordinate lies after another one; exact although the difference may be beyond a long.
unsigned long distance(long from, long to) noexcept {
    return static_cast<unsigned long>(to) - static_cast<unsigned long>(from);
}

unsigned long magnitude(long value) noexcept {
    return value < 0 ? distance(value, 0) : distance(0, value);
}

/// Whether [from, from + extent) covers `size` coordinates from `start` on, in unlimited integers.
bool covers(long from, long extent, long start, long size) noexcept {
    return size >= 1 && size <= extent && start >= from &&
           distance(from, start) <= static_cast<unsigned long>(extent - size);
}

} // namespace

vx_PelBuffer::BadGeometry::~BadGeometry() = default;

void vx_PelBuffer::allocate(long width, long height, long alignment, std::size_t pelSize) {
    if (width < 1 || height < 1) {
        return;
    }
    if (alignment < 1 || !std::has_single_bit(static_cast<unsigned long>(alignment))) {
        throw BadGeometry("Alignment must be a power of 2.");
    }
    // A row starts at a whole pel in any case. Two longs, so the sum below cannot wrap.
    const std::size_t step = std::max(static_cast<std::size_t>(alignment), pelSize);
    const std::size_t stepPels = step / pelSize;
    const std::size_t rowPels = (static_cast<std::size_t>(width) + stepPels - 1) / stepPels * stepPels;
    if (rowPels > std::min(maxLong, maxBytes / pelSize / static_cast<std::size_t>(height))) {
        throw std::length_error("vxPelBuffer: image too large");
    }
    owner_ = std::shared_ptr<void>(
        vf_AllocateAligned(rowPels * static_cast<std::size_t>(height) * pelSize, step), vf_FreeAligned);
    pels_ = owner_.get();
    width_ = width;
    height_ = height;
    rowUpdate_ = static_cast<long>(rowPels);
}

void vx_PelBuffer::clear(std::size_t pelSize) noexcept {
    if (isBound()) {
        std::memset(pels_, 0, static_cast<std::size_t>(rowUpdate_ * height_) * pelSize);
    }
}

void vx_PelBuffer::bind(void* pels, long width, long height, long rowUpdate, std::size_t pelSize,
                        std::shared_ptr<void> owner) {
    if (pels == nullptr) {
        throw BadGeometry("Pels must not be null.");
    }
    if (width < 1 || height < 1) {
        throw BadGeometry("Width and height must be at least 1.");
    }
    const unsigned long step = magnitude(rowUpdate);
    if (step < static_cast<unsigned long>(width)) {
        throw BadGeometry("Row update must not be less than the width.");
    }
    // The rows lie at most (height - 1) steps apart, and each lies within a step: all of it must be
    // addressable.
    if (step > maxBytes / pelSize / static_cast<unsigned long>(height)) {
        throw BadGeometry("Image is larger than memory.");
    }
    pels_ = pels;
    owner_ = std::move(owner);
    width_ = width;
    height_ = height;
    rowUpdate_ = rowUpdate;
}

std::ptrdiff_t vx_PelBuffer::distanceToRow(long y) const {
    if (!covers(offset_.y(), height_, y, 1)) {
        throw BadGeometry("Row is outside the window.");
    }
    return static_cast<std::ptrdiff_t>(distance(offset_.y(), y)) * rowUpdate_;
}

std::ptrdiff_t vx_PelBuffer::distanceToWindow(long x, long y, long width, long height) const {
    if (!covers(offset_.x(), width_, x, width) || !covers(offset_.y(), height_, y, height)) {
        throw BadGeometry("Window leaves the buffer.");
    }
    return distanceToRow(y) + static_cast<std::ptrdiff_t>(distance(offset_.x(), x));
}

void vx_PelBuffer::narrow(void* pels, long x, long y, long width, long height) noexcept {
    pels_ = pels;
    offset_ = {x, y};
    width_ = width;
    height_ = height;
}

template <class T>
vxPelBuffer_const<T>::vxPelBuffer_const(long width, long height, long alignment) {
    allocate(width, height, alignment, sizeof(T));
    clear(sizeof(T));
}

template <class T>
vxPelBuffer_const<T>::vxPelBuffer_const(const T* pels, long width, long height, long rowUpdate,
                                        std::shared_ptr<void> owner) {
    bind(const_cast<T*>(pels), width, height, rowUpdate, sizeof(T), std::move(owner));
}

template <class T>
const T* vxPelBuffer_const<T>::pointToRow(long y) const {
    const std::ptrdiff_t distance = distanceToRow(y);
    return pointToOffset() + distance;
}

template <class T>
vxPelBuffer_const<T> vxPelBuffer_const<T>::window(long x, long y, long width, long height) const {
    const std::ptrdiff_t distance = distanceToWindow(x, y, width, height);
    vxPelBuffer_const result(*this);
    result.narrow(static_cast<T*>(pels_) + distance, x, y, width, height);
    return result;
}

template <class T>
vxPelBuffer<T>::vxPelBuffer(long width, long height, long alignment)
    : vxPelBuffer_const<T>(width, height, alignment) {}

template <class T>
vxPelBuffer<T> vxPelBuffer<T>::unset(long width, long height, long alignment) {
    vxPelBuffer result;
    result.allocate(width, height, alignment, sizeof(T));
    return result;
}

template <class T>
vxPelBuffer<T>::vxPelBuffer(T* pels, long width, long height, long rowUpdate, std::shared_ptr<void> owner)
    : vxPelBuffer_const<T>(pels, width, height, rowUpdate, std::move(owner)) {}

template <class T>
T* vxPelBuffer<T>::pointToRow(long y) const {
    const std::ptrdiff_t distance = this->distanceToRow(y);
    return pointToOffset() + distance;
}

template <class T>
vxPelBuffer<T> vxPelBuffer<T>::window(long x, long y, long width, long height) const {
    const std::ptrdiff_t distance = this->distanceToWindow(x, y, width, height);
    vxPelBuffer result(*this);
    result.narrow(pointToOffset() + distance, x, y, width, height);
    return result;
}

template <class T>
void vfPelSet(vxPelBuffer<T>& image, std::common_type_t<T> value) {
    T* const pels = image.pointToOffset();
    for (long row = 0; row < image.height(); ++row) {
        std::fill_n(pels + row * image.rowUpdate(), image.width(), value);
    }
}

namespace {
/// What two windows have in common along one axis: where it starts in each, and how long it is.
struct Overlap {
    long source = 0;
    long destination = 0;
    long length = 0;
};

Overlap overlapOf(long source, long sourceLength, long destination, long destinationLength) noexcept {
    if (source > destination) {
        const Overlap swapped = overlapOf(destination, destinationLength, source, sourceLength);
        return {swapped.destination, swapped.source, swapped.length};
    }
    const unsigned long skipped = distance(source, destination);
    if (skipped >= static_cast<unsigned long>(sourceLength)) {
        return {};
    }
    const long start = static_cast<long>(skipped);
    return {start, 0, std::min(sourceLength - start, destinationLength)};
}

/// Rows of bytes.
template <class Byte>
struct Rows {
    Byte* first;
    std::ptrdiff_t step; // Bytes from one row to the next.

    [[nodiscard]] Byte* row(long index) const noexcept { return first + index * step; }
};

template <class Byte>
struct Range {
    Byte* begin;
    Byte* end;
};

template <class Byte>
Range<Byte> rangeOf(const Rows<Byte>& rows, long height, std::size_t rowSize) noexcept {
    Byte* const last = rows.row(height - 1);
    return rows.step < 0 ? Range<Byte>{last, rows.first + rowSize} : Range<Byte>{rows.first, last + rowSize};
}

bool shareMemory(const Rows<const std::byte>& source, const Rows<std::byte>& destination, long height,
                 std::size_t rowSize) noexcept {
    const auto from = rangeOf(source, height, rowSize);
    const auto to = rangeOf(destination, height, rowSize);
    const std::less<const std::byte*> before; // Total, also between unrelated images.
    return before(from.begin, to.end) && before(to.begin, from.end);
}

/// Row by row, from the first or from the last on. Each row may overlap itself.
void moveRows(const Rows<const std::byte>& source, const Rows<std::byte>& destination, long height,
              std::size_t rowSize, bool lastFirst) noexcept {
    for (long i = 0; i < height; ++i) {
        const long row = lastFirst ? height - 1 - i : i;
        std::memmove(destination.row(row), source.row(row), rowSize);
    }
}

void copyRows(const Rows<const std::byte>& source, const Rows<std::byte>& destination, long height,
              std::size_t rowSize) {
    if (!shareMemory(source, destination, height, rowSize)) {
        moveRows(source, destination, height, rowSize, false);
        return;
    }
    if (source.step == destination.step) {
        // All rows move by the same distance, and no two rows of one image overlap. So when they move to
        // higher addresses, a row from the highest address down is written where only rows that were moved
        // before lie.
        const bool upward = std::less<const std::byte*>()(source.first, destination.first);
        moveRows(source, destination, height, rowSize, upward == (source.step > 0));
        return;
    }
    std::vector<std::byte> copy(rowSize * static_cast<std::size_t>(height));
    const auto copyStep = static_cast<std::ptrdiff_t>(rowSize);
    moveRows(source, {copy.data(), copyStep}, height, rowSize, false);
    moveRows({copy.data(), copyStep}, destination, height, rowSize, false);
}
} // namespace

template <class T>
void vfPelCopy(const vxPelBuffer_const<T>& source, vxPelBuffer<T>& destination) {
    const vxPair<long>& from = source.offset();
    const vxPair<long>& to = destination.offset();
    const Overlap x = overlapOf(from.x(), source.width(), to.x(), destination.width());
    const Overlap y = overlapOf(from.y(), source.height(), to.y(), destination.height());
    if (x.length < 1 || y.length < 1) {
        return; // Also when either is not bound, which is 0 x 0.
    }
    constexpr auto pelSize = static_cast<std::ptrdiff_t>(sizeof(T));
    const T* const first = source.pointToOffset() + y.source * source.rowUpdate() + x.source;
    T* const target = destination.pointToOffset() + y.destination * destination.rowUpdate() + x.destination;
    copyRows({reinterpret_cast<const std::byte*>(first), source.rowUpdate() * pelSize},
             {reinterpret_cast<std::byte*>(target), destination.rowUpdate() * pelSize}, y.length,
             static_cast<std::size_t>(x.length) * sizeof(T));
}

template class vxPelBuffer_const<unsigned char>;
template class vxPelBuffer_const<unsigned short>;
template class vxPelBuffer_const<double>;
template class vxPelBuffer<unsigned char>;
template class vxPelBuffer<unsigned short>;
template class vxPelBuffer<double>;

template void vfPelSet(vxPelBuffer<unsigned char>&, unsigned char);
template void vfPelSet(vxPelBuffer<unsigned short>&, unsigned short);
template void vfPelSet(vxPelBuffer<double>&, double);
template void vfPelCopy(const vxPelBuffer_const<unsigned char>&, vxPelBuffer<unsigned char>&);
template void vfPelCopy(const vxPelBuffer_const<unsigned short>&, vxPelBuffer<unsigned short>&);
template void vfPelCopy(const vxPelBuffer_const<double>&, vxPelBuffer<double>&);
