// Images of any doubles, mapped with any range by any mapping, compared with the slow mapping of the tests.
#include "filt/fft/map_image.h"
#include "fuzz/support/target.h"
#include "tests/oracle/map_image.h"

#include <memory>
#include <vector>

namespace {

constexpr long maximumSize = 16;

/// A view of pels with gaps between the rows, which may be stored bottom-up.
struct Source {
    std::vector<double> pels; // Without the gaps.
    vxPelBuffer_const<double> image;

    explicit Source(fuzz::Bytes& input) {
        const long width = input.between(1, maximumSize);
        const long height = input.between(1, maximumSize);
        const long pitch = width + input.between(0, 3);
        const bool bottomUp = input.flag();
        const auto memory = std::make_shared<std::vector<double>>(static_cast<std::size_t>(pitch * height));
        double* const first = memory->data() + (bottomUp ? (height - 1) * pitch : 0);
        const long step = bottomUp ? -pitch : pitch;
        for (long y = 0; y < height; ++y) {
            for (long x = 0; x < width; ++x) {
                pels.push_back(first[y * step + x] = input.real());
            }
        }
        image = vxPelBuffer_const<double>(first, width, height, step, memory);
    }
};

void checkPels(const std::vector<unsigned char>& expected, const vxPelBuffer<unsigned char>& actual) {
    std::size_t index = 0;
    for (long y = 0; y < actual.height(); ++y) {
        for (long x = 0; x < actual.width(); ++x) {
            fuzz::require(actual.pointToRow(y)[x] == expected[index++], "the pel of the mapping");
        }
    }
}

} // namespace

void fuzz::run(Bytes input) {
    const int mapping = input.flag() ? static_cast<int>(input.below(6)) : input.any<int>();
    const double rangeMin = input.real();
    const double rangeMax = input.real();
    const auto asked = static_cast<vxFrequencyDefs::FrequencyMapping>(mapping);
    if (input.below(16) == 0) {
        const auto outcome = attempt([&] {
            static_cast<void>(vfFrequencyMapImage(vxPelBuffer_const<double>(), asked, rangeMin, rangeMax));
        });
        require(outcome != Outcome::done, "an unbound image is refused");
        return;
    }
    Source source(input);
    source.image.offset(input.number(), input.number());
    vxPelBuffer<unsigned char> mapped;
    if (attempt([&] { mapped = vfFrequencyMapImage(source.image, asked, rangeMin, rangeMax); }) !=
        Outcome::done) {
        require(!mapped.isBound(), "a failure leaves no image");
        return;
    }
    require(mapped.width() == source.image.width() && mapped.height() == source.image.height(),
            "the size of the source");
    require(mapped.offset() == vxPair<long>(), "no offset");
    checkPels(oracle::mapImage(source.pels, mapping, rangeMin, rangeMax), mapped);
}
