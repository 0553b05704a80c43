#include "filt/fft/frequency_buffer.h"

#include "filt/internal/centred.h"
#include "filt/internal/clear_padding.h"
#include "filt/internal/convert.h"
#include "filt/internal/messages.h"
#include "filt/internal/pel_row.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace {
constexpr long sizeLimit = 2048;

// The smallest power of two that is not below the request.
long roundUp(long request) {
    return request < 2 ? 1 : static_cast<long>(std::bit_ceil(static_cast<unsigned long>(request)));
}

std::size_t floatCount(long width, long height) {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 2;
}

bool isIndex(long x, long size) {
    return x >= 0 && x < size;
}

// The real part of sample (x, y): the one coordinate rule of all accessors.
float* locateElement(long x, long y, long width, long height, float* data, bool centered) {
    const bool exists = centered ? vf_HasFrequency(x, width) && vf_HasFrequency(y, height)
                                 : isIndex(x, width) && isIndex(y, height);
    if (!exists) {
        throw vxFrequencyDefs::BadCoord(vx_Messages::badCoord);
    }
    const long column = centered ? vf_FrequencyIndex(x, width) : x;
    const long row = centered ? vf_FrequencyIndex(y, height) : y;
    return data + floatCount(width, row) + static_cast<std::size_t>(column) * 2;
}

void checkCropSize(const vxFrequencyBuffer& source, long width, long height) {
    using InvalidSize = vxFrequencyDefs::InvalidSize;
    if (width < 2) {
        throw InvalidSize(vx_Messages::cropWidthTooSmall);
    }
    if (height < 2) {
        throw InvalidSize(vx_Messages::cropHeightTooSmall);
    }
    if (width > source.width()) {
        throw InvalidSize(vx_Messages::cropWidthTooLarge);
    }
    if (height > source.height()) {
        throw InvalidSize(vx_Messages::cropHeightTooLarge);
    }
    if (roundUp(width) != width) {
        throw InvalidSize(vx_Messages::cropWidthUnsupported);
    }
    if (roundUp(height) != height) {
        throw InvalidSize(vx_Messages::cropHeightUnsupported);
    }
}

// The transform of an image that was scaled by (scaleX, scaleY): a linear one is composed with the scaling,
// any other is kept as it is.
vx2XformCache scaledXform(const vx2XformCache& source, double scaleX, double scaleY) {
    if (!source.isLinear()) {
        return source;
    }
    const vxXform<2> scaling(vxMatrix<2>(vxRadian(0.0), vxRadian(0.0), scaleX, scaleY),
                             vxVector<2>(0.0, 0.0));
    vx2XformCache scaled;
    scaled.xform(vx2XformLinear(source.linearXform() * scaling));
    return scaled;
}

// Copies the four corners of a spectrum, its lowest frequencies, to the same wrap-around places of a smaller
// one.
void copyCorners(const float* source, vxPair<long> sourceSize, float* destination, vxPair<long> size) {
    const std::size_t halfRow = static_cast<std::size_t>(size.x() >> 1) * 2;
    const long halfHeight = size.y() >> 1;
    for (long row = 0; row < size.y(); ++row) {
        const long sourceRow = row < halfHeight ? row : sourceSize.y() - size.y() + row;
        const float* left = source + floatCount(sourceSize.x(), sourceRow);
        const float* right = left + floatCount(sourceSize.x(), 1) - halfRow;
        destination = std::copy_n(left, halfRow, destination);
        destination = std::copy_n(right, halfRow, destination);
    }
}

// Block by block, each without a branch, so that compilers vectorise it. The first block that differs ends
// it.
bool sameSamples(const float* a, const float* b, std::size_t count) {
    constexpr std::size_t block = 1024;
    for (std::size_t first = 0; first < count; first += block) {
        const std::size_t end = std::min(first + block, count);
        std::int32_t different = 0;
        for (std::size_t i = first; i < end; ++i) {
            // Not `!=`: a NaN is neither less nor greater, so it equals anything.
            different |= static_cast<std::int32_t>(a[i] < b[i]) | static_cast<std::int32_t>(a[i] > b[i]);
        }
        if (different != 0) {
            return false;
        }
    }
    return true;
}

