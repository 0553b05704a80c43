#include "tests/identity/results.h"

#include "filt/internal/buffer_access.h"

#include <limits>

namespace identity {
namespace {

/// The place of a number in the order of its kind: neighbours differ by 1, and the two zeros not at all.
std::int64_t placeOf(float x) {
    const auto bits = std::bit_cast<std::int32_t>(bitsOf(x));
    return bits < 0 ? std::int64_t{std::numeric_limits<std::int32_t>::min()} - bits : bits;
}
std::int64_t placeOf(double x) {
    const auto bits = std::bit_cast<std::int64_t>(bitsOf(x));
    return bits < 0 ? std::numeric_limits<std::int64_t>::min() - bits : bits;
}

/// About 16 of the values, from all over.
std::vector<std::int64_t> someOf(const std::vector<std::int64_t>& values) {
    const std::size_t step = values.size() / 16 | 1U;
    std::vector<std::int64_t> some;
    for (std::size_t i = step / 2; i < values.size(); i += step) {
        some.push_back(values[i]);
    }
    return some;
}

/// placeOf, or whatever is asked for, of all pels.
template <class T, class ValueOf>
std::vector<std::int64_t> valuesOf(const vxPelBuffer<T>& image, ValueOf valueOf) {
    std::vector<std::int64_t> values;
    for (long y = 0; y < image.height(); ++y) {
        const T* row = image.pointToOffset() + y * image.rowUpdate();
        for (long x = 0; x < image.width(); ++x) {
            values.push_back(valueOf(row[x]));
        }
    }
    return values;
}

} // namespace

void Hash::add(const vxFrequencyBuffer& buffer) {
    using Access = vx_FrequencyBufferAccess;
    for (const long field :
         {Access::width(buffer), Access::height(buffer), Access::sourceWidth(buffer),
          Access::sourceHeight(buffer), Access::masked(buffer), Access::maskedMiny(buffer),
          Access::maskedMaxy(buffer), Access::offset(buffer).x(), Access::offset(buffer).y()}) {
        add(field);
    }
    add(Access::inverseComputed(buffer));
    for (std::uint64_t i = 0; i < 2 * Access::sampleCount(buffer); ++i) {
        add(Access::data(buffer)[i]);
    }
}

void Results::near(const std::string& name, const std::vector<float>& values) {
    std::vector<std::int64_t> places;
    for (const float value : values) {
        places.push_back(placeOf(value));
    }
    near_[name] = {"float", someOf(places)};
}

void Results::near(const std::string& name, const vxPelBuffer<double>& image, bool areFloats) {
    const auto place = [areFloats](double pel) {
        return areFloats ? placeOf(static_cast<float>(pel)) : placeOf(pel);
    };
    near_[name] = {areFloats ? "float" : "double", someOf(valuesOf(image, place))};
}

void Results::near(const std::string& name, const vxPelBuffer<unsigned char>& image) {
    near_[name] = {"pel", someOf(valuesOf(image, [](unsigned char pel) { return std::int64_t{pel}; }))};
}

} // namespace identity
