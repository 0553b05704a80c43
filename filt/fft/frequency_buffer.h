/// \file
/// The complex spectrum of an image.
#pragma once

#include "filt/fft/cache_line_allocator.h"
#include "filt/fft/errors.h"
#include "kavstd/archive.h"
#include "kavstd/pair.h"
#include "kavstd/pelbuffer.h"
#include "kavstd/xform.h"

#include <cstdint>
#include <vector>

struct vx_FrequencyBufferAccess;

/// A two-dimensional spectrum: width() x height() complex samples in single precision, row-major, each a pair
/// (real, imaginary), in wrap-around frequency order with the zero frequency (DC) at (0, 0); index
/// width() - k is frequency -k. Sizes are powers of two up to 2048: a request is rounded up, and the
/// requested size is kept so that the inverse transforms can crop to it. The buffer also carries the source
/// image's offset and client transform.
///
/// A buffer is uninitialized (no samples), a spectrum, or consumed (an in-place inverse transform has
/// overwritten the samples); sample access needs a spectrum. Where `centered` is true, coordinates are signed
/// frequencies around DC, from -(size >> 1) to ((size + 1) >> 1) - 1; otherwise they are plain indices, 0 to
/// size - 1.
///
/// Values are rounded from double to float when they enter and widened when they are read.
///
/// An operation that gives a buffer another size and finds no memory for it leaves that buffer uninitialized
/// and whatever else it works on as it was. Without memory, every other operation here changes nothing.
class VX_EXPORT vxFrequencyBuffer {
public:
    /// An uninitialized buffer.
    vxFrequencyBuffer();
    /// A buffer for images of that size, all samples zero. InvalidSize above 2048.
    vxFrequencyBuffer(long width, long height);
    /// Sized again from the source's *source size*, see operator=.
    vxFrequencyBuffer(const vxFrequencyBuffer& source);
    /// The lowest frequencies of `source`, so that the inverse yields a subsampled image: a spectral crop to
    /// a smaller power-of-two size. Samples are not rescaled. Throws InvalidSize when a size is below 2,
    /// above the source's or not a power of two; Uninitialized when the source has no samples.
    vxFrequencyBuffer(const vxFrequencyBuffer& source, long width, long height);
    /// Real and imaginary parts from two images of one size and offset, zero-padded to the right and below.
    /// Throws UnboundWindow or InvalidSize.
    vxFrequencyBuffer(const vxPelBuffer_const<double>& real, const vxPelBuffer_const<double>& imaginary);
    ~vxFrequencyBuffer();

    /// Copies samples and state. The size is derived again from the source size, which for a cropped buffer
    /// can be smaller than its own; the samples are then the first ones in storage order.
    vxFrequencyBuffer& operator=(const vxFrequencyBuffer& source);

    /// Sizes, state, offsets and samples are equal. Samples differ only when one is less or greater, so a NaN
    /// equals anything. Client transforms are not compared.
    bool operator==(const vxFrequencyBuffer& other) const;
    bool operator!=(const vxFrequencyBuffer& other) const { return !(*this == other); }

    /// Allocated width, a power of two. Throws Uninitialized.
    [[nodiscard]] long width() const;
    /// Allocated height, as width().
    [[nodiscard]] long height() const;

    /// One sample: column x, row y. Throws Uninitialized, InvalidBuffer (consumed) or BadCoord, in
    /// that order.
    [[nodiscard]] vxPair<double> get(long x, long y, bool centered) const;
    /// The real part of get(), with its errors.
    [[nodiscard]] double getReal(long x, long y, bool centered) const;
    /// The imaginary part of get(), with its errors.
    [[nodiscard]] double getImaginary(long x, long y, bool centered) const;
    /// Sets a sample. Errors are those of get().
    void put(long x, long y, vxPair<double> value, bool centered);
    /// Sets a sample's real part and keeps the other. Errors are those of get().
    void putReal(long x, long y, double value, bool centered);
    /// Sets a sample's imaginary part and keeps the other. Errors are those of get().
    void putImaginary(long x, long y, double value, bool centered);