void checkImages(const vxPelBuffer_const<double>& real, const vxPelBuffer_const<double>& imaginary) {
    if (!real.isBound() || !imaginary.isBound()) {
        throw vxFrequencyDefs::UnboundWindow();
    }
    if (real.height() != imaginary.height() || real.width() != imaginary.width() ||
        real.offset() != imaginary.offset()) {
        throw vxFrequencyDefs::InvalidSize(vx_Messages::constructorImagesDiffer);
    }
}
} // namespace

vxFrequencyBuffer::vxFrequencyBuffer() = default;
vxFrequencyBuffer::~vxFrequencyBuffer() = default;

vxFrequencyBuffer::vxFrequencyBuffer(long width, long height) : vxFrequencyBuffer() {
    setAndAllocate(width, height);
}

vxFrequencyBuffer::vxFrequencyBuffer(const vxFrequencyBuffer& source) : vxFrequencyBuffer() {
    *this = source;
}

vxFrequencyBuffer::vxFrequencyBuffer(const vxFrequencyBuffer& source, long width, long height)
    : vxFrequencyBuffer() {
    checkCropSize(source, width, height);
    setAndAllocate(width, height);
    // The masked state is not copied: the band would have to be rescaled.
    inverseComputed_ = source.inverseComputed_;
    const double scaleX = static_cast<double>(width) / static_cast<double>(source.width_);
    const double scaleY = static_cast<double>(height) / static_cast<double>(source.height_);
    sourceWidth_ = static_cast<long>(vf_Truncate(static_cast<double>(source.sourceWidth_) * scaleX));
    sourceHeight_ = static_cast<long>(vf_Truncate(static_cast<double>(source.sourceHeight_) * scaleY));
    xformCache_ = scaledXform(source.xformCache_, scaleX, scaleY);
    offset_ = source.offset_;
    copyCorners(source.data_, {source.width_, source.height_}, data_, {width_, height_});
}

vxFrequencyBuffer::vxFrequencyBuffer(const vxPelBuffer_const<double>& real,
                                     const vxPelBuffer_const<double>& imaginary)
    : vxFrequencyBuffer() {
    checkImages(real, imaginary);
    setAndAllocate(real.width(), real.height());
    xformCache_ = real.xformCache();
    offset_ = real.offset();
    for (long y = 0; y < sourceHeight_; ++y) {
        const double* realRow = vf_PelRow(real, y);
        const double* imaginaryRow = vf_PelRow(imaginary, y);
        float* sample = data_ + floatCount(width_, y);
        for (long x = 0; x < sourceWidth_; ++x) {
            *sample++ = static_cast<float>(realRow[x]);
            *sample++ = static_cast<float>(imaginaryRow[x]);
        }
    }
    vf_ClearPadding(sourceWidth_, sourceHeight_, width_, height_, data_);
}

vxFrequencyBuffer& vxFrequencyBuffer::operator=(const vxFrequencyBuffer& source) {
    if (this == &source) {
        return *this;
    }
    if (source.data_ == nullptr) {
        masked_ = 0;
        data_ = nullptr;
        return *this;
    }
    takeState(source);
    const std::size_t count = floatCount(width_, height_);
    const std::size_t copied = std::min(count, floatCount(source.width_, source.height_));
    std::copy_n(source.data_, copied, data_);
    std::fill(data_ + copied, data_ + count, 0.0F);
    return *this;
}

void vxFrequencyBuffer::takeState(const vxFrequencyBuffer& source) {
    // From the source size, not the allocated one: a cropped buffer's copy can be smaller than the buffer.
    setAndAllocate(source.sourceWidth_, source.sourceHeight_);
    xformCache_ = source.xformCache_;
    offset_ = source.offset_;
    inverseComputed_ = source.inverseComputed_;
    masked_ = source.masked_;
    maskedMiny_ = source.maskedMiny_;
    maskedMaxy_ = source.maskedMaxy_;
}

