#include "filt/freqfilt/internal/band_family.h"

#include "filt/internal/numerics.h"

long vf_BandSupport(double sigma, double plateau, long width) {
    const double n = static_cast<double>(width);
    return vf_SupportSize(4.0 * (sigma * n) + plateau * n + 0.05 * n);
}

void vf_SampleProfile(double sigma, double plateau, long width, const vx_FilterKind& kind,
                      std::span<float> profile) {
    constexpr double step = 1.0 / static_cast<double>(vx_SamplesPerBin);
    const double s = sigma * static_cast<double>(width);
    const double p = plateau * static_cast<double>(width);
    double k = -2.0 * s * s;
    // Deliberate: where the square underflows, k stays 0 and the lobe is 1 everywhere.
    if (k != 0.0) {
        k = 1.0 / k;
    }
    double i = 0.0;
    for (float& entry : profile) {
        double d = i * step - p;
        if (d < 0.0) {
            d = 0.0;
        }
        entry = kind.gainAt(d * d * k);
        i += 1.0;
    }
}
