/// \file
/// Fitting one wave to an image.
#pragma once

#include "kavstd/pair.h"
#include "kavstd/pelbuffer.h"

#include <complex>
#include <vector>

namespace app {

/// A plane wave; frequencies in cycles per pixel along x and y.
struct Wave {
    vxPair<double> frequency;
    /// In pels: that of a sine wave with the same power.
    double amplitude = 0;
};

/// An image ready for spectral analysis: its mean removed, faded out towards its borders.
///
/// The window is the four-term one of Harris, "On the use of windows for harmonic analysis with the discrete
/// Fourier transform", Proc. IEEE 66 (1978), along x and y: its sidelobes lie 92 dB down, so that borders and
/// strong waves do not hide or fake weak ones. A wave shows as a lobe that reaches `lobe` resolution cells (1
/// / width and 1 / height cycles per pixel) in each direction.
class WindowedImage {
public:
    static constexpr double lobe = 4;

    /// The pels are finite.
    explicit WindowedImage(const vxPelBuffer_const<double>& image);

    [[nodiscard]] const vxPelBuffer<double>& pels() const { return pels_; }
    /// The sum of the window: a wave of amplitude a shows in the spectrum as samples of a / 2 times that.
    [[nodiscard]] double weight() const;

    /// The wave close to `start` that explains most of the image, found to far below a resolution cell;
    /// `start` is within a cell of it.
    ///
    /// This is the maximum of the least squares periodogram with floating mean (Zechmeister and Kuerster,
    /// "The generalised Lomb-Scargle periodogram", Astronomy & Astrophysics 496, 2009). Other than the
    /// maximum of the spectrum's magnitude it is not pulled aside by the mean and the wave's conjugate, which
    /// overlap it at frequencies of a few cycles per image and close to half a cycle per pixel.
    [[nodiscard]] Wave refine(const vxPair<double>& start) const;

private:
    // One dimension of the image.
    struct Axis {
        explicit Axis(long size);

        // exp(-2 pi i f x) at every pel; x is counted from the middle of the image.
        [[nodiscard]] std::vector<std::complex<double>> wave(double frequency) const;
        // The window's transform, which is real.
        [[nodiscard]] double windowAt(double frequency) const;

        std::vector<double> window;
    };
    struct Neighbourhood {
        double power[3][3]; // By y, x.
    };

    [[nodiscard]] double explained(const vxPair<double>& frequency, std::complex<double> sample) const;
    [[nodiscard]] Wave climb(const vxPair<double>& start) const;
    [[nodiscard]] Neighbourhood around(const vxPair<double>& centre, const vxPair<double>& step) const;

    Axis x_;
    Axis y_;
    vxPelBuffer<double> pels_;
};

} // namespace app
