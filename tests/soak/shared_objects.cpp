#include "tests/soak/shared_objects.h"

namespace soak {
namespace {
template <vx_Pel T>
vxPelBuffer<T> randomImage(Random& random, long width, long height, long most) {
    vxPelBuffer<T> image(width, height);
    for (long y = 0; y < height; ++y) {
        T* row = image.pointToRow(y);
        for (long x = 0; x < width; ++x) {
            row[x] = static_cast<T>(random.between(0, most));
        }
    }
    return image;
}
} // namespace

Images randomImages(Random& random, long width, long height) {
    Images images;
    images.bytes = randomImage<unsigned char>(random, width, height, 255);
    images.words = randomImage<unsigned short>(random, width, height, 65535);
    images.doubles = randomImage<double>(random, width, height, 1000);
    for (long y = 0; y < height; ++y) {
        images.doubles.pointToRow(y)[0] -= random.fraction();
    }
    return images;
}

SharedObjects::SharedObjects(long width, long height) : size(width, height) {
    Random random(static_cast<std::uint64_t>(width * 65536 + height));
    images = randomImages(random, width, height);
    offsetImages = randomImages(random, width - width / 4, height - height / 4);
    offsetImages.bytes.offset(3, -2);
    offsetImages.words.offset(-1, 5);
    offsetImages.doubles.offset(width, -height);
    vfForwardFFT(images.words, spectrum);
    vfForwardFFT(offsetImages.bytes, consumed);
    vxPelBuffer<unsigned char> unused;
    vfInverseFFT(consumed, unused, false, true);

    const auto keep = [this](vxFrequencyFilter* filter) {
        filter->addReference();
        filters.emplace_back(filter);
    };
    keep(new vxFrequencyFilterBandPass(0.05, 0.02, 0.2, size, 1));
    keep(new vxFrequencyFilterBandReject(0.03, 0.01, 0.25, size, 1));
    keep(new vxFrequencyFilterGabor({0.03, 0.02}, {0.01, 0.0}, vxRadian(0.7), 0.2, size, 1));
    filters.back()->apply(spectrum, masked);
    keep(new vxFrequencyFilterGaborReject({0.02, 0.04}, {0.0, 0.01}, vxRadian(-0.3), 0.1, size, 1));
    keep(new vxFrequencyFilterImage(spectrum));
}

const std::vector<std::unique_ptr<const SharedObjects>>& sharedObjects() {
    static const auto all = [] {
        std::vector<std::unique_ptr<const SharedObjects>> made;
        for (const vxPair<long>& size :
             {vxPair<long>(4, 4), vxPair<long>(16, 16), vxPair<long>(8, 64), vxPair<long>(64, 32),
              vxPair<long>(128, 128), vxPair<long>(512, 256)}) {
            made.push_back(std::make_unique<const SharedObjects>(size.x(), size.y()));
        }
        return made;
    }();
    return all;
}

} // namespace soak
