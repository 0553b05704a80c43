#include "tests/identity/filter_samples.h"
#include "tests/identity/results.h"

namespace identity {
namespace {

/// In place and into another buffer, masked before or not.
void apply(const vxFrequencyFilter& filter, Kind kind, const vxPair<long>& size, Hash& hash) {
    for (const bool masked : {false, true}) {
        vxFrequencyBuffer buffer = spectrumOf(9, kind, size.x(), size.y());
        Access::offset(buffer, {2, 3});
        setMask(buffer, masked, 1, 2);
        vxFrequencyBuffer result = spectrumOf(10, kind, size.x() / 2 + 1, size.y());
        filter.apply(buffer, result);
        hash.add(result);
        filter.apply(buffer);
        hash.add(buffer);
    }
}

template <class MakeFilter>
void jobsOf(Results& results, const std::string& filterName, MakeFilter makeFilter) {
    for (const Kind kind : everyKind) {
        Hash& hash = results.exact("filter/" + filterName + "/" + nameOf(kind));
        for (const vxPair<long>& size : filterSizes) {
            // The square around DC must fit into the spectrum.
            for (const long radius : {0L, size.x() < 4 || size.y() < 4 ? 0L : 2L}) {
                apply(makeFilter(size, radius), kind, size, hash);
            }
        }
    }
}

vxFrequencyFilterImage imageFilterOf(const vxPair<long>& size, long /*radius*/) {
    return vxFrequencyFilterImage(spectrumOf(11, Kind::whole, size.x(), size.y()));
}

} // namespace

void filterJobs(Results& results) {
    jobsOf(results, "band-pass", bandOf<vxFrequencyFilterBandPass>);
    jobsOf(results, "band-reject", bandOf<vxFrequencyFilterBandReject>);
    jobsOf(results, "gabor", gaborOf<vxFrequencyFilterGabor>);
    jobsOf(results, "gabor-reject", gaborOf<vxFrequencyFilterGaborReject>);
    jobsOf(results, "image", imageFilterOf);
}

} // namespace identity
