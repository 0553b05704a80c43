/// \file
/// What one instruction set offers: the whole 2-D transforms, with the pels read and written on the way, and
/// the loops over single samples.
///
/// From a public transform down to the butterfly: instruction_sets.cpp chooses a table; kernel_text.h says
/// what its entries are; transform_2d.h goes over the rows (row_pass.h), then over the columns
/// (column_pass.h), with records.h between them; split_radix.h is the 1-D transform, and split_step.h makes
/// it one of real rows. Pels come in by row_sources.h and go out by magnitude.h; elements.h has the loops
/// over single samples; lanes.h is the arithmetic that all of it is written in.
#pragma once

#include "filt/fft/kernels/row_band.h"
#include "kavstd/pair.h"
#include "kavstd/pelbuffer.h"

#include <cstddef>
#include <cstdint>

/// The storage of a spectrum: `height` rows of `width` interleaved complex samples.
struct vx_Plane {
    float* data;
    std::size_t width;
    std::size_t height;

    [[nodiscard, gnu::always_inline]] float* row(std::size_t v) const noexcept {
        return data + 2 * width * v;
    }
};

/// Such storage whose columns from `left.width` on, if any, are in memory of their own.
struct vx_SplitPlane {
    vx_Plane left;
    vx_Plane right;

    [[gnu::always_inline]] vx_SplitPlane(const vx_Plane& first, const vx_Plane& second) noexcept
        : left(first), right(second) {}
    [[gnu::always_inline]] vx_SplitPlane(const vx_Plane& whole) noexcept
        : left(whole), right{whole.data, 0, whole.height} {}

    [[nodiscard, gnu::always_inline]] std::size_t width() const noexcept { return left.width + right.width; }
    [[nodiscard, gnu::always_inline]] std::size_t height() const noexcept { return left.height; }
    /// The sample of row 0 in a column.
    [[nodiscard, gnu::always_inline]] float* columns(std::size_t column) const noexcept {
        return column < left.width ? left.data + 2 * column : right.data + 2 * (column - left.width);
    }
    /// Floats from a sample of that column to that of the next row.
    [[nodiscard, gnu::always_inline]] std::size_t step(std::size_t column) const noexcept {
        return 2 * (column < left.width ? left.width : right.width);
    }
};

/// The pels of an image, wherever its offset is.
template <class T>
struct vx_Pels {
    T* first;
    std::ptrdiff_t step; ///< Pels from one row to the next.
    std::size_t width;
    std::size_t height;

    [[nodiscard, gnu::always_inline]] T* row(std::size_t y) const noexcept {
        return first + static_cast<std::ptrdiff_t>(y) * step;
    }
};

inline vx_Plane vf_PlaneOf(float* data, const vxPair<long>& size) noexcept {
    return {data, static_cast<std::size_t>(size.x()), static_cast<std::size_t>(size.y())};
}

/// From the magnitude of a spatial sample to the value of its pel: (magnitude * scale - low) * gain, in this
/// order. Without a stretch, low = 0 and gain = 1 change nothing.
struct vx_PelScale {
    float scale;
    float low = 0.0F;
    float gain = 1.0F;
};

enum class vx_InstructionSet { portable, sse2, avx2, avx512 };

/// Transforms from and to images of pels T.
template <vx_Pel T>
struct vx_PelKernels {
    /// The spectrum of an image, which is zero outside its pels.
    void (*forward)(const vx_Pels<const T>& image, const vx_Plane& spectrum);

    /// The spectrum of a complex image.
    void (*forwardPair)(const vx_Pels<const T>& real, const vx_Pels<const T>& imaginary,
                        const vx_Plane& spectrum);

    /// The magnitudes of the inverse of a spectrum, which stays as it is, as pels.
    void (*inverseMagnitude)(const vx_Plane& spectrum, const vx_RowBand& band, const vx_PelScale& scale,
                             const vx_Pels<T>& image);

    /// The same of a spectrum that `samples` may share, which become the spatial samples, unscaled.
    void (*inverse)(const float* spectrum, const vx_SplitPlane& samples, const vx_RowBand& band,
                    const vx_PelScale& scale, const vx_Pels<T>& image);

    /// The magnitudes of `count` spatial samples as pels.
    void (*magnitudes)(const float* samples, std::size_t count, const vx_PelScale& scale, T* pels);
};

/// The least and the greatest of some values.
template <class T>
struct vx_Range {
    T least;
    T most;
};