bool vxFrequencyBuffer::operator==(const vxFrequencyBuffer& other) const {
    if (data_ == nullptr || other.data_ == nullptr) {
        return data_ == other.data_;
    }
    if (width_ != other.width_ || height_ != other.height_ || sourceWidth_ != other.sourceWidth_ ||
        sourceHeight_ != other.sourceHeight_ || inverseComputed_ != other.inverseComputed_ ||
        masked_ != other.masked_) {
        return false;
    }
    // The band means nothing while the buffers are unmasked.
    if (masked_ != 0 && (maskedMiny_ != other.maskedMiny_ || maskedMaxy_ != other.maskedMaxy_)) {
        return false;
    }
    if (offset_ != other.offset_) {
        return false;
    }
    return sameSamples(data_, other.data_, floatCount(width_, height_));
}

long vxFrequencyBuffer::width() const {
    requireSamples();
    return width_;
}

long vxFrequencyBuffer::height() const {
    requireSamples();
    return height_;
}

void vxFrequencyBuffer::requireSamples() const {
    if (data_ == nullptr) {
        throw vxFrequencyDefs::Uninitialized(vx_Messages::bufferUninitialized);
    }
}

float* vxFrequencyBuffer::spectrum() const {
    requireSamples();
    if (inverseComputed_) {
        throw vxFrequencyDefs::InvalidBuffer(vx_Messages::bufferConsumed);
    }
    return data_;
}

vxPair<double> vxFrequencyBuffer::get(long x, long y, bool centered) const {
    const float* sample = locateElement(x, y, width_, height_, spectrum(), centered);
    return {static_cast<double>(sample[0]), static_cast<double>(sample[1])};
}

double vxFrequencyBuffer::getReal(long x, long y, bool centered) const {
    return static_cast<double>(locateElement(x, y, width_, height_, spectrum(), centered)[0]);
}

double vxFrequencyBuffer::getImaginary(long x, long y, bool centered) const {
    return static_cast<double>(locateElement(x, y, width_, height_, spectrum(), centered)[1]);
}

void vxFrequencyBuffer::put(long x, long y, vxPair<double> value, bool centered) {
    float* sample = locateElement(x, y, width_, height_, spectrum(), centered);
    sample[0] = static_cast<float>(value.x());
    sample[1] = static_cast<float>(value.y());
}

void vxFrequencyBuffer::putReal(long x, long y, double value, bool centered) {
    locateElement(x, y, width_, height_, spectrum(), centered)[0] = static_cast<float>(value);
}

void vxFrequencyBuffer::putImaginary(long x, long y, double value, bool centered) {
    locateElement(x, y, width_, height_, spectrum(), centered)[1] = static_cast<float>(value);
}

vxPair<long> vxFrequencyBuffer::allocatedSize(long width, long height) {
    if (width > sizeLimit || height > sizeLimit) {
        throw vxFrequencyDefs::InvalidSize(vx_Messages::sizeLimit);
    }
    return {roundUp(width), roundUp(height)};
}

void vxFrequencyBuffer::setAndAllocate(long width, long height) {
    const vxPair<long> size = allocatedSize(width, height);
    sourceWidth_ = width;
    sourceHeight_ = height;
    if (width_ != size.x() || height_ != size.y()) {
        data_ = nullptr;
    }
    width_ = size.x();
    height_ = size.y();
    masked_ = 0;
    inverseComputed_ = false;
    // Storage of the same size is reused with its samples, and storage that grows keeps those it had: callers
    // that need zeros write them.
    if (data_ == nullptr) {
        allocate();
    }
}

void vxFrequencyBuffer::allocate() {
    storage_.resize(floatCount(width_, height_));
    data_ = storage_.data();
}

void vxFrequencyBuffer::swap(vxFrequencyBuffer& other) noexcept {
    std::swap(width_, other.width_);
    std::swap(height_, other.height_);
    std::swap(sourceWidth_, other.sourceWidth_);
    std::swap(sourceHeight_, other.sourceHeight_);
    std::swap(masked_, other.masked_);
    std::swap(maskedMiny_, other.maskedMiny_);
    std::swap(maskedMaxy_, other.maskedMaxy_);
    std::swap(xformCache_, other.xformCache_);
    std::swap(offset_, other.offset_);
    std::swap(storage_, other.storage_); // The samples stay where they are in memory.
    std::swap(data_, other.data_);
    std::swap(inverseComputed_, other.inverseComputed_);
}