    /// The real parts as an image of the allocated size. Centred images have DC at
    /// (width() >> 1, height() >> 1). Throws Uninitialized or InvalidBuffer (consumed).
    [[nodiscard]] vxPelBuffer<double> getRealImage(bool centered) const;
    /// The imaginary parts, as getRealImage().
    [[nodiscard]] vxPelBuffer<double> getImaginaryImage(bool centered) const;
    /// sqrt(re^2 + im^2), in single precision.
    [[nodiscard]] vxPelBuffer<double> getMagnitudeImage(bool centered) const;
    /// atan2(im, re) in radians, 0 to 2 pi.
    [[nodiscard]] vxPelBuffer<double> getPhaseImage(bool centered) const;

private:
    friend struct vx_FrequencyBufferAccess; // The transforms and the arithmetic.
    friend class vxFrequencyFilter;
    friend VX_EXPORT vxArchive& operator||(vxArchive& archive, vxFrequencyBuffer& buffer);

    /// Sizes the buffer for images of width x height. Same rounded size: storage and samples are kept as they
    /// are. InvalidSize above 2048, before anything changes. Without memory the buffer is left uninitialized.
    void setAndAllocate(long width, long height);
    /// The size that setAndAllocate would give, or InvalidSize.
    [[nodiscard]] static vxPair<long> allocatedSize(long width, long height);
    /// What assignment does before it copies the samples: sizes this as a copy of another buffer, and takes
    /// all else that a copy has. InvalidSize, before anything changes.
    void takeState(const vxFrequencyBuffer& source);
    /// Gives width_ x height_ samples memory.
    void allocate();
    void swap(vxFrequencyBuffer& other) noexcept;

    void store(vxArchive& archive);
    /// Into a fresh buffer, which a failure leaves half loaded.
    void load(vxArchive& archive, unsigned char version);
    /// The fields before the samples, in the order of the archive.
    void archiveFields(vxArchive& archive, unsigned char version);
    /// `expected`: the samples are those of this size; otherwise they are passed over.
    void loadSamples(vxArchive& archive, bool expected);
    [[nodiscard]] std::uint64_t sampleCount() const noexcept;

    /// Throws Uninitialized for a buffer without samples.
    void requireSamples() const;
    /// The samples; throws Uninitialized or InvalidBuffer (consumed).
    [[nodiscard]] float* spectrum() const;
    [[nodiscard]] float* data() const noexcept { return data_; }
    [[nodiscard]] long masked() const noexcept { return masked_; }
    void masked(long value) noexcept { masked_ = value; }
    [[nodiscard]] long maskedMiny() const noexcept { return maskedMiny_; }
    void maskedMiny(long value) noexcept { maskedMiny_ = value; }
    [[nodiscard]] long maskedMaxy() const noexcept { return maskedMaxy_; }
    void maskedMaxy(long value) noexcept { maskedMaxy_ = value; }

    long width_ = 0; // Allocated: the request rounded up to a power of two.
    long height_ = 0;
    long sourceWidth_ = 0; // As requested.
    long sourceHeight_ = 0;
    long masked_ = 0; // Only rows maskedMiny_ .. maskedMaxy_ (centred numbering) can be nonzero.
    long maskedMiny_ = 0;
    long maskedMaxy_ = 0;
    vx2XformCache xformCache_;
    vxPair<long> offset_;
    std::vector<float, vx_CacheLineAllocator<float>> storage_;
    float* data_ = nullptr; // First sample; null when uninitialized, whatever storage_ still holds.
    bool inverseComputed_ = false;
};

/// Stores or loads a buffer.
VX_EXPORT vxArchive& operator||(vxArchive& archive, vxFrequencyBuffer& buffer);
