#include "app/fabric.h"

#include <cstdint>
#include <vector>

namespace app {
namespace {

constexpr long side = 448;
constexpr long pitch =
    8; // Pels from yarn to yarn: the weave repeats every 16, above the stain's frequencies.
constexpr Stain stain = {280, 180, 95};

// The constants of Marsaglia, "Xorshift RNGs", Journal of Statistical Software 8 (2003).
class Random {
public:
    // Uniform in -1 .. 1.
    double next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return static_cast<double>(state_ >> 8) / 8388608.0 - 1.0;
    }

private:
    std::uint32_t state_ = 2463534242U;
};

// 1 in the middle of 0 .. 1, 0 at the ends.
double arch(double t) {
    return 4 * t * (1 - t);
}

double middleOfPel(long x) {
    return (static_cast<double>(x % pitch) + 0.5) / static_cast<double>(pitch);
}

// Plain weave: warp and weft are on top in turns; a yarn is bright along its middle and dips where it goes
// under.
double weave(long x, long y, const std::vector<double>& warp, const std::vector<double>& weft) {
    const bool warpOnTop = ((x / pitch + y / pitch) & 1) == 0;
    const double across = arch(warpOnTop ? middleOfPel(x) : middleOfPel(y));
    const double along = arch(warpOnTop ? middleOfPel(y) : middleOfPel(x));
    const double yarn =
        warpOnTop ? warp[static_cast<std::size_t>(x / pitch)] : weft[static_cast<std::size_t>(y / pitch)];
    return 70 + yarn + 75 * across * (0.6 + 0.4 * along);
}

double light(long x, long y) {
    const double u = static_cast<double>(x) / side - 0.45;
    const double v = static_cast<double>(y) / side - 0.53;
    return 1.15 - 0.7 * (u * u + v * v);
}

// A slanted streak with a smooth profile, as a factor of the light.
double stainAt(long x, long y) {
    const double along = static_cast<double>(x - stain.x) / static_cast<double>(stain.halfLength);
    const double across = (static_cast<double>(y - stain.y) - 40 * along + 14 * along * along) / 16;
    const double shape = along * along + across * across;
    return shape < 1 ? 1 - 0.075 * (1 - shape) * (1 - shape) : 1;
}

} // namespace

Stain fabricStain() {
    return stain;
}

Image fabricPicture() {
    Random random;
    std::vector<double> warp(side / pitch);
    std::vector<double> weft(side / pitch);
    for (double& yarn : warp) {
        yarn = 1.5 * random.next();
    }
    for (double& yarn : weft) {
        yarn = 1.5 * random.next();
    }
    Image picture;
    picture.name = "fabric";
    picture.pels = newPels(side, side);
    for (long y = 0; y < side; ++y) {
        double* row = picture.pels.pointToRow(y);
        for (long x = 0; x < side; ++x) {
            const double noise = 10 * (random.next() + random.next());
            const double value = weave(x, y, warp, weft) * light(x, y) * stainAt(x, y) + noise;
            row[x] = static_cast<double>(quantize(value, Depth::bits8));
        }
    }
    return picture;
}

} // namespace app