/// A row of a ring of frequencies: the sample of column u is sqrt(u * u + squaredV) bins from DC, and its
/// gain is that of the profile at its distance from the centre of the ring.
struct vx_RingRow {
    double squaredV;
    double centre;
    double samplesPerBin;
    double last; ///< Index of the profile's last gain, for all that is further away.
    const float* profile;
};

/// Rows and columns of a Gaussian lobe with a flat top. The entry of column i in row j is
/// (u, v) = (along[i] + alongShift[j], across[i] + acrossShift[j]) away from the lobe's middle, in its own
/// axes, where the lobe has the height exp(e) with
///
///     e = max(|u| - alongPlateau, 0)^2 * alongFactor + max(|v| - acrossPlateau, 0)^2 * acrossFactor
///
/// which is NaN or at most 0.
struct vx_LobePart {
    static constexpr std::size_t mostColumns = 256; ///< What `along` and `across` have room for.
    static constexpr std::size_t mostRows = 64;

    const double* along;
    const double* across;
    const double* alongShift;
    const double* acrossShift;
    double alongStep; ///< From one shift to the next, but for rounding.
    double acrossStep;
    double alongPlateau;
    double acrossPlateau;
    double alongFactor;
    double acrossFactor;
    bool complement;                  ///< The gain is 1 minus the lobe.
    float (*gainAt)(double exponent); ///< The gain as the maths library's exp gives it.
};

/// Loops over interleaved samples, or over pels. An output is one of the inputs or shares nothing with them.
struct vx_ElementKernels {
    /// out = b * a, b + a, b - a.
    void (*product)(const float* b, const float* a, float* out, std::size_t samples);
    void (*sum)(const float* b, const float* a, float* out, std::size_t samples);
    void (*difference)(const float* b, const float* a, float* out, std::size_t samples);
    void (*conjugate)(const float* a, float* out, std::size_t samples);

    /// out = in * gain.
    void (*multiplyGains)(const float* in, const float* gains, float* out, std::size_t samples);

    /// The gains of `count` columns of a ring from `begin` on.
    void (*ringGains)(const vx_RingRow& row, std::int32_t begin, std::int32_t count, float* gains);

    /// The gains of a part of a lobe, those that gainAt gives; row j from gains[j * step] on.
    void (*lobeGains)(const vx_LobePart& part, std::size_t columns, std::size_t rows, float* gains,
                      std::size_t step);

    /// One part of each sample, scaled; its magnitude as vx_PelKernels has it.
    void (*realParts)(const float* samples, std::size_t count, float scale, double* pels);
    void (*imaginaryParts)(const float* samples, std::size_t count, float scale, double* pels);
    void (*magnitudes)(const float* samples, std::size_t count, const vx_PelScale& scale, double* pels);

    /// Extends a range by squared magnitudes or by pels. False, and any range, when one of them is NaN,
    /// which may be so for infinite pels, too: only one by one, in order, do NaNs have their effect.
    bool (*magnitudeRange)(const float* samples, std::size_t count, vx_Range<float>& range);
    bool (*pelRange)(const double* pels, std::size_t count, vx_Range<double>& range);

    /// (pel - low) * gain, in this order, truncated: limited to 0 .. 255 with 0 for a NaN, or its low bits.
    void (*clippedPels)(const double* pels, std::size_t count, double low, double gain, unsigned char* to);
    void (*wrappedPels)(const double* pels, std::size_t count, double low, double gain, unsigned char* to);
};

struct vx_Kernels {
    vx_InstructionSet set;

    /// Rows and columns that a tile holds. Images with fewer rows, or less than twice as many columns, are
    /// for narrower kernels.
    std::size_t lanes;

    vx_PelKernels<unsigned char> bytes;
    vx_PelKernels<unsigned short> words;
    vx_PelKernels<double> doubles;

    /// vf_RealFFT2D, forward, and vf_ComplexFFT2D, whose result goes to the plane, which the source may
    /// share.
    void (*real)(const vx_Plane& plane);
    void (*complex)(const float* source, const vx_SplitPlane& plane, int direction, const vx_RowBand& band);

    /// For any number of samples.
    vx_ElementKernels elements;

    template <vx_Pel T>
    [[nodiscard]] const vx_PelKernels<T>& pels() const noexcept;
};

template <>
inline const vx_PelKernels<unsigned char>& vx_Kernels::pels() const noexcept {
    return bytes;
}
template <>
inline const vx_PelKernels<unsigned short>& vx_Kernels::pels() const noexcept {
    return words;
}
template <>
inline const vx_PelKernels<double>& vx_Kernels::pels() const noexcept {
    return doubles;
}
