#include "filt/fft.h"

#include "tests/identity/filter_samples.h"
#include "tests/identity/results.h"

#include <cstring>

namespace identity {
namespace {

template <class Object>
std::string stored(Object& object) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || object;
    return stream.str();
}

/// By pointer, as which the name of the type is stored, too.
std::string storedPointer(vxPersistent& object) {
    vxPersistent* pointer = &object;
    return stored(pointer);
}

/// NaNs of every kind keep their bits in an archive, so the bytes are hashed as they are.
void bufferJobs(Results& results) {
    constexpr std::uint32_t nans[] = {0x7fc00000U, 0xffc00000U, 0x7f800001U, 0xff812345U, 0x7fffffffU};
    for (const Kind kind : everyKind) {
        Hash& hash = results.exact(std::string("archive/buffer/") + nameOf(kind));
        for (const vxPair<long>& size : {vxPair<long>(1, 1), vxPair<long>(3, 2), vxPair<long>(64, 33)}) {
            vxFrequencyBuffer buffer = spectrumOf(40, kind, size.x(), size.y());
            Access::offset(buffer, {-7, 9});
            setMask(buffer, true, 0, 3);
            if (kind == Kind::nan && size.x() > 1) {
                std::memcpy(Access::data(buffer), nans, sizeof nans);
            }
            const std::string bytes = stored(buffer);
            hash.add(bytes);
            std::istringstream stream(bytes);
            vxInputArchive archive(stream);
            vxFrequencyBuffer loaded;
            archive || loaded;
            hash.add(stored(loaded));
        }
    }
}

void filterArchiveJobs(Results& results) {
    for (const vxPair<long>& size : filterSizes) {
        auto bandPass = bandOf<vxFrequencyFilterBandPass>(size, 1);
        auto bandReject = bandOf<vxFrequencyFilterBandReject>(size, 1);
        auto gabor = gaborOf<vxFrequencyFilterGabor>(size, 1);
        auto gaborReject = gaborOf<vxFrequencyFilterGaborReject>(size, 1);
        vxFrequencyFilterImage image(spectrumOf(41, Kind::whole, size.x(), size.y()));
        for (vxFrequencyFilter* filter : std::initializer_list<vxFrequencyFilter*>{
                 &bandPass, &bandReject, &gabor, &gaborReject, &image}) {
            results.exact("archive/filters").add(storedPointer(*filter));
        }
    }
}

} // namespace

void archiveJobs(Results& results) {
    bufferJobs(results);
    filterArchiveJobs(results);
    vxFrequencyDefs::BadCoord error;
    vx2XformCache cache;
    cache.xform(vx2XformLinear(vxXform<2>(vxMatrix<2>(1.0, 0.5, -0.25, 2.0), vxVector<2>(3.0, -0.0))));
    results.exact("archive/error").add(storedPointer(error));
    results.exact("archive/transform").add(stored(cache));
}

} // namespace identity
