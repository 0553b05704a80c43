// What passes through exp, log, atan2, sin or cos.
#include "filt/fft.h"
#include "filt/freqfilt.h"
#include "tests/identity/inputs.h"
#include "tests/identity/results.h"

namespace identity {
namespace {

template <class Filter>
class Opened : public Filter {
public:
    using Filter::data;
    using Filter::Filter;
};

void angleJobs(Results& results) {
    const vxFrequencyBuffer spectrum = spectrumOf(50, Kind::whole, 48, 40);
    results.near("maths/phase", spectrum.getPhaseImage(false), false);
    results.near("maths/phase-of-wide", spectrumOf(51, Kind::wide, 48, 40).getPhaseImage(true), false);
    vxPelBuffer<unsigned char> image;
    vxPelBuffer<double> angle;
    vfInverseFFTAngle(spectrum, image, angle, false);
    results.near("maths/angle", angle, true);
    // Where an angle has one value in any maths library: on the axes of zeros of both signs.
    const vxFrequencyBuffer zeros = spectrumOf(52, Kind::zeros, 16, 16);
    vxPelBuffer<double> exactAngle;
    vf_ComputeAngleImage(zeros, exactAngle);
    results.near("maths/angle-of-zeros", exactAngle, true);
}

void logarithmJobs(Results& results) {
    const auto map = [&results](const char* name, Kind kind) {
        results.near(name, vfFrequencyMapImage(imageOf<double>(53, kind, 50, 40),
                                               vxFrequencyDefs::eLogarithmic, 0.0, 0.0));
    };
    map("maths/logarithmic", Kind::whole);
    const vxFrequencyBuffer spectrum = spectrumOf(54, Kind::whole, 32, 32);
    results.near("maths/logarithmic-magnitude", vfFrequencyMapImage(spectrum.getMagnitudeImage(true),
                                                                    vxFrequencyDefs::eLogarithmic, 0.0, 0.0));
}

template <class Filter>
void gainJob(Results& results, const std::string& name, const Filter& filter, long count) {
    results.near(name, std::vector<float>(filter.data(), filter.data() + count));
}

template <class Filter>
void bandJobs(Results& results, const std::string& name) {
    const struct {
        double sigma;
        double plateau;
    } parameters[] = {{0.02, 0.0}, {0.05, 0.03}, {0.3, 0.1}};
    for (std::size_t i = 0; i < std::size(parameters); ++i) {
        const Opened<Filter> filter(parameters[i].sigma, parameters[i].plateau, 0.2, vxPair<long>(128, 64),
                                    0L);
        gainJob(results, "maths/" + name + "/" + std::to_string(i), filter, filter.supportWidth() * 32);
    }
}

template <class Filter>
void gaborJobs(Results& results, const std::string& name) {
    const struct {
        vxPair<double> sigma;
        vxPair<double> plateau;
        double angle;
    } parameters[] = {
        {{0.02, 0.02}, {0.0, 0.0}, 0.0}, {{0.04, 0.02}, {0.01, 0.0}, 0.6}, {{0.03, 0.05}, {0.0, 0.02}, -2.2}};
    for (std::size_t i = 0; i < std::size(parameters); ++i) {
        const Opened<Filter> filter(parameters[i].sigma, parameters[i].plateau, vxRadian(parameters[i].angle),
                                    0.13, vxPair<long>(128, 64), 0L);
        gainJob(results, "maths/" + name + "/" + std::to_string(i), filter,
                filter.supportWidth() * filter.supportHeight());
    }
}

} // namespace

void mathsJobs(Results& results) {
    angleJobs(results);
    logarithmJobs(results);
    bandJobs<vxFrequencyFilterBandPass>(results, "band-pass");
    bandJobs<vxFrequencyFilterBandReject>(results, "band-reject");
    gaborJobs<vxFrequencyFilterGabor>(results, "gabor");
    gaborJobs<vxFrequencyFilterGaborReject>(results, "gabor-reject");
}

} // namespace identity
